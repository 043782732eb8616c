// Single pixels on a surface, by depth.
#pragma once

#include "orb/graphics2d.h"

/// The pixel at (x, y); 0 outside the surface or for null.
uint32_t get_pixel8(const __ORBSurface2D__ *surface, int32_t x, int32_t y);
uint32_t get_pixel16(const __ORBSurface2D__ *surface, int32_t x, int32_t y);
uint32_t get_pixel32(const __ORBSurface2D__ *surface, int32_t x, int32_t y);
/// Draws one pixel if inside; the last argument is ignored. Marks the ground as drawn on.
void draw_pixel8(__ORBSurface2D__ *surface, int32_t x, int32_t y, uint32_t colour, int32_t);
void draw_pixel16(__ORBSurface2D__ *surface, int32_t x, int32_t y, uint32_t colour, int32_t);
void draw_pixel32(__ORBSurface2D__ *surface, int32_t x, int32_t y, uint32_t colour, int32_t);

/// Those of the mode's depth.
extern uint32_t (*get_pixel)(const __ORBSurface2D__ *, int32_t x, int32_t y);
extern void (*draw_pixel)(__ORBSurface2D__ *, int32_t x, int32_t y, uint32_t colour, int32_t);
/// Points both at the routines of a depth.
void set_pixel_routines(int32_t depth);
