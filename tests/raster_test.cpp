// The rasterisers against slow references that follow their definitions pixel by pixel, on surfaces
// with guarded borders; their script functions against a table of calls.
#include <algorithm>
#include <array>
#include <chrono>
#include <climits>
#include <cmath>
#include <cstring>
#include <map>
#include <random>
#include <set>
#include <sstream>

#include <gtest/gtest.h>

#include "blit/raster.h"
#include "graphics_fixture.h"
#include "script/handlers.h"

namespace {

constexpr int width = 37, height = 29;
using pixel_set = std::set<std::pair<int64_t, int64_t>>; // x, y
using arguments = std::array<int32_t, 4>;

/// Adds only what shows, so that a shape may be of any size.
struct plotter {
  pixel_set pixels;
  int64_t left = 0, top = 0, right = width - 1, bottom = height - 1;

  void dot(int64_t x, int64_t y) {
    if (x >= left && x <= right && y >= top && y <= bottom) pixels.emplace(x, y);
  }
  void run(int64_t x0, int64_t x1, int64_t y) {
    for (int64_t x = std::max(x0, left); x <= std::min(x1, right); ++x)
      dot(x, y);
  }
};

// ---- References --------------------------------------------------------------------------------

void line_reference(plotter &to, const arguments &a, bool) {
  auto [x, y, x1, y1] = a;
  int64_t px = x, py = y;
  const int64_t dx = std::abs(int64_t(x1) - x), dy = std::abs(int64_t(y1) - y);
  const bool steep = dx < dy;
  const int64_t major = steep ? dy : dx, minor = steep ? dx : dy;
  const int sx = x1 < x ? -1 : 1, sy = y1 < y ? -1 : 1;
  int64_t decision = 2 * minor - major;
  for (int64_t step = 0;; ++step) {
    to.dot(px, py);
    if (step == major) return;
    (steep ? py : px) += steep ? sy : sx;
    if (decision > 0) {
      (steep ? px : py) += steep ? sx : sy;
      decision += 2 * (minor - major);
    } else {
      decision += 2 * minor;
    }
  }
}

/// The edges or all of an inclusive box.
void box(plotter &to, int64_t x0, int64_t y0, int64_t x1, int64_t y1, bool fill) {
  for (int64_t y = to.top; y <= to.bottom; ++y)
    for (int64_t x = to.left; x <= to.right; ++x) {
      const bool in = x >= x0 && x <= x1 && y >= y0 && y <= y1;
      if (in && (fill || x == x0 || x == x1 || y == y0 || y == y1)) to.dot(x, y);
    }
}

void rect_reference(plotter &to, const arguments &a, bool fill) {
  auto [x0, y0, x1, y1] = a;
  if ((x0 < 0 && x1 < 0) || (x0 > width - 1 && x1 > width - 1)) return;
  if ((y0 < 0 && y1 < 0) || (y0 > height - 1 && y1 > height - 1)) return;
  int64_t left = std::min(x0, x1), right = std::max(x0, x1);
  int64_t top = std::min(y0, y1), bottom = std::max(y0, y1);
  if (left < 0) right += left, left = 0;
  if (top < 0) bottom += top, top = 0;
  right = std::min<int64_t>(right, width - 1);
  bottom = std::min<int64_t>(bottom, height - 1);
  if (right < left) std::swap(left, right);
  if (bottom < top) std::swap(top, bottom);
  if (left + right < 0 || top + bottom < 0) return;
  box(to, left, top, right, bottom, fill);
}

void sized_rect(plotter &to, int64_t x, int64_t y, int64_t w, int64_t h, bool fill) {
  if (w < 1 || h < 1 || x > width - 1 || y > height - 1 || x + w < 2 || y + h < 2) return;
  box(to, x, y, x + w - 1, y + h - 1, fill);
}
void srect_reference(plotter &to, const arguments &a, bool fill) {
  sized_rect(to, a[0], a[1], a[2], a[3], fill);
}
void csrect_reference(plotter &to, const arguments &a, bool fill) {
  sized_rect(to, int64_t(a[0]) - (a[2] >> 1), int64_t(a[1]) - (a[3] >> 1), a[2], a[3], fill);
}

void circle_reference(plotter &to, const arguments &a, bool fill) {
  const int64_t cx = a[0], cy = a[1], r = a[2];
  int64_t x = 0, y = r, d = 1 - r, e = 3, se = 5 - 2 * r;
  while (y >= x) {
    for (const int64_t s : {-1, 1}) {
      if (fill) {
        to.run(cx - y, cx + y, cy + s * x);
        to.run(cx - x, cx + x, cy + s * y);
      } else {
        for (const int64_t t : {-1, 1}) {
          to.dot(cx + t * x, cy + s * y);
          to.dot(cx + t * y, cy + s * x);
        }
      }
    }
    if (d < 0) {
      d += e;
      se += 2;
    } else {
      d += se;
      se += 4;
      --y;
    }
    e += 2;
    ++x;
  }
}

/// A shape given by its rows from the outermost on: all of them, or what an outline keeps, which is
/// the ends and whatever the next row outwards doesn't cover.
struct reference_row {
  int64_t left, right, top, bottom;
};
void rows_reference(plotter &to, const std::vector<reference_row> &rows, bool fill) {
  for (size_t i = 0; i < rows.size(); ++i)
    for (int64_t x = std::max(rows[i].left, to.left); x <= std::min(rows[i].right, to.right); ++x) {
      const bool end = x == rows[i].left || x == rows[i].right;
      const bool bare = i == 0 || x < rows[i - 1].left || x > rows[i - 1].right;
      if (!fill && !end && !bare) continue;
      to.dot(x, rows[i].top);
      to.dot(x, rows[i].bottom);
    }
}

void ellipse_reference(plotter &to, const arguments &given, bool fill) {
  const double x0 = std::min(given[0], given[2]), x1 = std::max(given[0], given[2]);
  const double y0 = std::min(given[1], given[3]), y1 = std::max(given[1], given[3]);
  const double h = y1 - y0 + 1, a = (x1 - x0) * 0.5, m = 0.5 * (y0 + y1 + 1);
  if (h >= 4097) return;
  std::vector<reference_row> rows;
  for (double yc = y0 + 0.5; yc <= m; yc += 1) {
    const double t = 1 - (yc - y0) / (m - y0), c = std::cos(std::asin(t));
    const auto row = int64_t(yc), right = int64_t(c * a + a + x0 + 0.5);
    if (!rows.empty() && rows.back().top == row) continue;
    rows.push_back({int64_t(x1) - right + int64_t(x0), right, row, int64_t(y1 + y0) - row});
  }
  const size_t n = rows.size();
  if (h == 2) {
    rows[0].left = int64_t(x0);
    rows[0].right = int64_t(x1);
  } else if (h > 2 && x1 - x0 + 1 > 2 && rows.size() > 1 && rows[0].left == rows[1].left &&
             rows[0].left + 1 < rows[0].right) {
    ++rows[0].left;
    --rows[0].right;
  }
  if (n > 1 && rows[n - 1].top == rows[n - 2].bottom) {
    rows.pop_back();
  } else if (n > 2 && rows[n - 1].top == rows[n - 3].bottom) {
    rows[n - 3].left = rows[n - 1].left;
    rows[n - 3].right = rows[n - 1].right;
    rows.pop_back();
  }
  rows_reference(to, rows, fill);
}

void csellipse_reference(plotter &to, const arguments &given, bool fill) {
  const int64_t rx = std::max(given[2], 1), ry = std::max(given[3], 1), r = std::max(rx, ry);
  std::map<int64_t, int64_t> reach; // by row
  const auto pixel = [](int64_t units) { return (units + 32) >> 6; };
  for (int64_t a = 0, b = r * 64; pixel(a) <= pixel(b);) {
    for (const auto &[u, v] : {std::pair(pixel(a), pixel(b)), {pixel(b), pixel(a)}}) {
      const int64_t x = rx >= ry ? u : u * rx / ry, y = rx >= ry ? v * ry / rx : v;
      reach[y] = std::max(reach[y], x);
    }
    a += b / r;
    b -= a / r;
  }
  std::vector<reference_row> rows;
  for (auto row = reach.rbegin(); row != reach.rend(); ++row)
    rows.push_back({given[0] - row->second, given[0] + row->second, given[1] - row->first,
                    given[1] + row->first});
  rows_reference(to, rows, fill);
}

// ---- Targets and shapes ------------------------------------------------------------------------

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

struct shape {
  const char *name;
  void (*draw)(__ORBSurface2D__ *, const arguments &, uint32_t colour, int32_t fill);
  void (*reference)(plotter &, const arguments &, bool fill);
};
const shape shapes[] = {
    {"line", [](auto *s, auto &a, uint32_t c, int32_t) { draw_line(s, a[0], a[1], a[2], a[3], c); },
     line_reference},
    {"hline", [](auto *s, auto &a, uint32_t c, int32_t) { draw_hline(s, a[0], a[2], a[1], c); },
     [](plotter &to, const arguments &a, bool) {
       to.run(std::min(a[0], a[2]), std::max(a[0], a[2]), a[1]);
     }},
    {"vline", [](auto *s, auto &a, uint32_t c, int32_t) { draw_vline(s, a[1], a[3], a[0], c); },
     [](plotter &to, const arguments &a, bool) {
       box(to, a[0], std::min(a[1], a[3]), a[0], std::max(a[1], a[3]), true);
     }},
    {"rect",
     [](auto *s, auto &a, uint32_t c, int32_t fill) {
       draw_rect(s, a[0], a[1], a[2], a[3], c, fill);
     },
     rect_reference},
    {"srect",
     [](auto *s, auto &a, uint32_t c, int32_t fill) {
       draw_srect(s, a[0], a[1], a[2], a[3], c, fill);
     },
     srect_reference},
    {"csrect",
     [](auto *s, auto &a, uint32_t c, int32_t fill) {
       draw_csrect(s, a[0], a[1], a[2], a[3], c, fill);
     },
     csrect_reference},
    {"circle",
     [](auto *s, auto &a, uint32_t c, int32_t fill) { draw_circle(s, a[0], a[1], a[2], c, fill); },
     circle_reference},
    {"ellipse",
     [](auto *s, auto &a, uint32_t c, int32_t fill) {
       draw_ellipse(s, a[0], a[1], a[2], a[3], c, fill);
     },
     ellipse_reference},
    {"csellipse",
     [](auto *s, auto &a, uint32_t c, int32_t fill) {
       draw_csellipse(s, a[0], a[1], a[2], a[3], c, fill);
     },
     csellipse_reference},
};
const shape &shape_named(const std::string &name) {
  return *std::find_if(std::begin(shapes), std::end(shapes),
                       [&](const shape &s) { return s.name == name; });
}

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

/// Draws a shape and compares every byte with the reference's pixels, and the ground's mark.
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

// ---- Tests -------------------------------------------------------------------------------------

TEST(Raster, DrawsWhatTheReferencesDraw) {
  std::mt19937 random(7);
  for (const shape &s : shapes)
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

/// A shape drawn where nothing is clipped.
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
    field reached = whole(s, a, false); // the outline, and from the middle on what isn't outline
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

/// What a drawing routine's alpha form makes of a pixel.
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
    const char *name; // of the shape whose reference serves
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
      // Few of them at 8 bits, where each makes a table.
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
    // The run helper works on the target of the routine before.
    (depth == 16 ? ellipse_linec16_drawing_alpha : ellipse_linec32_drawing_alpha)(-5, 7, 2);
    EXPECT_EQ(uint32_t(dB), t.pixel(7, 2) & (depth == 16 ? 31 : 255));
  }
}

