// Tables that follow the depth of the video mode: palette and ghost table at 8 bits, effect tables
// at 16 and 32, depth conversion at all.
#pragma once

#include <cstdint>

/// Brings the tables to `depth`; does nothing when they are there already. Failed allocations are
/// fatal; where the host's report returns, the result is 0 and the next call tries again. Otherwise
/// 1. The tables of a former depth stay until those of the new one are there.
int32_t do_tables(int32_t depth);
/// Frees what do_tables has kept of a depth that was left, so that it could go back to it without
/// asking for memory.
void forget_left_tables();
/// Frees them all, as before the first do_tables.
void free_tables();
