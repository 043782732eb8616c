// Depth order of a blit list.
#pragma once

#include "orb/graphics2d.h"

/// Fills the order of a list with its requests, one at least: descending z, equal z in list order.
/// O(n) for a list that is in order already, O(n log n) for any other.
void sort_by_depth(orb_blit_list &list);
/// Frees what the sort keeps between frames.
void free_sort_scratch();
