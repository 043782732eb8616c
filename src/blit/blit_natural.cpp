// Blits at natural size: whole graphs by their pivot, and rectangles of graphs.
#include <algorithm>

#include "blit/geometry.h"
#include "blit/operation.h"
#include "surface/regions.h"
#include "surface/screen.h"

namespace {

/// The part of the source to draw and where it goes, before clipping.
struct placement {
  int32_t x, y;               // destination of the top left pixel
  int32_t src_x, src_y, w, h; // source rectangle, inside the source
};

/// Draws a part of the source, clipped, with the draw routine of the blit state.
[[gnu::always_inline]] inline int32_t draw_placement(__ORBBlit2D__ *request, const placement &at) {
  if (at.x > blit.clipx1 || at.y > blit.clipy1) return refuse_blit(request);
  const int32_t left = std::max(at.x, blit.clipx0), top = std::max(at.y, blit.clipy0);
  const int32_t right = std::min(at.x + at.w - 1, blit.clipx1);
  const int32_t bottom = std::min(at.y + at.h - 1, blit.clipy1);
  if (left > right || top > bottom) return refuse_blit(request);

  const auto width = int32_t(blit.src->width);
  blit.dst_x = left;
  blit.dst_y = top;
  blit.blt_w = right - left + 1;
  blit.blt_h = bottom - top + 1;
  blit.src_x = at.src_x + left - at.x;
  blit.src_y = at.src_y + top - at.y;
  blit.src_inc = width - blit.blt_w;
  blit.dst_inc = int32_t(blit.dst->width) - blit.blt_w;
  // A mirrored rectangle is read from its far edge: `src_inc` takes the source from the end of one
  // row to the start of the next, in whichever directions rows and columns are walked.
  if (blit.blt_flags & 1) {
    blit.src_x = 2 * at.src_x + at.w - 1 - blit.src_x;
    blit.src_inc += 2 * blit.blt_w;
  }
  if (blit.blt_flags & 2) {
    blit.src_y = 2 * at.src_y + at.h - 1 - blit.src_y;
    blit.src_inc -= 2 * width;
  }

  blit.draw = choose_routine<span_op::draw>(blit_column());
  if (!blit.draw) return refuse_blit(request);
  blit.draw();
  return finish_blit(request, left, top, right, bottom);
}

/// Where the near edge of a picture comes to lie whose pivot is put at `position`; mirrored, the
/// pivot counts from `far` backwards. False: beyond 32 bits, far from any surface.
bool find_edge(int32_t position, int32_t pivot, bool mirrored, int32_t far, int32_t *edge) {
  if (!mirrored) return !__builtin_sub_overflow(position, pivot, edge);
  return !__builtin_add_overflow(position, pivot, edge) &&
         !__builtin_sub_overflow(*edge, far, edge);
}

} // namespace

int32_t ORBGI2D_Blit(__ORBBlit2D__ *request) {
  if (!begin_blit(request)) return refuse_blit(request);

  placement at{0, 0, 0, 0, int32_t(blit.src->width), int32_t(blit.src->height)};
  const blit_pivot pivot = take_pivot(blit.src);
  // QUIRK: one would expect both pivots to mirror alike; the control point mirrors about the edge
  // of the picture, the override about its last pixel.
  const int32_t last = pivot.overridden ? 1 : 0;
  if (!find_edge(blit.x, pivot.x, blit.blt_flags & 1, at.w - last, &at.x) ||
      !find_edge(blit.y, pivot.y, blit.blt_flags & 2, at.h - last, &at.y))
    return refuse_blit(request);
  return draw_placement(request, at);
}

int32_t ORBGI2D_BlitBlock(__ORBBlit2D__ *request) {
  if (!begin_blit(request)) return refuse_blit(request);
  if (request->block_w < 1 || request->block_h < 1) return refuse_blit(request);

  // Cut the block to the source. What is cut off the side that is drawn first moves the rest on.
  const int64_t bx = request->block_x, by = request->block_y;
  const int64_t x0 = std::max<int64_t>(bx, 0), y0 = std::max<int64_t>(by, 0);
  const int64_t x1 = std::min<int64_t>(bx + request->block_w, blit.src->width);
  const int64_t y1 = std::min<int64_t>(by + request->block_h, blit.src->height);
  if (x0 >= x1 || y0 >= y1) return refuse_blit(request);
  const int64_t cut_x = blit.blt_flags & 1 ? bx + request->block_w - x1 : x0 - bx;
  const int64_t cut_y = blit.blt_flags & 2 ? by + request->block_h - y1 : y0 - by;
  placement at{0, 0, int32_t(x0), int32_t(y0), int32_t(x1 - x0), int32_t(y1 - y0)};
  if (__builtin_add_overflow(blit.x, cut_x, &at.x) || __builtin_add_overflow(blit.y, cut_y, &at.y))
    return refuse_blit(request);
  return draw_placement(request, at);
}
