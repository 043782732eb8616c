// A picture as the background.
#pragma once

#include "orb/graphics2d.h"

/// Clears the ground and puts the picture on it, zeros included, its middle at the ground's middle.
/// 1, or 0 when nothing was drawn.
int32_t cover_ground(__ORBSurface2D__ *picture);
