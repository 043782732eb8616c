// Tables that convert a pixel to the screen's depth.
#pragma once

#include "orb/graphics2d.h"

/// Palette index, or 5-6-5 pixel, to a pixel of the screen's depth (no alpha).
extern uint16_t *table_color8to16;  // 256
extern uint32_t *table_color8to32;  // 256
extern uint32_t *table_color16to32; // 65536

/// Fills them from the palette, or outside 8-bit modes from the default palette; allocates missing
/// ones. 0 on failed allocation.
int32_t create_depth_tables();
void delete_depth_tables();
/// Rebuilds table_color8to16 and table_color8to32; null or missing tables are skipped.
void update_depth_tables(const __ORBPalette2D__ *from);
