// The ghost table of 8-bit modes: for two palette indices the index nearest to their mix.
#pragma once

#include "orb/graphics2d.h"

/// The index that stands for the half-and-half mix of two indices: table_ghost8[s * 256 + d]. The
/// mix is (a + b) >> 1 per component, its index what find_nearest gives; 0 and 255 mix as any
/// other entry does, but no mix is ever 0 or 255. Null outside 8-bit modes.
extern uint8_t *table_ghost8;

/// Makes a placeholder (every ghost solid), of what is there already or anew, and marks it as such.
/// 0 on failed allocation.
int32_t create_ghost_table();
void delete_ghost_table();

/// Builds the real ghost table now; does nothing without a palette or a table.
void update_ghost_table();
/// Fills the ghost table by searching the whole palette for every mix: what update_ghost_table
/// falls back to when it has no memory for its cube, and gives the same table. Needs the table.
void make_ghost_slow(const __ORBPalette2D__ *of);
