#include "script/blit_arguments.h"

#include "blit/process_transform.h"
#include "script/checks.h"
#include "surface/regions.h"

__ORBBlit2D__ bltGraphics2D;

blit_tail pop_tail(int32_t own) {
  const int32_t given = rt_param_count() - own;
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
  const auto [angle, size_x, size_y, shear_x, shear_y, tfmorder] =
      pop_args<int32_t, int32_t, int32_t, int32_t, int32_t, int32_t>();
  return {angle, 100, size_x, size_y, shear_x, shear_y, tfmorder};
}

blit_block pop_block() {
  const auto [x, y, w, h] = pop_args<int32_t, int32_t, int32_t, int32_t>();
  return {x, y, w, h};
}

__ORBSurface2D__ *check_source(const script_call &call, int32_t file, int32_t graph,
                               const blit_tail &tail, int32_t region_position) {
  const orb_map_slot *slot = check_graph(call, file, graph);
  if (!slot) return nullptr;
  if (!RegionExists(tail.region)) return call.bad(error_region, region_position, tail.region);
  return slot->surface;
}

void fill_request(__ORBBlit2D__ &request, __ORBSurface2D__ *source, int32_t x, int32_t y,
                  const blit_tail &tail) {
  request.owner = nullptr;
  request.drawn = 0;
  request.x = x;
  request.y = y;
  request.region = tail.region;
  request.own_region = 0;
  request.flags = tail.flags;
  request.alpha = tail.alpha;
  request.fxmode = tail.fxmode;
  request.fxcolor = tail.fxcolor;
  request.fxintensity = tail.fxintensity;
  request.src = source;
}

orb_blit_operation *set_transform(__ORBBlit2D__ &request, const blit_transform &transform) {
  request.angle = transform.angle % full_turn;
  request.size = transform.size;
  request.size_x = transform.size_x;
  request.size_y = transform.size_y;
  request.shear_x = transform.shear_x;
  request.shear_y = transform.shear_y;
  request.tfmorder = transform.tfmorder;
  const bool scaled = transform.size != 100 || transform.size_x != 100 || transform.size_y != 100;
  const bool sheared = transform.shear_x != 0 || transform.shear_y != 0;
  return choose_blit_operation(request.angle != 0, scaled, sheared);
}

orb_blit_operation *set_block(__ORBBlit2D__ &request, const blit_block &block) {
  request.block_x = block.x;
  request.block_y = block.y;
  request.block_w = block.w;
  request.block_h = block.h;
  return device2D.ORBGI2D_BlitBlock;
}
