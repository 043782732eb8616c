// Lines and runs.
//
// A line covers `major` steps along its longer axis and `minor` along the shorter. Its step k is
//
//   floor((minor * k + (major - 1) / 2) / major)
//
// steps along the shorter axis. This equals a Bresenham walk whose decision variable starts at
// 2 * minor - major, adds 2 * minor while not positive, and otherwise takes a minor step and adds
// 2 * (minor - major). The closed form lets a clipped line start at its first visible step. All
// products fit 64 unsigned bits: both lengths are below 2^32.
#include <utility>

#include "raster/pens.h"

#include "raster/canvas.h"

namespace {

/// One axis of a line: start, direction, length.
struct line_axis {
  int32_t start;
  int32_t direction; // 1 or -1
  uint32_t length;

  line_axis(int32_t from, int32_t to)
      : start(from), direction(to < from ? -1 : 1),
        length(to < from ? uint32_t(from) - uint32_t(to) : uint32_t(to) - uint32_t(from)) {}

  int32_t at(uint32_t step) const {
    return int32_t(uint32_t(start) + (direction < 0 ? 0 - step : step));
  }
};

struct step_range {
  int64_t first, last; // empty when last < first
};

/// The steps of an axis that lie within [low, high].
step_range steps_within(const line_axis &axis, int32_t low, int32_t high) {
  const int64_t to_low = int64_t(low) - axis.start, to_high = int64_t(high) - axis.start;
  const step_range range =
      axis.direction > 0 ? step_range{to_low, to_high} : step_range{-to_high, -to_low};
  return {std::max<int64_t>(range.first, 0), std::min<int64_t>(range.last, axis.length)};
}

/// The steps along the major axis where both coordinates are within bounds.
step_range visible_steps(const line_axis &major, const line_axis &minor, step_range along,
                         step_range across) {
  if (along.last < along.first || across.last < across.first) return {0, -1};
  const uint32_t half = (major.length - 1) / 2;
  if (across.first > 0) {
    // The first step that is across.first across.
    const uint64_t total = uint64_t(major.length) * uint64_t(across.first) - half;
    const uint64_t step = total / minor.length + (total % minor.length != 0);
    along.first = std::max(along.first, int64_t(step));
  }
  if (across.last < int64_t(minor.length)) {
    // The last step before across.last + 1.
    const uint64_t total = uint64_t(major.length) * uint64_t(across.last + 1) - half - 1;
    along.last = std::min(along.last, int64_t(total / minor.length));
  }
  return along;
}

/// A run of visible steps along a line.
struct line_walk {
  uint8_t *at;
  uint32_t count;        // pixels
  int32_t along, across; // bytes per step along the major and the minor axis
  uint32_t remainder;    // fraction of the position across, in units of 1 / major
  uint32_t minor, major; // each step moves minor / major across
};

/// Works for any line; `Int` must hold sums of its lengths.
template <typename Int, typename Dot> void walk_by_remainders(const line_walk &w, Dot dot) {
  const Int minor = w.minor, major = w.major;
  Int past_whole = Int(w.remainder) - major;
  uint8_t *at = w.at;
  for (uint32_t count = w.count; count; --count) {
    dot(at);
    at += w.along;
    past_whole += minor;
    if (past_whole >= 0) {
      past_whole -= major;
      at += w.across;
    }
  }
}

/// The faster walk, in fractions of 31 bits. They are rounded up by at most 1 / 2^31, so a position
/// is never below the true one and exceeds it by at most (count + 1) / 2^31. This must be less than
/// 1 / major, the least distance of the true position from the next integer. While the major length
/// is below 2^20, a fraction that is no multiple of 1 / 2^31 is further from one than the rounding
/// error of doubles.
bool can_walk_by_fractions(const line_walk &w) {
  return w.major < uint32_t(1) << 20 && uint64_t(w.count) * w.major < uint64_t(1) << 30;
}
template <typename Dot> void walk_by_fractions(const line_walk &w, Dot dot) {
  const double unit = 2147483648.0 / int32_t(w.major);
  const auto fraction_of = [unit](uint32_t part) {
    return (uint32_t(int32_t(int32_t(part) * unit)) + 1) * 2; // wraps to 32 bits
  };
  const uint32_t step = fraction_of(w.minor);
  uint32_t position = fraction_of(w.remainder);
  uint8_t *at = w.at;
  for (uint32_t count = w.count; count; --count) {
    dot(at);
    const bool whole = __builtin_add_overflow(position, step, &position);
    at += w.along + (w.across & -int32_t(whole));
  }
}

template <typename Pen> void walk(Pen &to, line_walk w) {
  constexpr uint32_t worth_fractions = 24;
  Pen pen = to; // a local copy stays in registers: pixel stores might alias `to`
  const auto dot = [&pen](uint8_t *p) { pen.dot(reinterpret_cast<typename Pen::pixel *>(p)); };
  if (w.minor == 0 || w.minor == w.major) {
    const int32_t step = w.minor ? w.along + w.across : w.along;
    for (; w.count; --w.count, w.at += step)
      dot(w.at);
  } else if (w.major < worth_fractions) {
    walk_by_remainders<int32_t>(w, dot);
  } else if (can_walk_by_fractions(w)) {
    walk_by_fractions(w, dot);
  } else {
    walk_by_remainders<int64_t>(w, dot);
  }
  to = pen;
}

/// The visible part of a line.
struct line_part {
  uint32_t first, count; // steps along the major axis
  uint32_t across;       // whole steps across at the first one
  uint32_t remainder;    // fraction of the next, in units of 1 / major
};

/// Count 0 when nothing is visible.
line_part visible_part(const line_axis &x, const line_axis &y, const clip_rectangle &clip) {
  const step_range columns = steps_within(x, clip.left, clip.right);
  const step_range rows = steps_within(y, clip.top, clip.bottom);
  const bool steep = x.length < y.length;
  const line_axis &major = steep ? y : x, &minor = steep ? x : y;
  const step_range steps = steep ? visible_steps(major, minor, rows, columns)
                                 : visible_steps(major, minor, columns, rows);
  if (steps.last < steps.first) return {};
  const auto first = uint32_t(steps.first);
  const uint64_t total = uint64_t(minor.length) * first + (major.length - 1) / 2;
  return {first, uint32_t(steps.last - steps.first + 1), uint32_t(total / major.length),
          uint32_t(total % major.length)};
}

/// Inlined so that the canvas stays in registers: most lines are short.
template <typename Canvas>
[[gnu::always_inline]] inline void line(Canvas &to, int32_t x0, int32_t y0, int32_t x1,
                                        int32_t y1) {
  if (y0 == y1) return to.run(std::min(x0, x1), std::max(x0, x1), y0);
  const placement where =
      place(to.clip(), std::min(x0, x1), std::min(y0, y1), std::max(x0, x1), std::max(y0, y1));
  if (where.misses) return;
  const line_axis x(x0, x1), y(y0, y1);
  const bool steep = x.length < y.length;
  const uint32_t major = std::max(x.length, y.length), minor = std::min(x.length, y.length);
  const line_part part =
      where.within ? line_part{0, major + 1, 0, (major - 1) / 2} : visible_part(x, y, to.clip());
  if (!part.count) return;

  const uint32_t columns = steep ? part.across : part.first;
  const uint32_t rows = steep ? part.first : part.across;
  auto *const at = reinterpret_cast<uint8_t *>(to.at(x.at(columns), y.at(rows)));
  const int32_t column = x.direction * int32_t(sizeof(*to.at(0, 0)));
  const int32_t row = y.direction * to.stride();
  walk(to.pen(),
       {at, part.count, steep ? row : column, steep ? column : row, part.remainder, minor, major});
  to.mark_drawn();
}

// ---- The routines ------------------------------------------------------------------------------

// The shapes, as functions of a canvas.

auto row_of(int32_t x0, int32_t x1, int32_t y) {
  return [=](auto &to) { to.run(std::min(x0, x1), std::max(x0, x1), y); };
}
auto column_of(int32_t y0, int32_t y1, int32_t x) {
  return [=](auto &to) { to.column(std::min(y0, y1), std::max(y0, y1), x); };
}
auto line_of(int32_t x0, int32_t y0, int32_t x1, int32_t y1) {
  return [=](auto &to) __attribute__((always_inline)) { line(to, x0, y0, x1, y1); };
}

template <typename Pixel> bool row_on_target(int32_t x0, int32_t x1, int32_t y, uint32_t colour) {
  return draw_on_target<Pixel>(colour, row_of(x0, x1, y));
}
template <typename Pixel>
bool column_on_target(int32_t y0, int32_t y1, int32_t x, uint32_t colour) {
  return draw_on_target<Pixel>(colour, column_of(y0, y1, x));
}
template <typename Pixel>
bool line_on_target(int32_t x0, int32_t y0, int32_t x1, int32_t y1, uint32_t colour) {
  return draw_on_target<Pixel>(colour, line_of(x0, y0, x1, y1));
}
template <typename Pixel>
void row_on(__ORBSurface2D__ *surface, int32_t x0, int32_t x1, int32_t y, uint32_t colour) {
  draw_on<Pixel>(surface, colour, row_of(x0, x1, y));
}
template <typename Pixel>
void column_on(__ORBSurface2D__ *surface, int32_t y0, int32_t y1, int32_t x, uint32_t colour) {
  draw_on<Pixel>(surface, colour, column_of(y0, y1, x));
}
template <typename Pixel>
void line_on(__ORBSurface2D__ *surface, int32_t x0, int32_t y0, int32_t x1, int32_t y1,
             uint32_t colour) {
  draw_on<Pixel>(surface, colour, line_of(x0, y0, x1, y1));
}
template <typename Drawing>
void line_drawing(__ORBSurface2D__ *surface, int32_t x0, int32_t y0, int32_t x1, int32_t y1) {
  drawing_on<Drawing>(surface, line_of(x0, y0, x1, y1));
}

} // namespace

