// Collision: pixel tests between what processes show.
#pragma once

#include "orb/graphics2d.h"

/// What a pixel test draws into: the picture of the asking process and the candidate's. Null before
/// create_collision_surfaces.
extern __ORBSurface2D__ *proc_surface, *scan_surface;

/// Creates both collision surfaces, 1 x 1 at the mode's depth, in place of any former ones; a
/// failure is reported as 100 under "COLLISION". 1, or 0.
int32_t create_collision_surfaces();
void delete_collision_surfaces();
