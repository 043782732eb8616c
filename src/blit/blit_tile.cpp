// Tiled blits: the source repeated over the clip rectangle.
#include "blit/geometry.h"
#include "blit/operation.h"

namespace {

/// Source position under the first clip pixel when a tile starts at `origin`.
int32_t phase(int64_t clip, int64_t origin, int64_t size) {
  const int64_t rest = (clip - origin) % size;
  return int32_t(rest < 0 ? rest + size : rest);
}

} // namespace

int32_t ORBGI2D_BlitTile(__ORBBlit2D__ *request) {
  if (!begin_blit(request)) return refuse_blit(request);
  if (blit.blt_flags != 0 && blit.blt_flags != 8) return refuse_blit(request);

  const blit_pivot pivot = take_pivot(blit.src);
  blit.tile_phase_x = phase(blit.clipx0, int64_t(blit.x) - pivot.x, blit.src->width);
  blit.tile_phase_y = phase(blit.clipy0, int64_t(blit.y) - pivot.y, blit.src->height);
  blit.tile = choose_routine<span_op::tile>(blit.blt_flags == 8 ? 1 : 0);
  if (!blit.tile) return refuse_blit(request);
  blit.tile();
  return finish_blit(request, blit.clipx0, blit.clipy0, blit.clipx1, blit.clipy1);
}
