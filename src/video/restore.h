// Restore: the background comes back where the last frame has drawn.
#pragma once

#include <cstdint>

/// A restore routine brings back the background: everything when `type` is 1, a fade runs or the
/// last frame was complete, else each zone.
using restore_routine = void(int32_t type);
// Filling with black, with `screen_color`, and with the picture on the ground.
extern restore_routine *const clear_screen_8bits, *const clear_screen_16bits,
                                                      *const clear_screen_32bits;
extern restore_routine *const clear_screen_color_8bits, *const clear_screen_color_16bits,
                                                            *const clear_screen_color_32bits;
extern restore_routine *const draw_ground_8bits, *const draw_ground_16bits,
                                                     *const draw_ground_32bits;

/// Those of the depth in force.
extern restore_routine *clear_screen, *draw_ground;
/// Sets them, clear_screen by whether scripts have set a screen colour.
void set_restore_routines(int32_t depth, bool coloured);
