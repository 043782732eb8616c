// A canvas is what rasterisers draw on: a surface's clip rectangle, a pen, and an origin that the
// shape chooses.
#pragma once

#include <algorithm>
#include <cstdint>
#include <limits>

#include "raster/raster.h"
#include "surface/screen.h"

namespace {

/// Inclusive; empty when an end lies before its start.
struct clip_rectangle {
  int32_t left, top, right, bottom;
};

constexpr int32_t saturated(int64_t value) {
  return int32_t(std::clamp<int64_t>(value, -INT32_MAX, INT32_MAX));
}

/// How an inclusive box lies relative to a clip rectangle.
struct placement {
  bool misses, within;
};
template <typename Int>
placement place(const clip_rectangle &clip, Int left, Int top, Int right, Int bottom) {
  return {right < clip.left || left > clip.right || bottom < clip.top || top > clip.bottom,
          left >= clip.left && right <= clip.right && top >= clip.top && bottom <= clip.bottom};
}

/// With `clips` false nothing is clipped: shapes must lie within the rectangle.
template <typename Pen, bool clips = true> class canvas {
public:
  using pixel = typename Pen::pixel;

  canvas(const LineTarget &target, const clip_rectangle &clip, const Pen &pen)
      : clip_(clip), pen_(pen), origin_(reinterpret_cast<uintptr_t>(target.pixels)),
        stride_(uint32_t(target.row_length) * sizeof(pixel)) {}

  /// Draws a shape (a function of a canvas) that does not miss the rectangle, without clipping if
  /// it lies within.
  template <typename Shape> void draw(const placement &where, const Shape &shape) {
    if (!where.within) return shape(*this);
    canvas<Pen, false> all(*this);
    shape(all);
    pen_ = all.pen();
    drawn_ = true;
  }

  const clip_rectangle &clip() const { return clip_; }
  Pen &pen() { return pen_; }
  bool drawn() const { return drawn_; }
  void mark_drawn() { drawn_ = true; }
  int32_t stride() const { return int32_t(stride_); }

  /// Makes (x, y) the origin. A clip rectangle beyond the range of the new coordinates is clamped
  /// to it, so callers must first reject shapes that miss it.
  void move_origin(int32_t x, int32_t y) {
    origin_ = address_of(x, y);
    clip_ = {saturated(int64_t(clip_.left) - x), saturated(int64_t(clip_.top) - y),
             saturated(int64_t(clip_.right) - x), saturated(int64_t(clip_.bottom) - y)};
  }

  /// The pixel's address. The origin may lie anywhere, so the arithmetic wraps.
  pixel *at(int32_t x, int32_t y) const { return reinterpret_cast<pixel *>(address_of(x, y)); }

  void dot(int32_t x, int32_t y) {
    if constexpr (clips) {
      if (x < clip_.left || x > clip_.right || y < clip_.top || y > clip_.bottom) return;
      drawn_ = true;
    }
    pen_.dot(at(x, y));
  }

  /// Row y from x0 to x1; x0 <= x1.
  void run(int32_t x0, int32_t x1, int32_t y) {
    if constexpr (clips) {
      if (y < clip_.top || y > clip_.bottom) return;
      x0 = std::max(x0, clip_.left);
      x1 = std::min(x1, clip_.right);
      if (x0 > x1) return;
      drawn_ = true;
    }
    pen_.run(at(x0, y), uint32_t(x1 - x0) + 1);
  }

  /// Column x from y0 to y1; y0 <= y1.
  void column(int32_t y0, int32_t y1, int32_t x) {
    if (x < clip_.left || x > clip_.right) return;
    y0 = std::max(y0, clip_.top);
    y1 = std::min(y1, clip_.bottom);
    if (y0 > y1) return;
    auto *pixels = reinterpret_cast<uint8_t *>(at(x, y0));
    for (uint32_t count = uint32_t(y1 - y0) + 1; count; --count, pixels += stride_)
      pen_.dot(reinterpret_cast<pixel *>(pixels));
    drawn_ = true;
  }

  /// Fills an inclusive box; x0 <= x1, y0 <= y1.
  void box(int32_t x0, int32_t y0, int32_t x1, int32_t y1) {
    x0 = std::max(x0, clip_.left);
    x1 = std::min(x1, clip_.right);
    y0 = std::max(y0, clip_.top);
    y1 = std::min(y1, clip_.bottom);
    if (x0 > x1 || y0 > y1) return;
    uint32_t width = uint32_t(x1 - x0) + 1, height = uint32_t(y1 - y0) + 1;
    if (width * sizeof(pixel) == stride_) { // the rows are contiguous
      width *= height;
      height = 1;
    }
    auto *row = reinterpret_cast<uint8_t *>(at(x0, y0));
    for (; height; --height, row += stride_)
      pen_.run(reinterpret_cast<pixel *>(row), width);
    drawn_ = true;
  }

  /// The outline of an inclusive box, each pixel once.
  void frame(int32_t x0, int32_t y0, int32_t x1, int32_t y1) {
    run(x0, x1, y0);
    if (y0 == y1) return;
    run(x0, x1, y1);
    if (y0 + 1 == y1) return;
    column(y0 + 1, y1 - 1, x0);
    if (x0 != x1) column(y0 + 1, y1 - 1, x1);
  }

private:
  template <typename, bool> friend class canvas;
  explicit canvas(const canvas<Pen, true> &of) requires(!clips)
      : clip_(of.clip_), pen_(of.pen_), origin_(of.origin_), stride_(of.stride_) {}

  uintptr_t address_of(int32_t x, int32_t y) const {
    return origin_ + uint32_t(y) * stride_ + uint32_t(x) * sizeof(pixel);
  }

  clip_rectangle clip_;
  Pen pen_;
  uintptr_t origin_;
  uint32_t stride_; // bytes
  bool drawn_ = false;
};

/// Makes a surface the line target. False when there is no surface, it has no pixels, or they are
/// of another depth: a graph may have been created before a mode change.
template <typename Pixel> bool aim(const __ORBSurface2D__ *surface) {
  if (!surface || !surface->pixels || surface->depth != int32_t(8 * sizeof(Pixel))) return false;
  line_target = {int32_t(surface->width) - 1, int32_t(surface->height) - 1, surface->pixels,
                 int32_t(surface->pitch / sizeof(Pixel))};
  return true;
}

/// Draws a shape (a function of a canvas) in one colour on the line target. Inlined, since a call
/// costs as much as a short run.
template <typename Pixel, typename Shape>
[[gnu::always_inline]] inline bool draw_on_target(uint32_t colour, const Shape &shape) {
  if (!line_target.pixels) return false;
  const clip_rectangle whole = {0, 0, line_target.right, line_target.bottom};
  canvas<solid_pen<Pixel>> to(line_target, whole, {Pixel(colour)});
  shape(to);
  return to.drawn();
}

/// Draws a shape in one colour on a surface.
template <typename Pixel, typename Shape>
void draw_on(__ORBSurface2D__ *surface, uint32_t colour, const Shape &shape) {
  if (aim<Pixel>(surface) && draw_on_target<Pixel>(colour, shape)) mark_ground(surface);
}

template <typename Pixel> struct plain_drawing {
  using pixel = Pixel;
  static solid_pen<Pixel> pen() { return {Pixel(colorfx)}; }
};
template <typename Pixel> struct alpha_drawing {
  using pixel = Pixel;
  static blend_pen<Pixel> pen() { return {}; }
};
template <> struct alpha_drawing<uint8_t> {
  using pixel = uint8_t;
  static table_pen pen() { return {pixelfx_table()}; }
};

/// Draws a shape on the line target, clipped to the draw clip rectangle.
template <typename Drawing, typename Shape> void draw_clipped(const Shape &shape) {
  if (!line_target.pixels) return;
  const clip_rectangle clip = {std::max(draw_clipx0, 0), std::max(draw_clipy0, 0),
                               std::min(draw_clipx1, line_target.right),
                               std::min(draw_clipy1, line_target.bottom)};
  if (clip.left > clip.right || clip.top > clip.bottom) return;
  canvas to(line_target, clip, Drawing::pen());
  shape(to);
  if (to.drawn()) to.pen().finish();
}

template <typename Drawing, typename Shape>
void drawing_on(__ORBSurface2D__ *surface, const Shape &shape) {
  if (aim<typename Drawing::pixel>(surface)) draw_clipped<Drawing>(shape);
}

} // namespace
