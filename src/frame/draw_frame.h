// One frame: restore the background, draw the list, hand the screen to the display, and remember as
// frame zones what was touched.
#pragma once

#include "orb/graphics2d.h"

/// Requests in this frame's list.
extern int32_t num_blits2D;

/// Draws the current blit list and empties it. Without a screen it only empties the list.
void draw_frame();
