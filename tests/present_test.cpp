// Every presentation of every depth pair against a pixel-by-pixel reference, with both instruction
// sets, at odd sizes, with row padding and guard bytes on the display.
#include <algorithm>
#include <cstring>
#include <random>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "fake_runtime.h"
#include "simd/cpu.h"
#include "surface/depth_tables.h"
#include "surface/palette.h"
#include "surface/screen.h"
#include "video/mode_state.h"
#include "video/presentation.h"
#include "video/restore.h"
#include "video/rows.h"
#include "video/virtual_resolution.h"
#include "video/zones.h"

namespace {

constexpr uint8_t guard = 0xA5;

/// A surface record over its own memory, with `padding` bytes after each row and guard bytes around
/// everything.
struct picture {
  __ORBSurface2D__ surface{};
  std::vector<uint8_t> memory;

  picture(uint32_t width, uint32_t height, int32_t depth, uint32_t padding) {
    surface.width = width;
    surface.height = height;
    surface.depth = depth;
    surface.pitch = width * uint32_t(depth / 8) + padding;
    surface.pixel_count = width * height;
    surface.byte_size = surface.pitch * height;
    memory.assign(surface.byte_size + 64, guard);
    surface.pixels = memory.data() + 32;
  }
  uint32_t get(uint32_t x, uint32_t y) const {
    const uint8_t *at = memory.data() + 32 + y * surface.pitch + x * uint32_t(surface.depth / 8);
    uint32_t value = 0;
    memcpy(&value, at, size_t(surface.depth / 8));
    return value;
  }
  void put(uint32_t x, uint32_t y, uint32_t value) {
    memcpy(memory.data() + 32 + y * surface.pitch + x * uint32_t(surface.depth / 8), &value,
           size_t(surface.depth / 8));
  }
};

struct Present : testing::Test {
  fake_runtime host;
  __ORBPalette2D__ colours;
  std::mt19937 random{20240607};
  static constexpr uint32_t few_colours[4] = {0xFF000007, 0x00000007, 0x7F3FE709, 0xFFFFFFFF};

  Present() {
    for (orb_rgb &c : colours.colours)
      c = {uint8_t(random()), uint8_t(random()), uint8_t(random())};
    colours.colours[9] = colours.colours[7];
    create_depth_tables();
    update_depth_tables(&colours);
    filter_scale = filter_scanline_percent = virtual_resolution = 0;
    screen_color_set = complete_frame = fading_run = 0;
    num_framezones = 0;
  }
  ~Present() override {
    mask_instruction_sets(instruction_set::avx2);
    delete_virtual_resolution();
    virtual_resolution = virtual_resolution_w = virtual_resolution_h = 0;
    virtual_resolution_aspectratio = mode_bufferflipping = 0;
    filter_scale = filter_scanline_percent = 0;
    screen = buffer = nullptr;
    mode = {};
    delete_depth_tables();
    num_framezones = filter_status = 0;
  }

  /// The expected display pixel for the colour of a screen pixel.
  uint32_t converted(uint32_t pixel, depth_pair pair) const {
    if (pair.from == pair.to) return pixel;
    if (pair.from == 16) {
      const uint32_t r = pixel / 2048 * 8, g = pixel / 32 % 64 * 4, b = pixel % 32 * 8;
      return r * 65536 + g * 256 + b;
    }
    const orb_rgb c = colours.colours[pixel];
    if (pair.to == 16) return c.r / 8u * 2048 + c.g / 4u * 32 + c.b / 8u;
    return c.r * 65536u + c.g * 256u + c.b;
  }

  /// Noise, or a few colours that are often adjacent. Two palette entries are nearly equal.
  void fill_randomly(picture &p) {
    const bool few = random() % 2;
    for (uint32_t y = 0; y < p.surface.height; ++y)
      for (uint32_t x = 0; x < p.surface.width; ++x)
        p.put(x, y, few ? few_colours[random() % 4] : uint32_t(random()));
  }

