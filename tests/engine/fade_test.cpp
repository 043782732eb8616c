// Fades: each depth's formula over all positions and levels, for every instruction set.
#include <cstring>
#include <functional>

#include <gtest/gtest.h>

#include "simd/cpu.h"
#include "support/world.h"
#include "surface/depth_tables.h"
#include "surface/palette.h"
#include "surface/screen.h"
#include "video/display.h"
#include "video/fades.h"
#include "video/presentation.h"
#include "video/rows.h"

namespace {

/// Darker below 100 percent, brighter above.
uint32_t level(uint32_t c, uint32_t p, uint32_t full) {
  return p <= 100 ? c * p / 100 : c + (full - c) * (p - 100) / 100;
}
/// A field of 16-bit pixels, which has 256 / step levels: each stands for the brightest of the
/// 8-bit levels that it covers.
uint32_t field(uint32_t v, uint32_t p, uint32_t step) {
  const uint32_t c = step * v + step - 1;
  return p <= 100 ? c * p / (100 * step) : (c + (256 - step - step * v) * (p - 100) / 100) / step;
}
uint32_t faded(uint32_t c, int32_t depth) {
  const auto [r, g, b] = fade_pos;
  if (depth == 16)
    return field(c >> 11, r, 8) << 11 | field(c >> 5 & 63, g, 4) << 5 | field(c & 31, b, 8);
  return (c & 0xFF000000) | level(c >> 16 & 255, r, 255) << 16 | level(c >> 8 & 255, g, 255) << 8 |
         level(c & 255, b, 255);
}

struct Fades : testing::Test {
  world w;
  const row_routines *const former = row_kernels;
  ~Fades() override { row_kernels = former; }

  /// Every position in turn for each channel, with other positions for the other two.
  static void each_position(const std::function<void()> &act) {
    for (int p = 0; p <= 200; ++p) {
      fade_pos = {uint8_t(p), uint8_t((p + 67) % 201), uint8_t((p + 134) % 201)};
      act();
    }
  }
};

TEST_F(Fades, RecolourEveryPixelButNotItsTopByte) {
  for (const int32_t depth : {16, 32})
    for (const instruction_set isa : {instruction_set::sse2, instruction_set::avx2}) {
      if (!cpu_has(isa)) continue;
      w.set_mode(depth);
      row_kernels = &one_for_each(rows_sse2, rows_avx2)[isa];
      each_position([&] {
        const auto colour = [=](uint32_t i) { // all levels of all channels
          return depth == 16 ? (i % 32) << 11 | (i % 64) << 5 | (31 - i % 32)
                             : i << 24 | (i & 255) << 16 | (~i & 255) << 8 | (i & 255) / 2;
        };
        screen->pixel_count = 256u + fade_pos.g % 19u; // seldom a multiple of the group size
        for (uint32_t i = 0; i < 300; ++i)
          set_pixel(*screen, i, 0, colour(i));
        do_fading(nullptr);
        for (uint32_t i = 0; i < 300; ++i)
          ASSERT_EQ(pixel(*screen, i, 0),
                    i < screen->pixel_count ? faded(colour(i), depth) : colour(i))
              << std::hex << colour(i) << " at " << std::dec << int(fade_pos.r);
      });
    }
}

TEST_F(Fades, EightBitsRecolourTheDisplayWithinTheRange) {
  w.set_mode(8);
  for (uint32_t i = 0; i < 256; ++i)
    palette->colours[i] = {uint8_t(i / 4 * 4), uint8_t(252 - i / 4 * 4), uint8_t(i / 4 * 4)};
  const __ORBPalette2D__ before = *palette;
  each_position([&] {
    fadepalette = {};
    const __FadeFX__ range{10, 250};
    do_fading(&range);
    for (int i = 0; i < 256; ++i) {
      const bool inside = i >= 10 && i < 250;
      const orb_rgb &from = before.colours[i], &to = fadepalette.colours[i];
      ASSERT_EQ(to.r, inside ? level(from.r, fade_pos.r, 252) : 0) << i;
      ASSERT_EQ(to.g, inside ? level(from.g, fade_pos.g, 252) : 0) << i;
      ASSERT_EQ(to.b, inside ? level(from.b, fade_pos.b, 252) : 0) << i;
    }
  });
  fade_pos = {100, 100, 100};
  const __FadeFX__ wild{-5, 1000}, *const all = nullptr;
  for (const __FadeFX__ *range : {&wild, all}) {
    fadepalette = {};
    do_fading(range);
    EXPECT_EQ(memcmp(&fadepalette, &before, sizeof before), 0);
  }
  fade_pos = {0, 0, 0};
  do_fading(nullptr);
  EXPECT_EQ(table_color8to32[200], 0u) << "the converting presentations show it too";
  EXPECT_EQ(memcmp(palette, &before, sizeof before), 0) << "the palette itself never fades";
}

} // namespace
