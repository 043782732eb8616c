// The BMP reader and its palette reader.
#include "formats/file_reader.h"
#include "picture_fuzz.h"

extern "C" int LLVMFuzzerInitialize(int *, char ***) {
  fuzz::start_module();
  return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
  // A short file may hold a big run-length coded picture.
  if (size >= 34 && word32(data + 30) != 0 &&
      uint64_t(word32(data + 18)) * word32(data + 22) > fuzz::max_pixels)
    return 0;
  fuzz::read_picture(img_format_bmp, data, size);
  return 0;
}
