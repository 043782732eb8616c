// Conversion of truecolour rows, 0xAARRGGBB, from codecs to the depth of the screen, and of 16-bit
// pixels back for files.
#pragma once

#include <cstdint>

/// A conversion. Plain data, so that a long jump may skip it.
struct truecolour_conversion {
  int32_t depth; // 8, 16 or 32: what the rows become
  bool alpha;    // the picture has an alpha channel
};

/// Prepares to convert a picture to the depth of the video mode. False in an 8-bit mode without a
/// palette.
bool begin_truecolour(truecolour_conversion *conversion, bool alpha);

/// Converts `count` pixels:
///  - 32 bits: copies them.
///  - 16 bits: packs them 5-6-5. In pictures with alpha, pixels below alpha 128 become 0, and a
///    visible one that would pack to 0, the transparent key, becomes 1, the darkest blue.
///  - 8 bits: takes the nearest colour of the palette in force, which never is entry 0. In
///    pictures with alpha, pixels below alpha 128 become 0.
void convert_truecolour_row(const truecolour_conversion &conversion, void *to, const uint32_t *from,
                            uint32_t count);

/// A 5-6-5 pixel as 0x00RRGGBB for a file, by shifts only, so that packing the file's colours gives
/// the same pixel.
constexpr uint32_t widen565(uint16_t pixel) {
  return uint32_t(pixel >> 11) << 19 | uint32_t(pixel >> 5 & 63) << 10 | uint32_t(pixel & 31) << 3;
}
