// Blits at natural size: whole graphs by their pivot, and rectangles of graphs.
#include <algorithm>

#include "blit/geometry.h"
#include "blit/operation.h"
#include "surface/regions.h"
#include "surface/screen.h"

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

/// Draws a plain request: a whole picture as it is, wholly inside its destination and region. Most
/// sprites are such, and the general steps would take longer than their pixels. False, with nothing
/// drawn, for all other requests.
bool draw_plain(__ORBBlit2D__ *request) {
  constexpr int32_t mirrors_and_ghost = 7;
  if (request->fxmode != 0 || request->alpha < 255 || request->flags & mirrors_and_ghost)
    return false;
  __ORBSurface2D__ *const src = request->src, *const dst = request->dst;
  if (!src || !dst || !src->pixels || !dst->pixels || src->depth != dst->depth) return false;
  if (dst == ground || src->pivot_override || share_memory(src, dst)) return false;

  const auto w = int32_t(src->width), h = int32_t(src->height);
  const blit_pivot pivot = take_pivot(src);
  int32_t left, top;
  if (__builtin_sub_overflow(request->x, pivot.x, &left) || left < 0) return false;
  if (__builtin_sub_overflow(request->y, pivot.y, &top) || top < 0) return false;
  if (left > int32_t(dst->width) - w || top > int32_t(dst->height) - h) return false;
  const int32_t right = left + w - 1, bottom = top + h - 1;
  if (request->region >= 0) {
    if (request->own_region || !RegionExists(request->region)) return false;
    const __ORBRegion__ &region = regions[request->region];
    if (left < region.x0 || right > region.x1 || top < region.y0 || bottom > region.y1)
      return false;
  }

  blit.src = src;
  blit.dst = dst;
  blit.shared = false;
  blit.blt_flags = request->flags & 15;
  blit.blt_alpha = 255;
  blit.dst_x = left;
  blit.dst_y = top;
  blit.blt_w = w;
  blit.blt_h = h;
  blit.src_x = blit.src_y = blit.src_inc = 0;
  blit.dst_inc = int32_t(dst->width) - w;
  span_routine *const *const table = dst->depth == 8      ? SOFT_drawloop8
                                     : dst->depth == 16   ? SOFT_drawloop16
                                     : src->alpha_channel ? SOFT_drawloop_alphachn32
                                                          : SOFT_drawloop32;
  blit.draw = table[blit_column()];
  blit.draw();
  finish_blit(request, left, top, right, bottom);
  return true;
}

} // namespace

int32_t ORBGI2D_Blit(__ORBBlit2D__ *request) {
  if (draw_plain(request)) return 1;
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
