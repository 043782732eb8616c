// Presentation: the finished screen, converted to the display's depth and copied into `buffer`.
#pragma once

#include "orb/graphics2d.h"

/// The output surface: wraps the pixels of the display surface.
extern __ORBSurface2D__ *buffer;
/// Presents the screen on the display; never null once init has run, and does nothing while no
/// display is open.
extern void (*VID_DrawFrame)();
/// What it does while no display is open.
void present_nothing();

/// Copies `screen` to `buffer`; `type` 1 completely, 0 only the frame zones where that is enough.
using present_routine = void(int32_t type);
/// The presentation for the mode and the filters in force.
extern present_routine *draw_screen;
/// What the display holds: 0 a plain copy, else the number of the filter that wrote it: 5 times the
/// scale kind plus the scan-line index, or 15 for a virtual resolution. A nonzero status makes the
/// next plain copy complete.
extern int32_t filter_status;
/// The filter_status of a display that was just opened or whose colours changed.
inline constexpr int32_t filter_status_stale = -1;
/// Row strides of screen and buffer in pixels, set by every presentation before it copies.
extern int32_t scr_pitch, buf_pitch;

/// The presentation for a mode depth, a display depth and the filters in force; null when there is
/// none.
present_routine *find_present_routine(int32_t mode_depth, int32_t display_depth);

/// Chooses draw_screen, clear_screen and draw_ground for the depths in force, and the row routines
/// (video/rows.h) for the CPU. 0 when there is no routine for them (after a fatal report; the old
/// routines stay).
int32_t set_screen_routines();
/// Re-packs the screen colour when the depth changed.
void set_screen_color();
/// 1 once a script has set a screen colour.
extern uint8_t screen_color_set;
/// Its components, to pack it again at another depth.
extern orb_rgb screen_color_rgb;
