#include "engine/shapes.h"

#include <algorithm>

#include <cmath>
#include <map>
#include <vector>

#include "raster/raster.h"

namespace shapes {

/// Nearest pixels; halfway between two, the one nearer the start.
void line_reference(plotter &to, const arguments &a, bool) {
  const auto [x0, y0, x1, y1] = a;
  const uint64_t dx = uint64_t(std::abs(int64_t(x1) - x0)),
                 dy = uint64_t(std::abs(int64_t(y1) - y0));
  const bool steep = dx < dy;
  const uint64_t major = steep ? dy : dx, minor = steep ? dx : dy;
  for (int64_t at = steep ? to.top : to.left; at <= (steep ? to.bottom : to.right); ++at) {
    const int64_t ahead =
        (steep ? y1 < y0 : x1 < x0) ? (steep ? y0 : x0) - at : at - (steep ? y0 : x0);
    if (ahead < 0 || uint64_t(ahead) > major) continue;
    const uint64_t product = uint64_t(ahead) * minor, whole = major ? product / major : 0;
    const auto across = int64_t(whole + (2 * (product - whole * major) > major));
    if (steep)
      to.dot(x1 < x0 ? x0 - across : x0 + across, at);
    else
      to.dot(at, y1 < y0 ? y0 - across : y0 + across);
  }
}

void box(plotter &to, int64_t x0, int64_t y0, int64_t x1, int64_t y1, bool fill) {
  for (int64_t y = to.top; y <= to.bottom; ++y)
    for (int64_t x = to.left; x <= to.right; ++x) {
      const bool in = x >= x0 && x <= x1 && y >= y0 && y <= y1;
      if (in && (fill || x == x0 || x == x1 || y == y0 || y == y1)) to.dot(x, y);
    }
}

namespace {

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

/// A shape given by its rows from the outermost in: all pixels, or for an outline the ends and
/// every pixel that the next row outwards does not cover.
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

} // namespace

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

namespace {

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

template <auto &routine>
void boxed(__ORBSurface2D__ *s, const arguments &a, uint32_t colour, int32_t fill) {
  routine(s, a[0], a[1], a[2], a[3], colour, fill);
}

const shape shapes_[] = {
    {"rect", false, boxed<draw_rect>, rect_reference},
    {"srect", false, boxed<draw_srect>, srect_reference},
    {"csrect", false, boxed<draw_csrect>, csrect_reference},
    {"ellipse", false, boxed<draw_ellipse>, ellipse_reference},
    {"csellipse", true, boxed<draw_csellipse>, csellipse_reference},
    {"circle", true,
     [](auto *s, auto &a, uint32_t c, int32_t fill) { draw_circle(s, a[0], a[1], a[2], c, fill); },
     circle_reference},
    {"line", false,
     [](auto *s, auto &a, uint32_t c, int32_t) { draw_line(s, a[0], a[1], a[2], a[3], c); },
     line_reference},
    {"hline", false,
     [](auto *s, auto &a, uint32_t c, int32_t) { draw_hline(s, a[0], a[2], a[1], c); },
     [](plotter &to, const arguments &a, bool) {
       to.run(std::min(a[0], a[2]), std::max(a[0], a[2]), a[1]);
     }},
    {"vline", false,
     [](auto *s, auto &a, uint32_t c, int32_t) { draw_vline(s, a[1], a[3], a[0], c); },
     [](plotter &to, const arguments &a, bool) {
       box(to, a[0], std::min(a[1], a[3]), a[0], std::max(a[1], a[3]), true);
     }},
};

} // namespace

const std::span<const shape> all = shapes_;

} // namespace shapes
