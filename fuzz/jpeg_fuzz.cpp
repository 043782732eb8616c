// The JPEG reader and its palette reader, including profiles of CMYK pictures.
#include "picture_fuzz.h"

namespace {

/// How many pixels the first frame header claims; 0 without one.
uint64_t claimed_pixels(const uint8_t *data, size_t size) {
  for (size_t i = 2; i + 9 <= size; i++) {
    const uint8_t kind = data[i + 1];
    const bool frame = kind >= 0xC0 && kind <= 0xCF && kind != 0xC4 && kind != 0xC8 && kind != 0xCC;
    if (data[i] == 0xFF && frame)
      return uint64_t(data[i + 5] << 8 | data[i + 6]) * uint64_t(data[i + 7] << 8 | data[i + 8]);
  }
  return 0;
}

} // namespace

extern "C" int LLVMFuzzerInitialize(int *, char ***) {
  fuzz::start_module();
  return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
  if (claimed_pixels(data, size) > fuzz::max_pixels) return 0;
  fuzz::read_picture(img_format_jpeg, data, size);
  return 0;
}
