// The shapes of the rasterisers, each with a slow reference that asks of every pixel whether it
// belongs to the shape.
#pragma once

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdint>
#include <map>
#include <set>
#include <utility>
#include <vector>

#include "raster/raster.h"

namespace shapes {

constexpr int width = 37, height = 29;
using arguments = std::array<int32_t, 4>;

/// Collects visible pixels only, so that shapes may have any size.
struct plotter {
  std::set<std::pair<int64_t, int64_t>> pixels; // x, y
  int64_t left = 0, top = 0, right = width - 1, bottom = height - 1;

  template <typename F> void each_on_row(int64_t y, F &&belongs) {
    for (int64_t x = left; x <= right && y >= top && y <= bottom; ++x)
      if (belongs(x, y)) pixels.emplace(x, y);
  }
  template <typename F> void each(F &&belongs) {
    for (int64_t y = top; y <= bottom; ++y)
      each_on_row(y, belongs);
  }
};

/// Nearest pixels; halfway between two, the one nearer the start.
inline void line(plotter &to, const arguments &a, bool) {
  const int64_t dx = int64_t(a[2]) - a[0], dy = int64_t(a[3]) - a[1];
  const bool steep = std::abs(dx) < std::abs(dy);
  const uint64_t major = uint64_t(std::max(std::abs(dx), std::abs(dy)));
  const uint64_t minor = uint64_t(std::min(std::abs(dx), std::abs(dy)));
  to.each([&](int64_t x, int64_t y) {
    auto ahead = uint64_t(dx < 0 ? a[0] - x : x - a[0]);
    auto across = uint64_t(dy < 0 ? a[1] - y : y - a[1]);
    if (steep) std::swap(ahead, across);
    if (ahead == 0 || ahead > major) return ahead == 0 && across == 0;
    const uint64_t whole = ahead * minor / major, rest = ahead * minor % major;
    return across == whole + (2 * rest > major);
  });
}

/// The outline or all pixels of an inclusive box.
inline void box(plotter &to, int64_t x0, int64_t y0, int64_t x1, int64_t y1, bool fill) {
  to.each([=](int64_t x, int64_t y) {
    const bool inside = x >= x0 && x <= x1 && y >= y0 && y <= y1;
    return inside && (fill || x == x0 || x == x1 || y == y0 || y == y1);
  });
}
inline void box_between(plotter &to, const arguments &a, bool fill) {
  const auto [x0, x1] = std::minmax(a[0], a[2]);
  const auto [y0, y1] = std::minmax(a[1], a[3]);
  box(to, x0, y0, x1, y1, fill);
}

/// What a side loses below 0 it loses at its far end, too.
inline std::pair<int64_t, int64_t> side_of_rect(int64_t from, int64_t to, int64_t last) {
  const auto [low, high] = std::minmax(from, to);
  if (low > last) return {0, -1};
  return {std::max<int64_t>(low, 0), std::min(low < 0 ? high + low : high, last)};
}
inline void rect(plotter &to, const arguments &a, bool fill) {
  const auto [left, right] = side_of_rect(a[0], a[2], width - 1);
  const auto [top, bottom] = side_of_rect(a[1], a[3], height - 1);
  box(to, left, top, right, bottom, fill);
}

/// Rectangles whose last column or row is column or row 0 aren't drawn.
inline void sized_rect(plotter &to, int64_t x, int64_t y, int64_t w, int64_t h, bool fill) {
  if (x + w > 1 && y + h > 1) box(to, x, y, x + w - 1, y + h - 1, fill);
}
inline void srect(plotter &to, const arguments &a, bool fill) {
  sized_rect(to, a[0], a[1], a[2], a[3], fill);
}
inline void csrect(plotter &to, const arguments &a, bool fill) {
  sized_rect(to, int64_t(a[0]) - (a[2] >> 1), int64_t(a[1]) - (a[3] >> 1), a[2], a[3], fill);
}

/// In an octant the outermost pixel of each line is the last that has its inner edge's midpoint
/// within the circle.
inline void circle(plotter &to, const arguments &a, bool fill) {
  const int64_t r = a[2];
  to.each([&](int64_t x, int64_t y) {
    const auto [u, v] = std::minmax({std::abs(x - a[0]), std::abs(y - a[1])});
    if (r < 1) return r == 0 && v == 0;
    const int64_t room = r * r - u * u;
    return v * v - v < room && (fill || v * v + v >= room);
  });
}

/// Rows from the outermost in: all pixels, or for an outline the ends and every pixel that the next
/// row outwards does not cover.
struct row_pair {
  int64_t left, right, top, bottom;
};
inline void rows(plotter &to, const std::vector<row_pair> &rows, bool fill) {
  for (size_t i = 0; i < rows.size(); ++i)
    for (const int64_t row : {rows[i].top, rows[i].bottom})
      to.each_on_row(row, [&](int64_t x, int64_t) {
        const bool bare = i == 0 || x < rows[i - 1].left || x > rows[i - 1].right;
        const bool end = x == rows[i].left || x == rows[i].right;
        return x >= rows[i].left && x <= rows[i].right && (fill || bare || end);
      });
}

/// Truncation, instead of rounding down, moves what lies above or left of 0.
inline void ellipse(plotter &to, const arguments &a, bool fill) {
  const auto [x0, x1] = std::minmax({double(a[0]), double(a[2])});
  const auto [y0, y1] = std::minmax({double(a[1]), double(a[3])});
  const double radius = (x1 - x0) / 2, middle = (y0 + y1 + 1) / 2;
  if (y1 - y0 >= 4096) return;
  std::vector<row_pair> pairs;
  for (double y = y0 + 0.5; y <= middle; ++y) {
    const double sine = 1 - (y - y0) / (middle - y0);
    const auto row = int64_t(y);
    const auto end = int64_t(std::cos(std::asin(sine)) * radius + radius + x0 + 0.5);
    if (pairs.empty() || pairs.back().top != row)
      pairs.push_back({int64_t(x1 + x0) - end, end, row, int64_t(y1 + y0) - row});
  }
  const size_t n = pairs.size();
  if (y1 == y0 + 1) {
    pairs[0].left = int64_t(x0);
    pairs[0].right = int64_t(x1);
  } else if (n > 1 && x1 > x0 + 1 && pairs[0].left == pairs[1].left &&
             pairs[0].left + 1 < pairs[0].right) {
    ++pairs[0].left; // rounds the corner off
    --pairs[0].right;
  }
  // The last pair may be one of those before it, the other way round.
  if (n > 1 && pairs[n - 1].top == pairs[n - 2].bottom) {
    pairs.pop_back();
  } else if (n > 2 && pairs[n - 1].top == pairs[n - 3].bottom) {
    pairs[n - 3].left = pairs[n - 1].left;
    pairs[n - 3].right = pairs[n - 1].right;
    pairs.pop_back();
  }
  rows(to, pairs, fill);
}

/// A walk around a circle of the larger radius in 64ths of a pixel, with the smaller axis scaled.
inline void csellipse(plotter &to, const arguments &given, bool fill) {
  const int64_t rx = std::max(given[2], 1), ry = std::max(given[3], 1), r = std::max(rx, ry);
  std::map<int64_t, int64_t, std::greater<>> reach; // by row
  const auto pixel = [](int64_t units) { return (units + 32) >> 6; };
  for (int64_t a = 0, b = r * 64; pixel(a) <= pixel(b); a += b / r, b -= a / r)
    for (const auto &[u, v] : {std::pair(pixel(a), pixel(b)), {pixel(b), pixel(a)}}) {
      int64_t &row = reach[v * ry / r];
      row = std::max(row, u * rx / r);
    }
  std::vector<row_pair> pairs;
  for (const auto &[y, x] : reach)
    pairs.push_back({given[0] - x, given[0] + x, given[1] - y, given[1] + y});
  rows(to, pairs, fill);
}

template <auto &routine>
void boxed(__ORBSurface2D__ *s, const arguments &a, uint32_t colour, int32_t fill) {
  routine(s, a[0], a[1], a[2], a[3], colour, fill);
}

const struct shape {
  const char *name;
  bool round; ///< by centre and radii
  void (*draw)(__ORBSurface2D__ *, const arguments &, uint32_t colour, int32_t fill);
  void (*reference)(plotter &, const arguments &, bool fill);
} all[] = {
    {"rect", false, boxed<draw_rect>, rect},
    {"srect", false, boxed<draw_srect>, srect},
    {"csrect", false, boxed<draw_csrect>, csrect},
    {"ellipse", false, boxed<draw_ellipse>, ellipse},
    {"csellipse", true, boxed<draw_csellipse>, csellipse},
    {"circle", true,
     [](auto *s, auto &a, uint32_t c, int32_t fill) { draw_circle(s, a[0], a[1], a[2], c, fill); },
     circle},
    {"line", false,
     [](auto *s, auto &a, uint32_t c, int32_t) { draw_line(s, a[0], a[1], a[2], a[3], c); }, line},
    {"hline", false,
     [](auto *s, auto &a, uint32_t c, int32_t) { draw_hline(s, a[0], a[2], a[1], c); },
     [](plotter &to, auto &a, bool) {
       box_between(to, {a[0], a[1], a[2], a[1]}, true);
     }},
    {"vline", false,
     [](auto *s, auto &a, uint32_t c, int32_t) { draw_vline(s, a[1], a[3], a[0], c); },
     [](plotter &to, auto &a, bool) {
       box_between(to, {a[0], a[1], a[0], a[3]}, true);
     }},
};

} // namespace shapes
