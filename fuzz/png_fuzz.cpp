// The PNG reader and the palette reader, at every depth.
//
// Inputs are PNG files. A mutated file gets its chunks' checksums put right, or libpng would refuse
// nearly all of them at the first chunk.
#include <sys/mman.h>
#include <unistd.h>

#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <initializer_list>

#include <zlib.h>

#include "formats/codec.h"
#include "module/runtime.h"
#include "surface/surface.h"
#include "surface/tables.h"
#include "video/video.h"

extern "C" size_t LLVMFuzzerMutate(uint8_t *data, size_t size, size_t max_size);

namespace {

orb_file_services files;
orb_device_system device_system;
orb_runtime runtime;
char input_path[32];
int input_file;

/// Bigger pictures only take time: libpng decodes what the file claims, however small the file.
constexpr uint32_t max_pixels = 1u << 18;

uint32_t word(const uint8_t *at) {
  return uint32_t(at[0]) << 24 | uint32_t(at[1]) << 16 | uint32_t(at[2]) << 8 | at[3];
}

void fix_checksums(uint8_t *data, size_t size) {
  for (size_t at = 8; at + 12 <= size;) {
    const size_t length = word(data + at);
    if (length > size - at - 12) return;
    const uint32_t sum = uint32_t(crc32(0, data + at + 4, uInt(length + 4)));
    uint8_t *place = data + at + 8 + length;
    for (int i = 0; i < 4; i++)
      place[i] = uint8_t(sum >> (24 - 8 * i));
    at += length + 12;
  }
}

void use(int32_t loaded) {
  if (loaded != (image_data != nullptr)) abort();
  if (!loaded) return;
  // Every byte of the picture must be there, and decided.
  const size_t size = size_t(image_w) * size_t(image_h) * size_t(image_bpp / 8);
  if (crc32(0, static_cast<const uint8_t *>(image_data), uInt(size)) == 0x12345678) putchar(' ');
}

} // namespace

extern "C" int LLVMFuzzerInitialize(int *, char ***) {
  input_file = memfd_create("input", 0);
  snprintf(input_path, sizeof input_path, "/proc/self/fd/%d", input_file);
  files.path = [](const char *name, int32_t) { return name; };
  device_system.file = &files;
  runtime.rt_device_system = deviceSystem_graphics2D = &device_system;
  runtime.rt_fatal = [](int32_t, const char *) { abort(); };
  orbre = &runtime;
  mode.bpp = 8;
  do_tables(8);  // for its palette; the other depths need no table here
  return 0;
}

extern "C" size_t LLVMFuzzerCustomMutator(uint8_t *data, size_t size, size_t max_size,
                                          unsigned seed) {
  size = LLVMFuzzerMutate(data, size, max_size);
  if (seed % 8) fix_checksums(data, size);
  return size;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
  if (size >= 24 && uint64_t(word(data + 16)) * word(data + 20) > max_pixels) return 0;
  if (ftruncate(input_file, 0) != 0 || pwrite(input_file, data, size, 0) != ssize_t(size)) abort();
  for (int32_t depth : {32, 16, 8}) {
    mode.bpp = depth;
    reset_image();
    use(ORB_CheckPNGHeader(input_path, nullptr) ? ORB_LoadPNG(input_path, nullptr) : 0);
  }
  ORB_LoadPNGPalette(input_path);
  reset_image();
  return 0;
}
