// Script functions that make single graphs and put pixels on them.
#include "formats/codec.h"
#include "module/script_call.h"
#include "script/handlers.h"
#include "script/pixels.h"
#include "surface/registry.h"
#include "surface/surface.h"
#include "video/video.h"

namespace {

struct new_map_arguments {
  int32_t width, height;
  int32_t centre_x, centre_y;
  bool centre_given;
  uint32_t colour, alpha;
};

new_map_arguments fetch_new_map_arguments() {
  const int32_t count = rt_param_count();
  new_map_arguments arguments{};
  arguments.centre_given = count >= 5;
  if (count == 4 || count == 6) arguments.alpha = rt_pop_uint();
  if (count >= 3) arguments.colour = rt_pop_uint();
  if (arguments.centre_given) {
    arguments.centre_y = rt_pop_int();
    arguments.centre_x = rt_pop_int();
  }
  arguments.height = rt_pop_int();
  arguments.width = rt_pop_int();
  if (!arguments.centre_given) {
    arguments.centre_x = arguments.width / 2;
    arguments.centre_y = arguments.height / 2;
  }
  return arguments;
}

bool side_ok(int32_t side) {
  return side >= 1 && side <= 65535;
}

/// Reports the first argument that won't do.
bool check_new_map(const script_call &call, const new_map_arguments &a) {
  const auto refuse = [&call](script_error error, int32_t position, int32_t value) {
    call.bad(error, position, value);
    return false;
  };
  if (!side_ok(a.width)) return refuse(error_size, 1, a.width);
  if (!side_ok(a.height)) return refuse(error_size, 2, a.height);
  // QUIRK: in the shorter forms the colour is argument 3, but 5 is reported for every form.
  // Intended.
  if (!check_colour(call, a.colour, 5)) return false;
  if (a.centre_x < 0 || a.centre_x >= a.width) return refuse(error_centre, 3, a.centre_x);
  if (a.centre_y < 0 || a.centre_y >= a.height) return refuse(error_centre, 4, a.centre_y);
  return a.alpha < 2;
}

} // namespace

/// map_new(width, height [, centre x, centre y] [, colour [, alpha]]): a new graph of library 0
/// at the screen's depth, filled with the colour. A centre that is given becomes a defined control
/// point 0; without one the pivot is the middle and no control point is defined. Its code, or the
/// failure value.
int32_t ORB_map_new() {
  const script_call call{"MAP_NEW"};
  const new_map_arguments arguments = fetch_new_map_arguments();
  if (!check_new_map(call, arguments)) return call.fail();
  const int32_t code = GetMAPCode(0);
  if (!code) return call.fail();

  const bool clear = arguments.colour == 0;
  __ORBSurface2D__ *surface = device2D.ORBGI2D_CreateGFXSurface(arguments.width, arguments.height,
                                                                mode.bpp, uint8_t(clear));
  if (!surface) {
    call.bad(error_out_of_memory, 1, arguments.width);
    return call.fail();
  }
  if (!clear) device2D.ORBGI2D_BlitFill(surface, arguments.colour, 0);
  surface->alpha_channel = arguments.alpha != 0;
  surface->cpoints[0] = uint32_t(arguments.centre_x);
  surface->cpoints[1] = uint32_t(arguments.centre_y);
  surface->cpoints[2] = surface->has_cpoints = arguments.centre_given;

  orb_map_slot &slot = fpg[0].slots[code];
  slot.code = code;
  slot.id = 1;
  slot.description[0] = slot.name[0] = '\0';
  slot.surface = surface;
  account_graph(code, 616, img_format_map);
  return call.done(code);
}

/// map_put_pixel(file, graph, x, y, colour [, mode]): sets one pixel of a graph; outside it nothing
/// happens. `mode` must be 0 or 1, and both do the same. 1, or the failure value for a bad graph,
/// colour or mode.
int32_t ORB_map_put_pixel() {
  const script_call call{"MAP_PUT_PIXEL"};
  const int32_t pixel_mode = rt_param_count() > 5 ? rt_pop_int() : 0;
  auto [file, graph, x, y, colour] = pop_args<int32_t, int32_t, int32_t, int32_t, uint32_t>();
  orb_map_slot *slot = check_graph(call, file, graph);
  if (!slot || !check_colour(call, colour, 5)) return call.fail();
  if (pixel_mode != 0 && pixel_mode != 1) return call.fail();
  draw_pixel(slot->surface, x, y, colour, pixel_mode);
  return call.done(1);
}