  /// A display pixel in a row with reduced scanline intensity: each component loses a quarter, a
  /// half, or all but a quarter.
  static uint32_t darkened(uint32_t pixel, int32_t depth, int32_t lines) {
    const auto dark = [&](uint32_t c) {
      const uint32_t results[] = {c, c - c / 4, c / 2, c / 4, 0};
      return results[lines];
    };
    if (lines == 0) return pixel;
    if (depth == 16)
      return dark(pixel / 2048) * 2048 + dark(pixel / 32 % 64) * 32 + dark(pixel % 32);
    return dark(pixel >> 16 & 255) << 16 | dark(pixel >> 8 & 255) << 8 | dark(pixel & 255);
  }

  /// One of the four pixels that Scale2x produces for (x, y).
  static uint32_t scale2x(const picture &from, uint32_t x, uint32_t y, bool right, bool lower) {
    const uint32_t e = from.get(x, y);
    const uint32_t b = y > 0 ? from.get(x, y - 1) : e, d = x > 0 ? from.get(x - 1, y) : e;
    const uint32_t f = x + 1 < from.surface.width ? from.get(x + 1, y) : e;
    const uint32_t h = y + 1 < from.surface.height ? from.get(x, y + 1) : e;
    if (b == h || d == f) return e;
    const uint32_t beside = right ? f : d, over = lower ? h : b;
    return beside == over ? beside : e;
  }

  /// Draws on `to` what the active filters must show of `from`, pixel by pixel.
  void draw_reference(const picture &from, picture &to, depth_pair pair, bool clears) const {
    int32_t lines = filter_scanline_percent;
    if (pair.from == 8 && lines > 0) lines = 4;
    const uint32_t scale = filter_scale ? 2 : 1;
    const uint32_t shown_w = std::min(from.surface.width, to.surface.width / scale) * scale;
    const uint32_t shown_h = std::min(from.surface.height, to.surface.height / scale) * scale;
    for (uint32_t y = 0; y < to.surface.height; ++y)
      for (uint32_t x = 0; x < to.surface.width; ++x) {
        if (lines == 4 && clears) to.put(x, y, 0);
        if (x >= shown_w || y >= shown_h || (lines == 4 && y % 2 == 1)) continue;
        const uint32_t pixel = filter_scale == 2 ? scale2x(from, x / 2, y / 2, x % 2, y % 2)
                                                 : from.get(x / scale, y / scale);
        to.put(x, y, darkened(converted(pixel, pair), pair.to, y % 2 ? lines : 0));
      }
  }

  /// Calls with(pair) for every depth pair and filter, with both instruction sets if the CPU has
  /// them.
  template <typename F> void each_filter(F &&with) {
    for (const auto isa : {instruction_set::sse2, instruction_set::avx2}) {
      mask_instruction_sets(isa);
      for (const depth_pair pair : depth_pairs)
        for (filter_scale = 0; filter_scale < 3; ++filter_scale)
          for (filter_scanline_percent = 0; filter_scanline_percent < 5;
               ++filter_scanline_percent) {
            SCOPED_TRACE(std::to_string(pair.from) + "->" + std::to_string(pair.to) + " scale " +
                         std::to_string(filter_scale) + " lines " +
                         std::to_string(filter_scanline_percent) + " set " +
                         std::to_string(int(isa)));
            with(pair);
            if (HasFatalFailure()) return;
          }
    }
  }

  /// One complete presentation, compared with the reference.
  void check(picture &from, picture &to, depth_pair pair) {
    fill_randomly(from);
    picture expected = to;
    draw_reference(from, expected, pair, true);
    use(from, to);
    filter_status = filter_status_stale;
    draw_screen(1);
    ASSERT_EQ(to.memory, expected.memory) << from.surface.width << "x" << from.surface.height
                                          << " on " << to.surface.width << "x" << to.surface.height;
    ASSERT_EQ(scr_pitch, int32_t(from.surface.width));
    ASSERT_EQ(buf_pitch, int32_t(to.surface.pitch) / (pair.to / 8));
  }

