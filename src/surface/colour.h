// Colours as integers in the pixel format of the video mode: 5-6-5 at 16 bits, 0xAARRGGBB at 32.
// Components are 0..255; the packers clamp. The device record's slots 63 to 67 hold the set of the
// current depth (in 8-bit modes the 16-bit set, which no script function then uses).
#pragma once

#include <cstdint>

/// 5-6-5 from components already within 0..255.
constexpr uint32_t pack565(uint32_t r, uint32_t g, uint32_t b) {
  return (r & 0xF8) << 8 | (g & 0xFC) << 3 | b >> 3;
}

/// In formats without alpha, a pixel less than half opaque becomes 0, the transparent key.
constexpr bool is_visible(uint32_t alpha) { return alpha >= 128; }
/// 5-6-5 of a pixel with alpha, 0xAARRGGBB: 0 when it is not visible. A visible pixel that would
/// pack to 0 becomes 1, the darkest blue.
constexpr uint32_t pack565_with_alpha(uint32_t argb) {
  if (!is_visible(argb >> 24)) return 0;
  const uint32_t packed = pack565(argb >> 16 & 255, argb >> 8 & 255, argb & 255);
  return packed ? packed : 1;
}

uint32_t set_rgb_16bits(int32_t r, int32_t g, int32_t b);
uint32_t set_rgbx_16bits(int32_t r, int32_t g, int32_t b);
uint32_t set_rgba_16bits(int32_t r, int32_t g, int32_t b, int32_t a);
/// Alpha 0.
uint32_t set_rgb_32bits(int32_t r, int32_t g, int32_t b);
/// Alpha 255.
uint32_t set_rgbx_32bits(int32_t r, int32_t g, int32_t b);
uint32_t set_rgba_32bits(int32_t r, int32_t g, int32_t b, int32_t a);

/// Unpacks; null pointers are skipped. Always 1. The alpha of a 16-bit colour reads 255.
int32_t get_rgb_16bits(uint32_t colour, int32_t *r, int32_t *g, int32_t *b);
int32_t get_rgb_32bits(uint32_t colour, int32_t *r, int32_t *g, int32_t *b);
int32_t get_rgba_16bits(uint32_t colour, int32_t *r, int32_t *g, int32_t *b, int32_t *a);
int32_t get_rgba_32bits(uint32_t colour, int32_t *r, int32_t *g, int32_t *b, int32_t *a);

/// Puts the set of `depth` into device slots 63 to 67.
void set_colour_routines(int32_t depth);
