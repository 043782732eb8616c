// Frame zones: the boxes that a frame has drawn on, and how much of the screen is restored and
// presented by them.
//
// The zones are built at the end of a frame and consumed by the next frame's restore and
// presentation; only video/zones.cpp and draw_frame write them.
#pragma once

#include "orb/graphics2d.h"

struct orb_frame_zone {
  int32_t x0, y0, x1, y1; // inclusive, screen pixels
  int32_t w, h;
};

inline constexpr int32_t max_framezones = 128;
extern orb_frame_zone framezones[max_framezones];
extern int32_t num_framezones;
/// 1: restore and presentation treat the whole screen as dirty.
extern uint8_t complete_frame;
/// 1: a fade recoloured this frame, so all of it is presented, and the next restores all.
extern uint8_t fading_run;

/// Script values of this frame, read by the frame hook: 0 partial, 1 complete, restore -1 none.
extern int32_t dump_type, restore_type;
/// The previous frame's values.
extern int32_t old_dump_type, old_restore_type;

/// The box of a drawn request (absolute values of its drawn box).
orb_frame_zone zone_of(const __ORBBlit2D__ *request);
/// Whether a request that has run left pixels on the screen; on any other surface they need no
/// zone.
bool marks_screen(const __ORBBlit2D__ *request);
/// Whether a box is at least as large as the screen.
bool covers_screen(const orb_frame_zone &box);
/// Adds a box to the zones: it widens the last zone that it touches, else becomes a new one. False
/// when a new zone is needed and 128 are in use.
bool accumulate_zone(const orb_frame_zone &box);
/// Rebuilds the zones from the drawn boxes of the current list, in drawing order.
void update_frame_zones();
