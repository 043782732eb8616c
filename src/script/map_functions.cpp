// Script functions that put pixels on single graphs.
#include "raster/pixels.h"
#include "script/handlers.h"
#include "script/script_call.h"

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
