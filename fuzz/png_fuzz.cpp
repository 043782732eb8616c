// The PNG reader and its palette reader. The checksums of most mutated files are corrected.
#include "picture_fuzz.h"
#include "png_checksums.h"

extern "C" size_t LLVMFuzzerMutate(uint8_t *data, size_t size, size_t max_size);

extern "C" int LLVMFuzzerInitialize(int *, char ***) {
  fuzz::start_module();
  return 0;
}

extern "C" size_t LLVMFuzzerCustomMutator(uint8_t *data, size_t size, size_t max_size,
                                          unsigned seed) {
  size = LLVMFuzzerMutate(data, size, max_size);
  if (seed % 8) fuzz::fix_checksums(data, size);
  return size;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
  // libpng decodes what the header claims, however small the file.
  if (size >= 24 &&
      uint64_t(fuzz::png_word(data + 16)) * fuzz::png_word(data + 20) > fuzz::max_pixels)
    return 0;
  fuzz::read_picture(img_format_png, data, size);
  return 0;
}
