// Script functions that draw a graph in the next frame only: each adds one request to the frame's
// list, which is sorted by z with all others.
//
// For `tail` see script/blit_arguments.h. Each returns 1, drawn or not, or the failure value after
// reporting a bad graph (109, 110, 111, 121) or region (108 at its position). A graph that is
// unloaded before the frame is not drawn.
#include "blit/blit_list.h"
#include "script/blit_arguments.h"
#include "script/handlers.h"
#include "surface/screen.h"

namespace {

/// A new request in the frame's list, complete except for its operation. Makes the frame's list
/// current, as the frame hook does. Null when the list cannot grow.
__ORBBlit2D__ *screen_request(__ORBSurface2D__ *source, int32_t x, int32_t y, int32_t z,
                              const blit_tail &tail) {
  if (!device2D.UseBlitList(graphics2D_blitlist)) return nullptr;
  __ORBBlit2D__ *request = device2D.GetAndUpdateBlitList();
  if (!request) return nullptr;
  *request = tail_request(source, screen, x, y, tail);
  request->z = z;
  return request;
}

/// The arguments of screen_draw_graphic, whose tail is grouped differently: flags go with angle and
/// size, and the region with alpha and fxmode.
struct graphic_arguments {
  int32_t file, graph, x, y, z, resolution;
  blit_transform transform;
  blit_tail tail;
  int32_t region_position;
};

graphic_arguments pop_graphic_arguments() {
  const int32_t given = rt_param_count();
  graphic_arguments a{};
  const bool all_transforms = given >= 16;
  if (given == 14 || given == 18) {
    a.tail.fxintensity = rt_pop_int();
    a.tail.fxcolor = rt_pop_uint();
  }
  if (given >= 12) {
    a.tail.fxmode = rt_pop_int();
    a.tail.alpha = rt_pop_int();
    a.tail.region = rt_pop_int();
    a.region_position = all_transforms ? 14 : 10;
  }
  if (given >= 9) a.tail.flags = rt_pop_int();
  if (all_transforms) {
    a.transform = pop_transform();
  } else if (given >= 9) {
    a.transform.size = rt_pop_int();
    a.transform.angle = rt_pop_int();
  }
  pop_into(a.file, a.graph, a.x, a.y, a.z, a.resolution);
  return a;
}

} // namespace

/// screen_draw_graphic(file, graph, x, y, z, resolution [, angle, size, flags [, region, alpha,
/// fxmode [, fxcolor, fxintensity]]]), or with every transform: file, graph, x, y, z, resolution,
/// angle, size_x, size_y, shear_x, shear_y, tfmorder, flags, region, alpha, fxmode [, fxcolor,
/// fxintensity]. The graph with its pivot at (x, y), both divided by a resolution above 0.
int32_t ORB_screen_draw_graphic() {
  const script_call call{"SCREEN_DRAW_GRAPHIC"};
  graphic_arguments a = pop_graphic_arguments();
  __ORBSurface2D__ *source = check_source(call, a.file, a.graph, a.tail, a.region_position);
  if (!source) return call.fail();
  if (a.resolution > 0) {
    a.x /= a.resolution;
    a.y /= a.resolution;
  }
  __ORBBlit2D__ *request = screen_request(source, a.x, a.y, a.z, a.tail);
  if (!request) return call.fail();
  request->resolution = a.resolution;
  set_transform(*request, a.transform);
  request->blit_op = choose_blit_operation(*request);
  return call.done(1);
}

/// screen_draw_block(file, graph, x, y, z, block_x, block_y, block_w, block_h, tail): a rectangle
/// of the graph, its top left corner at (x, y).
int32_t ORB_screen_draw_block() {
  const script_call call{"SCREEN_DRAW_BLOCK"};
  const blit_tail tail = pop_tail(9);
  const blit_block block = pop_block();
  auto [file, graph, x, y, z] = pop_ints<5>();
  __ORBSurface2D__ *source = check_source(call, file, graph, tail, 11);
  if (!source) return call.fail();
  __ORBBlit2D__ *request = screen_request(source, x, y, z, tail);
  if (!request) return call.fail();
  set_block(*request, block);
  request->blit_op = device2D.ORBGI2D_BlitBlock;
  return call.done(1);
}

/// screen_draw_tile(file, graph, x, y, z, tail): repeats the graph over the region, one copy with
/// its pivot at (x, y).
int32_t ORB_screen_draw_tile() {
  const script_call call{"SCREEN_DRAW_TILE"};
  const blit_tail tail = pop_tail(5);
  auto [file, graph, x, y, z] = pop_ints<5>();
  __ORBSurface2D__ *source = check_source(call, file, graph, tail, 7);
  if (!source) return call.fail();
  __ORBBlit2D__ *request = screen_request(source, x, y, z, tail);
  if (!request) return call.fail();
  request->blit_op = device2D.ORBGI2D_BlitTile;
  return call.done(1);
}
