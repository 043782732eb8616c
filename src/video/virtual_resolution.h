// The virtual resolution: which screen pixel each pixel of an output of another size shows.
#pragma once

#include <cstdint>

/// The part of the output that the screen fills, and the borders left of it and above.
extern int32_t virtual_resolution_ratiow, virtual_resolution_ratioh;
extern int32_t virtual_resolution_xoffset, virtual_resolution_yoffset;
/// The screen column of each output column, and the offset in pixels of the screen row of each
/// output row; -1 for borders. Null while no virtual resolution is applied. virtual_resolution_w
/// and _h may already hold one that waits; virtual_extent says what the tables were made for.
extern int32_t *virtual_buffer_w, *virtual_buffer_h;
struct virtual_table_extent {
  int32_t columns, rows; // lengths of the tables
  int32_t screen_width, screen_height;
  int32_t aspectratio;
  bool operator==(const virtual_table_extent &) const = default;
};
extern virtual_table_extent virtual_extent;

/// Ratio size, offsets and lookup tables of a virtual resolution of virtual_resolution_w x
/// virtual_resolution_h for a logical screen of the given size. 1, or 0 with the old tables kept
/// (after a fatal report).
int32_t make_virtual_resolution(int32_t screen_width, int32_t screen_height);
void delete_virtual_resolution();
