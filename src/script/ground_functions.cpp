// Script functions on the ground, the background of every frame: its pixels, graphs drawn on it
// (whole, transformed, as blocks and as tiles), and pictures that cover it.
//
// For `tail` see script/blit_arguments.h. Functions that draw a graph return 1 when something was
// drawn, else 0, or the failure value after reporting a bad graph (109, 110, 111, 121) or region
// (108 at its position).
#include "formats/codec.h"
#include "raster/pixels.h"
#include "script/blit_arguments.h"
#include "script/checks.h"
#include "script/handlers.h"
#include "script/script_call.h"
#include "surface/registry.h"
#include "surface/screen.h"

// ---- Pixels -------------------------------------------------------------------------------------

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

/// ground_get_pixel(x, y): the pixel of the ground as stored, 0 outside.
int32_t ORB_ground_get_pixel() {
  const script_call call{"GROUND_GET_PIXEL"};
  auto [x, y] = pop_ints<2>();
  return call.done(int32_t(get_pixel(ground, x, y)));
}

/// screen_clear(): fills the ground with the screen colour; it no longer counts as a picture. 1.
int32_t ORB_screen_clear() {
  const script_call call{"SCREEN_CLEAR"};
  return call.done(device2D.ORBGI2D_ClearScreen());
}

// ---- Graphs -------------------------------------------------------------------------------------

namespace {

/// Checks graph and region and fills the shared request for the ground; null after reporting. `own`
/// is the number of arguments before the tail.
__ORBBlit2D__ *ground_request(const script_call &call, int32_t file, int32_t graph, int32_t x,
                              int32_t y, const blit_tail &tail, int32_t own) {
  __ORBSurface2D__ *source = check_source(call, file, graph, tail, own + 2);
  if (!source) return nullptr;
  bltGraphics2D = tail_request(source, ground, x, y, tail);
  return &bltGraphics2D;
}

} // namespace

/// ground_put(file, graph, x, y): the graph with its pivot at (x, y).
int32_t ORB_ground_put() {
  const script_call call{"GROUND_PUT"};
  auto [file, graph, x, y] = pop_ints<4>();
  __ORBBlit2D__ *request = ground_request(call, file, graph, x, y, {}, 4);
  return request ? call.done(device2D.ORBGI2D_Blit(request)) : call.fail();
}

/// ground_xput(file, graph, x, y, angle, size, flags, region): rotated and scaled.
int32_t ORB_ground_xput() {
  const script_call call{"GROUND_XPUT"};
  const blit_tail tail = pop_tail(6);
  auto [file, graph, x, y, angle, size] = pop_ints<6>();
  __ORBBlit2D__ *request = ground_request(call, file, graph, x, y, tail, 6);
  if (!request) return call.fail();
  return call.done(draw_transformed(*request, {.angle = angle, .size = size}));
}

/// ground_xxput(file, graph, x, y, angle, size_x, size_y, shear_x, shear_y, tfmorder, tail): with
/// every transform.
int32_t ORB_ground_xxput() {
  const script_call call{"GROUND_XXPUT"};
  const blit_tail tail = pop_tail(10);
  const blit_transform transform = pop_transform();
  auto [file, graph, x, y] = pop_ints<4>();
  __ORBBlit2D__ *request = ground_request(call, file, graph, x, y, tail, 10);
  return request ? call.done(draw_transformed(*request, transform)) : call.fail();
}

/// ground_put_block(file, graph, x, y, block_x, block_y, block_w, block_h, tail): a rectangle of
/// the graph, its top left corner at (x, y).
int32_t ORB_ground_put_block() {
  const script_call call{"GROUND_PUT_BLOCK"};
  const blit_tail tail = pop_tail(8);
  const blit_block block = pop_block();
  auto [file, graph, x, y] = pop_ints<4>();
  __ORBBlit2D__ *request = ground_request(call, file, graph, x, y, tail, 8);
  return request ? call.done(draw_block(*request, block)) : call.fail();
}

/// ground_put_tile(file, graph, x, y, tail): repeats the graph over the region, one copy with its
/// pivot at (x, y).
int32_t ORB_ground_put_tile() {
  const script_call call{"GROUND_PUT_TILE"};
  const blit_tail tail = pop_tail(4);
  auto [file, graph, x, y] = pop_ints<4>();
  __ORBBlit2D__ *request = ground_request(call, file, graph, x, y, tail, 4);
  return request ? call.done(device2D.ORBGI2D_BlitTile(request)) : call.fail();
}

// ---- Pictures over the whole ground -------------------------------------------------------------

namespace {

/// Clears the ground and draws the picture centred on it, zeros included. 1, or 0 when nothing was
/// drawn.
int32_t cover_ground(__ORBSurface2D__ *picture) {
  constexpr int32_t nokey = 8;
  if (!ground) return 0;
  device2D.ORBGI2D_ClearScreen();
  const int32_t width = int32_t(picture->width), height = int32_t(picture->height);
  __ORBBlit2D__ &request = bltGraphics2D;
  // As a block, because that ignores the pivot.
  request = blank_request(picture, ground, int32_t(ground->width / 2) - width / 2,
                          int32_t(ground->height / 2) - height / 2);
  // Blits on the ground need a region, and region 0 may be smaller than the ground.
  request.region = 0;
  request.own_region = 1;
  request.own_region_x1 = int32_t(ground->width) - 1;
  request.own_region_y1 = int32_t(ground->height) - 1;
  request.flags = nokey;
  return draw_block(request, {0, 0, width, height});
}

} // namespace

/// ground_put_screen(file, graph), put_screen(...): clears the ground and draws the graph centred
/// on it, zeros included, cut to the ground.
int32_t ORB_ground_put_screen() {
  const script_call call{"GROUND_PUT_SCREEN"};
  auto [file, graph] = pop_ints<2>();
  const orb_map_slot *slot = check_graph(call, file, graph);
  return slot ? call.done(cover_ground(slot->surface)) : call.fail();
}

/// screen_load(file name [, key]): covers the ground with a picture file of any known format, as
/// ground_put_screen does, without keeping a graph. 1, or the failure value after reporting 143 for
/// a file that no codec takes, or what map_load or image_load, which do the work, report.
int32_t ORB_screen_load() {
  const script_call call{"SCREEN_LOAD"};
  const int32_t given = rt_param_count();
  const char *key = given > 1 ? rt_pop_string() : nullptr;
  const char *filename = pop_filename();
  const image_codec *codec = probe_image(filename, key);
  if (!codec) return call.refuse(error_open, 1, filename);
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
