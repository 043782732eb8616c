// Sampling along lines: source pixels at 16.16 positions that advance by steps, nearest neighbour.
// Rows of scaled blits are sampled by scaled_rows.h.
//
// Positions and steps are unsigned words that wrap: in a picture wider than 32767 pixels a position
// uses the sign bit. Callers make sure that every sampled position lies inside the picture.
#pragma once

#include <emmintrin.h>

#include <cstdint>

using four_positions = uint32_t __attribute__((vector_size(16)));

/// Four pixels at offsets.
template <typename Word> inline void fetch_four(Word *to, const Word *from, four_positions offset) {
  const Word p0 = from[offset[0]], p1 = from[offset[1]];
  const Word p2 = from[offset[2]], p3 = from[offset[3]];
  to[0] = p0;
  to[1] = p1;
  to[2] = p2;
  to[3] = p3;
}

/// The first four positions of a run.
inline four_positions ramp(uint32_t start, uint32_t step) {
  return four_positions{start, start + step, start + 2 * step, start + 3 * step};
}

/// Samples count pixels along a line through a picture of this width; advances `x` and `y`.
///
/// Computes the offsets y * width + x four at a time: a multiply-and-add of 16-bit pairs takes both
/// integer parts directly, as long as width and positions fit its signed factors.
template <typename Word>
inline void sample_line(Word *to, const Word *pixels, uint32_t width, uint32_t height, uint32_t &x,
                        uint32_t &y, uint32_t step_x, uint32_t step_y, int32_t count) {
  int32_t i = 0;
  if (width < 32768 && height < 32768) {
    four_positions xs = ramp(x, step_x), ys = ramp(y, step_y);
    const four_positions factors = four_positions{} + (width << 16 | 1);
    for (; i + 4 <= count; i += 4, xs += step_x * 4, ys += step_y * 4) {
      const four_positions whole = (xs >> 16) | (ys & 0xFFFF0000);
      fetch_four(to + i, pixels, four_positions(_mm_madd_epi16(__m128i(whole), __m128i(factors))));
    }
    x += step_x * uint32_t(i);
    y += step_y * uint32_t(i);
  }
  for (; i < count; ++i, x += step_x, y += step_y)
    to[i] = pixels[(y >> 16) * width + (x >> 16)];
}
