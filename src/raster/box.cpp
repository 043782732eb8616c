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

template <typename Pixel>
void corner_rect(__ORBSurface2D__ *surface, int32_t x, int32_t y, int32_t width, int32_t height,
                 uint32_t colour, int32_t fill) {
  sized_rect<Pixel>(surface, x, y, width, height, colour, fill);
}
template <typename Pixel>
void centred_rect(__ORBSurface2D__ *surface, int32_t x, int32_t y, int32_t width, int32_t height,
                  uint32_t colour, int32_t fill) {
  sized_rect<Pixel>(surface, int64_t(x) - (width >> 1), int64_t(y) - (height >> 1), width, height,
                    colour, fill);
}

template <typename Drawing>
void rect_drawing(__ORBSurface2D__ *surface, int32_t x0, int32_t y0, int32_t x1, int32_t y1,
                  int32_t fill) {
  drawing_on<Drawing>(surface, [=](auto &to) {
    box_or_frame(to, std::min(x0, x1), std::min(y0, y1), std::max(x0, x1), std::max(y0, y1), fill);
  });
}

} // namespace

draw_box_routine &draw_rect8 = rect<uint8_t>, &draw_rect16 = rect<uint16_t>,
                 &draw_rect32 = rect<uint32_t>;
draw_box_routine &draw_srect8 = corner_rect<uint8_t>, &draw_srect16 = corner_rect<uint16_t>,
                 &draw_srect32 = corner_rect<uint32_t>;
draw_box_routine &draw_csrect8 = centred_rect<uint8_t>, &draw_csrect16 = centred_rect<uint16_t>,
                 &draw_csrect32 = centred_rect<uint32_t>;
drawing_box_routine &drawing_rect8 = rect_drawing<plain_drawing<uint8_t>>,
                    &drawing_rect16 = rect_drawing<plain_drawing<uint16_t>>,
                    &drawing_rect32 = rect_drawing<plain_drawing<uint32_t>>;
drawing_box_routine &drawing_rect8_alpha = rect_drawing<alpha_drawing<uint8_t>>,
                    &drawing_rect16_alpha = rect_drawing<alpha_drawing<uint16_t>>,
                    &drawing_rect32_alpha = rect_drawing<alpha_drawing<uint32_t>>;

draw_box_routine *draw_rect = draw_rect8, *draw_srect = draw_srect8, *draw_csrect = draw_csrect8;
drawing_box_routine *drawing_rect = drawing_rect8, *drawing_rect_alpha = drawing_rect8_alpha;
