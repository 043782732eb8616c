// The rasterisers against their references, on surfaces with guarded borders.
#include <chrono>
#include <climits>
#include <cmath>
#include <cstring>
#include <random>
#include <sstream>

#include <gtest/gtest.h>

#include "graphics_fixture.h"
#include "raster/raster.h"
#include "raster_shapes.h"

namespace {

using namespace raster_shapes;

/// A surface with random content and padded rows inside a larger block of bytes.
class target {
public:
  target(int depth, std::mt19937 &random) : bytes_per_(depth / 8) {
    const size_t pitch = size_t(width + 5) * bytes_per_;
    bytes.resize(pitch * (height + 8));
    for (uint8_t &byte : bytes)
      byte = uint8_t(random());
    surface.width = width;
    surface.height = height;
    surface.depth = depth;
    surface.pitch = uint32_t(pitch);
    surface.pixels = bytes.data() + 4 * pitch + 2 * bytes_per_;
  }
  uint32_t pixel(int64_t x, int64_t y) const {
    uint32_t value = 0;
    memcpy(&value, bytes.data() + at(x, y), bytes_per_);
    return value;
  }
  void set(int64_t x, int64_t y, uint32_t value) { memcpy(&bytes[at(x, y)], &value, bytes_per_); }
  void paint(const pixel_set &pixels, uint32_t colour) {
    for (const auto &[x, y] : pixels)
      set(x, y, colour);
  }