run_helper &hline8 = row_on_target<uint8_t>, &hline16 = row_on_target<uint16_t>,
           &hline32 = row_on_target<uint32_t>;
run_helper &vline8 = column_on_target<uint8_t>, &vline16 = column_on_target<uint16_t>,
           &vline32 = column_on_target<uint32_t>;
line_helper &linec8 = line_on_target<uint8_t>, &linec16 = line_on_target<uint16_t>,
            &linec32 = line_on_target<uint32_t>;
draw_run_routine &draw_hline8 = row_on<uint8_t>, &draw_hline16 = row_on<uint16_t>,
                 &draw_hline32 = row_on<uint32_t>;
draw_run_routine &draw_vline8 = column_on<uint8_t>, &draw_vline16 = column_on<uint16_t>,
                 &draw_vline32 = column_on<uint32_t>;
draw_line_routine &draw_line8 = line_on<uint8_t>, &draw_line16 = line_on<uint16_t>,
                  &draw_line32 = line_on<uint32_t>;
drawing_line_routine &drawing_line8 = line_drawing<plain_drawing<uint8_t>>,
                     &drawing_line16 = line_drawing<plain_drawing<uint16_t>>,
                     &drawing_line32 = line_drawing<plain_drawing<uint32_t>>;
drawing_line_routine &drawing_line8_alpha = line_drawing<alpha_drawing<uint8_t>>,
                     &drawing_line16_alpha = line_drawing<alpha_drawing<uint16_t>>,
                     &drawing_line32_alpha = line_drawing<alpha_drawing<uint32_t>>;

draw_line_routine *draw_line = draw_line8;
draw_run_routine *draw_hline = draw_hline8, *draw_vline = draw_vline8;
drawing_line_routine *drawing_line = drawing_line8, *drawing_line_alpha = drawing_line8_alpha;
