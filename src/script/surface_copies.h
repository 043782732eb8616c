// Copies from the ground or the screen onto a graph, with nothing left out and nothing blended.
#pragma once

#include "orb/graphics2d.h"

/// Copies the top left rectangle that both surfaces have. False, and nothing copied, when they
/// differ in depth or one has no pixels.
bool copy_corner(const __ORBSurface2D__ *from, __ORBSurface2D__ *to);

/// Draws the part of `from` that lies in a box, stretched to w x h, with its top left corner at
/// (x, y) of `to` and clipped to it. Each pixel is the source pixel under its middle. Returns
/// whether any was drawn: sizes below 1 draw nothing, and so does a box outside `from`. Both
/// surfaces have pixels of one depth.
bool stretch_copy(const __ORBSurface2D__ *from, const __ORBRegion__ &box, __ORBSurface2D__ *to,
                  int32_t x, int32_t y, int32_t w, int32_t h);
