// The TGA reader and its palette reader.
#include "picture_fuzz.h"

extern "C" int LLVMFuzzerInitialize(int *, char ***) {
  fuzz::start_module();
  return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
  fuzz::read_picture(img_format_tga, data, size);
  return 0;
}
