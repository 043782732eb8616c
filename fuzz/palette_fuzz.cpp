// The palette readers behind palette_load: the engine's own files and the palettes of pictures.
//
// Inputs are files of any of those formats, mostly with corrected checksums of PNG chunks.
#include <cstring>

#include "formats/palette_file.h"
#include "fuzz_host.h"
#include "png_checksums.h"
#include "surface/palette.h"

extern "C" size_t LLVMFuzzerMutate(uint8_t *data, size_t size, size_t max_size);

extern "C" int LLVMFuzzerInitialize(int *, char ***) {
  fuzz::start_module();
  return 0;
}

extern "C" size_t LLVMFuzzerCustomMutator(uint8_t *data, size_t size, size_t max_size,
                                          unsigned seed) {
  size = LLVMFuzzerMutate(data, size, max_size);
  if (seed % 8 && size > 8 && memcmp(data, "\x89PNG", 4) == 0) fuzz::fix_checksums(data, size);
  return size;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
  palette_in_file found;
  // Every colour must be initialised.
  if (read_palette_file(fuzz::put_input(data, size), &found) &&
      found.checksum != palette_checksum(&found.colours) &&
      found.checksum != palette_checksum_6bits(&found.colours))
    abort();
  return 0;
}
