// Ellipses in a box.
//
// Each pair of rows is computed on its own, from the angle at which it cuts the ellipse. There are
// at most 2048 pairs, which bounds the time for any box.
#include <cmath>
#include <utility>

#include "raster/pens.h"

#include "raster/row_pairs.h"

namespace {

constexpr int64_t max_height = 4096;

/// The rows of the ellipse being drawn.
row_pair ellipse_points[max_height / 2];

/// trunc(cos(asin(t)) * a + a + x0 + 0.5) for 0 <= t < 1. The square root computes that cosine
/// faster; the last digits may differ, which shows only in boxes millions of pixels wide.
int32_t right_end(double t, double a, double x0) {
  // QUIRK: truncates, which moves ends left of column 0 one pixel to the right.
  return int32_t(std::sqrt((1 - t) * (1 + t)) * a + a + x0 + 0.5);
}

/// Fills ellipse_points for a box with ordered corners; returns the number of pairs.
int32_t find_rows(int32_t x0, int32_t y0, int32_t x1, int32_t y1) {
  const int64_t width = int64_t(x1) - x0 + 1, height = int64_t(y1) - y0 + 1;
  const double a = (double(x1) - x0) * 0.5;
  const double middle = (double(y0) + y1 + 1) * 0.5;

  int32_t count = 0;
  for (double yc = y0 + 0.5; yc <= middle; yc += 1) {
    // QUIRK: truncates, which moves rows above row 0 one down and merges two around it.
    const auto row = int32_t(yc);
    if (count && ellipse_points[count - 1].top == row) continue;
    const int32_t right = right_end(1 - (yc - y0) / (middle - y0), a, x0);
    ellipse_points[count++] = {saturated(int64_t(x1) - right + x0), right, row,
                               saturated(int64_t(y1) + y0 - row)};
  }

  row_pair &first = ellipse_points[0];
  if (height == 2) {
    first.left = x0;
    first.right = x1;
  } else if (height > 2 && width > 2 && count > 1 && first.left == ellipse_points[1].left &&
             first.left + 1 < first.right) {
    // Rounds the corner off.
    ++first.left;
    --first.right;
  }

  // Above row 0, truncation makes the upper rows meet the mirrored ones early, so the last pair may
  // repeat rows of the pair before, which then stays as it is, or of the one before that, which
  // then takes the last pair's ends.
  if (count > 1 && ellipse_points[count - 1].top == ellipse_points[count - 2].bottom) {
    --count;
  } else if (count > 2 && ellipse_points[count - 1].top == ellipse_points[count - 3].bottom) {
    --count;
    ellipse_points[count - 2].left = ellipse_points[count].left;
    ellipse_points[count - 2].right = ellipse_points[count].right;
  }
  return count;
}

template <typename Canvas>
void ellipse(Canvas &to, int32_t x0, int32_t y0, int32_t x1, int32_t y1, int32_t fill) {
  if (x0 > x1) std::swap(x0, x1);
  if (y0 > y1) std::swap(y0, y1);
  if (int64_t(y1) - y0 + 1 > max_height) return;
  // Truncation may move an end or a row by one.
  const placement where =
      place(to.clip(), int64_t(x0) - 1, int64_t(y0) - 1, int64_t(x1) + 1, int64_t(y1) + 1);
  if (where.misses) return;
  const int32_t count = find_rows(x0, y0, x1, y1);
  to.draw(where, [=](auto &on) { draw_pairs(on, ellipse_points, count, fill != 0); });
}

template <typename Pixel>
void ellipse_on(__ORBSurface2D__ *surface, int32_t x0, int32_t y0, int32_t x1, int32_t y1,
                uint32_t colour, int32_t fill) {
  draw_on<Pixel>(surface, colour, [=](auto &to) { ellipse(to, x0, y0, x1, y1, fill); });
}
template <typename Drawing>
void ellipse_drawing(__ORBSurface2D__ *surface, int32_t x0, int32_t y0, int32_t x1, int32_t y1,
                     int32_t fill) {
  drawing_on<Drawing>(surface, [=](auto &to) { ellipse(to, x0, y0, x1, y1, fill); });
}
template <typename Drawing> void ellipse_linec_drawing(int32_t x0, int32_t x1, int32_t y) {
  draw_clipped<Drawing>([=](auto &to) { to.run(x0, x1, y); });
}

} // namespace

draw_box_routine &draw_ellipse8 = ellipse_on<uint8_t>, &draw_ellipse16 = ellipse_on<uint16_t>,
                 &draw_ellipse32 = ellipse_on<uint32_t>;
drawing_box_routine &drawing_ellipse8 = ellipse_drawing<plain_drawing<uint8_t>>,
                    &drawing_ellipse16 = ellipse_drawing<plain_drawing<uint16_t>>,
                    &drawing_ellipse32 = ellipse_drawing<plain_drawing<uint32_t>>;
drawing_box_routine &drawing_ellipse8_alpha = ellipse_drawing<alpha_drawing<uint8_t>>,
                    &drawing_ellipse16_alpha = ellipse_drawing<alpha_drawing<uint16_t>>,
                    &drawing_ellipse32_alpha = ellipse_drawing<alpha_drawing<uint32_t>>;
ellipse_run &ellipse_linec8_drawing = ellipse_linec_drawing<plain_drawing<uint8_t>>,
            &ellipse_linec16_drawing = ellipse_linec_drawing<plain_drawing<uint16_t>>,
            &ellipse_linec32_drawing = ellipse_linec_drawing<plain_drawing<uint32_t>>;
ellipse_run &ellipse_linec8_drawing_alpha = ellipse_linec_drawing<alpha_drawing<uint8_t>>,
            &ellipse_linec16_drawing_alpha = ellipse_linec_drawing<alpha_drawing<uint16_t>>,
            &ellipse_linec32_drawing_alpha = ellipse_linec_drawing<alpha_drawing<uint32_t>>;

draw_box_routine *draw_ellipse = draw_ellipse8;
drawing_box_routine *drawing_ellipse = drawing_ellipse8;
drawing_box_routine *drawing_ellipse_alpha = drawing_ellipse8_alpha;
