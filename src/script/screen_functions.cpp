// Script functions on the screen: its pixels, its clear colour, its fades and the frame rate.
#include <algorithm>

#include "raster/pixels.h"
#include "script/checks.h"
#include "script/handlers.h"
#include "script/script_call.h"
#include "surface/nearest_colour.h"
#include "surface/palette.h"
#include "surface/screen.h"
#include "video/fades.h"
#include "video/presentation.h"

namespace {

/// Packs components to a colour of the mode; in 8-bit modes the nearest palette entry.
uint32_t pack(orb_rgb c) {
  if (mode.bpp != 8) return device2D.set_rgb(c.r, c.g, c.b);
  return palette ? find_nearest(palette, c.r, c.g, c.b) : 0;
}

orb_rgb unpack(uint32_t colour) {
  if (mode.bpp == 8) return palette ? palette->colours[colour & 255] : orb_rgb{};
  int32_t r = 0, g = 0, b = 0;
  device2D.get_rgb(colour, &r, &g, &b);
  return {uint8_t(r), uint8_t(g), uint8_t(b)};
}

/// Sets the clear colour and makes the next frame repaint the whole screen.
void take_screen_colour(uint32_t colour, orb_rgb components) {
  screen_color = colour;
  screen_color_rgb = components;
  screen_color_set = 1;
  if (buffer) set_screen_routines();
  background_changed = 1;
}

} // namespace

/// screen_get_pixel(x, y): a pixel of the last frame, 0 outside the screen.
int32_t ORB_screen_get_pixel() {
  const script_call call{"SCREEN_GET_PIXEL"};
  auto [x, y] = pop_ints<2>();
  return call.done(int32_t(get_pixel(screen, x, y)));
}

/// screen_set_color(colour) or screen_set_color(red, green, blue), components of 0..255: sets
/// the colour that clears the screen. It is packed again when the depth changes. 1, or the failure
/// value for a colour outside the mode's range (reports 154 in 8-bit modes).
int32_t ORB_screen_set_color() {
  const script_call call{"SCREEN_SET_COLOR"};
  if (rt_param_count() >= 3) {
    auto [r, g, b] = pop_ints<3>();
    const auto component = [](int32_t value) { return uint8_t(std::clamp(value, 0, 255)); };
    const orb_rgb components = {component(r), component(g), component(b)};
    take_screen_colour(pack(components), components);
    return call.done(1);
  }
  const uint32_t colour = rt_pop_uint();
  if (!check_colour(call, colour, 1)) return call.fail();
  take_screen_colour(colour, unpack(colour));
  return call.done(1);
}

/// screen_get_color(): the colour that clears the screen, 0 at first. screen_get_color(&red,
/// &green, &blue): its components as given, and 1; null pointers are skipped.
int32_t ORB_screen_get_color() {
  const script_call call{"SCREEN_GET_COLOR"};
  if (rt_param_count() < 3) return call.done(int32_t(screen_color));
  auto [r, g, b] = pop_args<int32_t *, int32_t *, int32_t *>();
  if (r) *r = screen_color_rgb.r;
  if (g) *g = screen_color_rgb.g;
  if (b) *b = screen_color_rgb.b;
  return call.done(1);
}

// ---- Fades and the frame rate -------------------------------------------------------------------

/// screen_fade(red, green, blue, speed), fade(...): fades to percentages 0..200, at `speed` 64ths
/// of the way per frame. 1, or 0 when that is the target already.
int32_t ORB_screen_fade() {
  const auto [r, g, b, speed] = pop_ints<4>();
  return rt_return(start_fade(r, g, b, speed));
}

/// screen_fade_in(), fade_on(): fades to the normal picture.
int32_t ORB_screen_fade_in() { return rt_return(start_fade(100, 100, 100, 8)); }

/// screen_fade_out(), fade_off(): fades to black before it returns. 0 when already black.
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

/// set_fps(fps, skip): sets the host's frames per second (0 no limit, at most 1000) and how many
/// frames in a row it may skip (0..100). Always 1.
int32_t ORB_set_fps() {
  const auto [fps, skip] = pop_ints<2>();
  host_timing_set_fps(fps < 0 ? 1 : std::min(fps, 1000), std::clamp(skip, 0, 100));
  return rt_return(1);
}
