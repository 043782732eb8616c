#include "blit/geometry.h"

#include <algorithm>
#include <cmath>
#include <numbers>

#include "surface/surface.h"

namespace {

struct point {
  double x, y;
};

/// Offsets from the pivot to the picture's edges: the near ones to the first pixel, the far ones
/// just past the last.
struct extent {
  double left, top, right, bottom;
};

extent extent_around_pivot(__ORBSurface2D__ *surface) {
  const blit_pivot pivot = take_pivot(surface);
  return {-double(pivot.x), -double(pivot.y), double(surface->width) - pivot.x,
          double(surface->height) - pivot.y};
}

struct rotation {
  double c, s;
  point operator()(point p) const { return {c * p.x - s * p.y, s * p.x + c * p.y}; }
};
rotation rotation_by(int32_t angle) {
  const double radians = angle * std::numbers::pi / -180000;
  return {std::cos(radians), std::sin(radians)};
}

struct shear {
  double kx, ky;
  point operator()(point p) const { return {p.x + kx * p.y, p.y + ky * p.x}; }
};
shear shear_by(int32_t x, int32_t y) { return {x / -100.0, y / -100.0}; }

struct scaling {
  double x, y;
  point operator()(point p) const { return {p.x * x, p.y * y}; }
};
scaling scaling_by(int32_t x, int32_t y) { return {x / 100.0, y / 100.0}; }

/// The letters of a transform order; an unknown order counts as tfm_hsr.
const char *order_letters(int32_t tfmorder) {
  static constexpr char orders[6][4] = {"hsr", "hrs", "shr", "srh", "rhs", "rsh"};
  return orders[tfmorder >= tfm_hsr && tfmorder <= tfm_rsh ? tfmorder : tfm_hsr];
}

/// Rounds; coordinates beyond the grid are clamped to its edge.
int32_t round_on_grid(float value) {
  const int32_t rounded = round_corner(value);
  if (rounded != corner_out_of_range) return rounded;
  return value > 0 ? 1 << 30 : -(1 << 30);
}

/// Transforms the four corners of an extent with transform(offset, right, bottom), where the flags
/// say whether the corner is on the right and on the bottom edge; then mirrors about the position.
template <typename Transform>
void place_corners(extent e, int32_t x, int32_t y, int32_t flags, __FPoint__ corners[4],
                   Transform transform) {
  const double mx = flags & 1 ? -1 : 1, my = flags & 2 ? -1 : 1;
  for (int i = 0; i < 4; ++i) {
    const bool right = i & 1, bottom = i & 2;
    const point p =
        transform(point{right ? e.right : e.left, bottom ? e.bottom : e.top}, right, bottom);
    corners[i] = {float(p.x * mx + x), float(p.y * my + y)};
  }
}

/// Moves a corner on a far edge back to the last pixel.
point last_pixel(point p, bool right, bool bottom) {
  return {right ? p.x - 1 : p.x, bottom ? p.y - 1 : p.y};
}

void sort_corners(__Vertex__ sorted[4], const __Vertex__ corners[4]) {
  // Clockwise order, so that neighbours are adjacent.
  const __Vertex__ ring[4] = {corners[0], corners[1], corners[3], corners[2]};
  int top = 0;
  for (int i = 1; i < 4; ++i) {
    if (ring[i].y < ring[top].y || (ring[i].y == ring[top].y && ring[i].x < ring[top].x)) top = i;
  }
  const __Vertex__ a = ring[(top + 3) & 3], b = ring[(top + 1) & 3];
  // The left neighbour is the one whose edge leaves the top further to the left.
  const int64_t turn = (int64_t(a.x) - ring[top].x) * (int64_t(b.y) - ring[top].y) -
                       (int64_t(b.x) - ring[top].x) * (int64_t(a.y) - ring[top].y);
  sorted[0] = ring[top];
  sorted[1] = turn <= 0 ? a : b;
  sorted[2] = turn <= 0 ? b : a;
  sorted[3] = ring[(top + 2) & 3];
}

} // namespace

