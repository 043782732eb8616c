// Rotated and sheared blits: the rows of a transformed quadrilateral.
//
// The outline is that of the rounded corners: a row runs from where it crosses the left edge to
// where it crosses the right one, both rounded to the nearest pixel. The source position of a row's
// two ends comes from the inverse of the unrounded corners and is clamped into the picture; between
// them the row steps in 16.16, truncated toward zero, so that nothing outside is read.
#include <algorithm>
#include <cmath>

#include "blit/geometry.h"
#include "blit/operation.h"

namespace {

/// Source position as an affine function of the destination pixel.
struct source_map {
  double u0, ux, uy;
  double v0, vx, vy;
  double u_top, v_top; // last position inside the picture, in 16.16

  uint32_t u(double x, double y) const {
    return uint32_t(std::clamp((u0 + ux * x + uy * y) * 65536, 0.0, u_top));
  }
  uint32_t v(double x, double y) const {
    return uint32_t(std::clamp((v0 + vx * x + vy * y) * 65536, 0.0, v_top));
  }
};

/// The map that takes corner 0 (top left) half a destination pixel inside the source, and corners 1
/// (top right) and 2 (bottom left) as far inside its other edges. Along a side without length the
/// middle is sampled.
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
    // A line: what has length is followed along itself.
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
  *map = {inset_x + p0 * run_u, px * run_u, py * run_u,        inset_y + q0 * run_v,
          qx * run_v,           qy * run_v, width * 65536 - 1, height * 65536 - 1};
  return true;
}

int64_t floor_div(int64_t n, int64_t d) {
  return n / d - (n % d != 0 && (n < 0) != (d < 0));
}

/// floor(x + 0.5) where the edge a-b crosses row y; a.y != b.y. Exact: in doubles while they hold
/// the product and the distance to the nearest half, else in integers.
int32_t crossing(__Vertex__ a, __Vertex__ b, int32_t y) {
  const int64_t dy = int64_t(b.y) - a.y, dx = int64_t(b.x) - a.x, n = (int64_t(y) - a.y) * dx;
  constexpr int64_t small = 1 << 20;
  if (dy < small && dy > -small && dx < small && dx > -small) {
    const double offset = double(n) / double(dy) + 0.5;
    auto whole = int32_t(offset);
    if (whole > offset) --whole;
    return a.x + whole;
  }
  return a.x + int32_t(floor_div(2 * n + dy, 2 * dy));
}

struct row_span {
  int32_t left, right;
};

/// The span of row y between the edges of the outline (vertices in scan order).
row_span span_of(const __Vertex__ v[4], int32_t y) {
  static constexpr int edges[4][2] = {{0, 1}, {0, 2}, {1, 3}, {2, 3}};
  row_span span{INT32_MAX, INT32_MIN};
  for (const auto &edge : edges) {
    const __Vertex__ a = v[edge[0]], b = v[edge[1]];
    if (y < std::min(a.y, b.y) || y > std::max(a.y, b.y)) continue;
    const int32_t first = a.y == b.y ? a.x : crossing(a, b, y);
    const int32_t second = a.y == b.y ? b.x : first;
    span.left = std::min({span.left, first, second});
    span.right = std::max({span.right, first, second});
  }
  return span;
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
  blit.rotscale = choose_routine(span_op::rotscale, blit_column());
  if (!blit.rotscale) return refuse_blit(request);

  const int32_t first = std::max(v[0].y, blit.clipy0);
  const int32_t last = std::min(std::max({v[1].y, v[2].y, v[3].y}), blit.clipy1);
  int32_t x0 = INT32_MAX, x1 = INT32_MIN, y0 = 0, y1 = -1;
  for (int32_t y = first; y <= last; ++y) {
    const row_span row = span_of(v, y);
    const int32_t left = std::max(row.left, blit.clipx0), right = std::min(row.right, blit.clipx1);
    if (left > right) continue;

    const uint32_t u = map.u(left, y), w = map.v(left, y);
    const int32_t steps = right - left;
    blit.dst_x = left;
    blit.dst_y = y;
    blit.blt_w = steps + 1;
    blit.src_x = int32_t(u);
    blit.src_y = int32_t(w);
    blit.x_inc = blit.y_inc = 0;
    if (steps > 0) {
      blit.x_inc = fixed_step(double(map.u(right, y)) - u, steps);
      blit.y_inc = fixed_step(double(map.v(right, y)) - w, steps);
    }
    blit.rotscale();

    if (y1 < y0) y0 = y;
    y1 = y;
    x0 = std::min(x0, left);
    x1 = std::max(x1, right);
  }
  if (y1 < y0) return refuse_blit(request);
  return finish_blit(request, x0, y0, x1, y1);
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
