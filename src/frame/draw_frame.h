// Frame presentation: restore the background, draw the list, hand the screen to the display, and
// remember as frame zones what was touched.
//
// `framezones` are built at the end of a frame and consumed by the next frame's restore and
// presentation; only video/zones.cpp and draw_frame write them.
#pragma once

#include "orb/graphics2d.h"

/// Requests in this frame's list.
extern int32_t num_blits2D;

void draw_frame();
