// Script functions that put graphs on the ground: whole, transformed, as blocks and as tiles.
//
// All end in one tail, of which a call gives none, one, two or three pairs: flags and region, alpha
// and fxmode, fxcolor and fxintensity. What is missing is flags 0, region 0, alpha 255, fxmode 0.
// Each returns 1 when something was drawn, else 0, or the failure value after reporting a bad graph
// (109, 110, 111, 121) or region (108 at its position).
#include "blit/blit.h"
#include "frame/process_scan.h"
#include "module/script_call.h"
#include "script/handlers.h"
#include "surface/registry.h"
#include "surface/surface.h"

namespace {

struct blit_tail {
  int32_t flags = 0, region = 0;
  int32_t alpha = 255, fxmode = 0;
  uint32_t fxcolor = 0;
  int32_t fxintensity = 0;
};

/// Fetches the tail of a call whose own arguments are `own` in number.
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

/// Checks graph and region and fills the shared request for the ground; null after reporting.
__ORBBlit2D__ *ground_request(const script_call &call, int32_t file, int32_t graph, int32_t x,
                              int32_t y, const blit_tail &tail, int32_t own) {
  const orb_map_slot *slot = check_graph(call, file, graph);
  if (!slot) return nullptr;
  if (!RegionExists(tail.region)) return call.bad(error_region, own + 2, tail.region);

  __ORBBlit2D__ &request = bltGraphics2D;
  request.owner = nullptr;
  request.x = x;
  request.y = y;
  request.region = tail.region;
  request.own_region = 0;
  request.flags = tail.flags;
  request.alpha = tail.alpha;
  request.fxmode = tail.fxmode;
  request.fxcolor = tail.fxcolor;
  request.fxintensity = tail.fxintensity;
  request.src = slot->surface;
  request.dst = ground;
  return &request;
}

} // namespace

/// ground_put(file, graph, x, y): the graph with its pivot at (x, y).
int32_t ORB_ground_put() {
  const script_call call{"GROUND_PUT"};
  auto [file, graph, x, y] = pop_args<int32_t, int32_t, int32_t, int32_t>();
  __ORBBlit2D__ *request = ground_request(call, file, graph, x, y, {}, 4);
  return request ? call.done(device2D.ORBGI2D_Blit(request)) : call.fail();
}

/// ground_xput(file, graph, x, y, angle, size, flags, region): turned and scaled.
int32_t ORB_ground_xput() {
  const script_call call{"GROUND_XPUT"};
  const blit_tail tail = pop_tail(6);
  auto [file, graph, x, y, angle, size] =
      pop_args<int32_t, int32_t, int32_t, int32_t, int32_t, int32_t>();
  __ORBBlit2D__ *request = ground_request(call, file, graph, x, y, tail, 6);
  if (!request) return call.fail();
  request->angle = angle % 360000;
  request->size = size;
  request->size_x = request->size_y = 100;
  request->shear_x = request->shear_y = 0;
  request->tfmorder = 0;
  orb_blit_operation *draw = choose_blit_operation(request->angle != 0, size != 100, false);
  return call.done(draw(request));
}

/// ground_xxput(file, graph, x, y, angle, size_x, size_y, shear_x, shear_y, tfmorder, tail): with
/// every transform.
int32_t ORB_ground_xxput() {
  const script_call call{"GROUND_XXPUT"};
  const blit_tail tail = pop_tail(10);
  auto [file, graph, x, y, angle, size_x, size_y, shear_x, shear_y, tfmorder] =
      pop_args<int32_t, int32_t, int32_t, int32_t, int32_t, int32_t, int32_t, int32_t, int32_t,
               int32_t>();
  __ORBBlit2D__ *request = ground_request(call, file, graph, x, y, tail, 10);
  if (!request) return call.fail();
  request->angle = angle % 360000;
  request->size = 100;
  request->size_x = size_x;
  request->size_y = size_y;
  request->shear_x = shear_x;
  request->shear_y = shear_y;
  request->tfmorder = tfmorder;
  orb_blit_operation *draw = choose_blit_operation(
      request->angle != 0, size_x != 100 || size_y != 100, shear_x != 0 || shear_y != 0);
  return call.done(draw(request));
}

/// ground_put_block(file, graph, x, y, block_x, block_y, block_w, block_h, tail): a rectangle of
/// the graph, its top left corner at (x, y).
int32_t ORB_ground_put_block() {
  const script_call call{"GROUND_PUT_BLOCK"};
  const blit_tail tail = pop_tail(8);
  auto [file, graph, x, y, block_x, block_y, block_w, block_h] =
      pop_args<int32_t, int32_t, int32_t, int32_t, int32_t, int32_t, int32_t, int32_t>();
  __ORBBlit2D__ *request = ground_request(call, file, graph, x, y, tail, 8);
  if (!request) return call.fail();
  request->block_x = block_x;
  request->block_y = block_y;
  request->block_w = block_w;
  request->block_h = block_h;
  return call.done(device2D.ORBGI2D_BlitBlock(request));
}

/// ground_put_tile(file, graph, x, y, tail): the graph repeated over the region, one copy with its
/// pivot at (x, y).
int32_t ORB_ground_put_tile() {
  const script_call call{"GROUND_PUT_TILE"};
  const blit_tail tail = pop_tail(4);
  auto [file, graph, x, y] = pop_args<int32_t, int32_t, int32_t, int32_t>();
  __ORBBlit2D__ *request = ground_request(call, file, graph, x, y, tail, 4);
  return request ? call.done(device2D.ORBGI2D_BlitTile(request)) : call.fail();
}
