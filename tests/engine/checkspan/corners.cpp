#include "engine/checkspan/corners.h"

#include <cmath>
#include <string>
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

/// Applies the transforms, as letters in order: h shears, s scales, r turns. The far pixel is
/// subtracted right after scaling, or at the start when scaling is last or absent.
corner_set transformed(const placed_graph &g, std::string_view order) {
  const auto [c, s] = turn_of(g);
  const double kx = -g.shear_x / 100, ky = -g.shear_y / 100;
  const double sx = g.size_x / 100, sy = g.size_y / 100;
  const size_t scaling = order.find('s');
  const bool before = scaling == order.npos || scaling == order.size() - 1;
  corner_set corners{};
  for (size_t i = 0; i < 4; ++i) {
    const double far_x = i % 2 ? 1 : 0, far_y = i / 2 ? 1 : 0;
    corner p = {far_x * g.w - g.cx, far_y * g.h - g.cy};
    if (before) p = {p.x - far_x, p.y - far_y};
    for (const char letter : order) {
      if (letter == 'h') p = {p.x + kx * p.y, p.y + ky * p.x};
      if (letter == 'r') p = {c * p.x - s * p.y, s * p.x + c * p.y};
      if (letter == 's') p = {p.x * sx, p.y * sy};
      if (letter == 's' && !before) p = {p.x - far_x, p.y - far_y};
    }
    corners[i] = {p.x * mirror_x(g) + g.x, p.y * mirror_y(g) + g.y};
  }
  return corners;
}

} // namespace

scaled_box corners_scale(const placed_graph &g) {
  const double sx = g.size_x / 100 * mirror_x(g), sy = g.size_y / 100 * mirror_y(g);
  const double left = g.x - g.cx * sx, right = g.x + (g.w - g.cx) * sx;
  const double top = g.y - g.cy * sy, bottom = g.y + (g.h - g.cy) * sy;
  return {sx > 0 ? left : right, sy > 0 ? top : bottom, (sx > 0 ? right : left) - 1,
          (sy > 0 ? bottom : top) - 1};
}

corner_set corners_rotate(const placed_graph &g) { return transformed(g, "r"); }

corner_set corners_rotscale(const placed_graph &g) {
  const bool scaled_last = g.tfmorder == 1 || g.tfmorder == 4 || g.tfmorder == 5;
  return transformed(g, scaled_last ? "rs" : "sr");
}

corner_set corners_scaleshear(const placed_graph &g) {
  const bool scaled_last = g.tfmorder == 0 || g.tfmorder == 1 || g.tfmorder == 4;
  return transformed(g, scaled_last ? "hs" : "sh");
}

/// Transforms that change nothing don't count.
corner_set corners_rotscaleshear(const placed_graph &g) {
  std::string order = std::array{"hsr", "hrs", "shr", "srh", "rhs", "rsh"}[size_t(g.tfmorder)];
  std::erase_if(order, [&](char letter) {
    return letter == 'h'   ? g.shear_x == 0 && g.shear_y == 0
           : letter == 's' ? g.size_x == 100 && g.size_y == 100
                           : g.angle % 360000 == 0;
  });
  return transformed(g, order);
}

double round_half_away(double v) { return v >= 0 ? std::floor(v + 0.5) : std::ceil(v - 0.5); }

} // namespace checkspan