void calculate_corners_scale(__ORBSurface2D__ *surface, int32_t x, int32_t y, int32_t size_x,
                             int32_t size_y, int32_t flags, float *x0, float *y0, float *x1,
                             float *y1) {
  const extent e = extent_around_pivot(surface);
  scaling s = scaling_by(size_x, size_y);
  if (flags & 1) s.x = -s.x;
  if (flags & 2) s.y = -s.y;
  *x0 = float(x + (s.x > 0 ? e.left : e.right) * s.x);
  *x1 = float(x + (s.x > 0 ? e.right : e.left) * s.x - 1);
  *y0 = float(y + (s.y > 0 ? e.top : e.bottom) * s.y);
  *y1 = float(y + (s.y > 0 ? e.bottom : e.top) * s.y - 1);
}

void calculate_corners_rotate(__ORBSurface2D__ *surface, int32_t x, int32_t y, int32_t angle,
                              int32_t flags, __FPoint__ corners[4]) {
  calculate_corners_rotscaleshear(surface, x, y, 100, 100, 0, 0, angle, tfm_hsr, flags, corners);
}

void calculate_corners_rotscale(__ORBSurface2D__ *surface, int32_t x, int32_t y, int32_t size_x,
                                int32_t size_y, int32_t angle, int32_t tfmorder, int32_t flags,
                                __FPoint__ corners[4]) {
  const extent e = extent_around_pivot(surface);
  const rotation r = rotation_by(angle);
  const scaling s = scaling_by(size_x, size_y);
  const bool scale_last = tfmorder == tfm_hrs || tfmorder == tfm_rhs || tfmorder == tfm_rsh;
  place_corners(e, x, y, flags, corners, [&](point p, bool right, bool bottom) {
    return scale_last ? s(r(last_pixel(p, right, bottom))) : r(last_pixel(s(p), right, bottom));
  });
}

void calculate_corners_scaleshear(__ORBSurface2D__ *surface, int32_t x, int32_t y, int32_t size_x,
                                  int32_t size_y, int32_t shear_x, int32_t shear_y,
                                  int32_t tfmorder, int32_t flags, __FPoint__ corners[4]) {
  const extent e = extent_around_pivot(surface);
  const shear h = shear_by(shear_x, shear_y);
  const scaling s = scaling_by(size_x, size_y);
  const bool scale_last = tfmorder == tfm_hsr || tfmorder == tfm_hrs || tfmorder == tfm_rhs;
  place_corners(e, x, y, flags, corners, [&](point p, bool right, bool bottom) {
    return scale_last ? s(h(last_pixel(p, right, bottom))) : h(last_pixel(s(p), right, bottom));
  });
}

// QUIRK: far corners move back to the last pixel right after scaling (in destination pixels), but
// where scaling is absent or the last transform present, before everything (in source pixels).
void calculate_corners_rotscaleshear(__ORBSurface2D__ *surface, int32_t x, int32_t y,
                                     int32_t size_x, int32_t size_y, int32_t shear_x,
                                     int32_t shear_y, int32_t angle, int32_t tfmorder,
                                     int32_t flags, __FPoint__ corners[4]) {
  const char *const order = order_letters(tfmorder);
  const extent e = extent_around_pivot(surface);
  const rotation r = rotation_by(angle);
  const shear h = shear_by(shear_x, shear_y);
  const scaling s = scaling_by(size_x, size_y);

  const auto present = [&](char letter) {
    if (letter == 's') return size_x != 100 || size_y != 100;
    return letter == 'h' ? shear_x != 0 || shear_y != 0 : angle % full_turn != 0;
  };
  char last = 0;
  for (int i = 0; i < 3; ++i)
    if (present(order[i])) last = order[i];
  const bool off_first = last == 's' || !present('s');

  place_corners(e, x, y, flags, corners, [&](point p, bool right, bool bottom) {
    if (off_first) p = last_pixel(p, right, bottom);
    for (int i = 0; i < 3; ++i) {
      if (!present(order[i])) continue;
      if (order[i] == 'h')
        p = h(p);
      else if (order[i] == 'r')
        p = r(p);
      else {
        p = s(p);
        if (!off_first) p = last_pixel(p, right, bottom);
      }
    }
    return p;
  });
}

