// Rotated and sheared blits: the rows of a transformed quadrilateral.
//
// The outline joins the rounded corners. Each row spans the crossings of the left and the right
// edge, both rounded to the nearest pixel. The source positions at a row's two ends come from the
// inverse of the unrounded corners, clamped to the picture; between them the row steps in 16.16,
// truncated toward zero, so that no read leaves the picture. Clipping comes last and only skips
// steps: the visible pixels stay the same.
#include <emmintrin.h>

#include <algorithm>
#include <cmath>

#include "blit/geometry.h"
#include "blit/operation.h"
#include "blit/turned_rows.h"

namespace {

/// A source coordinate as an affine function of the destination pixel.
struct source_axis {
  double origin, along_x, along_y;
  double top; // last position inside the picture, 16.16

  /// The 16.16 position at a pixel, clamped to the picture.
  uint32_t at(int32_t x, int32_t y) const {
    const double position = (origin + along_x * x + along_y * y) * 65536;
    return uint32_t(to_fixed(std::clamp(position, 0.0, top)));
  }
};

/// The 16.16 step that covers the distance in `steps` steps.
int32_t step_between(uint32_t from, uint32_t to, uint32_t steps) {
  // Positions that use the sign bit may lie further apart than an int can hold.
  const bool usual = int32_t(from | to | steps) >= 0;
  return usual ? int32_t(to - from) / int32_t(steps)
               : fixed_beyond_31_bits((double(to) - from) / steps);
}

struct source_map {
  source_axis u, v;
};

/// Gives the lines of rows: from the source position at the row's left end to that at its right.
class line_finder {
public:
  explicit line_finder(const source_map &map) : map_(map) {}

  source_line line(int32_t left, int32_t right, int32_t y) const {
    const uint32_t u = map_.u.at(left, y), v = map_.v.at(left, y);
    if (left >= right) return {u, v, 0, 0};
    // A row may be far wider than any surface: up to 2^31 pixels.
    const uint32_t steps = uint32_t(right) - uint32_t(left);
    return {u, v, uint32_t(step_between(u, map_.u.at(right, y), steps)),
            uint32_t(step_between(v, map_.v.at(right, y), steps))};
  }

private:
  const source_map &map_;
};

/// The same for pictures whose positions leave the sign bit alone, both coordinates at a time. The
/// quotient of two doubles is exact enough to be truncated: unless it is whole, it is further from
/// the next whole number than it is rounded.
class quick_line_finder {
public:
  explicit quick_line_finder(const source_map &map)
      : origin_{map.u.origin * one, map.v.origin * one}, along_x_{map.u.along_x * one,
                                                                  map.v.along_x * one},
        along_y_{map.u.along_y * one, map.v.along_y * one}, top_{map.u.top, map.v.top} {}

