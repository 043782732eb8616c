// Tables that follow the depth of the video mode: palette and ghost table at 8 bits, effect tables
// at 16 and 32, depth conversion at all.
#pragma once

#include <cstdint>

/// Builds the tables for `depth`, unless they exist. 1, or 0 after a fatal report of a failed
/// allocation; the next call tries again. The old tables stay until the new ones are complete.
int32_t do_tables(int32_t depth);
/// Frees what do_tables has kept of the old depth for going back to it.
void forget_left_tables();
/// Frees them all, as before the first do_tables.
void free_tables();
