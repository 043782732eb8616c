// Blits at natural size: whole graphs by their pivot, and rectangles of graphs.
#include <algorithm>

#include "blit/geometry.h"
#include "blit/operation.h"

namespace {

/// The part of the source to draw and where it goes, before clipping. In 64 bits: positions and
/// pivots are any 32-bit values.
struct placement {
  int64_t x, y;               // destination of the top left pixel
  int32_t src_x, src_y, w, h; // source rectangle, inside the source
};

/// Clips a placement and draws it with the draw routine of the blit state.
///
/// A mirrored rectangle is read from its far edge: `src_inc` takes the source from the end of one
/// row to the start of the next, in whichever directions rows and columns are walked.
int32_t draw_placement(__ORBBlit2D__ *request, const placement &at) {
  const int64_t left = std::max<int64_t>(at.x, blit.clipx0);
  const int64_t top = std::max<int64_t>(at.y, blit.clipy0);
  const int64_t right = std::min<int64_t>(at.x + at.w - 1, blit.clipx1);
  const int64_t bottom = std::min<int64_t>(at.y + at.h - 1, blit.clipy1);
  if (left > right || top > bottom) return refuse_blit(request);

  const auto skip_x = int32_t(left - at.x), skip_y = int32_t(top - at.y);
  blit.dst_x = int32_t(left);
  blit.dst_y = int32_t(top);
  blit.blt_w = int32_t(right - left + 1);
  blit.blt_h = int32_t(bottom - top + 1);

  const bool hmirror = blit.blt_flags & 1, vmirror = blit.blt_flags & 2;
  const auto width = int32_t(blit.src->width);
  blit.src_x = at.src_x + (hmirror ? at.w - 1 - skip_x : skip_x);
  blit.src_y = at.src_y + (vmirror ? at.h - 1 - skip_y : skip_y);
  blit.src_inc = (vmirror ? -width : width) + (hmirror ? blit.blt_w : -blit.blt_w);
  blit.dst_inc = int32_t(blit.dst->width) - blit.blt_w;

  blit.draw = choose_routine(span_op::draw, blit_column());
  if (!blit.draw) return refuse_blit(request);
  blit.draw();
  return finish_blit(request, int32_t(left), int32_t(top), int32_t(right), int32_t(bottom));
}

} // namespace

int32_t ORBGI2D_Blit(__ORBBlit2D__ *request) {
  if (!begin_blit(request, false)) return refuse_blit(request);
  if (!clip_blit(request)) return refuse_blit(request);

  const auto w = int32_t(blit.src->width), h = int32_t(blit.src->height);
  const blit_pivot pivot = take_pivot(blit.src);
  int64_t px = pivot.x, py = pivot.y;
  // QUIRK: one would expect both pivots to mirror alike; the control point mirrors about the edge
  // of the picture, the override about its last pixel.
  const int32_t edge = pivot.overridden ? 1 : 0;
  if (blit.blt_flags & 1) px = w - edge - px;
  if (blit.blt_flags & 2) py = h - edge - py;
  return draw_placement(request, {blit.x - px, blit.y - py, 0, 0, w, h});
}

int32_t ORBGI2D_BlitBlock(__ORBBlit2D__ *request) {
  if (!begin_blit(request, false)) return refuse_blit(request);
  if (request->block_w < 1 || request->block_h < 1) return refuse_blit(request);
  if (!clip_blit(request)) return refuse_blit(request);

  // Cut the block to the source. What is cut off the side that is drawn first moves the rest on.
  const int64_t bx = request->block_x, by = request->block_y;
  const int64_t x0 = std::max<int64_t>(bx, 0), y0 = std::max<int64_t>(by, 0);
  const int64_t x1 = std::min<int64_t>(bx + request->block_w, blit.src->width);
  const int64_t y1 = std::min<int64_t>(by + request->block_h, blit.src->height);
  if (x0 >= x1 || y0 >= y1) return refuse_blit(request);
  const int64_t cut_x = blit.blt_flags & 1 ? bx + request->block_w - x1 : x0 - bx;
  const int64_t cut_y = blit.blt_flags & 2 ? by + request->block_h - y1 : y0 - by;
  return draw_placement(request, {blit.x + cut_x, blit.y + cut_y, int32_t(x0), int32_t(y0),
                                  int32_t(x1 - x0), int32_t(y1 - y0)});
}
