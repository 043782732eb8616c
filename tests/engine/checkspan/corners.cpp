#include "engine/checkspan/corners.h"

#include <cmath>
#include <string_view>

namespace checkspan {

namespace {

struct turn {
  double c, s;
};
turn turn_of(const placed_graph &g) {
  const double theta = g.angle * 3.14159265358979323846 / -180000;
  return {std::cos(theta), std::sin(theta)};
}

double mirror_x(const placed_graph &g) { return g.flags & 1 ? -1 : 1; }
double mirror_y(const placed_graph &g) { return g.flags & 2 ? -1 : 1; }

/// The four offsets (L, T), (R, T), (L, B), (R, B).
corner_set offsets(double l, double t, double r, double b) {
  return {{{l, t}, {r, t}, {l, b}, {r, b}}};
}
/// Far edges minus one source pixel.
corner_set offsets_before_scaling(const placed_graph &g) {
  return offsets(-g.cx, -g.cy, (g.w - g.cx) - 1, (g.h - g.cy) - 1);
}
/// Scaled far edges minus one destination pixel.
corner_set offsets_after_scaling(const placed_graph &g) {
  const double sx = g.size_x / 100, sy = g.size_y / 100;
  return offsets(-g.cx * sx, -g.cy * sy, sx * (g.w - g.cx) - 1, sy * (g.h - g.cy) - 1);
}

} // namespace

scaled_box corners_scale(const placed_graph &g) {
  const double sx = g.size_x / 100 * (g.flags & 1 ? -1 : 1);
  const double sy = g.size_y / 100 * (g.flags & 2 ? -1 : 1);
  scaled_box box{};
  if (sx > 0) {
    box.x0 = g.x - g.cx * sx;
    box.x1 = g.x + (g.w - g.cx) * sx - 1;
  } else {
    box.x0 = g.x + (g.w - g.cx) * sx;
    box.x1 = g.x - g.cx * sx - 1;
  }
  if (sy > 0) {
    box.y0 = g.y - g.cy * sy;
    box.y1 = g.y + (g.h - g.cy) * sy - 1;
  } else {
    box.y0 = g.y + (g.h - g.cy) * sy;
    box.y1 = g.y - g.cy * sy - 1;
  }
  return box;
}

corner_set corners_rotate(const placed_graph &g) {
  const auto [c, s] = turn_of(g);
  corner_set corners = offsets_before_scaling(g);
  for (corner &p : corners)
    p = {(c * p.x - s * p.y) * mirror_x(g) + g.x, (s * p.x + c * p.y) * mirror_y(g) + g.y};
  return corners;
}

corner_set corners_rotscale(const placed_graph &g) {
  const auto [c, s] = turn_of(g);
  const double sx = g.size_x / 100, sy = g.size_y / 100;
  corner_set corners{};
  if (g.tfmorder == 1 || g.tfmorder == 4 || g.tfmorder == 5) {
    corners = offsets_before_scaling(g);
    for (corner &p : corners)
      p = {(c * p.x - s * p.y) * sx * mirror_x(g) + g.x,
           (s * p.x + c * p.y) * sy * mirror_y(g) + g.y};
  } else {
    corners = offsets_after_scaling(g);
    for (corner &p : corners)
      p = {(c * p.x - s * p.y) * mirror_x(g) + g.x, (s * p.x + c * p.y) * mirror_y(g) + g.y};
  }
  return corners;
}

corner_set corners_scaleshear(const placed_graph &g) {
  const double kx = -g.shear_x / 100, ky = -g.shear_y / 100;
  const double sx = g.size_x / 100, sy = g.size_y / 100;
  corner_set corners{};
  if (g.tfmorder == 0 || g.tfmorder == 1 || g.tfmorder == 4) {
    corners = offsets_before_scaling(g);
    for (corner &p : corners)
      p = {(p.x + kx * p.y) * sx * mirror_x(g) + g.x, (p.y + ky * p.x) * sy * mirror_y(g) + g.y};
  } else {
    corners = offsets_after_scaling(g);
    for (corner &p : corners)
      p = {(p.x + kx * p.y) * mirror_x(g) + g.x, (p.y + ky * p.x) * mirror_y(g) + g.y};
  }
  return corners;
}

corner_set corners_rotscaleshear(const placed_graph &g) {
  static constexpr std::string_view orders[6] = {"hsr", "hrs", "shr", "srh", "rhs", "rsh"};
  const auto [c, s] = turn_of(g);
  const double kx = -g.shear_x / 100, ky = -g.shear_y / 100;
  const double sx = g.size_x / 100, sy = g.size_y / 100;
  // The transforms present, as letters in order.
  std::string_view order = orders[g.tfmorder];
  char present[4] = "";
  int count = 0;
  for (const char letter : order) {
    const bool there = letter == 'h'   ? kx != 0 || ky != 0
                       : letter == 's' ? sx != 1 || sy != 1
                                       : g.angle % 360000 != 0;
    if (there) present[count++] = letter;
  }
  order = std::string_view(present, size_t(count));
  // The far pixel is subtracted right after scaling, or at the start when scaling is last or
  // absent.
  const size_t scaling = order.find('s');
  const bool before = scaling == order.npos || scaling == order.size() - 1;

  corner_set corners = offsets(-g.cx, -g.cy, g.w - g.cx, g.h - g.cy);
  for (size_t i = 0; i < 4; ++i) {
    const double far_x = i % 2 ? 1 : 0, far_y = i / 2 ? 1 : 0;
    corner p = corners[i];
    if (before) p = {p.x - far_x, p.y - far_y};
    for (const char letter : order) {
      if (letter == 'h') p = {p.x + kx * p.y, p.y + ky * p.x};
      if (letter == 'r') p = {c * p.x - s * p.y, s * p.x + c * p.y};
      if (letter == 's') {
        p = {p.x * sx, p.y * sy};
        if (!before) p = {p.x - far_x, p.y - far_y};
      }
    }
    corners[i] = {p.x * mirror_x(g) + g.x, p.y * mirror_y(g) + g.y};
  }
  return corners;
}

double round_half_away(double v) { return v >= 0 ? std::floor(v + 0.5) : std::ceil(v - 0.5); }

} // namespace checkspan
