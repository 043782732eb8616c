// The rasterisers against their references, inside memory that must stay as it is.
#include <chrono>
#include <climits>
#include <functional>
#include <string>
#include <tuple>

#include <gtest/gtest.h>

#include "engine/picture.h"
#include "engine/shapes.h"
#include "support/world.h"
#include "surface/palette.h"
#include "surface/screen.h"

using namespace shapes;

namespace {

constexpr int depths[] = {8, 16, 32};

/// A surface that is a part of a larger picture, with a border that nothing may touch.
struct target {
  picture all;
  __ORBSurface2D__ part;
  std::vector<uint8_t> before;
  target(guarded_memory &memory, int depth, random_source &random)
      : all(memory, width + 5, height + 8, depth, true), part(all.surface) {
    all.fill(random, 4);
    part.width = width;
    part.height = height;
    part.pixels = all.at(2, 4);
    before = all.bytes();
  }
  uint32_t get(int64_t x, int64_t y) const { return all.get(int(x) + 2, int(y) + 4); }

  /// Draws, and compares with the pixels of the reference in the colours that each has to get.
  void compare(const plotter &reference, const std::function<uint32_t(uint32_t)> &colour,
               const std::function<void()> &draw) {
    all.set_bytes(before);
    for (const auto &[x, y] : reference.pixels)
      all.put(int(x) + 2, int(y) + 4, colour(get(x, y)));
    const std::vector<uint8_t> expected = all.bytes();
    all.set_bytes(before);
    draw();
    if (all.bytes() == expected) return;
    std::string out = "\n";
    for (int y = 0; y < height; ++y, out += '\n')
      for (int x = 0; x < width; ++x) {
        const size_t at = size_t(all.at(x + 2, y + 4) - all.at(0, 0));
        const bool drawn = get(x, y) != read_pixel(&before[at], part.depth);
        out += reference.pixels.contains({x, y}) ? (drawn ? '#' : '-') : drawn ? '+' : '.';
      }
    ADD_FAILURE() << "# drawn, - missing, + too much" << out;
  }
};

int32_t near(random_source &random, int size) {
  switch (random.below(10)) {
  case 0: return random.between(-700, 700);
  case 1: return random.between(-1, 1) + (random.one_in(2) ? size - 1 : 0);
  case 2: return random.below(size);
  default: return random.between(-15, size + 15);
  }
}
/// Any number, often where sums overflow.
int32_t far(random_source &random) {
  static constexpr int32_t ends[] = {INT_MIN, INT_MIN + 1, -65536,      -1,     0,
                                     1,       20,          INT_MAX - 1, INT_MAX};
  return random.one_in(2) ? random.any_of(ends) : int32_t(random.word());
}
arguments place(bool round, random_source &random) {
  arguments a = {near(random, width), near(random, height), near(random, width),
                 near(random, height)};
  if (!random.one_in(round ? 12 : 6)) return a;
  if (!round) {
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
  const double angle = random.one_in(2) ? random.below(6283) / 1000.0 : random.below(8) * 0.785398;
  a[2] = a[3] = radius;
  if (random.one_in(2)) // a whole ratio, or any
    a[2 + random.below(2)] =
        random.one_in(2) ? radius / random.between(2, 5) : random.below(radius);
  if (a[2] > a[3] && random.one_in(2)) a[2] = a[2] / std::max(a[3], 1) * a[3];
  a[0] = int32_t(width / 2 - a[2] * std::cos(angle));
  a[1] = int32_t(height / 2 - a[3] * std::sin(angle));
  return a;
}

struct Raster : testing::Test {
  world w;
  guarded_memory memory{64 * 1024};
  uint32_t seed = base_seed() << 16;
};

TEST_F(Raster, ShapesAreThoseOfTheReferences) {
  for (const shape &s : all)
    for (int i = 0; i < 2000 && !HasFailure(); ++i) {
      random_source random(++seed);
      const arguments a = place(s.round, random);
      const int depth = depths[i % 3], fill = i & 1 ? int(random.word() | 1) : 0;
      SCOPED_TRACE(testing::Message() << s.name << depth << testing::PrintToString(a) << ", fill "
                                      << fill << ", seed " << seed);
      plotter reference;
      s.reference(reference, a, fill);
      target on(memory, depth, random);
      const uint32_t colour = random.word();
      ground = random.one_in(4) ? nullptr : &on.part;
      ground_puting = 0;
      set_raster_routines(depth);
      on.compare(
          reference, [=](uint32_t) { return colour; }, [&] { s.draw(&on.part, a, colour, fill); });
      EXPECT_EQ(ground_puting, ground && !reference.pixels.empty());
      ground = nullptr; // there is no mode
      // Surfaces that aren't there, or have another depth.
      set_raster_routines(depths[(i + 1) % 3]);
      on.compare(plotter(), {}, [&] {
        s.draw(&on.part, a, colour, fill);
        s.draw(nullptr, a, colour, fill);
      });
    }
}

TEST_F(Raster, RoundShapesOfAnySizeTakeNoTime) {
  const auto start = std::chrono::steady_clock::now();
  random_source random(seed);
  set_raster_routines(8);
  for (const shape &s : all)
    for (int i = 0; i < 1000 && s.round; ++i) {
      picture on(memory, width, height, 8, i & 2);
      s.draw(&on.surface, {far(random), far(random), far(random), far(random)}, 1, i & 1);
    }
  EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::seconds(10));
}

/// A pixel under the alpha form of a drawing.
uint32_t blended(int depth, uint32_t d) {
  const auto mix = [](int from, int to, int bits) {
    return from + ((to - from) * alphafx >> bits);
  };
  if (depth == 8) {
    const orb_rgb &dc = palette->colours[d], &sc = palette->colours[colorfx];
    return uint32_t(find_color(mix(dc.r / 4, sc.r / 4, 4), mix(dc.g / 4, sc.g / 4, 4),
                               mix(dc.b / 4, sc.b / 4, 4)));
  }
  const auto field = [&](int shift, uint32_t mask) {
    return uint32_t(mix(int(d >> shift & mask), int(colorfx >> shift & mask), 8)) << shift;
  };
  if (depth == 16) return field(11, 31) | field(5, 63) | field(0, 31);
  return (d & 0xFF000000) | field(16, 255) | field(8, 255) | field(0, 255);
}

TEST_F(Raster, DrawingsKeepToTheirClipAndBlendEachPixelOnce) {
  for (const int depth : depths) {
    w.set_mode(depth);
    for (int i = 0; i < 1500 && !HasFailure(); ++i) {
      random_source random(++seed);
      const arguments a = place(false, random);
      const bool alpha = random.one_in(2), fill = random.one_in(2);
      std::tie(draw_clipx0, draw_clipx1) = std::minmax({near(random, width), near(random, width)});
      std::tie(draw_clipy0, draw_clipy1) =
          std::minmax({near(random, height), near(random, height)});
      if (random.one_in(16)) draw_clipx1 = draw_clipx0 - 1;
      // A table for each pair of colour and alpha is kept at 8 bits, until the palette changes.
      colorfx = depth == 8 ? uint32_t(i / 100 * 37 % 256) : random.word();
      alphafx = depth == 8 ? i / 50 % 16 : random.below(256);
      if (depth == 8 && i % 300 == 299) set_color(uint8_t(colorfx), 63, i % 64, 9);
      SCOPED_TRACE(testing::Message()
                   << "drawing " << i % 3 << ", " << depth << " bits " << testing::PrintToString(a)
                   << " in " << draw_clipx0 << ".." << draw_clipx1 << ", " << draw_clipy0 << ".."
                   << draw_clipy1 << ", alpha " << alpha << ", fill " << fill << ", seed " << seed);
      plotter to;
      to.left = std::max(draw_clipx0, 0);
      to.top = std::max(draw_clipy0, 0);
      to.right = std::min(draw_clipx1, width - 1);
      to.bottom = std::min(draw_clipy1, height - 1);
      (i % 3 == 0 ? line : i % 3 == 1 ? ellipse : box_between)(to, a, fill);
      target on(memory, depth, random);
      on.compare(
          to, [=](uint32_t d) { return alpha ? blended(depth, d) : colorfx; },
          [&] {
            if (i % 3 == 0)
              (alpha ? drawing_line_alpha : drawing_line)(&on.part, a[0], a[1], a[2], a[3]);
            else if (i % 3 == 1)
              (alpha ? drawing_ellipse_alpha : drawing_ellipse)(&on.part, a[0], a[1], a[2], a[3],
                                                                fill);
            else
              (alpha ? drawing_rect_alpha : drawing_rect)(&on.part, a[0], a[1], a[2], a[3], fill);
          });
      // The channels blended last stay readable: those of a line's far end, or a row's right one.
      const int32_t end = a[1] == a[3] ? std::max(a[0], a[2]) : a[2];
      if (i % 3 == 0 && alpha && depth > 8 && to.pixels.contains({end, a[3]})) {
        const uint32_t last = on.get(end, a[3]), mask = depth == 16 ? 31 : 255;
        EXPECT_EQ(uint32_t(dB), last & mask);
        EXPECT_EQ(uint32_t(dG), depth == 16 ? last >> 5 & 63 : last >> 8 & 255);
        EXPECT_EQ(uint32_t(dR), last >> (depth == 16 ? 11 : 16) & mask);
      }
    }
  }
}

} // namespace
