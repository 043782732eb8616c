// Lines and runs.
//
// Step k of a line that goes `major` steps along its longer axis and `minor` along the other stands
//
//   floor((minor * k + (major - 1) / 2) / major)
//
// steps along the shorter one. That is the walk whose decision starts at 2 * minor - major, adds
// 2 * minor while it isn't positive, and else takes a minor step and adds 2 * (minor - major). So a
// walk can start at any step, and a clipped line at the first that shows, with nothing to skip. All
// products fit 64 unsigned bits: both lengths are below 2^32.
#include <utility>

#include "blit/raster_pens.h"

#include "blit/raster_canvas.h"

namespace {

/// One axis of a line: where it starts, which way it goes, and how far.
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

/// The steps along the major axis at which a line is within its bounds on both.
step_range visible_steps(const line_axis &major, const line_axis &minor, step_range along,
                         step_range across) {
  if (along.last < along.first || across.last < across.first) return {0, -1};
  const uint32_t half = (major.length - 1) / 2;
  if (across.first > 0) {
    // The first step that is so far across.
    const uint64_t total = uint64_t(major.length) * uint64_t(across.first) - half;
    const uint64_t step = total / minor.length + (total % minor.length != 0);
    along.first = std::max(along.first, int64_t(step));
  }
  if (across.last < int64_t(minor.length)) {
    // The last step that isn't one further.
    const uint64_t total = uint64_t(major.length) * uint64_t(across.last + 1) - half - 1;
    along.last = std::min(along.last, int64_t(total / minor.length));
  }
  return along;
}

/// Draws `count` pixels from `at`, moving `along` bytes each time, and `across` as well where the
/// position across, a remainder of the major length that grows by the minor one, passes a whole.
template <typename Pen>
void walk(Pen &pen, uint8_t *at, uint32_t count, int32_t along, int32_t across, uint32_t remainder,
          uint32_t minor, uint32_t major) {
  const auto dot = [&pen](uint8_t *p) { pen.dot(reinterpret_cast<typename Pen::pixel *>(p)); };
  if (minor == major || minor == 0) {
    const int32_t both = minor ? along + across : along;
    for (; count; --count, at += both)
      dot(at);
  } else if (uint64_t(count) * major <= uint64_t(1) << 32) {
    // In fractions of 32 bits, rounded up. They exceed the true position by less than count / 2^32,
    // and that is short of the next whole by 1 / major at least.
    const auto fraction_of = [major](uint32_t part) {
      return uint32_t(((uint64_t(part) << 32) + major - 1) / major);
    };
    const uint32_t step = fraction_of(minor);
    uint32_t position = fraction_of(remainder);
    for (; count; --count) {
      dot(at);
      at += along;
      const uint32_t former = position;
      position += step;
      if (position < former) at += across;
    }
  } else {
    const uint32_t rest = major - minor;
    for (; count; --count) {
      dot(at);
      at += along;
      if (remainder >= rest) {
        remainder -= rest;
        at += across;
      } else {
        remainder += minor;
      }
    }
  }
}

template <typename Canvas> void line(Canvas &to, int32_t x0, int32_t y0, int32_t x1, int32_t y1) {
  if (y0 == y1) return to.run(std::min(x0, x1), std::max(x0, x1), y0);
  const line_axis x(x0, x1), y(y0, y1);
  const bool steep = x.length < y.length;
  const line_axis &major = steep ? y : x, &minor = steep ? x : y;

  const auto &clip = to.clip();
  const step_range columns = steps_within(x, clip.left, clip.right);
  const step_range rows = steps_within(y, clip.top, clip.bottom);
  const step_range steps =
      steep ? visible_steps(y, x, rows, columns) : visible_steps(x, y, columns, rows);
  if (steps.last < steps.first) return;

  const auto first = uint32_t(steps.first);
  const uint64_t total = uint64_t(minor.length) * first + (major.length - 1) / 2;
  const auto across = uint32_t(total / major.length);
  auto *const at = reinterpret_cast<uint8_t *>(steep ? to.at(x.at(across), y.at(first))
                                                     : to.at(x.at(first), y.at(across)));
  const int32_t column = x.direction * int32_t(sizeof(*to.at(0, 0)));
  const int32_t row = y.direction * to.stride();
  walk(to.pen(), at, uint32_t(steps.last - steps.first + 1), steep ? row : column,
       steep ? column : row, uint32_t(total % major.length), minor.length, major.length);
  to.mark_drawn();
}

// ---- The routines ------------------------------------------------------------------------------

template <typename Pixel> bool hline(int32_t x0, int32_t x1, int32_t y, uint32_t colour) {
  return draw_on_target<Pixel>(colour,
                               [=](auto &to) { to.run(std::min(x0, x1), std::max(x0, x1), y); });
}
template <typename Pixel> bool vline(int32_t y0, int32_t y1, int32_t x, uint32_t colour) {
  return draw_on_target<Pixel>(colour,
                               [=](auto &to) { to.column(std::min(y0, y1), std::max(y0, y1), x); });
}
template <typename Pixel>
bool linec(int32_t x0, int32_t y0, int32_t x1, int32_t y1, uint32_t colour) {
  return draw_on_target<Pixel>(colour, [=](auto &to) { line(to, x0, y0, x1, y1); });
}
template <typename Drawing>
void line_drawing(__ORBSurface2D__ *surface, int32_t x0, int32_t y0, int32_t x1, int32_t y1) {
  drawing_on<Drawing>(surface, [=](auto &to) { line(to, x0, y0, x1, y1); });
}

} // namespace

