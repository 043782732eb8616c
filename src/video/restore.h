// Restore: the background comes back where the last frame has drawn.
#pragma once

#include <cstdint>

/// A restore routine brings back the background: everything when `type` is 1, a fade runs or the
/// last frame was complete, else each zone.
using restore_routine = void(int32_t type);
restore_routine clear_screen_8bits, clear_screen_16bits, clear_screen_32bits;
restore_routine clear_screen_color_8bits, clear_screen_color_16bits, clear_screen_color_32bits;
restore_routine draw_ground_8bits, draw_ground_16bits, draw_ground_32bits;
/// The ones of the current depth; set by set_screen_routines.
extern restore_routine *clear_screen, *draw_ground;
