// The process scan: every visible process that names a loaded graph becomes a blit request.
#pragma once

#include "orb/graphics2d.h"

/// Scans the host's process list into the current blit list.
void do_processes();

/// The operation for a request: what is rotated, scaled or sheared. Taken from the device record,
/// so that a replaced entry is honoured.
orb_blit_operation *choose_blit_operation(bool rotated, bool scaled, bool sheared);

/// Direction graphs: reads the process's `xgraph` array, brings `angle` into 0..359999, and writes
/// `graph` and the mirror bit of `flags`. False when the array says nothing (no entries, above 256).
bool apply_xgraph(orb_locals *locals);

/// Where draw objects and processes draw now (kept from the last request looked at).
extern int32_t destination_file, destination_graph;