void calculate_corners(__ORBSurface2D__ *surface, int32_t x, int32_t y, int32_t size_x,
                       int32_t size_y, int32_t shear_x, int32_t shear_y, int32_t angle,
                       int32_t tfmorder, int32_t flags, __FPoint__ corners[4]) {
  const int32_t turned = angle % full_turn;
  const bool sheared = shear_x != 0 || shear_y != 0;
  if (turned == 0 && !sheared) {
    float x0, y0, x1, y1;
    calculate_corners_scale(surface, x, y, size_x, size_y, flags, &x0, &y0, &x1, &y1);
    corners[0] = {x0, y0};
    corners[1] = {x1, y0};
    corners[2] = {x1, y1};
    corners[3] = {x0, y1};
    return;
  }
  if (turned == 0)
    calculate_corners_scaleshear(surface, x, y, size_x, size_y, shear_x, shear_y, tfmorder, flags,
                                 corners);
  else if (sheared)
    calculate_corners_rotscaleshear(surface, x, y, size_x, size_y, shear_x, shear_y, turned,
                                    tfmorder, flags, corners);
  else if (size_x != 100 || size_y != 100)
    calculate_corners_rotscale(surface, x, y, size_x, size_y, turned, tfmorder, flags, corners);
  else
    calculate_corners_rotate(surface, x, y, turned, flags, corners);
  std::swap(corners[2], corners[3]);
}

__Vertex__ calculate_point(__ORBSurface2D__ *surface, int32_t px, int32_t py, int32_t x, int32_t y,
                           int32_t size_x, int32_t size_y, int32_t shear_x, int32_t shear_y,
                           int32_t angle, int32_t tfmorder, int32_t flags) {
  const blit_pivot pivot = take_pivot(surface);
  const rotation r = rotation_by(angle % full_turn);
  const shear h = shear_by(shear_x, shear_y);
  const scaling s = scaling_by(size_x, size_y);
  point p{double(px) - pivot.x, double(py) - pivot.y};
  for (const char *letter = order_letters(tfmorder); *letter; ++letter)
    p = *letter == 'h' ? h(p) : *letter == 's' ? s(p) : r(p);
  return {round_on_grid(float(flags & 1 ? x - p.x : x + p.x)),
          round_on_grid(float(flags & 2 ? y - p.y : y + p.y))};
}

void calculate_graph_bbox(__ORBRegion__ *box, __ORBSurface2D__ *surface, int32_t x, int32_t y,
                          int32_t angle, int32_t flags, int32_t size_x, int32_t size_y,
                          int32_t shear_x, int32_t shear_y, int32_t tfmorder) {
  __FPoint__ corners[4];
  calculate_corners(surface, x, y, size_x, size_y, shear_x, shear_y, angle, tfmorder, flags,
                    corners);
  *box = {INT32_MAX, INT32_MIN, INT32_MAX, INT32_MIN};
  for (int i = 0; i < 4; ++i) {
    // Clamped to the grid: `corner_out_of_range` would ruin the box.
    const int32_t cx = round_on_grid(corners[i].x), cy = round_on_grid(corners[i].y);
    box->x0 = std::min(box->x0, cx);
    box->x1 = std::max(box->x1, cx);
    box->y0 = std::min(box->y0, cy);
    box->y1 = std::max(box->y1, cy);
  }
}

void sort_corners_rotscale(__Vertex__ sorted[4], const __Vertex__ corners[4]) {
  sort_corners(sorted, corners);
}
void sort_corners_scaleshear(__Vertex__ sorted[4], const __Vertex__ corners[4]) {
  sort_corners(sorted, corners);
}
void sort_corners_rotscaleshear(__Vertex__ sorted[4], const __Vertex__ corners[4]) {
  sort_corners(sorted, corners);
}
