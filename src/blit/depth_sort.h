// Depth order of a blit list.
#pragma once

#include "orb/graphics2d.h"

/// Writes the requests of a list (at least one) into its order: descending z, equal z in list
/// order. O(n) for a list already in order, O(n log n) otherwise.
void sort_by_depth(orb_blit_list &list);
/// Frees the scratch memory kept between frames.
void free_sort_scratch();
