// The rasterisers against their references, inside memory that must stay as it is.
#include <algorithm>
#include <chrono>
#include <climits>
#include <cmath>

#include <gtest/gtest.h>

#include "engine/picture.h"
#include "engine/shapes.h"
#include "raster/raster.h"
#include "support/world.h"
#include "surface/palette.h"
#include "surface/screen.h"

using namespace shapes;

namespace {

constexpr int depths[] = {8, 16, 32};

/// Shapes are drawn on a part of a larger picture.
struct Raster : testing::Test {
  world w;
  guarded_memory memory{64 * 1024};

  struct target {
    picture all;
    __ORBSurface2D__ part;
    target(guarded_memory &memory, int depth, random_source &random)
        : all(memory, width + 5, height + 8, depth, true), part(all.surface) {
      all.fill(random, 4);
      part.width = width;
      part.height = height;
      part.pixels = all.at(2, 4);
    }
    void put(int64_t x, int64_t y, uint32_t value) { all.put(int(x) + 2, int(y) + 4, value); }
    uint32_t get(int64_t x, int64_t y) const { return all.get(int(x) + 2, int(y) + 4); }
    std::string text(const pixel_set &wanted, const std::vector<uint8_t> &before) const {
      std::string out = "\n";
      for (int y = 0; y < height; ++y, out += '\n')
        for (int x = 0; x < width; ++x) {
          const size_t at = size_t(all.at(x + 2, y + 4) - all.at(0, 0));
          const bool drawn = get(x, y) != read_pixel(&before[at], part.depth);
          out += wanted.contains({x, y}) ? (drawn ? '#' : '-') : drawn ? '+' : '.';
        }
      return out; // # drawn, - missing, + too much
    }
  };

  static int32_t near(random_source &random, int size) {
    switch (random.below(10)) {
    case 0: return random.between(-700, 700);
    case 1: return random.between(-1, 1) + (random.one_in(2) ? size - 1 : 0);
    case 2: return random.below(size);
    default: return random.between(-15, size + 15);
    }
  }
  /// Any number, often where sums overflow.
  static int32_t far(random_source &random) {
    static constexpr int32_t ends[] = {INT_MIN, INT_MIN + 1, -65536,      -1,     0,
                                       1,       20,          INT_MAX - 1, INT_MAX};
    return random.one_in(2) ? random.any_of(ends) : int32_t(random.word());
  }
  static arguments place(const shape &s, random_source &random) {
    arguments a = {near(random, width), near(random, height), near(random, width),
                   near(random, height)};
    if (!random.one_in(s.round ? 12 : 6)) return a;
    if (!s.round) {
      for (int32_t &each : a)
        if (random.one_in(2)) each = far(random);
      const auto across = [](int size, int32_t from) { // through the middle; may wrap
        return int32_t(uint32_t(size - 1) - uint32_t(from));
      };
      if (random.one_in(2)) a = {a[0], a[1], across(width, a[0]), across(height, a[1])};
      return a;
    }
    // A large shape whose edge passes near the surface, often where its octants meet. Above 4096
    // ellipses are traced in another way.
    const int radius = 4090 + random.below(random.any_of({20, 20, 2000, 30000}));
    const double angle =
        random.one_in(2) ? random.below(6283) / 1000.0 : random.below(8) * 0.785398;
    a[2] = a[3] = radius;
    if (s.name == std::string("csellipse") && random.one_in(2)) // a whole ratio, or any
      a[2 + random.below(2)] =
          random.one_in(2) ? radius / random.between(2, 5) : random.below(radius);
    if (a[2] > a[3] && random.one_in(2)) a[2] = a[2] / std::max(a[3], 1) * a[3];
    a[0] = int32_t(width / 2 - a[2] * std::cos(angle));
    a[1] = int32_t(height / 2 - a[3] * std::sin(angle));
    return a;
  }
};

TEST_F(Raster, ShapesAreThoseOfTheReferences) {
  uint32_t seed = base_seed() << 16;
  for (const shape &s : all)
    for (int i = 0; i < 3000 && !HasFailure(); ++i) {
      random_source random(++seed);
      const arguments a = place(s, random);
      const int depth = depths[i % 3], fill = i & 1 ? int(random.word() | 1) : 0;
      plotter reference;
      s.reference(reference, a, fill);
      set_raster_routines(depth);
      target drawn(memory, depth, random);
      const uint32_t colour = random.word();
      const std::vector<uint8_t> before = drawn.all.bytes();
      for (const auto &[x, y] : reference.pixels)
        drawn.put(x, y, colour);
      const std::vector<uint8_t> expected = drawn.all.bytes();
      drawn.all.set_bytes(before);
      ground = random.one_in(4) ? nullptr : &drawn.part;
      ground_puting = 0;
      s.draw(&drawn.part, a, colour, fill);
      EXPECT_EQ(ground_puting, ground && !reference.pixels.empty());
      ground = nullptr; // there is no mode
      EXPECT_TRUE(drawn.all.bytes() == expected)
          << s.name << depth << " (" << a[0] << ", " << a[1] << ", " << a[2] << ", " << a[3]
          << "), fill " << fill << ", seed " << seed << drawn.text(reference.pixels, before);
      // Surfaces that aren't there, or have another depth.
      drawn.all.set_bytes(before);
      if (i % 20) continue;
      set_raster_routines(depths[(i + 1) % 3]);
      s.draw(&drawn.part, a, colour, fill);
      s.draw(nullptr, a, colour, fill);
      EXPECT_TRUE(drawn.all.bytes() == before);
    }
}

TEST_F(Raster, RoundShapesOfAnySizeTakeNoTime) {
  const auto start = std::chrono::steady_clock::now();
  random_source random(base_seed());
  for (const shape &s : all)
    for (int i = 0; i < 1000 && s.round; ++i) {
      set_raster_routines(8);
      target drawn(memory, 8, random);
      const std::vector<uint8_t> before = drawn.all.bytes();
      s.draw(&drawn.part, {far(random), far(random), far(random), far(random)}, 1, i & 1);
      for (int y = 0; y < height; ++y)
        for (int x = 0; x < width; ++x)
          drawn.put(x, y, before[size_t(drawn.all.at(x + 2, y + 4) - drawn.all.at(0, 0))]);
      ASSERT_TRUE(drawn.all.bytes() == before) << s.name << " " << i;
    }
  EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::seconds(10));
}

