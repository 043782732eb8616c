// Single pixels on a surface, by depth.
#pragma once

#include "orb/graphics2d.h"

using get_pixel_routine = uint32_t(const __ORBSurface2D__ *surface, int32_t x, int32_t y);
using draw_pixel_routine = void(__ORBSurface2D__ *surface, int32_t x, int32_t y, uint32_t colour,
                                int32_t);

/// The pixel at (x, y); 0 outside the surface or for null.
extern get_pixel_routine &get_pixel8, &get_pixel16, &get_pixel32;
/// Draws one pixel if inside; the last argument is ignored. Marks the ground as drawn on.
extern draw_pixel_routine &draw_pixel8, &draw_pixel16, &draw_pixel32;

/// Those of the mode's depth.
extern get_pixel_routine *get_pixel;
extern draw_pixel_routine *draw_pixel;
/// Points both at the routines of a depth.
void set_pixel_routines(int32_t depth);
