// The screen, as everything that draws on it sees it: the mode in force, the two surfaces that are
// made for it, and what a frame is restored from.
#pragma once

#include "orb/graphics2d.h"

/// The record of the mode in force. Written by the script functions on modes, video/mode.cpp and
/// the display; while `changing` is set, the surfaces and tables may be those of another mode.
extern orb_mode mode;

/// The background and the back buffer, both of the mode's size and depth; null before the first
/// set-mode. Owned by the video device; `device2D` users draw on them through requests.
extern __ORBSurface2D__ *ground, *screen;
/// 1 when the ground holds a picture, so that frames are restored from it instead of cleared.
/// Written by mark_ground; cleared by ORBGI2D_ClearScreen.
extern uint8_t ground_puting;
/// 1 when the background differs from what the screen was last restored from: the next restore
/// repaints all of it. Set with every change of the ground and of the screen colour; cleared by the
/// frame that repaints.
extern uint8_t background_changed;
/// To be called by whatever has drawn on `surface`: should that be the ground, frames are restored
/// from it from now on, and the next one from all of it.
inline void mark_ground(const __ORBSurface2D__ *surface) {
  if (surface == ground) ground_puting = background_changed = 1;
}
/// Colour that clears the screen, in the mode's pixel format. Written by the screen functions.
extern uint32_t screen_color;
