// Round shapes as pairs of mirrored rows, from the outermost pair inwards.
#pragma once

#include "raster/canvas.h"

namespace {

/// Two rows of a shape with the same end columns; inclusive. They may be the same row.
struct row_pair {
  int32_t left, right, top, bottom;
};

template <typename Canvas>
void run_in_both(Canvas &to, const row_pair &rows, int32_t left, int32_t right) {
  to.run(left, right, rows.top);
  if (rows.bottom != rows.top) to.run(left, right, rows.bottom);
}

/// The outline on these rows: from each end up to the column before the next outer pair's end
/// (`outer_left`, `outer_right`), and at least the end itself. So neighbouring rows touch at least
/// at a corner, and no pixel is drawn twice.
template <typename Canvas>
void outline_in_both(Canvas &to, const row_pair &rows, int32_t outer_left, int32_t outer_right) {
  // Maximum and minimum, written so that they cannot overflow.
  const int32_t left_end = rows.left < outer_left ? outer_left - 1 : rows.left;
  const int32_t right_start = rows.right > outer_right ? outer_right + 1 : rows.right;
  if (left_end >= right_start) {
    run_in_both(to, rows, rows.left, rows.right);
  } else if (left_end == rows.left && right_start == rows.right) {
    // The case of most rows of a large shape.
    for (const int32_t x : {left_end, right_start}) {
      to.dot(x, rows.top);
      if (rows.bottom != rows.top) to.dot(x, rows.bottom);
    }
  } else {
    run_in_both(to, rows, rows.left, left_end);
    run_in_both(to, rows, right_start, rows.right);
  }
}

/// Draws a shape about the canvas's origin, `height` rows to either side of the middle one; row v
/// extends half_width(v) columns to either side. half_width is called only for rows within the clip
/// rectangle, from the outermost inwards.
template <typename Canvas, typename HalfWidth>
void draw_centred(Canvas &to, int32_t height, HalfWidth &&half_width, bool fill) {
  const auto &clip = to.clip();
  const int32_t outermost = std::min(height, std::max(-clip.top, clip.bottom));
  const int32_t innermost = std::max({0, clip.top, -clip.bottom});
  // The outermost row has no outer neighbour: its outline is the whole row.
  int32_t outer = !fill && outermost < height ? half_width(outermost + 1) : -1;
  for (int32_t v = outermost; v >= innermost; --v) {
    const int32_t half = half_width(v);
    const row_pair rows = {-half, half, -v, v};
    if (fill) {
      run_in_both(to, rows, -half, half);
    } else {
      outline_in_both(to, rows, -outer, outer);
    }
    outer = half;
  }
}

/// Draws `count` pairs of rows, the outermost first.
template <typename Canvas>
void draw_pairs(Canvas &to, const row_pair *pairs, int32_t count, bool fill) {
  for (int32_t i = 0; i < count; ++i) {
    if (fill || i == 0) {
      run_in_both(to, pairs[i], pairs[i].left, pairs[i].right);
    } else {
      outline_in_both(to, pairs[i], pairs[i - 1].left, pairs[i - 1].right);
    }
  }
}

} // namespace
