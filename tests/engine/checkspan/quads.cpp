// Rotated and sheared blits, row by row.
#include <algorithm>
#include <cfloat>
#include <cmath>
#include <vector>

#include "engine/checkspan/blits.h"

namespace checkspan {

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

/// Source positions along a side of the quadrilateral: `inset` at its near end, length - `inset`
/// at its far one.
struct ramp {
  long double at0, by_x, by_y; // fraction of the side
  long double at0_terms;       // sum of the terms that cancel to give at0
  long double inset, length;
  long double noise; // how far the fraction may be off, relative to the sum of its terms

  long double fraction(int64_t x, int64_t y) const { return at0 + by_x * x + by_y * y; }
  /// In 16.16, before truncation.
  long double position(int64_t x, int64_t y) const {
    return (inset + fraction(x, y) * (length - 2 * inset)) * 65536;
  }
  /// The largest error of double precision against it.
  long double uncertainty(int64_t x, int64_t y) const {
    const long double terms =
        at0_terms + std::abs(by_x) * std::abs(x) + std::abs(by_y) * std::abs(y) + 1;
    return noise * terms * length * 65536 + 1e-9L;
  }
};

/// The whole 16.16 positions that a pixel's source may have; the likely one first.
struct position_set {
  std::vector<int64_t> values;
  bool unpredictable = false;
};
position_set positions(const ramp &r, int64_t x, int64_t y) {
  const long double exact = r.position(x, y), error = r.uncertainty(x, y);
  const long double top = r.length * 65536 - 1;
  const auto whole = [&](long double v) { return int64_t(std::clamp<long double>(v, 0, top)); };
  position_set set;
  set.values.push_back(whole(exact));
  for (const int64_t other : {whole(exact - error), whole(exact + error)}) {
    if (other != set.values.front()) set.values.push_back(other);
    if (std::abs(other - set.values.front()) > 1) set.unpredictable = true;
  }
  return set;
}

/// The inverse of the corners: fractions along the top side and along the left side.
///
/// Where the sides are parallel, to a thousandth, there is no inverse: each side is then followed
/// on its own, and a side without length gives its middle.
void invert(const corner_set &c, ramp &across, ramp &down) {
  const long double ax = c[1].x - c[0].x, ay = c[1].y - c[0].y;
  const long double bx = c[2].x - c[0].x, by = c[2].y - c[0].y;
  const long double det = ax * by - ay * bx, aa = ax * ax + ay * ay, bb = bx * bx + by * by;
  const auto through_corner = [&](ramp &r) {
    r.at0 = -(r.by_x * c[0].x + r.by_y * c[0].y);
    r.at0_terms = std::abs(r.by_x * c[0].x) + std::abs(r.by_y * c[0].y);
  };
  across.at0 = down.at0 = 0.5L;
  across.by_x = across.by_y = down.by_x = down.by_y = 0;
  across.noise = down.noise = 16 * DBL_EPSILON;
  if (det * det > 1e-6L * aa * bb) {
    across.by_x = by / det;
    across.by_y = -bx / det;
    down.by_x = -ay / det;
    down.by_y = ax / det;
    through_corner(across);
    through_corner(down);
    // The determinant's loss when its products nearly cancel.
    const long double lost = (std::abs(ax * by) + std::abs(ay * bx)) / std::abs(det);
    across.noise *= 1 + lost;
    down.noise *= 1 + lost;
    return;
  }
  if (aa > 1e-6L) {
    across.by_x = ax / aa;
    across.by_y = ay / aa;
    through_corner(across);
  }
  if (bb > 1e-6L) {
    down.by_x = bx / bb;
    down.by_y = by / bb;
    through_corner(down);
  }
}

} // namespace

void expect_quadrilateral(blit_in_progress &blit, const corner_set &exact_corners, bool scaled) {
  // Corners are stored in single precision; the outline runs between the rounded ones.
  corner_set corners;
  grid_point grid[4];
  for (size_t i = 0; i < 4; ++i) {
    corners[i] = {float(exact_corners[i].x), float(exact_corners[i].y)};
    constexpr double limit = 1 << 30;
    if (!(std::abs(corners[i].x) <= limit && std::abs(corners[i].y) <= limit)) return;
    grid[i] = {int64_t(round_half_away(corners[i].x)), int64_t(round_half_away(corners[i].y))};
  }

  ramp across{}, down{};
  across.length = blit.src.width;
  down.length = blit.src.height;
  across.inset = scaled ? 50.0 / std::abs(double(blit.size_x)) : 0.5;
  down.inset = scaled ? 50.0 / std::abs(double(blit.size_y)) : 0.5;
  if (across.inset >= across.length || down.inset >= down.length) return;
  invert(corners, across, down);

  expectation &result = blit.result;
  const int ring[5] = {0, 1, 3, 2, 0};
  for (int y = blit.clip_y0; y <= blit.clip_y1; ++y) {
    int64_t left = INT64_MAX, right = INT64_MIN;
    for (int i = 0; i < 4; ++i) {
      const grid_point a = grid[ring[i]], b = grid[ring[i + 1]];
      if (y < std::min(a.y, b.y) || y > std::max(a.y, b.y)) continue;
      const bool flat = a.y == b.y;
      for (const int64_t x : {flat ? a.x : crossing(a, b, y), flat ? b.x : crossing(a, b, y)}) {
        left = std::min(left, x);
        right = std::max(right, x);
      }
    }
    // Source positions are computed for the whole row, however much of it is visible.
    const int64_t row_left = left, row_right = right;
    left = std::max<int64_t>(left, blit.clip_x0);
    right = std::min<int64_t>(right, blit.clip_x1);
    if (left > right) continue;

    result.y1 = y;
    if (!result.drawn) {
      result.drawn = true;
      result.y0 = y;
      result.x0 = int(left);
      result.x1 = int(right);
    }
    result.x0 = std::min(result.x0, int(left));
    result.x1 = std::max(result.x1, int(right));

    const position_set u0 = positions(across, row_left, y), u1 = positions(across, row_right, y);
    const position_set v0 = positions(down, row_left, y), v1 = positions(down, row_right, y);
    open_row row{int(left),
                 y,
                 {},
                 u0.unpredictable || u1.unpredictable || v0.unpredictable || v1.unpredictable};
    // Pixel by pixel, left to right: one surface may be both source and destination.
    const auto run = [&](int64_t u, int64_t u_last, int64_t v, int64_t v_last) {
      const int64_t steps = row_right - row_left;
      const int64_t u_step = steps ? (u_last - u) / steps : 0;
      const int64_t v_step = steps ? (v_last - v) / steps : 0;
      for (int64_t x = left; x <= right; ++x) {
        const int64_t n = x - row_left;
        blit.put(int(x), y, blit.source((u + n * u_step) >> 16, (v + n * v_step) >> 16));
      }
    };
    const std::vector<uint32_t> before = blit.row(int(left), int(right), y);
    for (const int64_t u_first : u0.values) {
      for (const int64_t u_last : u1.values) {
        for (const int64_t v_first : v0.values) {
          for (const int64_t v_last : v1.values) {
            run(u_first, u_last, v_first, v_last);
            const std::vector<uint32_t> after = blit.row(int(left), int(right), y);
            if (std::find(row.outcomes.begin(), row.outcomes.end(), after) == row.outcomes.end())
              row.outcomes.push_back(after);
            blit.set_row(int(left), y, before);
          }
        }
      }
    }
    blit.set_row(int(left), y, row.outcomes.front());
    if (row.outcomes.size() > 1 || row.unpredictable) result.open_rows.push_back(row);
  }
}

} // namespace checkspan
