// Script functions on single pixels of the ground, the background of every frame.
#include "raster/pixels.h"
#include "script/handlers.h"
#include "script/script_call.h"
#include "surface/surface.h"

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
