#include "script/blit_arguments.h"

#include "script/checks.h"
#include "surface/regions.h"

__ORBBlit2D__ bltGraphics2D;

blit_tail pop_tail(int32_t own) {
  const int64_t given = int64_t(rt_param_count()) - own; // a host may count anything
  blit_tail tail;
  if (given >= 6) {
    tail.fxintensity = rt_pop_int();
    tail.fxcolor = rt_pop_uint();
  }
  if (given >= 4) {
    tail.fxmode = rt_pop_int();
    tail.alpha = rt_pop_int();
  }
  if (given >= 2) {
    tail.region = rt_pop_int();
    tail.flags = rt_pop_int();
  }
  return tail;
}

blit_transform pop_transform() {
  const auto [angle, size_x, size_y, shear_x, shear_y, tfmorder] = pop_ints<6>();
  return {angle, 100, size_x, size_y, shear_x, shear_y, tfmorder};
}

blit_block pop_block() {
  const auto [x, y, w, h] = pop_ints<4>();
  return {x, y, w, h};
}

__ORBSurface2D__ *check_source(const script_call &call, int32_t file, int32_t graph,
                               const blit_tail &tail, int32_t region_position) {
  const orb_map_slot *slot = check_graph(call, file, graph);
  if (!slot) return nullptr;
  if (!RegionExists(tail.region)) return call.bad(error_region, region_position, tail.region);
  return slot->surface;
}

__ORBBlit2D__ tail_request(__ORBSurface2D__ *src, __ORBSurface2D__ *dst, int32_t x, int32_t y,
                           const blit_tail &tail) {
  __ORBBlit2D__ request = blank_request(src, dst, x, y);
  set_look(request, tail);
  return request;
}

int32_t draw_transformed(__ORBBlit2D__ &request, const blit_transform &transform) {
  set_transform(request, transform);
  return choose_blit_operation(request)(&request);
}

void set_block(__ORBBlit2D__ &request, const blit_block &block) {
  request.block_x = block.x;
  request.block_y = block.y;
  request.block_w = block.w;
  request.block_h = block.h;
}

int32_t draw_block(__ORBBlit2D__ &request, const blit_block &block) {
  set_block(request, block);
  return device2D.ORBGI2D_BlitBlock(&request);
}
