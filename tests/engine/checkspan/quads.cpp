// Rotated and sheared graphs: where their corners fall, and what their rows show.
#include <algorithm>
#include <cfloat>
#include <climits>
#include <cmath>
#include <cstring>
#include <numbers>
#include <vector>

#include "engine/checkspan/blits.h"

namespace checkspan {

// ---- Corners ------------------------------------------------------------------------------------

double round_half_away(double v) {
  return v >= 0 ? std::floor(v + 0.5) : std::ceil(v - 0.5);
}

static std::string order_of(const placed_graph &g) {
  static const std::string orders[] = {"hsr", "hrs", "shr", "srh", "rhs", "rsh"};
  return orders[g.tfmorder >= 0 && g.tfmorder < 6 ? g.tfmorder : 0];
}

std::string order_that_matters(const placed_graph &g) {
  std::string order = order_of(g);
  if (g.shear_x == 0 && g.shear_y == 0) std::erase(order, 'h');
  if (g.size_x == 100 && g.size_y == 100) std::erase(order, 's');
  if (g.angle % 360000 == 0) std::erase(order, 'r');
  return order;
}

/// Corners are those of the last pixels: the far ones move back by one right after scaling, or at
/// the start when scaling is last or absent.
corner_set transformed(const placed_graph &g, const std::string &order) {
  const double theta = g.angle * std::numbers::pi / -180000;
  const double c = std::cos(theta), s = std::sin(theta);
  const double mirror_x = g.flags & 1 ? -1 : 1, mirror_y = g.flags & 2 ? -1 : 1;
  const size_t scaling = order.find('s');
  const bool before = scaling == order.npos || scaling == order.size() - 1;
  corner_set corners{};
  for (size_t i = 0; i < 4; ++i) {
    const double far_x = i % 2 ? 1 : 0, far_y = i / 2 ? 1 : 0;
    corner p = {far_x * g.w - g.cx, far_y * g.h - g.cy};
    if (before) p = {p.x - far_x, p.y - far_y};
    for (const char letter : order) {
      if (letter == 'h') p = {p.x - g.shear_x / 100.0 * p.y, p.y - g.shear_y / 100.0 * p.x};
      if (letter == 'r') p = {c * p.x - s * p.y, s * p.x + c * p.y};
      if (letter == 's') p = {p.x * (g.size_x / 100.0), p.y * (g.size_y / 100.0)};
      if (letter == 's' && !before) p = {p.x - far_x, p.y - far_y};
    }
    corners[i] = {p.x * mirror_x + g.x, p.y * mirror_y + g.y};
  }
  return corners;
}

corner_set scaled(const placed_graph &g) {
  const double sx = g.size_x / (g.flags & 1 ? -100.0 : 100.0);
  const double sy = g.size_y / (g.flags & 2 ? -100.0 : 100.0);
  const auto [x0, x1] = std::minmax({g.x - g.cx * sx, g.x + (double(g.w) - g.cx) * sx});
  const auto [y0, y1] = std::minmax({g.y - g.cy * sy, g.y + (double(g.h) - g.cy) * sy});
  return {{{x0, y0}, {x1 - 1, y0}, {x0, y1 - 1}, {x1 - 1, y1 - 1}}};
}

// ---- Rows ---------------------------------------------------------------------------------------

namespace {

struct grid_point {
  int64_t x, y;
};

/// floor(x + 1/2) of the point where the line a-b meets row y, exactly. The ends lie on different
/// rows.
int64_t crossing(grid_point a, grid_point b, int64_t y) {
  if (a.y > b.y) std::swap(a, b);
  const int64_t dy = b.y - a.y, n = (y - a.y) * (b.x - a.x);
  int64_t whole = n / dy, rest = n % dy;
  if (rest < 0) rest += dy, --whole;
  return a.x + whole + (2 * rest >= dy ? 1 : 0);
}

/// The first and the last pixel of an outline in a row; beyond each other where there are none.
std::pair<int64_t, int64_t> extent_of(const grid_point (&ring)[5], int64_t y) {
  std::pair<int64_t, int64_t> row(INT64_MAX, INT64_MIN);
  for (int i = 0; i < 4; ++i) {
    const grid_point a = ring[i], b = ring[i + 1];
    if (y < std::min(a.y, b.y) || y > std::max(a.y, b.y)) continue;
    const bool flat = a.y == b.y;
    for (const int64_t x : {flat ? a.x : crossing(a, b, y), flat ? b.x : crossing(a, b, y)})
      row = {std::min(row.first, x), std::max(row.second, x)};
  }
  return row;
}

/// Source positions along a side of the quadrilateral: `inset` at its near end, length - `inset`
/// at its far one.
struct ramp {
  long double length = 0, inset = 0;
  corner origin{};                            // the top left corner
  long double base = 0.5, by_x = 0, by_y = 0; // fraction of the side
  long double noise = 16 * DBL_EPSILON; // how far off it may be, relative to the sum of its terms