  void use(picture &from, picture &to) {
    screen = &from.surface;
    buffer = &to.surface;
    mode.width = int32_t(from.surface.width);
    mode.height = int32_t(from.surface.height);
    mode.bpp = from.surface.depth;
    ASSERT_EQ(set_screen_routines(), 1);
  }
};

TEST_F(Present, EveryFilterOfEveryPairAtOddSizes) {
  each_filter([&](depth_pair pair) {
    const uint32_t scale = filter_scale ? 2 : 1;
    const auto at_size = [&](uint32_t width, uint32_t height, uint32_t padding) {
      picture from(width, height, pair.from, 0);
      picture to(width * scale, height * scale, pair.to, padding);
      check(from, to, pair);
    };
    for (uint32_t width = 1; width <= 67; ++width) {
      at_size(width, 1 + random() % 6, width % 4 * 4);
      if (HasFatalFailure()) return;
    }
    at_size(2100, 3, 8); // more than one conversion batch
    at_size(320, 200, 0);
  });
}

TEST_F(Present, SurfacesOfUnequalSizesShareOnlyTheirCommonPart) {
  each_filter([&](depth_pair pair) {
    for (int round = 0; round < 12; ++round) {
      picture from(1 + random() % 40, 1 + random() % 10, pair.from, 0);
      picture to(1 + random() % 80, 1 + random() % 20, pair.to, random() % 2 * 4);
      check(from, to, pair);
      if (HasFatalFailure()) return;
    }
  });
}

TEST_F(Present, SurfacesOfAnotherDepthAreLeftAlone) {
  each_filter([&](depth_pair pair) {
    picture from(9, 6, pair.from, 0), to(18, 12, pair.to, 4);
    use(from, to);
    for (const auto &[screen_depth, display_depth] :
         {depth_pair{pair.from == 8 ? 16 : 8, pair.to}, depth_pair{pair.from, 24}}) {
      from.surface.depth = screen_depth;
      to.surface.depth = display_depth;
      const picture before = to;
      filter_status = filter_status_stale;
      draw_screen(1);
      ASSERT_EQ(to.memory, before.memory);
    }
  });
}

TEST_F(Present, AVirtualResolutionShowsWhatItsTablesSay) {
  virtual_resolution = 1;
  filter_scanline_percent = 3; // ignored here
  for (const auto isa : {instruction_set::sse2, instruction_set::avx2})
    for (const depth_pair pair : depth_pairs)
      for (int round = 0; round < 60; ++round) {
        mask_instruction_sets(isa);
        const bool wide = round == 0;
        const auto width = int32_t(1 + random() % 50), height = int32_t(1 + random() % 20);
        virtual_resolution_w = int32_t(wide ? 2500 : 1 + random() % 90);
        virtual_resolution_h = int32_t(1 + random() % 40);
        virtual_resolution_aspectratio = round % 3 == 0;
        ASSERT_EQ(make_virtual_resolution(width, height), 1);
        if (round % 4 == 3) virtual_buffer_w[virtual_resolution_w / 2] = -1;
        // The tables do not depend on the requested next mode.
        const int32_t columns = virtual_resolution_w, rows = virtual_resolution_h;
        virtual_resolution_w = int32_t(1 + random() % 100);
        picture from(uint32_t(width), uint32_t(height), pair.from, 0);
        // The display usually has the requested depth.
        const uint32_t display_w = uint32_t(round % 5 == 4 ? 1 + int32_t(random() % 90) : columns);
        picture to(display_w, uint32_t(rows), pair.to, random() % 2 * 4);
        fill_randomly(from);
        picture expected = to;
        for (int32_t y = 0; y < rows; ++y)
          for (int32_t x = 0; x < std::min(columns, int32_t(display_w)); ++x) {
            const int32_t offset = virtual_buffer_h[y], column = virtual_buffer_w[x];
            if (offset < 0 || column < 0) continue;
            const uint32_t pixel = from.get(uint32_t(column), uint32_t(offset / width));
            expected.put(uint32_t(x), uint32_t(y), converted(pixel, pair));
          }
        use(from, to);
        draw_screen(0);
        ASSERT_EQ(to.memory, expected.memory)
            << pair.from << "->" << pair.to << " round " << round << " set " << int(isa);
        EXPECT_EQ(filter_status, 15);

        // A screen other than the one the tables were made for.
        picture narrower(uint32_t(width) + 1, uint32_t(height), pair.from, 0);
        screen = &narrower.surface;
        draw_screen(1);
        ASSERT_EQ(to.memory, expected.memory);
      }
}

TEST_F(Present, Scale2xRoundsStepsAndKeepsLines) {
  filter_scale = 2;
  const char *const drawn[] = {
      ".#...", // a one-pixel line, and a diagonal
      ".#..#", //
      ".#.#.",
  };
  const char *const shown[] = {
      "..##......", "..##......", "..##....##", "..##...###", "..##..###.", "..##..##..",
  };
  picture from(5, 3, 16, 0), to(10, 6, 16, 0);
  for (uint32_t y = 0; y < 3; ++y)
    for (uint32_t x = 0; x < 5; ++x)
      from.put(x, y, drawn[y][x] == '#' ? 0xFFFF : 0);
  use(from, to);
  draw_screen(1);
  for (uint32_t y = 0; y < 6; ++y) {
    std::string row;
    for (uint32_t x = 0; x < 10; ++x)
      row += to.get(x, y) ? '#' : '.';
    EXPECT_EQ(row, shown[y]) << y;
  }
}

TEST_F(Present, DarkenedWhite) {
  picture from(1, 2, 16, 0), to(1, 2, 16, 0);
  from.put(0, 1, 0xFFFF);
  const uint32_t expected[] = {0xFFFF, 0xC618, 0x7BEF, 0x39E7, 0};
  for (filter_scanline_percent = 0; filter_scanline_percent < 5; ++filter_scanline_percent) {
    use(from, to);
    draw_screen(1);
    EXPECT_EQ(to.get(0, 1), expected[filter_scanline_percent]);
    EXPECT_EQ(filter_status, filter_scanline_percent);
  }
}

TEST_F(Present, BlackLinesAreClearedWhenSomethingElseWasShown) {
  each_filter([&](depth_pair pair) {
    const bool black = filter_scanline_percent == 4 || (pair.from == 8 && filter_scanline_percent);
    const int32_t number = 5 * filter_scale + (black ? 4 : filter_scanline_percent);
    const uint32_t scale = filter_scale ? 2 : 1;
    picture from(6, 4, pair.from, 0), to(6 * scale, 4 * scale, pair.to, 4);
    fill_randomly(from);
    use(from, to);
    const auto agrees = [&](bool clears) {
      fill_randomly(to);
      picture expected = to;
      draw_reference(from, expected, pair, clears);
      draw_screen(1);
      EXPECT_EQ(filter_status, number);
      return to.memory == expected.memory;
    };
    for (const int32_t before : {filter_status_stale, 0, 1, 10, 15}) {
      if (before == number) continue;
      filter_status = before;
      EXPECT_TRUE(agrees(true)) << before;
      EXPECT_TRUE(agrees(false)) << "once is enough, after " << before;
    }
    mode_bufferflipping = 1;
    EXPECT_TRUE(agrees(true)) << "the other page";
    mode_bufferflipping = 0;
  });
}

TEST_F(Present, ZonesCopyThemselvesAndNothingElse) {
  for (const depth_pair pair : depth_pairs)
    for (int round = 0; round < 60; ++round) {
      const uint32_t width = 1 + random() % 90, height = 1 + random() % 40;
      picture from(width, height, pair.from, 0);
      picture to(width, height, pair.to, 4);
      fill_randomly(from);
      fill_randomly(to);
      picture expected = to;
      num_framezones = int32_t(random() % 6);
      for (int32_t i = 0; i < num_framezones; ++i) {
        // Some cross the edges: the mode may have shrunk since the zone was recorded.
        const int32_t x = int32_t(random() % (width + 20)) - 10;
        const int32_t y = int32_t(random() % (height + 20)) - 10;
        const int32_t w = int32_t(random() % 30), h = int32_t(random() % 30);
        framezones[i] = {x, y, x + w - 1, y + h - 1, w, h};
        for (int32_t py = std::max(y, 0); py < std::min(y + h, int32_t(height)); ++py)
          for (int32_t px = std::max(x, 0); px < std::min(x + w, int32_t(width)); ++px)
            expected.put(uint32_t(px), uint32_t(py),
                         converted(from.get(uint32_t(px), uint32_t(py)), pair));
      }
      use(from, to);
      filter_status = 0;
      draw_screen(0);
      ASSERT_EQ(to.memory, expected.memory)
          << pair.from << "->" << pair.to << " round " << round << ", " << width << "x" << height;
    }
}

TEST_F(Present, PartialCopiesBecomeCompleteWhenTheDisplayIsOutOfDate) {
  picture from(9, 7, 16, 0), to(9, 7, 16, 2);
  fill_randomly(from);
  use(from, to);
  const auto differs = [&] { return to.get(8, 6) != from.get(8, 6); };
  const auto spoil = [&] { to.put(8, 6, ~from.get(8, 6)); };

  filter_status = 0;
  spoil();
  draw_screen(0);
  EXPECT_TRUE(differs()) << "no zone, nothing to copy";

  uint8_t *const flags[] = {&complete_frame, &fading_run};
  for (uint8_t *flag : flags) {
    *flag = 1;
    spoil();
    draw_screen(0);
    *flag = 0;
    EXPECT_FALSE(differs());
  }
  for (const int32_t status : {10, filter_status_stale}) {
    filter_status = status;
    spoil();
    draw_screen(0);
    EXPECT_FALSE(differs()) << status;
    spoil();
    draw_screen(0);
    EXPECT_TRUE(differs()) << "complete once only, status " << status;
  }
}

TEST_F(Present, PairsThatCantBePresentedAreReportedAndKeepTheRoutine) {
  picture from(4, 4, 32, 0), to(4, 4, 32, 0);
  use(from, to);
  present_routine *const kept = draw_screen;
  const depth_pair impossible[] = {{8, 24},  {8, 15},  {16, 8}, {16, 24},
                                   {32, 16}, {32, 24}, {32, 8}};
  for (const depth_pair pair : impossible) {
    mode.bpp = pair.from;
    to.surface.depth = pair.to;
    host.fatals.clear();
    EXPECT_EQ(set_screen_routines(), 0);
    EXPECT_EQ(host.fatals, std::vector<std::string>{"Unsupported Video Buffer Depth."});
    EXPECT_EQ(draw_screen, kept) << pair.from << "->" << pair.to;
  }
}

TEST_F(Present, RestoreRoutinesFollowDepthAndScreenColour) {
  struct {
    int32_t depth;
    restore_routine *plain, *coloured, *from_ground;
  } const rows[] = {
      {8, clear_screen_8bits, clear_screen_color_8bits, draw_ground_8bits},
      {16, clear_screen_16bits, clear_screen_color_16bits, draw_ground_16bits},
      {32, clear_screen_32bits, clear_screen_color_32bits, draw_ground_32bits},
  };
  for (const auto &row : rows) {
    picture from(4, 4, row.depth, 0), to(4, 4, row.depth, 0);
    screen_color_set = 0;
    use(from, to);
    EXPECT_EQ(clear_screen, row.plain);
    EXPECT_EQ(draw_ground, row.from_ground);
    screen_color_set = 1;
    use(from, to);
    EXPECT_EQ(clear_screen, row.coloured);
  }
}

TEST_F(Present, ScreenColourIsPackedAnewWhenTheDepthChanges) {
  create_palette();
  palette->colours[77] = {200, 100, 52};
  screen_color_set = 1;
  screen_color_rgb = {200, 100, 52};
  const auto packed_at = [](int32_t depth) {
    mode.bpp = depth;
    set_screen_color();
    return screen_color;
  };
  packed_at(8); // sets a known depth, so that each of these is a change
  EXPECT_EQ(packed_at(16), (200u / 8) << 11 | (100u / 4) << 5 | 52u / 8);
  EXPECT_EQ(packed_at(32), 0xC86434u);
  EXPECT_EQ(packed_at(8), 77u);
  screen_color = 5; // set by the program in the presentation's format
  EXPECT_EQ(packed_at(8), 5u);
  screen_color_set = 0;
  screen_color = 0;
  delete_palette();
}

} // namespace
