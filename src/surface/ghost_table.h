// The ghost table of 8-bit modes: for two palette indices the index nearest to their mix.
#pragma once

#include "orb/graphics2d.h"

/// The index that stands for the half-and-half mix of two indices: table_ghost8[s * 256 + d]. The
/// mix is (a + b) >> 1 per component, looked up by find_nearest; 0 and 255 can be mixed but are
/// never the result. Null outside 8-bit modes.
extern uint8_t *table_ghost8;

/// Makes the table a placeholder in which every ghost is solid, allocating it if missing, and marks
/// it as such. 0 on failed allocation.
int32_t create_ghost_table();
void delete_ghost_table();

/// Builds the real ghost table now; does nothing without a palette or a table.
void update_ghost_table();
