// Frame presentation: restore the background, draw the list, hand the screen to the display, and
// remember as frame zones what was touched.
//
// `framezones` are built at the end of a frame and consumed by the next frame's restore and
// presentation; only video/zones.cpp and draw_frame write them.
#pragma once

#include "orb/graphics2d.h"

struct orb_frame_zone {
  int32_t x0, y0, x1, y1;  // inclusive, screen pixels
  int32_t w, h;
};

inline constexpr int32_t max_framezones = 128;
extern orb_frame_zone framezones[max_framezones];
extern int32_t num_framezones;
extern orb_frame_zone *pframezones;  // last touched
/// 1: restore and presentation treat the whole screen as dirty.
extern uint8_t complete_frame;

/// Script values of this frame, read by the frame hook: 0 partial, 1 complete, restore -1 none.
extern int32_t dump_type, restore_type;
/// The previous frame's values.
extern int32_t old_dump_type, old_restore_type;
/// Requests in this frame's list.
extern int32_t num_blits2D;

/// The box of a drawn request (absolute values of its drawn box).
orb_frame_zone zone_of(const __ORBBlit2D__ *request);
/// Whether a request that has run left pixels on the screen; on any other surface they need no zone.
bool marks_screen(const __ORBBlit2D__ *request);
/// Whether a box is at least as large as the screen.
bool covers_screen(const orb_frame_zone &box);
/// Adds a box to the zones: it widens the last zone that it touches, else becomes a new one. False
/// when a new zone is needed and 128 are in use.
bool accumulate_zone(const orb_frame_zone &box);
/// Rebuilds the zones from the drawn boxes of the current list, in drawing order.
void update_frame_zones();

void draw_frame();

/// A restore routine brings back the background: everything when `type` is 1, a fade runs or the
/// last frame was complete, else each zone.
using restore_routine = void(int32_t type);
restore_routine clear_screen_8bits, clear_screen_16bits, clear_screen_32bits;
restore_routine clear_screen_color_8bits, clear_screen_color_16bits, clear_screen_color_32bits;
restore_routine draw_ground_8bits, draw_ground_16bits, draw_ground_32bits;
/// The ones of the current depth; set by set_screen_routines.
extern restore_routine *clear_screen, *draw_ground;
