// The palette readers behind palette_load: the engine's own files and the palettes of pictures.
//
// Inputs are files of any of those formats; the checksums of PNG chunks are put right, or libpng
// would refuse nearly every mutated file at the first chunk.
#include <sys/mman.h>
#include <unistd.h>

#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include <zlib.h>

#include "formats/palette_file.h"
#include "module/runtime.h"
#include "surface/palette.h"
#include "surface/tables.h"
#include "video/video.h"

extern "C" size_t LLVMFuzzerMutate(uint8_t *data, size_t size, size_t max_size);

namespace {

orb_file_services files;
orb_device_system device_system;
orb_runtime runtime;
char input_path[32];
int input_file;

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

} // namespace

extern "C" int LLVMFuzzerInitialize(int *, char ***) {
  input_file = memfd_create("input", 0);
  snprintf(input_path, sizeof input_path, "/proc/self/fd/%d", input_file);
  files.path = [](const char *name, int32_t) { return name; };
  files.open = [](const char *name, int32_t, int32_t, const char *) -> void * {
    return fopen(name, "rb");
  };
  files.read = [](void *to, int32_t size, int32_t count, int32_t, void *file) {
    return int32_t(fread(to, size_t(size), size_t(count), static_cast<FILE *>(file)));
  };
  files.close = [](void *file) { fclose(static_cast<FILE *>(file)); };
  device_system.file = &files;
  runtime.rt_device_system = deviceSystem_graphics2D = &device_system;
  runtime.rt_fatal = [](int32_t, const char *) { abort(); };
  orbre = &runtime;
  mode.bpp = 8;
  do_tables(8);
  return 0;
}

extern "C" size_t LLVMFuzzerCustomMutator(uint8_t *data, size_t size, size_t max_size,
                                          unsigned seed) {
  size = LLVMFuzzerMutate(data, size, max_size);
  if (seed % 8 && size > 8 && memcmp(data, "\x89PNG", 4) == 0) fix_checksums(data, size);
  return size;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
  if (ftruncate(input_file, 0) != 0 || pwrite(input_file, data, size, 0) != ssize_t(size)) abort();
  palette_in_file found;
  // Every colour must be there, and decided.
  if (read_palette_file(input_path, &found) && found.checksum != palette_checksum(&found.colours) &&
      found.checksum != palette_checksum_6bits(&found.colours))
    abort();
  return 0;
}
