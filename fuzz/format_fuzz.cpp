// The readers of one file format, at every depth: compiled once for each name in CMakeLists.txt.
//
// Pictures go through the format's probe, reader and palette reader; MAP and FPG files through
// streams of a host, plain, compressed and enciphered; "palette" takes files of any format. The
// checksums of most PNG files are corrected.
#include <sys/mman.h>
#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>

#include "boundary/runtime.h"
#include "formats/codec.h"
#include "formats/map_file.h"
#include "formats/palette_file.h"
#include "fuzz/foreign_files.h"
#include "fuzz/png_checksums.h"
#include "module/module.h"
#include "surface/libraries.h"
#include "surface/palette.h"
#include "surface/screen.h"
#include "video/mode_tables.h"

namespace {

constexpr std::string_view format = ORB_FUZZ_FORMAT;

// ---- A host whose every file is the input. A compressed stream is the file after eight bytes of
// the host's own; the cipher inverts every bit.

char input_path[32];
int descriptor;
const uint8_t *input;
size_t input_size;
int open_streams;

struct stream {
  size_t position;
};

void start_module() {
  static orb_file_services files;
  static orb_device_system device_system;
  static orb_runtime runtime;
  descriptor = memfd_create("input", 0);
  snprintf(input_path, sizeof input_path, "/proc/self/fd/%d", descriptor);
  files.path = [](const char *name, int32_t) { return name; };
  files.open = [](const char *, int32_t mode, int32_t, const char *) -> void * {
    open_streams++;
    return new stream{mode == ORB_OPEN_READ_COMPRESSED ? 8u : 0u};
  };
  files.read = [](void *to, int32_t size, int32_t count, int32_t cipher, void *handle) {
    auto *in = static_cast<stream *>(handle);
    const size_t left = input_size - std::min(in->position, input_size);
    const size_t read = std::min(size_t(size) * size_t(count), left);
    if (read) memcpy(to, input + in->position, read);
    in->position += read;
    for (size_t i = 0; cipher && i < read; i++)
      static_cast<uint8_t *>(to)[i] ^= 0xFF;
    return int32_t(read);
  };
  files.seek = [](void *handle, int32_t offset, int32_t whence) -> int32_t {
    auto *in = static_cast<stream *>(handle);
    in->position = size_t(offset) + (whence == SEEK_CUR ? in->position : 0);
    return 0;
  };
  files.at_end = [](void *handle) -> int32_t {
    return static_cast<stream *>(handle)->position >= input_size;
  };
  files.close = [](void *handle) {
    open_streams--;
    delete static_cast<stream *>(handle);
  };
  device_system.file = &files;
  runtime.rt_device_system = deviceSystem_graphics2D = &device_system;
  runtime.rt_fatal = [](int32_t, const char *) { abort(); };
  orbre = &runtime;
  mode.bpp = 8;
  do_tables(8); // they stay those of 8 bits, which is enough for the readers
  if (!ORBGI2D_Internal_InitGFXDevice() || !CreateFPGList()) abort();
  create_graph_registry();
}

void require(bool holds) {
  if (!holds) abort();
}

/// Every byte must be mapped and initialised.
void use_bytes(const void *bytes, size_t size) {
  if (crc32(0, static_cast<const Bytef *>(bytes), uInt(size)) == 0x12345678) putchar(' ');
}

void use_picture(bool loaded) {
  require(loaded == (image_data != nullptr));
  if (loaded) use_bytes(image_data, size_t(image_w) * size_t(image_h) * size_t(image_bpp / 8));
  int32_t defined = 0;
  for (int32_t i = 0; image_cpoint && i <= image_max_cpoint_defined; i++)
    defined += int32_t(image_cpoint[i].defined);
  if (image_cpoint) require(defined == image_num_cpoints);
  reset_image();
}

/// The library's totals must match its graphs.
void use_library(int32_t file) {
  uint32_t memory = empty_library_memory;
  int32_t count = 0;
  for (int32_t code = 0; code < graphs_per_library; code++) {
    const orb_map_slot &slot = fpg[file].slots[code];
    if (!slot.surface) continue;
    const __ORBSurface2D__ &surface = *slot.surface;
    require(surface.depth == mode.bpp && slot.code == code);
    uint32_t defined = 0;
    for (uint32_t i = 0; i <= surface.cpoint_last; i++)
      defined += surface.cpoints[3 * i + 2];
    require(defined == surface.has_cpoints);
    use_bytes(surface.pixels, surface.byte_size);
    memory += slot.memory_usage;
    count++;
  }
  require(count == fpg[file].map_count && memory == fpg[file].memory_usage);
  unload_library(file);
}

void read_library(const char *key) {
  const uint32_t surfaces = gfxsurfaces->count;
  library_fault fault;
  if (const int32_t number = load_library("input", key, fault); number >= 0) use_library(number);
  if (load_library_graph("input", key, 2, 7, fault) >= 0) use_library(2);
  // The next load frees what a failed one left.
  require(open_library(0) && gfxsurfaces->count == surfaces);
}

void read_picture() {
  for (const image_codec *codec : image_codecs) {
    constexpr const char *names[] = {"", "map", "bmp", "jpeg", "pcx", "png", "tga"};
    if (format != names[codec->format]) continue;
    reset_image();
    use_picture(codec->check(input_path, nullptr) && codec->load(input_path, nullptr));
    codec->load_palette(input_path);
    reset_image();
  }
}

} // namespace

extern "C" size_t LLVMFuzzerMutate(uint8_t *data, size_t size, size_t max_size);

extern "C" int LLVMFuzzerInitialize(int *, char ***) {
  start_module();
  return 0;
}

extern "C" size_t LLVMFuzzerCustomMutator(uint8_t *data, size_t size, size_t max_size,
                                          unsigned seed) {
  size = LLVMFuzzerMutate(data, size, max_size);
  if (seed % 8 && size > 8 && memcmp(data, "\x89PNG", 4) == 0) fuzz::fix_checksums(data, size);
  return size;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
  input = data;
  input_size = size;
  require(ftruncate(descriptor, 0) == 0 && pwrite(descriptor, data, size, 0) == ssize_t(size));
  // Bigger pictures only take time.
  if (format != "palette" && fuzz::claims_too_much({reinterpret_cast<const char *>(data), size}))
    return 0;
  for (const int32_t depth : {32, 16, 8}) {
    mode.bpp = depth;
    if (format == "palette") {
      palette_in_file found;
      if (read_palette_file(input_path, &found)) // every colour must be initialised
        require(found.checksum == palette_checksum(&found.colours) ||
                found.checksum == palette_checksum_6bits(&found.colours));
    } else if (format == "map" || format == "fpg") {
      for (const char *key : {static_cast<const char *>(nullptr), "", "key"})
        if (format == "fpg") {
          read_library(key);
        } else {
          reset_image();
          const bool loaded = ORB_LoadMAP("input", key);
          require(!loaded || ORB_CheckMAPHeader("input", key));
          use_picture(loaded);
        }
    } else {
      read_picture();
    }
  }
  require(open_streams == 0);
  return 0;
}