TEST_F(RasterDrawings, PaletteBlendsFollowColourAlphaAndPalette) {
  set_depth(8);
  for (int i = 0; i < 200; ++i) {
    // More than are kept, then the same again under another palette.
    if (i == 100) set_color(uint8_t(20), 63, 0, 9);
    colorfx = uint32_t(i % 5 * 50);
    alphafx = i % 7 * 2;
    for (const uint32_t d : {0u, 20u, 77u, 255u})
      ASSERT_EQ(do_pixelfx_8bits(uint8_t(d)), blended(8, d)) << i << " " << d;
  }
  delete_palette();
  EXPECT_EQ(do_pixelfx_8bits(9), 9);
}

// ---- Any coordinate ----------------------------------------------------------------------------

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
    line_reference(reference, a, false);
    EXPECT_FALSE(reference.pixels.empty() && i % 4);
    expect_as_reference(shape_named("line"), i % 2 ? 8 : 32, a, 0, reference.pixels, random);
  }
}

TEST(RasterFar, LargeRoundShapesAreTheWalkedOnes) {
  std::mt19937 random(29);
  for (int i = 0; i < 60 && !testing::Test::HasFailure(); ++i) {
    // One whose edge passes near the surface.
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
  for (const shape &s : shapes)
    for (int i = 0; i < 600; ++i) {
      const int depth = i % 3 == 0 ? 8 : i % 3 == 1 ? 16 : 32;
      set_raster_routines(depth);
      target drawn(depth, random);
      target guarded = drawn;
      s.draw(&drawn.surface, {any(), any(), any(), any()}, uint32_t(random()), i & 1);
      // Nothing outside the surface changes.
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
    const arguments a = {x0, y0, width - 1 - x0, height - 1 - y0}; // through the middle
    draw_line(&drawn.surface, a[0], a[1], a[2], a[3], 1);
    const long double dx = (long double)a[2] - a[0], dy = (long double)a[3] - a[1];
    const bool steep = std::fabs(dx) < std::fabs(dy);
    for (int along = 0; along < (steep ? height : width); ++along) {
      // In the fractions that 64 bits hold this is exact enough to tell the nearest pixel.
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
  for (const shape &s : shapes) {
    set_raster_routines(32);
    s.draw(&t.surface, {1, 1, 9, 9}, 5, 1);
    s.draw(nullptr, {1, 1, 9, 9}, 5, 1);
    set_raster_routines(8);
    s.draw(&t.surface, {1, 1, 9, 9}, 5, 1);
    s.draw(&lent.surface, {1, 1, 9, 9}, 5, 1);
  }
  EXPECT_TRUE(t.bytes == before.bytes);
}

// ---- Script functions --------------------------------------------------------------------------

struct Primitives : graphics_test {};

struct primitive {
  const char *name;
  int32_t (*map)(), (*ground)();
};
constexpr primitive primitives[] = {
    {"line", ORB_map_put_line, ORB_ground_put_line},
    {"rect", ORB_map_put_rect, ORB_ground_put_rect},
    {"srect", ORB_map_put_srect, ORB_ground_put_srect},
    {"csrect", ORB_map_put_csrect, ORB_ground_put_csrect},
    {"circle", ORB_map_put_circle, ORB_ground_put_circle},
    {"ellipse", ORB_map_put_ellipse, ORB_ground_put_ellipse},
    {"csellipse", ORB_map_put_csellipse, ORB_ground_put_csellipse},
};

// Depth, call -> "ok", "silent" or what is reported: error, function, position, value. G is a graph
// of library 0, L a free code. Rows with two mistakes show the order of the checks.
constexpr const char *primitive_rows = R"(
32: map line 0 G 1 2 3 4 4294967295 -> ok
32: map line -1 G 1 2 3 4 5 -> 109 MAP_PUT_LINE 1 -1
32: map rect 99999 G 1 2 3 4 5 1 -> 109 MAP_PUT_RECT 1 99999
32: map srect 0 0 1 2 3 4 5 1 -> 110 MAP_PUT_SRECT 2 0
32: map csrect 0 99999 1 2 3 4 5 1 -> 110 MAP_PUT_CSRECT 2 99999
32: map circle 1 5 1 2 3 4 1 -> 111 MAP_PUT_CIRCLE 1 1
32: map ellipse 0 L 1 2 3 4 5 1 -> 121 MAP_PUT_ELLIPSE 2 L
8: map csellipse 0 L 1 2 3 4 256 1 -> 121 MAP_PUT_CSELLIPSE 2 L
8: map line 0 G 1 2 3 4 256 -> 154 MAP_PUT_LINE 7 256
8: map rect 0 G 1 2 3 4 256 0 -> 154 MAP_PUT_RECT 7 256
8: map circle 0 G 1 2 3 256 0 -> 154 MAP_PUT_CIRCLE 6 256
8: map csellipse 0 G 1 2 3 4 -1 0 -> 154 MAP_PUT_CSELLIPSE 7 -1
8: map ellipse 0 G 1 2 3 4 255 0 -> ok
16: map line 0 G 1 2 3 4 65536 -> silent
16: map circle 0 G 1 2 3 65535 1 -> ok
8: ground line 1 2 3 4 256 -> 154 GROUND_PUT_LINE 5 256
8: ground rect 1 2 3 4 256 1 -> 154 GROUND_PUT_RECT 5 256
8: ground srect 1 2 3 4 256 1 -> 154 GROUND_PUT_SRECT 5 256
8: ground csrect 1 2 3 4 256 1 -> 154 GROUND_PUT_CSRECT 5 256
8: ground circle 1 2 3 256 1 -> 154 GROUND_PUT_CIRCLE 4 256
8: ground ellipse 1 2 3 4 256 1 -> 154 GROUND_PUT_ELLIPSE 5 256
8: ground csellipse 1 2 3 4 256 1 -> 154 GROUND_PUT_CSELLIPSE 5 256
16: ground rect 1 2 3 4 70000 1 -> silent
32: ground circle 1 2 3 4294967295 1 -> ok
)";

TEST_F(Primitives, CheckTheirArguments) {
  std::istringstream rows(primitive_rows);
  int tried = 0;
  for (std::string line; std::getline(rows, line);) {
    if (line.empty()) continue;
    SCOPED_TRACE(line);
    std::istringstream row(line);
    int32_t depth;
    std::string word, kind, name;
    row >> depth >> word >> kind >> name;
    set_depth(depth);
    host.errors.clear();
    const int32_t graph = host.call(ORB_map_new, 20, 20);
    const auto number = [&](const std::string &text) {
      return text == "G" ? graph : text == "L" ? graph + 1 : int32_t(std::stoll(text));
    };
    std::vector<int32_t> given;
    while (row >> word && word != "->")
      given.push_back(number(word));
    const auto *const what = std::find_if(std::begin(primitives), std::end(primitives),
                                          [&](const primitive &p) { return p.name == name; });
    ground_puting = 0;
    const int32_t result = host.call(kind == "map" ? what->map : what->ground, given);
    std::string outcome;
    row >> outcome;
    std::vector<fake_error> reports;
    if (outcome != "ok" && outcome != "silent") {
      fake_error error{std::stoi(outcome), "", ORB_VALUE_INT, 0, 0, ""};
      row >> error.function >> error.position >> word;
      error.value = number(word);
      reports.push_back(error);
    }
    EXPECT_EQ(host.errors == reports, true);
    EXPECT_EQ(result, outcome == "ok" ? 1 : INT32_MIN);
    EXPECT_EQ(host.left_over(), 0u);
    EXPECT_EQ(host.times_returned(), 1);
    // Nothing is drawn when a check fails, and a graph is not the ground.
    EXPECT_EQ(ground_puting, outcome == "ok" && kind == "ground" ? 1 : 0);
    host.call(ORB_map_unload, graph);
    ++tried;
  }
  EXPECT_EQ(tried, 24);
}

TEST_F(Primitives, HandTheirArgumentsToTheirRasteriser) {
  for (const int depth : {8, 16, 32}) {
    set_depth(depth);
    for (const primitive &p : primitives) {
      SCOPED_TRACE(p.name);
      const int32_t graph = host.call(ORB_map_new, screen_width, screen_height);
      ORBGI2D_BlitFill(ground, 0, 0);
      __ORBSurface2D__ *const expected =
          ORBGI2D_CreateGFXSurface(screen_width, screen_height, depth, 1);
      const arguments a = {21, 17, 9, 11};
      const bool line = p.name == std::string("line"), circle = p.name == std::string("circle");
      for (const int fill : {0, 1}) {
        const uint32_t colour = 7 + uint32_t(fill);
        std::vector<int32_t> given(a.begin(), a.begin() + (circle ? 3 : 4));
        given.push_back(int32_t(colour));
        if (!line) given.push_back(fill);
        shape_named(p.name).draw(expected, a, colour, fill);
        EXPECT_EQ(host.call(p.ground, given), 1);
        given.insert(given.begin(), {0, graph});
        EXPECT_EQ(host.call(p.map, given), 1);
        for (const __ORBSurface2D__ *drawn : {ground, slot(graph).surface})
          EXPECT_EQ(memcmp(drawn->pixels, expected->pixels, expected->byte_size), 0);
      }
      ORBGI2D_DeleteGFXSurface(expected);
      host.call(ORB_map_unload, graph);
    }
  }
}

} // namespace
