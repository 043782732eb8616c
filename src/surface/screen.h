// The screen as drawing code sees it: the current mode, its two surfaces, and what a frame is
// restored from.
#pragma once

#include "orb/graphics2d.h"

/// The current mode. Written by the script functions on modes, video/mode.cpp and
/// the display; while `changing` is set, the surfaces and tables may be those of another mode.
extern orb_mode mode;

/// The background and the back buffer, both of the mode's size and depth; null before the first
/// set-mode. Owned by the video device; `device2D` users draw on them through requests.
extern __ORBSurface2D__ *ground, *screen;
/// 1 when the ground holds a picture, so that frames are restored from it instead of cleared.
/// Written by mark_ground; cleared by ORBGI2D_ClearScreen.
extern uint8_t ground_puting;
/// 1 when the ground or the screen colour has changed since the last restore: the next one repaints
/// the whole screen and resets this.
extern uint8_t background_changed;
/// Call after drawing on `surface`: if it is the ground, frames are restored from it from now on,
/// and the next one completely.
inline void mark_ground(const __ORBSurface2D__ *surface) {
  if (surface == ground) ground_puting = background_changed = 1;
}
/// Colour that clears the screen, in the mode's pixel format. Written by the screen functions.
extern uint32_t screen_color;