  source_line line(int32_t left, int32_t right, int32_t y) const {
    const auto at = [this, y](double x) {
      const pair position = origin_ + along_x_ * x + along_y_ * double(y);
      return _mm_cvttpd_epi32(_mm_max_pd(_mm_min_pd(position, top_), pair{}));
    };
    const __m128i from = at(left), run = _mm_sub_epi32(at(right), from);
    const double steps = left < right ? double(right) - left : 1;
    const __m128i step = _mm_cvttpd_epi32(_mm_cvtepi32_pd(run) / pair{steps, steps});
    source_line line;
    _mm_storeu_si128(reinterpret_cast<__m128i *>(&line), _mm_unpacklo_epi64(from, step));
    return line;
  }

private:
  using pair = __m128d;
  static constexpr double one = 65536;
  pair origin_, along_x_, along_y_, top_;
};

/// Maps corner 0 (top left) half a destination pixel inside the source, and corners 1 (top right)
/// and 2 (bottom left) equally far inside the opposite edges. A side of zero length samples the
/// middle.
bool map_source(source_map *map, const __FPoint__ c[4]) {
  const double width = blit.src->width, height = blit.src->height;
  const double inset_x = 50.0 / std::abs(double(blit.size_x));
  const double inset_y = 50.0 / std::abs(double(blit.size_y));
  if (inset_x >= width || inset_y >= height) return false;

  const double ax = double(c[1].x) - c[0].x, ay = double(c[1].y) - c[0].y; // along the source's x
  const double bx = double(c[2].x) - c[0].x, by = double(c[2].y) - c[0].y; // along its y
  const double aa = ax * ax + ay * ay, bb = bx * bx + by * by, det = ax * by - ay * bx;

  // p and q run from 0 to 1 along the two sides.
  double p0 = 0.5, px = 0, py = 0, q0 = 0.5, qx = 0, qy = 0;
  constexpr double no_length = 1e-6;
  if (det * det > no_length * aa * bb) {
    px = by / det;
    py = -bx / det;
    qx = -ay / det;
    qy = ax / det;
  } else {
    // Degenerate to a line: map along each side that has a length.
    if (aa > no_length) {
      px = ax / aa;
      py = ay / aa;
    }
    if (bb > no_length) {
      qx = bx / bb;
      qy = by / bb;
    }
  }
  if (px != 0 || py != 0) p0 = -(px * c[0].x + py * c[0].y);
  if (qx != 0 || qy != 0) q0 = -(qx * c[0].x + qy * c[0].y);

  const double run_u = width - 2 * inset_x, run_v = height - 2 * inset_y;
  *map = {{inset_x + p0 * run_u, px * run_u, py * run_u, width * 65536 - 1},
          {inset_y + q0 * run_v, qx * run_v, qy * run_v, height * 65536 - 1}};
  return true;
}

struct quotient {
  int64_t whole, rest; // 0 <= rest < divisor
};
/// Division rounded down; the divisor is positive.
quotient floor_div(int64_t n, int64_t d) {
  // 32-bit fast path: i386 divides 64-bit numbers by a library call.
  const bool small = n == int32_t(n) && d == int32_t(d);
  quotient q =
      small ? quotient{int32_t(n) / int32_t(d), int32_t(n) % int32_t(d)} : quotient{n / d, n % d};
  if (q.rest < 0) {
    --q.whole;
    q.rest += d;
  }
  return q;
}

/// Walks an outline edge from row to row: the x where it crosses each row, rounded to the nearest
/// pixel (halves up). Bresenham with an exact quotient and remainder.
template <typename Number> struct outline_edge {
  int32_t first, last;    // rows
  Number x, rest;         // crossing, and its remainder in units of 1 / `unit`
  Number step, step_rest; // per row
  Number unit;
  uint32_t width; // a horizontal edge covers x to x + width of its row

  outline_edge(__Vertex__ a, __Vertex__ b, int32_t from_row) {
    if (a.y > b.y) std::swap(a, b);
    first = a.y;
    last = b.y;
    width = 0;
    const int64_t dx = int64_t(b.x) - a.x, dy = int64_t(b.y) - a.y;
    if (dy == 0) {
      x = std::min(a.x, b.x);
      width = uint32_t(std::max(a.x, b.x)) - uint32_t(x);
      rest = step = step_rest = unit = 0;
      return;
    }
    // In units of half a row: floor(x + 1/2) is the quotient of the doubled numbers, plus one half.
    unit = Number(2 * dy);
    const quotient per_row = floor_div(dx, dy);
    step = Number(per_row.whole);
    step_rest = Number(2 * per_row.rest);
    x = a.x;
    rest = Number(dy);
    if (from_row > first) {
      const quotient skipped = floor_div(2 * (int64_t(from_row) - first) * dx + dy, unit);
      x += Number(skipped.whole);
      rest = Number(skipped.rest);
    }
  }

  void next_row() {
    rest += step_rest;
    const bool over = rest >= unit;
    rest -= over ? unit : 0;
    x += step + over;
  }
};

/// The outline's spans, row by row, starting at `row`.
template <typename Number> struct outline {
  outline_edge<Number> edges[4];
  int32_t row;

  /// Takes vertices in scan order.
  outline(const __Vertex__ v[4], int32_t from_row)
      : edges{{v[0], v[1], from_row},
              {v[0], v[2], from_row},
              {v[1], v[3], from_row},
              {v[2], v[3], from_row}},
        row(from_row) {}

  struct span {
    int32_t left, right;
  };
  span next() {
    span s{INT32_MAX, INT32_MIN};
    for (outline_edge<Number> &edge : edges) {
      if (row < edge.first || row > edge.last) continue;
      s.left = std::min(s.left, int32_t(edge.x));
      s.right = std::max(s.right, int32_t(uint32_t(edge.x) + edge.width));
      edge.next_row();
    }
    ++row;
    return s;
  }
};

/// Draws the rows first to last of an outline by the rotscale routine of the blit state, as many by
/// one call as its table holds. The box of what is drawn goes to `box`; false: nothing is.
template <typename Number, typename Finder>
bool draw_rows(const __Vertex__ v[4], int32_t first, int32_t last, const Finder &finder,
               __ORBRegion__ *box) {
  // Rows are walked in the corners' coordinates; only the span routine uses the destination's.
  const int32_t window_x = blit.window_x, window_y = blit.window_y;
  const int32_t clip_left = blit.clipx0 + window_x, clip_right = blit.clipx1 + window_x;
  constexpr int32_t table_size = 256;
  static turned_row table[table_size];
  blit.turned_rows = table;
  blit.blt_rows = 0;
  int32_t x0 = INT32_MAX, x1 = INT32_MIN, y0 = 0, y1 = -1;
  outline<Number> rows(v, first);
  for (int32_t y = first; y <= last; ++y) {
    const auto row = rows.next();
    const int32_t left = std::max(row.left, clip_left), right = std::min(row.right, clip_right);
    if (left <= right) {
      turned_row &to = table[blit.blt_rows++];
      to = {left - window_x, y - window_y, right - left + 1, finder.line(row.left, row.right, y)};
      // Skips what is clipped on the left in one step. Modulo 2^32 the products are exact.
      to.line.advance(int32_t(uint32_t(left) - uint32_t(row.left)));

      if (y1 < y0) y0 = y;
      y1 = y;
      x0 = std::min(x0, left);
      x1 = std::max(x1, right);
    }
    if (blit.blt_rows == table_size || (y == last && blit.blt_rows > 0)) {
      blit.rotscale();
      blit.blt_rows = 0;
    }
  }
  blit.turned_rows = nullptr;
  if (y1 < y0) return false;
  *box = {x0 - window_x, x1 - window_x, y0 - window_y, y1 - window_y};
  return true;
}

/// Whether positions in the picture and places on the outline are small enough for quick steps.
bool is_usual(const __Vertex__ v[4]) {
  constexpr uint32_t far = 1 << 27;
  bool usual = blit.src->width < 32768 && blit.src->height < 32768;
  for (int i = 0; i < 4; ++i)
    usual = usual && uint32_t(v[i].x) + far < 2 * far && uint32_t(v[i].y) + far < 2 * far;
  return usual;
}

using sort_routine = void(__Vertex__ sorted[4], const __Vertex__ corners[4]);

/// Draws the source into the quadrilateral (top left, top right, bottom left, bottom right).
int32_t draw_quadrilateral(__ORBBlit2D__ *request, const __FPoint__ corners[4],
                           sort_routine *sort) {
  __Vertex__ rounded[4], v[4];
  for (int i = 0; i < 4; ++i) {
    rounded[i] = {round_corner(corners[i].x), round_corner(corners[i].y)};
    if (rounded[i].x == corner_out_of_range || rounded[i].y == corner_out_of_range)
      return refuse_blit(request);
  }
  sort(v, rounded);
  source_map map;
  if (!map_source(&map, corners)) return refuse_blit(request);
  blit.rotscale = choose_routine<span_op::rotscale>(blit_column());
  if (!blit.rotscale) return refuse_blit(request);

  const int32_t first = std::max(v[0].y, blit.clipy0 + blit.window_y);
  const int32_t last = std::min(std::max({v[1].y, v[2].y, v[3].y}), blit.clipy1 + blit.window_y);
  if (first > last) return refuse_blit(request);
  __ORBRegion__ box;
  const bool drawn = is_usual(v) ? draw_rows<int32_t>(v, first, last, quick_line_finder(map), &box)
                                 : draw_rows<int64_t>(v, first, last, line_finder(map), &box);
  if (!drawn) return refuse_blit(request);
  return finish_blit(request, box.x0, box.y0, box.x1, box.y1);
}

} // namespace