/// A pixel under the alpha form of a drawing.
uint32_t blended(int depth, uint32_t d) {
  if (depth == 8) {
    const auto component = [d](auto member) {
      const int dc = palette->colours[d].*member >> 2, sc = palette->colours[colorfx].*member >> 2;
      return dc + ((sc - dc) * alphafx >> 4);
    };
    return uint32_t(
        find_color(component(&orb_rgb::r), component(&orb_rgb::g), component(&orb_rgb::b)));
  }
  const auto field = [d](int shift, uint32_t mask) {
    const auto dc = int32_t(d >> shift & mask), sc = int32_t(colorfx >> shift & mask);
    return uint32_t(dc + ((sc - dc) * alphafx >> 8)) << shift;
  };
  if (depth == 16) return field(11, 31) | field(5, 63) | field(0, 31);
  return (d & 0xFF000000) | field(16, 255) | field(8, 255) | field(0, 255);
}

TEST_F(Raster, DrawingsKeepToTheirClipAndBlendEachPixelOnce) {
  uint32_t seed = base_seed() << 17;
  for (const int depth : depths) {
    w.set_mode(depth);
    for (int i = 0; i < 1500 && !HasFailure(); ++i) {
      random_source random(++seed);
      const arguments a = place(all[0], random);
      const arguments clip = {near(random, width), near(random, height), near(random, width),
                              near(random, height)};
      const bool alpha = random.one_in(2), fill = random.one_in(2);
      draw_clipx0 = std::min(clip[0], clip[2]);
      draw_clipx1 = random.one_in(16) ? draw_clipx0 - 1 : std::max(clip[0], clip[2]);
      draw_clipy0 = std::min(clip[1], clip[3]);
      draw_clipy1 = std::max(clip[1], clip[3]);
      // A table for each pair of colour and alpha is kept at 8 bits, until the palette changes.
      colorfx = depth == 8 ? uint32_t(i / 100 * 37 % 256) : random.word();
      alphafx = depth == 8 ? i / 50 % 16 : random.below(256);
      if (depth == 8 && i % 300 == 299) set_color(uint8_t(colorfx), 63, i % 64, 9);

      plotter to;
      to.left = std::max(draw_clipx0, 0);
      to.top = std::max(draw_clipy0, 0);
      to.right = std::min(draw_clipx1, width - 1);
      to.bottom = std::min(draw_clipy1, height - 1);
      target drawn(memory, depth, random);
      const std::vector<uint8_t> before = drawn.all.bytes();
      __ORBSurface2D__ *const onto = &drawn.part;
      switch (i % 3) {
      case 0: line_reference(to, a, false); break;
      case 1: ellipse_reference(to, a, fill); break;
      default:
        box(to, std::min(a[0], a[2]), std::min(a[1], a[3]), std::max(a[0], a[2]),
            std::max(a[1], a[3]), fill);
      }
      for (const auto &[x, y] : to.pixels)
        drawn.put(x, y, alpha ? blended(depth, drawn.get(x, y)) : colorfx);
      const std::vector<uint8_t> expected = drawn.all.bytes();
      drawn.all.set_bytes(before);
      switch (i % 3) {
      case 0: (alpha ? drawing_line_alpha : drawing_line)(onto, a[0], a[1], a[2], a[3]); break;
      case 1:
        (alpha ? drawing_ellipse_alpha : drawing_ellipse)(onto, a[0], a[1], a[2], a[3], fill);
        break;
      default: (alpha ? drawing_rect_alpha : drawing_rect)(onto, a[0], a[1], a[2], a[3], fill);
      }
      EXPECT_TRUE(drawn.all.bytes() == expected)
          << "drawing " << i % 3 << ", " << depth << " bits (" << a[0] << ", " << a[1] << ", "
          << a[2] << ", " << a[3] << ") in " << draw_clipx0 << ".." << draw_clipx1 << ", "
          << draw_clipy0 << ".." << draw_clipy1 << ", alpha " << alpha << ", fill " << fill
          << ", seed " << seed << drawn.text(to.pixels, before);
      // The channels blended last stay readable: those of a line's far end.
      if (i % 3 == 0 && alpha && depth > 8 && to.pixels.contains({a[2], a[3]})) {
        const uint32_t last = drawn.get(a[2], a[3]), mask = depth == 16 ? 31 : 255;
        EXPECT_EQ(uint32_t(dB), last & mask);
        EXPECT_EQ(uint32_t(dG), depth == 16 ? last >> 5 & 63 : last >> 8 & 255);
        EXPECT_EQ(uint32_t(dR), last >> (depth == 16 ? 11 : 16) & mask);
      }
    }
  }
}

} // namespace
