// Presentations: every depth pair with every filter and instruction set, and stretched to virtual
// resolutions, against a reference that works out each pixel of the display by itself.
#include <algorithm>
#include <functional>
#include <vector>

#include <gtest/gtest.h>

#include "engine/picture.h"
#include "simd/cpu.h"
#include "support/world.h"
#include "surface/depth_tables.h"
#include "surface/screen.h"
#include "video/mode_state.h"
#include "video/presentation.h"
#include "video/rows.h"
#include "video/virtual_resolution.h"
#include "video/zones.h"

namespace {

struct Presentations : testing::Test {
  world w;
  __ORBSurface2D__ *module_screen, *module_buffer;
  __ORBPalette2D__ colours;
  guarded_memory screen_memory{64 * 1024}, display_memory{512 * 1024};
  random_source random{base_seed()};

  Presentations() {
    w.set_mode(32);
    module_screen = screen;
    module_buffer = buffer;
    for (orb_rgb &c : colours.colours)
      c = {uint8_t(random.word()), uint8_t(random.word()), uint8_t(random.word())};
    colours.colours[9] = colours.colours[7]; // two indices that look alike aren't the same pixel
    update_depth_tables(&colours);
  }
  ~Presentations() override {
    mask_instruction_sets(instruction_set::avx2);
    delete_virtual_resolution();
    filter_scale = filter_scanline_percent = virtual_resolution = mode_bufferflipping = 0;
    num_framezones = complete_frame = fading_run = 0;
    screen = module_screen;
    buffer = module_buffer;
    mode.bpp = 32;
    set_screen_routines();
  }

  /// Noise, or a few colours that are often neighbours.
  void paint(picture &p) {
    static constexpr uint32_t few[] = {0xFF000007, 7, 0x7F3FE709, 0xFFFFFFFF};
    const bool noise = random.one_in(2);
    for (int y = 0; y < int(p.surface.height); ++y)
      for (int x = 0; x < int(p.surface.width); ++x)
        p.put(x, y, noise ? random.word() : random.any_of(few));
  }

  uint32_t converted(uint32_t pixel, depth_pair pair) const {
    if (pair.from == pair.to) return pixel;
    if (pair.from == 16)
      return pixel / 2048 * 8 * 65536 + pixel / 32 % 64 * 4 * 256 + pixel % 32 * 8;
    const orb_rgb c = colours.colours[pixel];
    return pair.to == 16 ? c.r / 8u * 2048 + c.g / 4u * 32 + c.b / 8u
                         : c.r * 65536u + c.g * 256u + c.b;
  }
  /// Each component loses a quarter, a half, or all but a quarter.
  static uint32_t darkened(uint32_t p, int depth, int lines) {
    const auto dark = [&](uint32_t c) {
      const uint32_t results[] = {c, c - c / 4, c / 2, c / 4};
      return results[lines];
    };
    if (lines == 0) return p;
    if (depth == 16) return dark(p / 2048) * 2048 + dark(p / 32 % 64) * 32 + dark(p % 32);
    return dark(p >> 16 & 255) << 16 | dark(p >> 8 & 255) << 8 | dark(p & 255);
  }
  /// The pixel of Scale2x in the left or right, upper or lower half of (x, y).
  static uint32_t scale2x(const picture &from, int x, int y, bool right, bool lower) {
    const auto near = [&](int dx, int dy) {
      return from.get(std::clamp(x + dx, 0, int(from.surface.width) - 1),
                      std::clamp(y + dy, 0, int(from.surface.height) - 1));
    };
    if (near(0, -1) == near(0, 1) || near(-1, 0) == near(1, 0)) return from.get(x, y);
    const uint32_t beside = near(right ? 1 : -1, 0);
    return beside == near(0, lower ? 1 : -1) ? beside : from.get(x, y);
  }

  /// Presents, and compares the display with what `shown(x, y, held)` says of each of its pixels.
  void compare(picture &from, picture &to, int type, bool other_depth,
               const std::function<uint32_t(int, int, uint32_t)> &shown) {
    screen = &from.surface;
    buffer = &to.surface;
    mode.bpp = from.surface.depth;
    ASSERT_EQ(set_screen_routines(), 1);
    paint(from);
    paint(to);
    const std::vector<uint8_t> before = to.bytes();
    for (int y = 0; y < int(to.surface.height); ++y)
      for (int x = 0; x < int(to.surface.width) && !other_depth; ++x)
        to.put(x, y, shown(x, y, to.get(x, y)));
    const std::vector<uint8_t> expected = to.bytes();
    to.set_bytes(before);
    if (other_depth) (random.one_in(2) ? from : to).surface.depth = 24;
    draw_screen(type);
    ASSERT_TRUE(to.bytes() == expected)
        << from.surface.width << "x" << from.surface.height << " on " << to.surface.width << "x"
        << to.surface.height << ", type " << type << ", other depth " << other_depth;
    if (other_depth) return;
    ASSERT_EQ(scr_pitch, int(from.surface.width));
    ASSERT_EQ(buf_pitch, int(to.surface.pitch) / (to.surface.depth / 8));
  }

