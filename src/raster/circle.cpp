// Circles and ellipses by centre and radii.
//
// Both are traced through one octant from (0, radius) and mirrored into the other seven. A row is
// drawn as far as the trace reaches on it. Only visible rows are computed, whatever the radius.
#include <cmath>

#include "raster/pens.h"

#include "raster/row_pairs.h"

namespace {

// ---- Circles -----------------------------------------------------------------------------------

/// The largest s with s * s <= n.
int64_t integer_root(uint64_t n) {
  auto s = std::min<uint64_t>(uint64_t(std::sqrt(double(n))), UINT32_MAX);
  while (s * s > n)
    --s;
  while (n - s * s > 2 * s)
    ++s;
  return int64_t(s);
}

/// How far a midpoint circle of radius r >= 1 reaches on row v, in closed form.
///
/// The decision variable is d = (x + 1)^2 + y^2 - y - r^2. So column x has the largest y with
/// y^2 - y < r^2 - x^2, and the walk ends after the last x with y >= x. A row of the flat octant
/// reaches to the last x on it.
int32_t half_width_of_circle(int32_t r, int32_t v) {
  // Doubles are exact for all of this; the root of a non-square differs from the next integer by
  // more than its rounding error.
  constexpr int32_t exact = 1 << 24;
  if (r < exact) {
    const double rr = double(r) * r, vv = double(v) * v;
    if (2 * vv - v < rr) return int32_t((1 + std::sqrt(4 * (rr - vv) - 3)) * 0.5);
    return int32_t(std::sqrt(rr - vv + v - 1));
  }
  const int64_t rr = int64_t(r) * r, vv = int64_t(v) * v;
  if (2 * vv - v < rr) return int32_t((1 + integer_root(4 * uint64_t(rr - vv) - 3)) / 2);
  return int32_t(integer_root(uint64_t(rr - vv + v - 1)));
}

/// The midpoint walk about the origin of a canvas, for circles that lie within it. Each step along
/// x enters a new row; a row of the flat octant is filled when the walk leaves it.
template <typename Canvas> void trace_circle(Canvas &to, int32_t radius, bool fill) {
  int32_t decision = 1 - radius;
  for (int32_t x = 0, y = radius; y >= x; ++x) {
    const bool inward = decision >= 0;
    for (const int32_t side : {-1, 1}) {
      if (fill) {
        to.run(-y, y, side * x);
        if (inward) to.run(-x, x, side * y);
      } else {
        to.dot(-x, side * y);
        to.dot(x, side * y);
        to.dot(-y, side * x);
        to.dot(y, side * x);
      }
    }
    decision += 2 * x + 3 - (inward ? 2 * y - 2 : 0);
    y -= inward;
  }
}

template <typename Canvas>
void circle(Canvas &to, int32_t x, int32_t y, int32_t radius, int32_t fill) {
  if (radius < 0) return;
  if (radius == 0) return to.dot(x, y);
  const placement where = place(to.clip(), int64_t(x) - radius, int64_t(y) - radius,
                                int64_t(x) + radius, int64_t(y) + radius);
  if (where.misses) return;
  to.move_origin(x, y);
  to.draw(where, [=](auto &on) {
    if (where.within) return trace_circle(on, radius, fill != 0);
    draw_centred(
        on, radius, [radius](int32_t v) { return half_width_of_circle(radius, v); }, fill != 0);
  });
}

// ---- Ellipses ----------------------------------------------------------------------------------
//
// The trace runs around a circle of the larger radius r in units of 1/64 pixel. From a = 0 and
// b = 64 * r, each step adds b / r to a, then subtracts the new a / r from b; both quotients are
// truncated. The points are ((a + 32) >> 6, (b + 32) >> 6) and their mirror images, up to the
// diagonal; the coordinate along the smaller radius is scaled by smaller / r, truncated.

/// Larger radii are traced piecewise instead of step by step.
constexpr int32_t walked_radius = 4096;

/// The half width of each row of a walked ellipse.
uint16_t walked_rows[walked_radius + 1];

/// An integer that changes by one, and that integer times smaller / larger.
struct scaled_number {
  uint32_t whole, scaled, remainder;

  void up(uint32_t smaller, uint32_t larger) {
    ++whole;
    remainder += smaller;
    if (remainder >= larger) {
      remainder -= larger;
      ++scaled;
    }
  }
  void down(uint32_t smaller, uint32_t larger) {
    --whole;
    if (remainder < smaller) {
      remainder += larger;
      --scaled;
    }
    remainder -= smaller;
  }
};

/// Walks the trace step by step into walked_rows.
template <bool wide> void walk_ellipse(uint32_t r, uint32_t smaller) {
  uint32_t a = 0, b = 64 * r;
  uint32_t a_whole = 0, b_whole = 64;                    // a / r, b / r
  uint32_t a_next = r, b_this = b_whole * r;             // where these change
  scaled_number near = {0, 0, 0}, far = {r, smaller, 0}; // the point's coordinates in pixels
  const auto reach = [](uint32_t row, uint32_t column) {
    walked_rows[row] = std::max(walked_rows[row], uint16_t(column));
  };
  std::fill_n(walked_rows, (wide ? smaller : r) + 1, uint16_t(0));
  while (near.whole <= far.whole) {
    if constexpr (wide) {
      reach(near.scaled, far.whole);
      reach(far.scaled, near.whole);
    } else {
      reach(near.whole, far.scaled);
      reach(far.whole, near.scaled);
    }
    a += b_whole;
    for (; a >= a_next; a_next += r)
      ++a_whole;
    b -= a_whole;
    for (; b < b_this; b_this -= r)
      --b_whole;
    if ((a + 32) >> 6 != near.whole) near.up(smaller, r);
    if ((b + 32) >> 6 != far.whole) far.down(smaller, r);
  }
}

/// The trace of a large ellipse as straight pieces: while neither quotient changes, a and b change
/// by the same amounts each step. One octant has some 70 pieces at any radius.
class ellipse_pieces {
public:
  ellipse_pieces(uint32_t rx, uint32_t ry)
      : larger_(std::max(rx, ry)), smaller_(std::min(rx, ry)), wide_(rx > ry) {
    int64_t a = 0, b = 64 * int64_t(larger_);
    while (pixel(a) <= pixel(b)) {
      piece p = {a, b, b / larger_, 0, 0};
      p.b_step = (a + p.a_step) / larger_;
      // Steps until b / r or a / r changes.
      p.steps = ((p.b_step + 1) * larger_ - 1 - a) / p.a_step;
      if (p.b_step) p.steps = std::min(p.steps, (b - p.a_step * larger_) / p.b_step + 1);
      a = p.a_at(p.steps);
      b = p.b_at(p.steps);
      pieces_[count_++] = p;
    }
    // The trace ends at the last point not beyond the diagonal.
    piece &p = pieces_[count_ - 1];
    int64_t low = 0, high = p.steps; // high is beyond it
    while (high - low > 1) {
      const int64_t middle = (low + high) / 2;
      (pixel(p.a_at(middle)) <= pixel(p.b_at(middle)) ? low : high) = middle;
    }
    p.steps = low;
    last_a_ = pixel(p.a_at(low));
  }