// The same set for each depth.
#define ORB_LINES(depth, pixel)                                                                    \
  bool hline##depth(int32_t x0, int32_t x1, int32_t y, uint32_t colour) {                          \
    return hline<pixel>(x0, x1, y, colour);                                                        \
  }                                                                                                \
  bool vline##depth(int32_t y0, int32_t y1, int32_t x, uint32_t colour) {                          \
    return vline<pixel>(y0, y1, x, colour);                                                        \
  }                                                                                                \
  bool linec##depth(int32_t x0, int32_t y0, int32_t x1, int32_t y1, uint32_t colour) {             \
    return linec<pixel>(x0, y0, x1, y1, colour);                                                   \
  }                                                                                                \
  void draw_hline##depth(__ORBSurface2D__ *surface, int32_t x0, int32_t x1, int32_t y,             \
                         uint32_t colour) {                                                        \
    if (aim<pixel>(surface) && hline##depth(x0, x1, y, colour)) mark_ground(surface);              \
  }                                                                                                \
  void draw_vline##depth(__ORBSurface2D__ *surface, int32_t y0, int32_t y1, int32_t x,             \
                         uint32_t colour) {                                                        \
    if (aim<pixel>(surface) && vline##depth(y0, y1, x, colour)) mark_ground(surface);              \
  }                                                                                                \
  void draw_line##depth(__ORBSurface2D__ *surface, int32_t x0, int32_t y0, int32_t x1, int32_t y1, \
                        uint32_t colour) {                                                         \
    if (aim<pixel>(surface) && linec##depth(x0, y0, x1, y1, colour)) mark_ground(surface);         \
  }                                                                                                \
  void drawing_line##depth(__ORBSurface2D__ *surface, int32_t x0, int32_t y0, int32_t x1,          \
                           int32_t y1) {                                                           \
    line_drawing<plain_drawing<pixel>>(surface, x0, y0, x1, y1);                                   \
  }                                                                                                \
  void drawing_line##depth##_alpha(__ORBSurface2D__ *surface, int32_t x0, int32_t y0, int32_t x1,  \
                                   int32_t y1) {                                                   \
    line_drawing<alpha_drawing<pixel>>(surface, x0, y0, x1, y1);                                   \
  }
ORB_LINES(8, uint8_t)
ORB_LINES(16, uint16_t)
ORB_LINES(32, uint32_t)
#undef ORB_LINES
