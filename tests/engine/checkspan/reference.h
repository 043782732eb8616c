// A slow, independent model of the pixel arithmetic: one pixel at a time, in plain ints, with plain
// divisions, everything chosen at run time. It shares nothing with the blit engine, not even the
// effect numbers, so that no single mistake goes unnoticed.
#pragma once

#include <cstdint>

namespace checkspan {

/// The effects by number, in script order.
enum {
  solid = 0,
  src = 1,
  dst = 2,
  srcoverdst = 3,
  first_composite = 4,
  last_composite = 12,
  additive = 13,
  subtractive,
  multiply,
  average,
  screen,
  first_channel_blend = 18,
  last_channel_blend = 23,
  and_blend = 24,
  or_blend,
  xor_blend,
  first_invert = 27,
  last_invert = 33,
  first_grey = 34,
  last_grey = 40,
  tint = 41,
};

/// How source pixels of value 0 are treated, and whether the rest is half translucent.
enum class keying { keyed, every_pixel, ghost };

/// What a blit does to a pixel, whatever operation runs it.
struct pixel_rule {
  int depth = 8;          ///< 8, 16 or 32
  bool channel = false;   ///< the source has an alpha channel
  bool dst_alpha = false; ///< the destination has one
  keying key = keying::keyed;
  int fx = solid;
  int alpha = 255; ///< global alpha
  int intensity = 0;
  uint32_t fxcolor = 0;
  const uint8_t *ghost = nullptr; ///< 256 x 256, row by source index
};

/// The new destination pixel.
uint32_t put_pixel(const pixel_rule &rule, uint32_t s, uint32_t d);

} // namespace checkspan
