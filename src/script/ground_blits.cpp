// Script functions that put graphs on the ground: whole, transformed, as blocks and as tiles.
//
// Where a call ends in a tail see script/blit_arguments.h. Each returns 1 when something was drawn,
// else 0, or the failure value after reporting a bad graph (109, 110, 111, 121) or region (108 at
// its position).
#include "blit/blit.h"
#include "script/blit_arguments.h"
#include "script/ground_cover.h"
#include "script/handlers.h"
#include "surface/surface.h"

namespace {

/// Checks graph and region and fills the shared request for the ground; null after reporting. The
/// region stands second in a tail after `own` arguments.
__ORBBlit2D__ *ground_request(const script_call &call, int32_t file, int32_t graph, int32_t x,
                              int32_t y, const blit_tail &tail, int32_t own) {
  __ORBSurface2D__ *source = check_source(call, file, graph, tail, own + 2);
  if (!source) return nullptr;
  fill_request(bltGraphics2D, source, x, y, tail);
  bltGraphics2D.dst = ground;
  return &bltGraphics2D;
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
  orb_blit_operation *draw = set_transform(*request, {.angle = angle, .size = size});
  return call.done(draw(request));
}

/// ground_xxput(file, graph, x, y, angle, size_x, size_y, shear_x, shear_y, tfmorder, tail): with
/// every transform.
int32_t ORB_ground_xxput() {
  const script_call call{"GROUND_XXPUT"};
  const blit_tail tail = pop_tail(10);
  const blit_transform transform = pop_transform();
  auto [file, graph, x, y] = pop_args<int32_t, int32_t, int32_t, int32_t>();
  __ORBBlit2D__ *request = ground_request(call, file, graph, x, y, tail, 10);
  if (!request) return call.fail();
  orb_blit_operation *draw = set_transform(*request, transform);
  return call.done(draw(request));
}

/// ground_put_block(file, graph, x, y, block_x, block_y, block_w, block_h, tail): a rectangle of
/// the graph, its top left corner at (x, y).
int32_t ORB_ground_put_block() {
  const script_call call{"GROUND_PUT_BLOCK"};
  const blit_tail tail = pop_tail(8);
  const blit_block block = pop_block();
  auto [file, graph, x, y] = pop_args<int32_t, int32_t, int32_t, int32_t>();
  __ORBBlit2D__ *request = ground_request(call, file, graph, x, y, tail, 8);
  if (!request) return call.fail();
  orb_blit_operation *draw = set_block(*request, block);
  return call.done(draw(request));
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

/// ground_put_screen(file, graph), put_screen(...): clears the ground and puts the graph on it,
/// zeros included, its middle at the ground's middle; what is larger than the ground is cut off on
/// all sides.
int32_t ORB_ground_put_screen() {
  const script_call call{"GROUND_PUT_SCREEN"};
  auto [file, graph] = pop_args<int32_t, int32_t>();
  const orb_map_slot *slot = check_graph(call, file, graph);
  return slot ? call.done(cover_ground(slot->surface)) : call.fail();
}