int32_t ORBGI2D_BlitRotate(__ORBBlit2D__ *request) {
  if (!begin_transformed_blit(request)) return refuse_blit(request);
  blit.size_x = blit.size_y = 100;
  __FPoint__ corners[4];
  calculate_corners_rotate(blit.src, blit.x, blit.y, blit.angle, blit.blt_flags, corners);
  return draw_quadrilateral(request, corners, sort_corners_rotscale);
}

int32_t ORBGI2D_BlitRotScale(__ORBBlit2D__ *request) {
  if (!begin_transformed_blit(request)) return refuse_blit(request);
  __FPoint__ corners[4];
  calculate_corners_rotscale(blit.src, blit.x, blit.y, blit.size_x, blit.size_y, blit.angle,
                             blit.tfmorder, blit.blt_flags, corners);
  return draw_quadrilateral(request, corners, sort_corners_rotscale);
}

int32_t ORBGI2D_BlitScaleShear(__ORBBlit2D__ *request) {
  if (!begin_transformed_blit(request)) return refuse_blit(request);
  __FPoint__ corners[4];
  calculate_corners_scaleshear(blit.src, blit.x, blit.y, blit.size_x, blit.size_y, blit.shear_x,
                               blit.shear_y, blit.tfmorder, blit.blt_flags, corners);
  return draw_quadrilateral(request, corners, sort_corners_scaleshear);
}

int32_t ORBGI2D_BlitRotScaleShear(__ORBBlit2D__ *request) {
  if (!begin_transformed_blit(request)) return refuse_blit(request);
  __FPoint__ corners[4];
  calculate_corners_rotscaleshear(blit.src, blit.x, blit.y, blit.size_x, blit.size_y, blit.shear_x,
                                  blit.shear_y, blit.angle, blit.tfmorder, blit.blt_flags, corners);
  return draw_quadrilateral(request, corners, sort_corners_rotscaleshear);
}
