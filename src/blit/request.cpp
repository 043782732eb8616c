#include "blit/request.h"

#include "boundary/records.h"

namespace {

constexpr int32_t max_directions = 256;

/// QUIRK: a direction graph clears bit 0 and also bits 8 and above; scripts rely on it.
constexpr int32_t kept_by_xgraph = 254;

} // namespace

__ORBBlit2D__ blank_request(__ORBSurface2D__ *src, __ORBSurface2D__ *dst, int32_t x, int32_t y) {
  __ORBBlit2D__ request{};
  request.x = x;
  request.y = y;
  request.region = -1;
  request.size = request.size_x = request.size_y = 100;
  request.alpha = 255;
  request.src = src;
  request.dst = dst;
  return request;
}

orb_blit_operation *choose_blit_operation(const __ORBBlit2D__ &request, bool turns) {
  const bool scaled = request.size != 100 || request.size_x != 100 || request.size_y != 100;
  const bool sheared = request.shear_x != 0 || request.shear_y != 0;
  if (turns && request.angle != 0) {
    if (sheared) return device2D.ORBGI2D_BlitRotScaleShear;
    return scaled ? device2D.ORBGI2D_BlitRotScale : device2D.ORBGI2D_BlitRotate;
  }
  if (sheared) return device2D.ORBGI2D_BlitScaleShear;
  return scaled ? device2D.ORBGI2D_BlitScale : device2D.ORBGI2D_Blit;
}

bool apply_xgraph(orb_locals *locals) {
  const int32_t *directions = locals->xgraph;
  const int32_t count = directions[0];
  if (count < 1 || count > max_directions) return false;

  int32_t angle = locals->angle % full_turn;
  if (angle < 0) angle += full_turn;
  locals->angle = angle;
  locals->flags &= kept_by_xgraph;

  // angle < 360000 and at most 256 directions: the product stays below 2^28.
  const int32_t half_sector = full_turn / (2 * count);
  int32_t index = (half_sector + angle) * count / full_turn;
  if (index >= count) index = 0;
  const int32_t graph = directions[index + 1];
  if (graph < 0) {
    locals->graph = int32_t(0u - uint32_t(graph));
    locals->flags |= 1;
  } else {
    locals->graph = graph;
  }
  return true;
}
