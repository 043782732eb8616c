// Plain presentation of every depth pair against a pixel-by-pixel reference, at odd sizes, with
// row padding and guard bytes on the display's side.
#include <algorithm>
#include <cstring>
#include <random>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "fake_runtime.h"
#include "frame/frame.h"
#include "surface/palette.h"
#include "surface/surface.h"
#include "video/fades.h"
#include "video/presentation.h"
#include "video/video.h"

namespace {

constexpr uint8_t guard = 0xA5;

/// A surface record over memory of its own, with `padding` bytes after each row and guard bytes
/// around everything.
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

struct depth_pair {
  int32_t from, to;
};
constexpr depth_pair pairs[] = {{8, 8}, {8, 16}, {8, 32}, {16, 16}, {16, 32}, {32, 32}};

struct Present : testing::Test {
  fake_runtime host;
  __ORBPalette2D__ colours;
  std::mt19937 random{20240607};

  Present() {
    for (orb_rgb &c : colours.colours)
      c = {uint8_t(random()), uint8_t(random()), uint8_t(random())};
    create_depth_tables();
    update_depth_tables(&colours);
    filter_scale = filter_scanline_percent = virtual_resolution = 0;
    screen_color_set = complete_frame = fading_run = 0;
    num_framezones = 0;
  }
  ~Present() override {
    screen = buffer = nullptr;
    mode = {};
    delete_depth_tables();
    num_framezones = filter_status = 0;
  }

  /// What a display pixel must be, from the colour that the screen's pixel stands for.
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

  void fill_randomly(picture &p) {
    for (uint32_t y = 0; y < p.surface.height; ++y)
      for (uint32_t x = 0; x < p.surface.width; ++x)
        p.put(x, y, uint32_t(random()));
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

TEST_F(Present, CompleteCopyOfEveryPairAtOddSizes) {
  for (const depth_pair pair : pairs)
    for (uint32_t width = 1; width <= 67; ++width) {
      const uint32_t height = 1 + width % 5;
      SCOPED_TRACE(std::to_string(pair.from) + "->" + std::to_string(pair.to) + " width " +
                   std::to_string(width));
      picture from(width, height, pair.from, 0);
      picture to(width, height, pair.to, width % 4 * 4);
      fill_randomly(from);
      picture expected = to;
      for (uint32_t y = 0; y < height; ++y)
        for (uint32_t x = 0; x < width; ++x)
          expected.put(x, y, converted(from.get(x, y), pair));
      use(from, to);
      draw_screen(1);
      ASSERT_EQ(to.memory, expected.memory);
      ASSERT_EQ(filter_status, 0);
    }
}

TEST_F(Present, ZonesCopyThemselvesAndNothingElse) {
  for (const depth_pair pair : pairs)
    for (int round = 0; round < 60; ++round) {
      const uint32_t width = 1 + random() % 90, height = 1 + random() % 40;
      picture from(width, height, pair.from, 0);
      picture to(width, height, pair.to, 4);
      fill_randomly(from);
      fill_randomly(to);
      picture expected = to;
      num_framezones = int32_t(random() % 6);
      for (int32_t i = 0; i < num_framezones; ++i) {
        // Some reach over the edges: the mode may have shrunk since the zone was noted.
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

TEST_F(Present, DisplayAndScreenOfUnequalSizesShareOnlyTheirCommonPart) {
  picture from(20, 10, 32, 0), to(13, 17, 32, 8);
  fill_randomly(from);
  picture expected = to;
  for (uint32_t y = 0; y < 10; ++y)
    for (uint32_t x = 0; x < 13; ++x)
      expected.put(x, y, from.get(x, y));
  use(from, to);
  draw_screen(1);
  EXPECT_EQ(to.memory, expected.memory);
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
  packed_at(8); // whatever depth the colour was packed for before, each of these is a change
  EXPECT_EQ(packed_at(16), (200u / 8) << 11 | (100u / 4) << 5 | 52u / 8);
  EXPECT_EQ(packed_at(32), 0xC86434u);
  EXPECT_EQ(packed_at(8), 77u);
  screen_color = 5; // set by the program in the present format
  EXPECT_EQ(packed_at(8), 5u);
  screen_color_set = 0;
  screen_color = 0;
  delete_palette();
}

} // namespace