  /// In 16.16, truncated: the least or the most that double precision may give.
  int64_t position(int64_t x, int64_t y, bool most) const {
    const long double dx = x - (long double)(origin.x), dy = y - (long double)(origin.y);
    const long double exact = inset + (base + by_x * dx + by_y * dy) * (length - 2 * inset);
    const long double terms = 1 + std::abs(by_x) * (std::abs(x) + std::abs(origin.x)) +
                              std::abs(by_y) * (std::abs(y) + std::abs(origin.y));
    const long double off = noise * terms * length + 1e-14L;
    const long double top = length * 65536 - 1;
    return int64_t(std::clamp((most ? exact + off : exact - off) * 65536, 0.0L, top));
  }
};

/// The inverse of the corners: fractions along the top side and along the left side.
///
/// Where the sides are parallel, to a thousandth, there is no inverse: each side is then followed
/// on its own, and a side without length gives its middle.
void invert(const corner_set &c, ramp &across, ramp &down) {
  const long double ax = c[1].x - c[0].x, ay = c[1].y - c[0].y;
  const long double bx = c[2].x - c[0].x, by = c[2].y - c[0].y;
  const long double det = ax * by - ay * bx, aa = ax * ax + ay * ay, bb = bx * bx + by * by;
  const auto follow = [&](ramp &r, long double by_x, long double by_y) {
    r.origin = c[0];
    r.base = 0;
    r.by_x = by_x;
    r.by_y = by_y;
  };
  if (det * det > 1e-6L * aa * bb) {
    follow(across, by / det, -bx / det);
    follow(down, -ay / det, ax / det);
    // The determinant's loss when its products nearly cancel.
    across.noise *= 1 + (std::abs(ax * by) + std::abs(ay * bx)) / std::abs(det);
    down.noise = across.noise;
    return;
  }
  if (aa > 1e-6L) follow(across, ax / aa, ay / aa);
  if (bb > 1e-6L) follow(down, bx / bb, by / bb);
}

} // namespace

/// Only these transforms count.
void reference_blit::put_quadrilateral(const std::string &transforms, row_counts &rows) {
  std::string order = order_of(graph_);
  std::erase_if(order, [&](char letter) { return transforms.find(letter) == transforms.npos; });
  // Corners are stored in single precision; the outline runs between the rounded ones.
  corner_set corners = transformed(graph_, order);
  grid_point ring[5];
  for (int i = 0; i < 5; ++i) {
    corner &c = corners[std::array{0u, 1u, 3u, 2u, 0u}[size_t(i)]];
    c = {float(c.x), float(c.y)};
    constexpr double limit = 1 << 30;
    if (!(std::abs(c.x) <= limit && std::abs(c.y) <= limit)) return;
    ring[i] = {int64_t(round_half_away(c.x)), int64_t(round_half_away(c.y))};
  }
  ramp across, down;
  across.length = graph_.w;
  across.inset = 50 / std::abs(double(graph_.size_x));
  down.length = graph_.h;
  down.inset = 50 / std::abs(double(graph_.size_y));
  if (across.inset >= across.length || down.inset >= down.length) return;
  invert(corners, across, down);

  for (int y = clip_.y0; y <= clip_.y1; ++y) {
    const auto [row_left, row_right] = extent_of(ring, y);
    const int64_t left = std::max<int64_t>(row_left, clip_.x0);
    const int64_t right = std::min<int64_t>(row_right, clip_.x1);
    if (left > right) continue;
    const size_t bytes = size_t(right - left + 1) * size_t(rule_.depth) / 8;
    const uint8_t *const found = found_ + (at(left, y) - at(0, 0));
    const std::vector<uint8_t> before(at(left, y), at(left, y) + bytes);

    // Source positions are computed for the whole row, however much of it is visible. Where double
    // precision may give either of two at an end of it, all combinations are correct; the first
    // that is tried is what exact numbers give, nearly always.
    int64_t u[2][2], v[2][2];
    bool close = false, unpredictable = false;
    for (const int end : {0, 1}) {
      const int64_t x = end ? row_right : row_left;
      for (const int most : {0, 1}) {
        u[end][most] = across.position(x, y, most);
        v[end][most] = down.position(x, y, most);
      }
      const int64_t doubt = std::max(u[end][1] - u[end][0], v[end][1] - v[end][0]);
      close |= doubt > 0;
      unpredictable |= doubt > 1;
    }
    ++rows.all;
    const int64_t steps = std::max<int64_t>(row_right - row_left, 1);
    for (int choice = close ? 15 : 0; choice >= 0; --choice) {
      std::memcpy(at(left, y), before.data(), bytes);
      const int64_t u0 = u[0][choice & 1], u_step = (u[1][choice >> 1 & 1] - u0) / steps;
      const int64_t v0 = v[0][choice >> 2 & 1], v_step = (v[1][choice >> 3] - v0) / steps;
      for (int64_t x = left; x <= right; ++x) {
        const int64_t n = x - row_left;
        put(x, y, source((u0 + n * u_step) >> 16, (v0 + n * v_step) >> 16));
      }
      if (std::memcmp(at(left, y), found, bytes) != 0) continue;
      rows.doubtful += close && choice < 15;
      break;
    }
    if (unpredictable) std::memcpy(at(left, y), found, bytes);
    rows.doubtful += unpredictable;
  }
}

} // namespace checkspan
