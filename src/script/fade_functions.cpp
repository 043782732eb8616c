// Script functions that start fades.
#include "script/handlers.h"
#include "script/script_call.h"
#include "video/fades.h"
#include "video/mode.h"

/// screen_fade(red, green, blue, speed), fade(...): percentages 0..200 and 64ths of the way a
/// frame. 1, or 0 when that is the target already.
int32_t ORB_screen_fade() {
  const auto [r, g, b, speed] = pop_args<int32_t, int32_t, int32_t, int32_t>();
  return rt_return(start_fade(r, g, b, speed));
}

/// screen_fade_in(), fade_on(): to the normal picture.
int32_t ORB_screen_fade_in() {
  return rt_return(start_fade(100, 100, 100, 8));
}

/// screen_fade_out(), fade_off(): to black, finished when it returns. 0 when black already.
int32_t ORB_screen_fade_out() {
  if (!start_fade(0, 0, 0, 8)) {
    *fading = 0;
    return rt_return(0);
  }
  while (*fading)
    update_fade();
  VID_DrawFrame();
  return rt_return(1);
}