  /// The half width of a row.
  int32_t half_width(int32_t row) const {
    // The smallest unscaled coordinate that scales to this row.
    const int64_t least = wide_ ? (int64_t(row) * larger_ + smaller_ - 1) / smaller_ : int64_t(row);
    const int64_t bound = 64 * least - 32;
    int64_t reach;
    if (least <= last_a_) {
      // The first point whose a reaches it.
      const piece *const p = std::partition_point(
          pieces_, pieces_ + count_, [=](const piece &q) { return q.a_at(q.steps) < bound; });
      const int64_t step = bound > p->a ? (bound - p->a + p->a_step - 1) / p->a_step : 0;
      reach = pixel(p->b_at(step));
    } else {
      // The last point whose b still reaches it.
      const piece *const p = std::partition_point(pieces_, pieces_ + count_,
                                                  [=](const piece &q) { return q.b >= bound; }) -
                             1;
      const int64_t step = p->b_step ? std::min(p->steps, (p->b - bound) / p->b_step) : p->steps;
      reach = pixel(p->a_at(step));
    }
    return int32_t(wide_ ? reach : reach * smaller_ / larger_);
  }

private:
  /// `steps` steps starting at (a, b).
  struct piece {
    int64_t a, b, a_step, b_step, steps;
    int64_t a_at(int64_t step) const { return a + a_step * step; }
    int64_t b_at(int64_t step) const { return b - b_step * step; }
  };
  static int64_t pixel(int64_t units) { return (units + 32) >> 6; }

  int64_t larger_, smaller_;
  bool wide_;
  int64_t last_a_ = 0;
  int32_t count_ = 0;
  // Each piece but the first starts where a quotient changes, and each of the two quotients takes
  // at most 64 values.
  piece pieces_[130];
};

template <typename Canvas>
void centred_ellipse(Canvas &to, int32_t x, int32_t y, int32_t rx, int32_t ry, int32_t fill) {
  rx = std::max(rx, 1);
  ry = std::max(ry, 1);
  const placement where =
      place(to.clip(), int64_t(x) - rx, int64_t(y) - ry, int64_t(x) + rx, int64_t(y) + ry);
  if (where.misses) return;
  to.move_origin(x, y);
  if (std::max(rx, ry) > walked_radius) {
    const ellipse_pieces pieces(static_cast<uint32_t>(rx), static_cast<uint32_t>(ry));
    // Only the largest surfaces could contain it, so it is always clipped.
    draw_centred(
        to, ry, [&pieces](int32_t v) { return pieces.half_width(v); }, fill != 0);
    return;
  }
  if (rx > ry) {
    walk_ellipse<true>(uint32_t(rx), uint32_t(ry));
  } else {
    walk_ellipse<false>(uint32_t(ry), uint32_t(rx));
  }
  to.draw(where, [=](auto &on) {
    draw_centred(
        on, ry, [](int32_t v) { return int32_t(walked_rows[v]); }, fill != 0);
  });
}

template <typename Pixel>
void circle_on(__ORBSurface2D__ *surface, int32_t x, int32_t y, int32_t radius, uint32_t colour,
               int32_t fill) {
  draw_on<Pixel>(surface, colour, [=](auto &to) { circle(to, x, y, radius, fill); });
}
template <typename Pixel>
void centred_ellipse_on(__ORBSurface2D__ *surface, int32_t x, int32_t y, int32_t rx, int32_t ry,
                        uint32_t colour, int32_t fill) {
  draw_on<Pixel>(surface, colour, [=](auto &to) { centred_ellipse(to, x, y, rx, ry, fill); });
}

} // namespace

draw_circle_routine &draw_circle8 = circle_on<uint8_t>, &draw_circle16 = circle_on<uint16_t>,
                    &draw_circle32 = circle_on<uint32_t>;
draw_box_routine &draw_csellipse8 = centred_ellipse_on<uint8_t>,
                 &draw_csellipse16 = centred_ellipse_on<uint16_t>,
                 &draw_csellipse32 = centred_ellipse_on<uint32_t>;

draw_circle_routine *draw_circle = draw_circle8;
draw_box_routine *draw_csellipse = draw_csellipse8;
