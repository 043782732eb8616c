// Blits scaled along the axes.
#include <algorithm>
#include <cmath>

#include "blit/geometry.h"
#include "blit/operation.h"

namespace {

/// One axis of a scaled blit: its extent on the destination and the source positions along it.
struct axis {
  int32_t first, last; // destination pixels, before clipping
  double start, step;  // source position at `first`, per destination pixel

  /// Clips the axis to low..high of a destination that begins at `origin`, advances the source
  /// start accordingly, and makes the coordinates relative to `origin`. False when nothing is left.
  bool clip(int32_t low, int32_t high, int32_t origin) {
    low += origin;
    if (first < low) {
      start += step * (double(low) - first);
      first = low;
    }
    last = std::min(last, high + origin);
    if (first > last) return false;
    first -= origin;
    last -= origin;
    return true;
  }
};

/// Source positions run from half a destination pixel inside one edge to half a destination pixel
/// inside the other, backwards for a negative size. A single destination pixel samples the middle.
/// False when a destination pixel is larger than the whole source.
bool lay_axis(axis *a, float corner0, float corner1, int32_t length, int64_t size) {
  const int32_t c0 = round_corner(corner0), c1 = round_corner(corner1);
  if (c0 == corner_out_of_range || c1 == corner_out_of_range) return false;
  const double inset = 50.0 / std::abs(double(size));
  if (inset >= length) return false;
  a->first = std::min(c0, c1);
  a->last = std::max(c0, c1);
  if (a->first == a->last) {
    a->start = length / 2.0;
    a->step = 0;
    return true;
  }
  double start = inset, end = length - inset;
  if (size < 1) std::swap(start, end);
  a->start = start;
  a->step = (end - start) / (double(a->last) - a->first);
  return true;
}

/// Source rows: those at positions that add up in single precision, from a first one on.
struct row_positions {
  float at, step, bottom; // bottom: the last row

  /// Takes the next `count` rows.
  void take(int32_t *rows, int32_t count) {
    if (take_whole(rows, count)) return;
    for (int32_t i = 0; i < count; ++i, at += step)
      rows[i] = int32_t(std::clamp(at, 0.0f, bottom));
  }

private:
  /// The same where start and step are so round that no sum is rounded, as at half and at double
  /// size: then the rows needn't wait for each other. False, with nothing done, elsewhere.
  bool take_whole(int32_t *rows, int32_t count) {
    // In units of 1/256, below 2^24, sums of floats are exact.
    constexpr int32_t bits = 8, unit = 1 << bits, far = 1 << 15;
    const float end = at + step * float(count);
    if (!(at >= 0 && at < far && std::abs(step) < far && std::abs(end) < far)) return false;
    const auto start = int32_t(at * unit), stride = int32_t(step * unit);
    if (float(start) != at * unit || float(stride) != step * unit) return false;
    const int32_t last = start + stride * (count - 1), highest = std::max(start, last);
    if (last < 0 || highest / unit > int32_t(bottom)) return false;
    for (int32_t i = 0; i < count; ++i)
      rows[i] = (start + stride * i) >> bits;
    at = end;
    return true;
  }
};

} // namespace

int32_t ORBGI2D_BlitScale(__ORBBlit2D__ *request) {
  if (!begin_transformed_blit(request)) return refuse_blit(request);
  float x0, y0, x1, y1;
  calculate_corners_scale(blit.src, blit.x, blit.y, blit.size_x, blit.size_y, blit.blt_flags, &x0,
                          &y0, &x1, &y1);

  const auto width = int32_t(blit.src->width), height = int32_t(blit.src->height);
  axis across, down;
  // Negated in 64 bits: a size may be INT32_MIN.
  const int64_t size_x = blit.blt_flags & 1 ? -int64_t(blit.size_x) : blit.size_x;
  const int64_t size_y = blit.blt_flags & 2 ? -int64_t(blit.size_y) : blit.size_y;
  if (!lay_axis(&across, x0, x1, width, size_x) || !lay_axis(&down, y0, y1, height, size_y))
    return refuse_blit(request);
  if (!across.clip(blit.clipx0, blit.clipx1, blit.window_x) ||
      !down.clip(blit.clipy0, blit.clipy1, blit.window_y))
    return refuse_blit(request);

  blit.scale = choose_routine<span_op::scale>(blit_column());
  if (!blit.scale) return refuse_blit(request);

  blit.dst_x = across.first;
  blit.blt_w = across.last - across.first + 1;
  // The step is truncated toward zero and both ends lie inside the picture, so the last pixel does
  // too; only a start at the very edge may round onto that edge.
  const double top = width * 65536.0 - 1;
  const int32_t src_x = to_fixed(std::clamp(across.start * 65536, 0.0, top));
  blit.x_inc = fixed_step(across.step * 65536, 1);
  row_positions positions{float(down.start), float(down.step), float(height - 1)};
  // As many rows are drawn by one call as the table holds; one by one when a surface is drawn onto
  // itself: its rows change as they are drawn.
  constexpr int32_t table_size = 1024;
  static int32_t rows[table_size];
  for (blit.dst_y = down.first; blit.dst_y <= down.last; blit.dst_y += blit.blt_rows) {
    blit.blt_rows = blit.shared ? 1 : std::min(table_size, down.last - blit.dst_y + 1);
    positions.take(rows, blit.blt_rows);
    blit.src_x = src_x;
    blit.src_y = rows[0];
    if (!blit.shared) blit.src_rows = rows;
    blit.scale();
  }
  blit.src_rows = nullptr;
  return finish_blit(request, across.first, down.first, across.last, down.last);
}
