// Rectangles.
#include <utility>

#include "raster/pens.h"

#include "raster/canvas.h"

namespace {

template <typename Canvas>
void box_or_frame(Canvas &to, int32_t left, int32_t top, int32_t right, int32_t bottom,
                  int32_t fill) {
  if (fill) {
    to.box(left, top, right, bottom);
  } else {
    to.frame(left, top, right, bottom);
  }
}

/// The part of a side that draw_rect draws, within 0..last; false when there is none.
bool clip_side(int32_t &low, int32_t &high, int32_t last) {
  if (low > high) std::swap(low, high);
  if (high < 0 || low > last) return false;
  if (low < 0) {
    // QUIRK: what is cut off below 0 also comes off the far end: -10..50 becomes 0..40. A side with
    // nothing left is not drawn.
    if (int64_t(high) + low < 0) return false;
    high += low;
    low = 0;
  }
  high = std::min(high, last);
  return true;
}

/// QUIRK: a rectangle that continues beyond the surface gets an edge along the border.
template <typename Pixel>
void rect(__ORBSurface2D__ *surface, int32_t x0, int32_t y0, int32_t x1, int32_t y1,
          uint32_t colour, int32_t fill) {
  draw_on<Pixel>(surface, colour, [&](auto &to) {
    if (!clip_side(x0, x1, to.clip().right) || !clip_side(y0, y1, to.clip().bottom)) return;
    box_or_frame(to, x0, y0, x1, y1, fill);
  });
}

/// draw_srect and draw_csrect, given the corner, which may lie beyond 32 bits.
template <typename Pixel>
void sized_rect(__ORBSurface2D__ *surface, int64_t left, int64_t top, int32_t width, int32_t height,
                uint32_t colour, int32_t fill) {
  draw_on<Pixel>(surface, colour, [=](auto &to) {
    if (width < 1 || height < 1 || left > to.clip().right || top > to.clip().bottom) return;
    // QUIRK: a rectangle whose last column or row is column or row 0 is not drawn.
    if (left + width < 2 || top + height < 2) return;
    box_or_frame(to, saturated(left), saturated(top), saturated(left + width - 1),
                 saturated(top + height - 1), fill);
  });
}

template <typename Drawing>
void rect_drawing(__ORBSurface2D__ *surface, int32_t x0, int32_t y0, int32_t x1, int32_t y1,
                  int32_t fill) {
  drawing_on<Drawing>(surface, [=](auto &to) {
    box_or_frame(to, std::min(x0, x1), std::min(y0, y1), std::max(x0, x1), std::max(y0, y1), fill);
  });
}

} // namespace

// The same set for each depth.
#define ORB_RECTANGLES(depth, pixel)                                                               \
  void draw_rect##depth(__ORBSurface2D__ *surface, int32_t x0, int32_t y0, int32_t x1, int32_t y1, \
                        uint32_t colour, int32_t fill) {                                           \
    rect<pixel>(surface, x0, y0, x1, y1, colour, fill);                                            \
  }                                                                                                \
  void draw_srect##depth(__ORBSurface2D__ *surface, int32_t x, int32_t y, int32_t width,           \
                         int32_t height, uint32_t colour, int32_t fill) {                          \
    sized_rect<pixel>(surface, x, y, width, height, colour, fill);                                 \
  }                                                                                                \
  void draw_csrect##depth(__ORBSurface2D__ *surface, int32_t x, int32_t y, int32_t width,          \
                          int32_t height, uint32_t colour, int32_t fill) {                         \
    sized_rect<pixel>(surface, int64_t(x) - (width >> 1), int64_t(y) - (height >> 1), width,       \
                      height, colour, fill);                                                       \
  }                                                                                                \
  void drawing_rect##depth(__ORBSurface2D__ *surface, int32_t x0, int32_t y0, int32_t x1,          \
                           int32_t y1, int32_t fill) {                                             \
    rect_drawing<plain_drawing<pixel>>(surface, x0, y0, x1, y1, fill);                             \
  }                                                                                                \
  void drawing_rect##depth##_alpha(__ORBSurface2D__ *surface, int32_t x0, int32_t y0, int32_t x1,  \
                                   int32_t y1, int32_t fill) {                                     \
    rect_drawing<alpha_drawing<pixel>>(surface, x0, y0, x1, y1, fill);                             \
  }
ORB_RECTANGLES(8, uint8_t)
ORB_RECTANGLES(16, uint16_t)
ORB_RECTANGLES(32, uint32_t)
#undef ORB_RECTANGLES
