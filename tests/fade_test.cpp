// Fades: each depth's formula over all values, the steps, and when a fade starts.
#include <cmath>
#include <cstring>
#include <random>
#include <vector>

#include <gtest/gtest.h>

#include "fake_runtime.h"
#include "script/handlers.h"
#include "simd/cpu.h"
#include "surface/depth_tables.h"
#include "surface/palette.h"
#include "surface/screen.h"
#include "video/display.h"
#include "video/fades.h"
#include "video/presentation.h"
#include "video/rows.h"
#include "video/zones.h"

namespace {

int presented;

struct Fade : testing::Test {
  fake_runtime host;
  void (*former_draw)() = VID_DrawFrame;
  static inline int applied;

  Fade() {
    reset_fades();
    do_fading = [](const __FadeFX__ *) { ++applied; };
    applied = presented = 0;
    VID_DrawFrame = [] { ++presented; };
  }
  ~Fade() override {
    VID_DrawFrame = former_draw;
    do_fading = do_fading_8bits;
    reset_fades();
    screen = nullptr;
  }

  int run() {
    int updates = 0;
    while (*fading && updates < 100) {
      update_fade();
      ++updates;
    }
    return updates;
  }
};

/// The documented formulas in real numbers: the integer forms truncate.
uint32_t reference(uint32_t c, int p, uint32_t full) {
  if (p <= 100) return uint32_t(std::floor(double(c) * p / 100 + 1e-9));
  return c + uint32_t(std::floor(double(full - c) * (p - 100) / 100 + 1e-9));
}
uint32_t reference_field(uint32_t v, int p, uint32_t step) {
  const uint32_t c = step * v + step - 1;
  if (p <= 100) return uint32_t(std::floor(double(c) * p / (100.0 * step) + 1e-9));
  const double gain = std::floor(double(256 - step - step * v) * (p - 100) / 100 + 1e-9);
  return uint32_t(std::floor((c + gain) / step));
}

/// Every position in turn for each channel, with other positions for the other two.
template <typename F> void each_position(F &&with) {
  for (int p = 0; p <= 200; ++p) {
    fade_pos = {uint8_t(p), uint8_t((p + 67) % 201), uint8_t((p + 134) % 201)};
    with();
  }
}

/// The same with the routines of every instruction set the CPU has.
template <typename F> void each_position_and_set(F &&with) {
  const row_routines *const former = row_kernels;
  row_kernels = &rows_sse2;
  each_position(with);
  row_kernels = &rows_avx2;
  if (cpu_has(instruction_set::avx2)) each_position(with);
  row_kernels = former;
}

TEST_F(Fade, ThirtyTwoBitFormulaKeepsTheTopByte) {
  std::vector<uint32_t> pixels(256);
  __ORBSurface2D__ surface{};
  surface.width = 256;
  surface.height = 1;
  surface.depth = 32;
  screen = &surface;
  surface.pixels = pixels.data();
  each_position_and_set([&] {
    surface.pixel_count = 256u - fade_pos.g % 19u; // seldom a multiple of the group size
    for (uint32_t c = 0; c < 256; ++c)
      pixels[c] = (c ^ 0x5A) << 24 | c << 16 | (255 - c) << 8 | (c ^ 0x33);
    const std::vector<uint32_t> before = pixels;
    do_fading_32bits(nullptr);
    for (uint32_t i = 0; i < 256; ++i) {
      const uint32_t p = before[i];
      if (i >= surface.pixel_count) {
        ASSERT_EQ(pixels[i], p) << "beyond the screen";
        continue;
      }
      const uint32_t expected = (p & 0xFF000000) | reference(p >> 16 & 255, fade_pos.r, 255) << 16 |
                                reference(p >> 8 & 255, fade_pos.g, 255) << 8 |
                                reference(p & 255, fade_pos.b, 255);
      ASSERT_EQ(pixels[i], expected) << std::hex << p << " at position " << int(fade_pos.r);
    }
  });
}

TEST_F(Fade, SixteenBitFormula) {
  // Every value of every field.
  std::vector<uint16_t> pixels(64 + 16);
  __ORBSurface2D__ surface{};
  surface.width = 64;
  surface.height = 1;
  surface.depth = 16;
  surface.pixels = pixels.data();
  screen = &surface;
  each_position_and_set([&] {
    surface.pixel_count = 64u + fade_pos.g % 16u;
    for (uint32_t i = 0; i < pixels.size(); ++i)
      pixels[i] = uint16_t((i % 32) << 11 | (i % 64) << 5 | (31 - i % 32));
    const std::vector<uint16_t> before = pixels;
    do_fading_16bits(nullptr);
    for (uint32_t i = 0; i < pixels.size(); ++i) {
      const uint32_t p = before[i];
      const uint32_t faded = reference_field(p >> 11, fade_pos.r, 8) << 11 |
                             reference_field(p >> 5 & 63, fade_pos.g, 4) << 5 |
                             reference_field(p & 31, fade_pos.b, 8);
      ASSERT_EQ(pixels[i], i < surface.pixel_count ? faded : p)
          << std::hex << p << " at position " << int(fade_pos.r);
    }
  });
  fade_pos = {200, 200, 200};
  pixels[0] = 0;
  do_fading_16bits(nullptr);
  EXPECT_EQ(pixels[0], 0xFFFF) << "full brightness is 31, 63, 31";
}

TEST_F(Fade, EightBitFormulaWithinTheRange) {
  create_depth_tables();
  create_palette();
  for (int i = 0; i < 256; ++i) {
    const auto c = uint8_t(i / 4 * 4);
    palette->colours[i] = {c, uint8_t(252 - c), c};
  }
  const __ORBPalette2D__ before = *palette;
  each_position([&] {
    fadepalette = {};
    const __FadeFX__ range{10, 250};
    do_fading_8bits(&range);
    for (int i = 0; i < 256; ++i) {
      const bool inside = i >= 10 && i < 250;
      const orb_rgb &from = before.colours[i], &to = fadepalette.colours[i];
      ASSERT_EQ(to.r, inside ? reference(from.r, fade_pos.r, 252) : 0) << i;
      ASSERT_EQ(to.g, inside ? reference(from.g, fade_pos.g, 252) : 0) << i;
      ASSERT_EQ(to.b, inside ? reference(from.b, fade_pos.b, 252) : 0) << i;
    }
  });
  // A range beyond the palette is cut; an empty one means all of it.
  fade_pos = {100, 100, 100};
  const __FadeFX__ wild{-5, 1000};
  fadepalette = {};
  do_fading_8bits(&wild);
  EXPECT_EQ(memcmp(&fadepalette, &before, sizeof before), 0);
  fadepalette = {};
  do_fading_8bits(nullptr);
  EXPECT_EQ(memcmp(&fadepalette, &before, sizeof before), 0);
  EXPECT_EQ(memcmp(palette, &before, sizeof before), 0) << "the palette itself never fades";
  // The converting presentations show the faded colours too.
  fade_pos = {0, 0, 0};
  do_fading_8bits(nullptr);
  EXPECT_EQ(table_color8to32[200], 0u);
  delete_palette();
  delete_depth_tables();
}

TEST_F(Fade, StepCountsFollowTheSpeed) {
  // Updates until the fade ends: the step that reaches 64 ends it.
  struct {
    int32_t speed;
    int updates;
  } const rows[] = {{8, 8},  {64, 1},  {100, 1}, {63, 2},       {1, 64},
                    {0, 64}, {-7, 64}, {5, 13},  {INT32_MAX, 1}};
  for (const auto &row : rows) {
    reset_fades();
    EXPECT_EQ(start_fade(0, 50, 200, row.speed), 1);
    applied = 0;
    EXPECT_EQ(run(), row.updates) << "speed " << row.speed;
    EXPECT_EQ(applied, row.updates);
    EXPECT_EQ(fade_pos, (fade_levels{0, 50, 200})) << "speed " << row.speed;
  }
}

TEST_F(Fade, PositionsMoveInSixtyFourths) {
  start_fade(0, 200, 137, 8);
  for (int step = 8; step <= 64; step += 8) {
    update_fade();
    EXPECT_EQ(fade_pos.r, (100 * (64 - step) + 0 * step) / 64);
    EXPECT_EQ(fade_pos.g, (100 * (64 - step) + 200 * step) / 64);
    EXPECT_EQ(fade_pos.b, (100 * (64 - step) + 137 * step) / 64);
  }
}

TEST_F(Fade, ANewFadeGoesOnFromWhereTheOldOneStands) {
  start_fade(0, 0, 0, 16);
  update_fade();
  const fade_levels half = fade_pos;
  EXPECT_EQ(start_fade(200, 200, 200, 64), 1);
  EXPECT_EQ(fade_from, half);
  EXPECT_EQ(fade_step, 0);
}

TEST_F(Fade, ScriptsFindOutWhetherAFadeStarts) {
  fade_off();
  fade_on();
  EXPECT_EQ(host.call(ORB_screen_fade, 100, 100, 100, 8), 1) << "after a mode change always";
  EXPECT_EQ(host.call(ORB_screen_fade, 100, 100, 100, 8), 0) << "the target already";
  EXPECT_EQ(host.call(ORB_screen_fade_in), 0);
  EXPECT_EQ(host.call(ORB_screen_fade, -50, 300, 100, 8), 1);
  EXPECT_EQ(fade_to, (fade_levels{0, 200, 100})) << "percentages are clamped";
  EXPECT_EQ(host.call(ORB_screen_fade, 0, 200, 100, 1), 0);
  EXPECT_EQ(host.left_over(), 0u);
  EXPECT_EQ(host.call(ORB_screen_fade_in), 1);
  EXPECT_EQ(*fading, 1);
  EXPECT_EQ(fading_run, 1);
  EXPECT_EQ(fade_inc, 8);
  EXPECT_EQ(presented, 0);
}

TEST_F(Fade, FadingOutEndsBlackAndShowsOneFrame) {
  EXPECT_EQ(host.call(ORB_screen_fade_out), 1);
  EXPECT_EQ(*fading, 0);
  EXPECT_EQ(fade_pos, (fade_levels{0, 0, 0}));
  EXPECT_EQ(applied, 8);
  EXPECT_EQ(presented, 1);

  *fading = 1;
  EXPECT_EQ(host.call(ORB_screen_fade_out), 0) << "black already";
  EXPECT_EQ(*fading, 0);
  EXPECT_EQ(presented, 1);
}

TEST_F(Fade, ModeChangesFadeWithoutShowingAnything) {
  EXPECT_EQ(fade_off(), 1);
  EXPECT_EQ(*fading, 0);
  EXPECT_EQ(fade_pos, (fade_levels{0, 0, 0}));
  EXPECT_EQ(fade_off(), 1) << "black already, and still 1";
  EXPECT_EQ(fade_on(), 1);
  EXPECT_EQ(*fading, 1) << "fade_on returns at once";
  EXPECT_EQ(fade_pos, (fade_levels{0, 0, 0}));
  EXPECT_EQ(run(), 8);
  EXPECT_EQ(fade_pos, (fade_levels{100, 100, 100}));
  EXPECT_EQ(presented, 0);
}

TEST_F(Fade, AScriptThatWritesFadingItselfStopsAtOnce) {
  *fading = 1;
  EXPECT_EQ(run(), 1);
  EXPECT_EQ(fade_pos, (fade_levels{100, 100, 100}));
  start_fade(0, 0, 0, INT32_MAX);
  run();
  *fading = 1;
  EXPECT_EQ(run(), 1) << "the step doesn't overflow";
  EXPECT_EQ(fade_pos, (fade_levels{0, 0, 0}));
}

} // namespace