  /// One presentation between surfaces of any sizes, after any other, of zones or all of it.
  void present(depth_pair pair) {
    // An 8-bit picture can't be darkened: its scan lines are black at every intensity.
    const int lines = pair.from == 8 && filter_scanline_percent ? 4 : filter_scanline_percent;
    const int scale = filter_scale ? 2 : 1, number = 5 * filter_scale + lines;
    const bool wide = random.one_in(30); // more than one conversion batch
    const int width = random.between(wide ? 2000 : 1, wide ? 2100 : 67);
    const int height = random.between(1, wide ? 3 : 9);
    const bool fits = !random.one_in(3);
    picture from(screen_memory, width, height, pair.from, random.one_in(2));
    picture to(display_memory, fits ? width * scale : random.between(1, 90),
               fits ? height * scale : random.between(1, 20), pair.to, random.one_in(2),
               4 * random.below(4));
    const int former = random.any_of({filter_status_stale, 0, 0, 1, 10, 15, number});
    filter_status = former;
    mode_bufferflipping = random.one_in(4);
    complete_frame = random.one_in(5);
    fading_run = random.one_in(5);
    const int type = random.one_in(4);
    num_framezones = random.below(5);
    for (int i = 0; i < num_framezones; ++i) {
      // Some lie across the edges: the mode may have shrunk since.
      const int x = random.between(-10, width + 10), y = random.between(-4, height + 4);
      const int zw = random.below(30), zh = random.below(8);
      framezones[i] = {x, y, x + zw - 1, y + zh - 1, zw, zh};
    }
    const bool all = number || type || complete_frame || fading_run || former;
    const bool clears = lines == 4 && (former != number || mode_bufferflipping);
    const int shown_w = std::min(width, int(to.surface.width) / scale) * scale;
    const int shown_h = std::min(height, int(to.surface.height) / scale) * scale;
    // Another depth after a mode change that failed.
    compare(from, to, type, random.one_in(20), [&](int x, int y, uint32_t held) {
      const bool in_zone = std::any_of(framezones, framezones + num_framezones, [&](const auto &z) {
        return x >= z.x0 && x < z.x0 + z.w && y >= z.y0 && y < z.y0 + z.h;
      });
      if (x >= shown_w || y >= shown_h || (lines == 4 && y % 2) || !(all || in_zone))
        return clears ? 0 : held;
      const uint32_t p = filter_scale == 2 ? scale2x(from, x / 2, y / 2, x % 2, y % 2)
                                           : from.get(x / scale, y / scale);
      return darkened(converted(p, pair), pair.to, y % 2 ? lines : 0);
    });
    ASSERT_EQ(filter_status, number);
  }
};

TEST_F(Presentations, ShowWhatTheFiltersMakeOfTheScreen) {
  uint32_t seed = base_seed() << 16;
  for (const auto isa : {instruction_set::sse2, instruction_set::avx2})
    for (const depth_pair pair : depth_pairs)
      for (filter_scale = 0; filter_scale < 3; ++filter_scale)
        for (filter_scanline_percent = 0; filter_scanline_percent < 5; ++filter_scanline_percent)
          for (int round = 0; round < 80; ++round) {
            mask_instruction_sets(isa);
            random = random_source(++seed);
            SCOPED_TRACE(testing::Message()
                         << pair.from << "->" << pair.to << ", scale " << filter_scale << ", lines "
                         << filter_scanline_percent << ", set " << int(isa) << ", seed " << seed);
            present(pair);
            if (HasFatalFailure()) return;
          }
}

TEST_F(Presentations, AVirtualResolutionStretchesTheScreen) {
  virtual_resolution = 1;
  filter_scanline_percent = 3; // ignored here
  for (int round = 0; round < 1200 && !HasFailure(); ++round) {
    const uint32_t seed = base_seed() * 5000 + uint32_t(round);
    SCOPED_TRACE(seed);
    random = random_source(seed);
    mask_instruction_sets(round % 2 ? instruction_set::sse2 : instruction_set::avx2);
    const depth_pair pair = depth_pairs[round / 2 % 6];
    const int width = random.between(1, 50), height = random.between(1, 20);
    const int columns = random.one_in(20) ? 2500 : random.between(1, 90);
    const int rows = random.between(1, 40);
    virtual_resolution_w = columns;
    virtual_resolution_h = rows;
    const bool keeps_shape = virtual_resolution_aspectratio = random.one_in(3);
    ASSERT_EQ(make_virtual_resolution(width, height), 1);
    virtual_resolution_w = 7; // for the next mode; this one's tables stay
    picture from(screen_memory, width, height, pair.from, random.one_in(2));
    picture to(display_memory, random.one_in(5) ? random.between(1, 90) : columns, rows, pair.to,
               random.one_in(2), 4 * random.below(3));
    const bool other_size = random.one_in(10); // of a screen that the tables aren't made for
    if (other_size) --from.surface.height;
    compare(from, to, 0, false, [&](int x, int y, uint32_t held) {
      // The borders that keep a picture's shape are the tables' entries of -1.
      if (other_size || x >= columns || (keeps_shape && virtual_buffer_w[x] < 0)) return held;
      if (keeps_shape && virtual_buffer_h[y] < 0) return held;
      const int u = keeps_shape ? virtual_buffer_w[x] : x * width / columns;
      const int v = keeps_shape ? virtual_buffer_h[y] / width : y * height / rows;
      return converted(from.get(u, v), pair);
    });
    ASSERT_EQ(filter_status, 15);
  }
}

TEST_F(Presentations, PairsThatCantBeShownKeepTheRoutine) {
  present_routine *const kept = draw_screen;
  __ORBSurface2D__ other = *buffer;
  buffer = &other;
  for (const auto &[from, to] :
       {depth_pair{8, 24}, {8, 15}, {16, 8}, {16, 24}, {32, 16}, {32, 8}}) {
    mode.bpp = from;
    other.depth = to;
    EXPECT_EQ(set_screen_routines(), 0);
    EXPECT_EQ(w.reports(), "fatal \"Unsupported Video Buffer Depth.\"");
    EXPECT_EQ(draw_screen, kept) << from << "->" << to;
  }
}

} // namespace
