// Script functions on the ground, the background of every frame: its pixels, graphs that are put on
// it (whole, transformed, as blocks and as tiles), and pictures that cover it.
//
// Where a call ends in a tail see script/blit_arguments.h. What puts a graph returns 1 when
// something was drawn, else 0, or the failure value after reporting a bad graph (109, 110, 111,
// 121) or region (108 at its position).
#include "formats/codec.h"
#include "raster/pixels.h"
#include "script/blit_arguments.h"
#include "script/checks.h"
#include "script/handlers.h"
#include "script/script_call.h"
#include "surface/registry.h"
#include "surface/screen.h"

// ---- Pixels ------------------------------------------------------------------------------------

/// ground_put_pixel(x, y, colour [, mode]): sets one pixel of the ground; outside it nothing
/// happens. `mode` must be 0 or 1, and both do the same. 1, or the failure value for a bad
/// colour or mode.
int32_t ORB_ground_put_pixel() {
  const script_call call{"GROUND_PUT_PIXEL"};
  const int32_t pixel_mode = rt_param_count() > 3 ? rt_pop_int() : 0;
  auto [x, y, colour] = pop_args<int32_t, int32_t, uint32_t>();
  if (!check_colour(call, colour, 3)) return call.fail();
  if (pixel_mode != 0 && pixel_mode != 1) return call.fail();
  draw_pixel(ground, x, y, colour, pixel_mode);
  return call.done(1);
}

/// ground_get_pixel(x, y): the pixel of the ground as it stands there, 0 outside.
int32_t ORB_ground_get_pixel() {
  const script_call call{"GROUND_GET_PIXEL"};
  auto [x, y] = pop_args<int32_t, int32_t>();
  return call.done(int32_t(get_pixel(ground, x, y)));
}

/// screen_clear(): fills the ground with the screen colour and forgets its picture. 1.
int32_t ORB_screen_clear() {
  const script_call call{"SCREEN_CLEAR"};
  return call.done(device2D.ORBGI2D_ClearScreen());
}

// ---- Graphs ------------------------------------------------------------------------------------

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

// ---- Pictures over the whole ground ------------------------------------------------------------

namespace {

/// Clears the ground and puts the picture on it, zeros included, its middle at the ground's middle.
/// 1, or 0 when nothing was drawn.
int32_t cover_ground(__ORBSurface2D__ *picture) {
  constexpr int32_t nokey = 8;
  if (!ground) return 0;
  device2D.ORBGI2D_ClearScreen();
  __ORBBlit2D__ &request = bltGraphics2D;
  request.owner = nullptr;
  // As a block, since the pivot of the picture may be anywhere.
  request.x = int32_t(ground->width / 2) - int32_t(picture->width / 2);
  request.y = int32_t(ground->height / 2) - int32_t(picture->height / 2);
  request.block_x = request.block_y = 0;
  request.block_w = int32_t(picture->width);
  request.block_h = int32_t(picture->height);
  // All of the ground, however small a program has made region 0; blits on it need a region.
  request.region = 0;
  request.own_region = 1;
  request.own_region_x0 = request.own_region_y0 = 0;
  request.own_region_x1 = int32_t(ground->width) - 1;
  request.own_region_y1 = int32_t(ground->height) - 1;
  request.flags = nokey;
  request.alpha = 255;
  request.fxmode = 0;
  request.fxcolor = 0;
  request.fxintensity = 0;
  request.src = picture;
  request.dst = ground;
  return device2D.ORBGI2D_BlitBlock(&request);
}

} // namespace

/// ground_put_screen(file, graph), put_screen(...): clears the ground and puts the graph on it,
/// zeros included, its middle at the ground's middle; what is larger than the ground is cut off on
/// all sides.
int32_t ORB_ground_put_screen() {
  const script_call call{"GROUND_PUT_SCREEN"};
  auto [file, graph] = pop_args<int32_t, int32_t>();
  const orb_map_slot *slot = check_graph(call, file, graph);
  return slot ? call.done(cover_ground(slot->surface)) : call.fail();
}

/// screen_load(file name [, key]): covers the ground with a picture of any known format, as
/// ground_put_screen does, and keeps no graph of it. 1, or the failure value: after reporting 143
/// for a file that no codec takes, or whatever map_load or image_load, which do the work, report.
int32_t ORB_screen_load() {
  const script_call call{"SCREEN_LOAD"};
  const int32_t given = rt_param_count();
  const char *key = given > 1 ? rt_pop_string() : nullptr;
  const char *filename = rt_pop_string();
  if (!filename) filename = "";
  const image_codec *codec = probe_image(filename, key);
  if (!codec) {
    call.bad(error_open, 1, filename);
    return call.fail();
  }
  rt_unpop_params(given > 1 ? 2 : 1);
  if (codec->format == img_format_map)
    ORB_map_load();
  else
    ORB_image_load();
  const int32_t code = rt_take_return();
  const orb_map_slot *slot = GetMAP(0, code);
  if (!slot || !slot->surface) return call.fail();
  cover_ground(slot->surface);
  unload_graphs(code, [](int32_t) { return true; });
  return call.done(1);
}
