// How a process's transform chooses its operation, and its direction the graph that it shows.
#pragma once

#include "orb/graphics2d.h"

/// Thousandths of a degree.
inline constexpr int32_t full_turn = 360000;

/// The operation for a request: what is rotated, scaled or sheared. Taken from the device record,
/// so that a replaced entry is honoured.
orb_blit_operation *choose_blit_operation(bool rotated, bool scaled, bool sheared);

/// Direction graphs: reads the process's `xgraph` array, brings `angle` into 0..359999, and writes
/// `graph` and the mirror bit of `flags`. False when the array says nothing (no entries, above
/// 256).
bool apply_xgraph(orb_locals *locals);
