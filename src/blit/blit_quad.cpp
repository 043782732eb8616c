// Rotated and sheared blits: the rows of a transformed quadrilateral.
//
// The outline joins the rounded corners. Each row spans the crossings of the left and the right
// edge, both rounded to the nearest pixel. The source positions at a row's two ends come from the
// inverse of the unrounded corners, clamped to the picture; between them the row steps in 16.16,
// truncated toward zero, so that no read leaves the picture. Clipping comes last and only skips
// steps: the visible pixels stay the same.
#include <algorithm>
#include <cmath>

#include "blit/geometry.h"
#include "blit/operation.h"

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
struct outline_edge {
  int32_t first, last;     // rows
  int64_t x, rest;         // crossing, and its remainder in units of 1 / `unit`
  int64_t step, step_rest; // per row
  int64_t unit;
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
    unit = 2 * dy;
    const quotient per_row = floor_div(dx, dy);
    step = per_row.whole;
    step_rest = 2 * per_row.rest;
    x = a.x;
    rest = dy;
    if (from_row > first) {
      const quotient skipped = floor_div(2 * (int64_t(from_row) - first) * dx + dy, unit);
      x += skipped.whole;
      rest = skipped.rest;
    }
  }

  void next_row() {
    x += step;
    rest += step_rest;
    if (rest >= unit) {
      rest -= unit;
      ++x;
    }
  }
};

/// The outline's spans, row by row, starting at `row`.
struct outline {
  outline_edge edges[4];
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
    for (outline_edge &edge : edges) {
      if (row < edge.first || row > edge.last) continue;
      s.left = std::min(s.left, int32_t(edge.x));
      s.right = std::max(s.right, int32_t(uint32_t(edge.x) + edge.width));
      edge.next_row();
    }
    ++row;
    return s;
  }
};

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
  blit.rotscale = choose_routine(span_op::rotscale, blit_column());
  if (!blit.rotscale) return refuse_blit(request);

  // Rows are walked in the corners' coordinates; only the span routine uses the destination's.
  const int32_t window_x = blit.window_x, window_y = blit.window_y;
  const int32_t clip_left = blit.clipx0 + window_x, clip_right = blit.clipx1 + window_x;
  const int32_t first = std::max(v[0].y, blit.clipy0 + window_y);
  const int32_t last = std::min(std::max({v[1].y, v[2].y, v[3].y}), blit.clipy1 + window_y);
  if (first > last) return refuse_blit(request);
  int32_t x0 = INT32_MAX, x1 = INT32_MIN, y0 = 0, y1 = -1;
  outline rows(v, first);
  for (int32_t y = first; y <= last; ++y) {
    const outline::span row = rows.next();
    const int32_t left = std::max(row.left, clip_left), right = std::min(row.right, clip_right);
    if (left > right) continue;

    uint32_t u = map.u.at(row.left, y), w = map.v.at(row.left, y);
    blit.x_inc = blit.y_inc = 0;
    if (row.left < row.right) {
      // A row may be far wider than any surface: up to 2^31 pixels.
      const uint32_t steps = uint32_t(row.right) - uint32_t(row.left);
      blit.x_inc = step_between(u, map.u.at(row.right, y), steps);
      blit.y_inc = step_between(w, map.v.at(row.right, y), steps);
      // Skips what is clipped on the left in one step. Modulo 2^32 the products are exact.
      const uint32_t skipped = uint32_t(left) - uint32_t(row.left);
      u += skipped * uint32_t(blit.x_inc);
      w += skipped * uint32_t(blit.y_inc);
    }
    blit.dst_x = left - window_x;
    blit.dst_y = y - window_y;
    blit.blt_w = right - left + 1;
    blit.src_x = int32_t(u);
    blit.src_y = int32_t(w);
    blit.rotscale();

    if (y1 < y0) y0 = y;
    y1 = y;
    x0 = std::min(x0, left);
    x1 = std::max(x1, right);
  }
  if (y1 < y0) return refuse_blit(request);
  return finish_blit(request, x0 - window_x, y0 - window_y, x1 - window_x, y1 - window_y);
}

} // namespace

int32_t ORBGI2D_BlitRotate(__ORBBlit2D__ *request) {
  if (!begin_blit(request, true) || !clip_blit(request)) return refuse_blit(request);
  blit.size_x = blit.size_y = 100;
  __FPoint__ corners[4];
  calculate_corners_rotate(blit.src, blit.x, blit.y, blit.angle, blit.blt_flags, corners);
  return draw_quadrilateral(request, corners, sort_corners_rotscale);
}

int32_t ORBGI2D_BlitRotScale(__ORBBlit2D__ *request) {
  if (!begin_blit(request, true) || !clip_blit(request)) return refuse_blit(request);
  __FPoint__ corners[4];
  calculate_corners_rotscale(blit.src, blit.x, blit.y, blit.size_x, blit.size_y, blit.angle,
                             blit.tfmorder, blit.blt_flags, corners);
  return draw_quadrilateral(request, corners, sort_corners_rotscale);
}

int32_t ORBGI2D_BlitScaleShear(__ORBBlit2D__ *request) {
  if (!begin_blit(request, true) || !clip_blit(request)) return refuse_blit(request);
  __FPoint__ corners[4];
  calculate_corners_scaleshear(blit.src, blit.x, blit.y, blit.size_x, blit.size_y, blit.shear_x,
                               blit.shear_y, blit.tfmorder, blit.blt_flags, corners);
  return draw_quadrilateral(request, corners, sort_corners_scaleshear);
}

int32_t ORBGI2D_BlitRotScaleShear(__ORBBlit2D__ *request) {
  if (!begin_blit(request, true) || !clip_blit(request)) return refuse_blit(request);
  __FPoint__ corners[4];
  calculate_corners_rotscaleshear(blit.src, blit.x, blit.y, blit.size_x, blit.size_y, blit.shear_x,
                                  blit.shear_y, blit.angle, blit.tfmorder, blit.blt_flags, corners);
  return draw_quadrilateral(request, corners, sort_corners_rotscaleshear);
}
