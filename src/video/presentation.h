// Presentation: the finished screen, converted to the display's depth and copied into `buffer`.
#pragma once

#include <cstdint>

/// Copies `screen` to `buffer`; `type` 1 completely, 0 only the frame zones where that is enough.
using present_routine = void(int32_t type);
/// The one that the mode and the filters ask for.
extern present_routine *draw_screen;
/// What the display holds: 0 a plain copy, else the number of the filter that wrote it. A nonzero
/// status makes the next plain copy complete.
extern int32_t filter_status;

/// Chooses draw_screen, clear_screen and draw_ground for the depths in force. 0 when there is no
/// routine for them (after a fatal report; the old routines stay).
int32_t set_screen_routines();
/// Re-packs the screen colour when the depth changed.
void set_screen_color();
/// 1 when scripts have set a screen colour.
extern uint8_t screen_color_set;
