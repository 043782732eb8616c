// rgb, rgbx, rgba, get_rgb, get_rgba.
//
// Colours of 8-bit modes are palette indices: there all five return 0, and palette_find_color does
// the work.
#include "script/handlers.h"
#include "script/script_call.h"
#include "surface/screen.h"

namespace {

/// Whether the mode's colours have components and this is one of them.
bool has_components(uint32_t colour) {
  return mode.bpp == 32 || (mode.bpp == 16 && colour <= 0xFFFF);
}

} // namespace

int32_t ORB_rgb() {
  auto [r, g, b] = pop_ints<3>();
  return rt_return(mode.bpp == 8 ? 0 : int32_t(device2D.set_rgb(r, g, b)));
}

int32_t ORB_rgbx() {
  auto [r, g, b] = pop_ints<3>();
  return rt_return(mode.bpp == 8 ? 0 : int32_t(device2D.set_rgbx(r, g, b)));
}

int32_t ORB_rgba() {
  auto [r, g, b, a] = pop_ints<4>();
  return rt_return(mode.bpp == 8 ? 0 : int32_t(device2D.set_rgba(r, g, b, a)));
}

/// 1, or 0 with the targets unchanged for a colour that is not one of the mode's.
int32_t ORB_get_rgb() {
  auto [colour, r, g, b] = pop_args<uint32_t, int32_t *, int32_t *, int32_t *>();
  return rt_return(has_components(colour) ? device2D.get_rgb(colour, r, g, b) : 0);
}

int32_t ORB_get_rgba() {
  auto [colour, r, g, b, a] = pop_args<uint32_t, int32_t *, int32_t *, int32_t *, int32_t *>();
  return rt_return(has_components(colour) ? device2D.get_rgba(colour, r, g, b, a) : 0);
}
