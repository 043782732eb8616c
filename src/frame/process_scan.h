// The process scan: every visible process that names a loaded graph becomes a blit request.
#pragma once

#include "orb/graphics2d.h"

/// Scans the host's process list into the current blit list.
void do_processes();

/// Where draw objects and processes draw now (kept from the last request looked at).
extern int32_t destination_file, destination_graph;
