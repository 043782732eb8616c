// The bodies of the samplers of turned rows (turned_rows.h), for the files that compile them for
// one instruction set. Everything is in an anonymous namespace, as in simd/lanes.h and for the same
// reason.
#pragma once

#include <emmintrin.h>

#include "blit/turned_rows.h"

namespace {

using four_positions = uint32_t __attribute__((vector_size(16)));

/// Fetches four pixels from a position on. A multiply-and-add of 16-bit pairs takes both integer
/// parts to y * width + x, as long as width and positions fit its signed factors.
template <typename Word>
inline void fetch_four(Word *to, const Word *pixels, four_positions xs, four_positions ys,
                       four_positions factors) {
  const four_positions whole = (xs >> 16) | (ys & 0xFFFF0000);
  const auto offset = four_positions(_mm_madd_epi16(__m128i(whole), __m128i(factors)));
  for (int i = 0; i < 4; ++i)
    to[i] = pixels[offset[i]];
}

/// The last four overlap those before them.
template <typename Word>
void sample_line(void *to_pixels, const void *from, uint32_t width, uint32_t height,
                 const source_line &line, int32_t count) {
  auto *const to = static_cast<Word *>(to_pixels);
  const auto *const pixels = static_cast<const Word *>(from);
  if (count < 4 || width > 32767 || height > 32767) {
    source_line at = line;
    for (int32_t i = 0; i < count; ++i, at.advance(1))
      to[i] = pixels[(at.y >> 16) * width + (at.x >> 16)];
    return;
  }
  const four_positions factors = four_positions{} + (width << 16 | 1);
  const four_positions lanes = {0, 1, 2, 3};
  const four_positions ramp_x = lanes * line.step_x, ramp_y = lanes * line.step_y;
  const four_positions far_x = four_positions{} + line.step_x * 4;
  const four_positions far_y = four_positions{} + line.step_y * 4;
  const int32_t last = count - 4;
  source_line end = line;
  end.advance(last);
  four_positions xs = ramp_x + line.x, ys = ramp_y + line.y;
  for (int32_t i = 0; i < last; i += 4, xs += far_x, ys += far_y)
    fetch_four(to + i, pixels, xs, ys, factors);
  fetch_four(to + last, pixels, ramp_x + end.x, ramp_y + end.y, factors);
}

} // namespace