  std::vector<uint8_t> bytes;
  __ORBSurface2D__ surface{};

private:
  size_t at(int64_t x, int64_t y) const {
    return size_t(y + 4) * surface.pitch + size_t(x + 2) * bytes_per_;
  }
  size_t bytes_per_;
};

std::string picture(const target &of, uint32_t colour) {
  std::string text;
  for (int y = 0; y < height; ++y, text += '\n')
    for (int x = 0; x < width; ++x)
      text += of.pixel(x, y) == colour ? '#' : '.';
  return text;
}

std::string described(const shape &s, int depth, const arguments &a, int fill) {
  std::ostringstream text;
  text << s.name << depth << "(" << a[0] << ", " << a[1] << ", " << a[2] << ", " << a[3]
       << "), fill " << fill;
  return text.str();
}

/// Draws a shape and compares every byte with the reference's pixels, and checks the ground mark.
void expect_as_reference(const shape &s, int depth, const arguments &a, int fill,
                         const pixel_set &pixels, std::mt19937 &random) {
  SCOPED_TRACE(described(s, depth, a, fill));
  set_raster_routines(depth);
  target drawn(depth, random);
  target expected = drawn;
  const auto colour = uint32_t(random());
  const uint32_t stored = depth == 32 ? colour : colour & ((1u << depth) - 1);
  expected.paint(pixels, colour);
  ground = &drawn.surface;
  ground_puting = 0;
  s.draw(&drawn.surface, a, colour, fill);
  ground = nullptr;
  EXPECT_EQ(ground_puting, pixels.empty() ? 0 : 1);
  if (drawn.bytes == expected.bytes) return;
  ADD_FAILURE() << "drawn:\n"
                << picture(drawn, stored) << "expected:\n"
                << picture(expected, stored);
}

/// Mostly near the surface, sometimes far from it.
int32_t some_coordinate(std::mt19937 &random, int32_t size) {
  switch (random() % 8) {
  case 0: return int32_t(random() % 1400) - 700;
  case 1: return int32_t(random() % 3) - 1 + (random() % 2 ? size - 1 : 0);
  case 2:
  case 3: return int32_t(random() % uint32_t(size));
  default: return int32_t(random() % uint32_t(size + 30)) - 15;
  }
}
arguments some_arguments(std::mt19937 &random) {
  return {some_coordinate(random, width), some_coordinate(random, height),
          some_coordinate(random, width), some_coordinate(random, height)};
}

// ---- Tests --------------------------------------------------------------------------------------

TEST(Raster, DrawsWhatTheReferencesDraw) {
  std::mt19937 random(7);
  for (const shape &s : all_shapes())
    for (int i = 0; i < 3000 && !testing::Test::HasFailure(); ++i) {
      const arguments a = some_arguments(random);
      const int fill = i & 1 ? int(random() | 1) : 0;
      plotter reference;
      s.reference(reference, a, fill != 0);
      expect_as_reference(s,
                          i % 3 == 0   ? 8
                          : i % 3 == 1 ? 16
                                       : 32,
                          a, fill, reference.pixels, random);
    }
}

TEST(Raster, DrawsStatedCases) {
  std::mt19937 random(1);
  const auto expect = [&](const char *name, const arguments &a, int fill, pixel_set pixels) {
    expect_as_reference(shape_named(name), 16, a, fill, pixels, random);
  };
  const auto box_of = [](int64_t x0, int64_t y0, int64_t x1, int64_t y1) {
    plotter to;
    box(to, x0, y0, x1, y1, true);
    return to.pixels;
  };
  expect("rect", {-10, 5, 30, 20}, 1, box_of(0, 5, 20, 20));
  expect("srect", {-5, 3, 6, 4}, 1, {});
  expect("srect", {-5, 3, 7, 4}, 1, box_of(0, 3, 1, 6));
  expect("line", {4, 4, 4, 4}, 0, {{4, 4}});
  expect("circle", {3, 3, 0, 0}, 0, {{3, 3}});
  expect("circle", {3, 3, -1, 0}, 1, {});
  expect("ellipse", {0, 0, 9, 4096}, 1, {});
  expect("ellipse", {5, 3, 9, 3}, 0, box_of(5, 3, 9, 3));
  expect("ellipse", {5, 3, 9, 4}, 1, box_of(5, 3, 9, 4));
  expect("csellipse", {5, 5, 0, -7}, 0, [&] {
    pixel_set ring = box_of(4, 4, 6, 6);
    for (const int y : {4, 6})
      for (const int x : {4, 6})
        ring.erase({x, y});
    ring.erase({5, 5});
    return ring;
  }());
}

constexpr int field_side = 300;
using field = std::vector<uint8_t>; // field_side x field_side pixels

/// A shape drawn without clipping.
field whole(const shape &s, const arguments &a, bool fill) {
  set_raster_routines(8);
  field pixels(field_side * field_side);
  __ORBSurface2D__ surface{};
  surface.width = surface.height = surface.pitch = field_side;
  surface.depth = 8;
  surface.pixels = pixels.data();
  s.draw(&surface, a, 1, fill);
  return pixels;
}

TEST(Raster, OutlinesAreClosedAndFilledShapesAreTheirInside) {
  std::mt19937 random(3);
  for (int i = 0; i < 600 && !testing::Test::HasFailure(); ++i) {
    const char *const names[] = {"circle", "ellipse", "csellipse", "rect"};
    const shape &s = shape_named(names[i % 4]);
    const int size = i % 8 < 4 ? 12 : 140;
    const auto some = [&] { return int32_t(random() % uint32_t(size)); };
    const bool centred = i % 2 == 0;
    const arguments a = centred ? arguments{150, 150, some(), some()}
                                : arguments{150 - some(), 150 - some(), 150 + some(), 150 + some()};
    SCOPED_TRACE(described(s, 8, a, 0));
    const field filled = whole(s, a, true);
    field reached = whole(s, a, false); // the outline, then the pixels inside it
    std::vector<int> open = {centred ? 150 * field_side + 150
                                     : (a[1] + a[3]) / 2 * field_side + (a[0] + a[2]) / 2};
    while (!open.empty()) {
      const int at = open.back();
      open.pop_back();
      if (reached[size_t(at)]) continue;
      ASSERT_GT(at, field_side) << "the outline is open";
      reached[size_t(at)] = 1;
      open.insert(open.end(), {at - 1, at + 1, at - field_side, at + field_side});
    }
    EXPECT_TRUE(reached == filled);
  }
}

/// The result of a drawing routine's alpha form for a pixel.
uint32_t blended(int depth, uint32_t d) {
  if (depth == 8) {
    const auto component = [d](auto member) {
      const int dc = palette->colours[d].*member >> 2;
      const int sc = palette->colours[colorfx & 255].*member >> 2;
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

struct RasterDrawings : graphics_test {};

TEST_F(RasterDrawings, KeepToTheClipRectangleAndBlendEachPixelOnce) {
  struct drawing {
    const char *name; // of the shape whose reference applies
    void (*draw)(__ORBSurface2D__ *, const arguments &, int32_t fill, bool alpha);
  };
  const drawing drawings[] = {
      {"line",
       [](auto *s, auto &a, int32_t, bool alpha) {
         (alpha ? drawing_line_alpha : drawing_line)(s, a[0], a[1], a[2], a[3]);
       }},
      {"box",
       [](auto *s, auto &a, int32_t fill, bool alpha) {
         (alpha ? drawing_rect_alpha : drawing_rect)(s, a[0], a[1], a[2], a[3], fill);
       }},
      {"ellipse",
       [](auto *s, auto &a, int32_t fill, bool alpha) {
         (alpha ? drawing_ellipse_alpha : drawing_ellipse)(s, a[0], a[1], a[2], a[3], fill);
       }},
  };
  std::mt19937 random(11);
  for (const int depth : {8, 16, 32}) {
    set_depth(depth);
    for (int i = 0; i < 1500 && !HasFailure(); ++i) {
      const drawing &d = drawings[i % 3];
      const arguments a = some_arguments(random), clip = some_arguments(random);
      const bool alpha = random() % 2, fill = random() % 2;
      draw_clipx0 = std::min(clip[0], clip[2]);
      draw_clipx1 = random() % 16 ? std::max(clip[0], clip[2]) : draw_clipx0 - 1;
      draw_clipy0 = std::min(clip[1], clip[3]);
      draw_clipy1 = std::max(clip[1], clip[3]);
      // Few of them at 8 bits, where each builds a table.
      colorfx = depth == 8 ? uint32_t(i / 100 * 37 % 256) : uint32_t(random());
      alphafx = depth == 8 ? i / 100 % 16 : int32_t(random() % 256);

      plotter reference;
      reference.left = std::max(draw_clipx0, 0);
      reference.top = std::max(draw_clipy0, 0);
      reference.right = std::min(draw_clipx1, width - 1);
      reference.bottom = std::min(draw_clipy1, height - 1);
      if (d.name == std::string("box"))
        box(reference, std::min(a[0], a[2]), std::min(a[1], a[3]), std::max(a[0], a[2]),
            std::max(a[1], a[3]), fill);
      else
        shape_named(d.name).reference(reference, a, fill);

      target drawn(depth, random);
      target expected = drawn;
      for (const auto &[x, y] : reference.pixels)
        expected.set(x, y, alpha ? blended(depth, drawn.pixel(x, y)) : colorfx);
      d.draw(&drawn.surface, a, fill, alpha);
      EXPECT_TRUE(drawn.bytes == expected.bytes)
          << d.name << depth << " (" << a[0] << ", " << a[1] << ", " << a[2] << ", " << a[3]
          << ") in " << draw_clipx0 << ".." << draw_clipx1 << ", " << draw_clipy0 << ".."
          << draw_clipy1 << " alpha " << alpha << " fill " << fill;
    }
  }
}

TEST_F(RasterDrawings, RememberTheLastBlendedChannels) {
  std::mt19937 random(5);
  draw_clipx0 = draw_clipy0 = 0;
  draw_clipx1 = draw_clipy1 = 100;
  alphafx = 100;
  for (const int depth : {16, 32}) {
    set_depth(depth);
    colorfx = depth == 16 ? 0x1234 : 0x00123456;
    target t(depth, random);
    drawing_line_alpha(&t.surface, 3, 4, 20, 9);
    const uint32_t last = t.pixel(20, 9);
    if (depth == 16) {
      EXPECT_EQ(uint32_t(dR << 11 | dG << 5 | dB), last);
    } else {
      EXPECT_EQ(uint32_t(dR << 16 | dG << 8 | dB), last & 0xFFFFFF);
    }
    // The run helper draws on the target of the routine before.
    (depth == 16 ? ellipse_linec16_drawing_alpha : ellipse_linec32_drawing_alpha)(-5, 7, 2);
    EXPECT_EQ(uint32_t(dB), t.pixel(7, 2) & (depth == 16 ? 31 : 255));
  }
}

TEST_F(RasterDrawings, PaletteBlendsFollowColourAlphaAndPalette) {
  set_depth(8);
  for (int i = 0; i < 200; ++i) {
    // More than the cache holds, then the same again under another palette.
    if (i == 100) set_color(uint8_t(20), 63, 0, 9);
    colorfx = uint32_t(i % 5 * 50);
    alphafx = i % 7 * 2;
    for (const uint32_t d : {0u, 20u, 77u, 255u})
      ASSERT_EQ(do_pixelfx_8bits(uint8_t(d)), blended(8, d)) << i << " " << d;
  }
  delete_palette();
  EXPECT_EQ(do_pixelfx_8bits(9), 9);
}

// ---- Any coordinate -----------------------------------------------------------------------------

TEST(RasterFar, LongLinesStepAsWalkedOnes) {
  std::mt19937 random(23);
  for (int i = 0; i < 24 && !testing::Test::HasFailure(); ++i) {
    // Through a point of the surface, over millions of pixels.
    const auto far = [&] { return int32_t(random() % 6'000'000) - 3'000'000; };
    const int32_t x = far(), y = i % 4 ? far() : int32_t(random() % 1000);
    const double back = i % 3 == 0 ? 0.5 : 1.0 / (1 + random() % 50);
    const arguments a = {x, y, int32_t(width / 2 - back * (x - width / 2)),
                         int32_t(height / 2 - back * (y - height / 2))};
    plotter reference;
    shape_named("line").reference(reference, a, false);
    EXPECT_FALSE(reference.pixels.empty() && i % 4);
    expect_as_reference(shape_named("line"), i % 2 ? 8 : 32, a, 0, reference.pixels, random);
  }
}

TEST(RasterFar, LargeRoundShapesAreTheWalkedOnes) {
  std::mt19937 random(29);
  for (int i = 0; i < 60 && !testing::Test::HasFailure(); ++i) {
    // A shape whose edge passes near the surface.
    const bool circle = i % 3 == 0;
    const auto some_radius = [&] {
      const uint32_t limits[] = {6000, 20000, 150000};
      return int32_t(random() % limits[i % 7 % 3] + (i % 4 ? 4090 : 1));
    };
    const int32_t rx = some_radius(), ry = circle ? rx : some_radius();
    const double angle = double(random()) / double(UINT32_MAX) * 6.2832;
    const arguments a = {int32_t(width / 2 - rx * std::cos(angle)),
                         int32_t(height / 2 - ry * std::sin(angle)), rx, ry};
    const shape &s = shape_named(circle ? "circle" : "csellipse");
    const bool fill = i % 2;
    plotter reference;
    s.reference(reference, a, fill);
    expect_as_reference(s, 16, a, fill, reference.pixels, random);
  }
}

TEST(RasterFar, EveryCoordinateReturnsAtOnce) {
  std::mt19937 random(31);
  const auto start = std::chrono::steady_clock::now();
  const auto any = [&] {
    const int32_t extremes[] = {INT32_MIN, INT32_MIN + 1, -65536,   -1, 0, 1,
                                20,        INT32_MAX - 1, INT32_MAX};
    return random() % 2 ? extremes[random() % std::size(extremes)] : int32_t(random());
  };
  for (const shape &s : all_shapes())
    for (int i = 0; i < 600; ++i) {
      const int depth = i % 3 == 0 ? 8 : i % 3 == 1 ? 16 : 32;
      set_raster_routines(depth);
      target drawn(depth, random);
      target guarded = drawn;
      s.draw(&drawn.surface, {any(), any(), any(), any()}, uint32_t(random()), i & 1);
      // Pixels outside the surface never change.
      for (int y = 0; y < height; ++y)
        for (int x = 0; x < width; ++x)
          guarded.set(x, y, drawn.pixel(x, y));
      ASSERT_TRUE(drawn.bytes == guarded.bytes) << s.name;
    }
  EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::seconds(10));
}

TEST(RasterFar, LinesOfAnyLengthStayOnTheirPath) {
  std::mt19937 random(37);
  set_raster_routines(8);
  int seen = 0;
  for (int i = 0; i < 2000; ++i) {
    target drawn(8, random);
    std::fill(drawn.bytes.begin(), drawn.bytes.end(), uint8_t(0));
    const auto x0 = int32_t(random()), y0 = int32_t(random());
    const arguments a = {x0, y0, width - 1 - x0, height - 1 - y0}; // through the centre
    draw_line(&drawn.surface, a[0], a[1], a[2], a[3], 1);
    const long double dx = (long double)a[2] - a[0], dy = (long double)a[3] - a[1];
    const bool steep = std::fabs(dx) < std::fabs(dy);
    for (int along = 0; along < (steep ? height : width); ++along) {
      // In 64-bit fixed point this is exact enough to find the nearest pixel.
      const long double across = steep ? a[0] + dx * (along - (long double)a[1]) / dy
                                       : a[1] + dy * (along - (long double)a[0]) / dx;
      const int size = steep ? width : height;
      int lit = 0;
      for (int p = 0; p < size; ++p)
        if (steep ? drawn.pixel(p, along) : drawn.pixel(along, p)) {
          ++lit;
          EXPECT_LE(std::fabs(p - across), 0.5001L);
        }
      const bool on_surface = across > -0.499L && across < size - 0.501L;
      EXPECT_LE(lit, 1);
      if (on_surface) EXPECT_EQ(lit, 1);
      seen += lit;
    }
  }
  EXPECT_GT(seen, 2000 * height);
}

TEST(Raster, LeavesOtherSurfacesAlone) {
  std::mt19937 random(2);
  target t(16, random);
  const target before = t;
  target lent(8, random);
  lent.surface.pixels = nullptr;
  for (const shape &s : all_shapes()) {
    set_raster_routines(32);
    s.draw(&t.surface, {1, 1, 9, 9}, 5, 1);
    s.draw(nullptr, {1, 1, 9, 9}, 5, 1);
    set_raster_routines(8);
    s.draw(&t.surface, {1, 1, 9, 9}, 5, 1);
    s.draw(&lent.surface, {1, 1, 9, 9}, 5, 1);
  }
  EXPECT_TRUE(t.bytes == before.bytes);
}

} // namespace
