// Tables that follow the depth of the video mode: palette and ghost table at 8 bits, effect tables
// at 16 and 32, depth conversion at all.
#pragma once

#include <cstdint>

/// Brings the tables to `depth`; does nothing when they are there already. Failed allocations are
/// fatal; where the host's report returns, the result is 0, what could not be had is null, and the
/// next call tries again. Otherwise 1.
int32_t do_tables(int32_t depth);
/// Frees them all, as before the first do_tables.
void free_tables();
