// For the fuzz targets of the picture readers: passes an input to a format's probe, its reader at
// every depth, and its palette reader.
#pragma once

#include <initializer_list>

#include <zlib.h>

#include "formats/codec.h"
#include "fuzz_host.h"

namespace fuzz {

/// Bigger pictures only take time. Targets skip inputs that claim more, where a short file can.
inline constexpr uint32_t max_pixels = 1u << 18;

inline void use_picture(int32_t loaded) {
  if (loaded != (image_data != nullptr)) abort();
  if (!loaded) return;
  // Every byte of the picture must be mapped and initialised.
  const size_t size = size_t(image_w) * size_t(image_h) * size_t(image_bpp / 8);
  if (crc32(0, static_cast<const uint8_t *>(image_data), uInt(size)) == 0x12345678) putchar(' ');
}

inline void read_picture(image_format format, const uint8_t *data, size_t size) {
  const char *path = put_input(data, size);
  const image_codec &codec = *codec_for(format);
  for (int32_t depth : {32, 16, 8}) {
    mode.bpp = depth; // the tables stay those of 8 bits, which is enough for the readers
    reset_image();
    use_picture(codec.check(path, nullptr) ? codec.load(path, nullptr) : 0);
  }
  codec.load_palette(path);
  reset_image();
}

} // namespace fuzz
