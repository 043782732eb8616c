#include "video/mode_tables.h"

#include <cstdlib>
#include <utility>

#include "blit/effect_tables.h"
#include "boundary/runtime.h"
#include "surface/depth_tables.h"
#include "surface/ghost_table.h"
#include "surface/palette.h"

namespace {

int32_t built_depth = 0;

/// The tables of an 8-bit mode that was left, kept so that taking the change back needs no memory.
struct {
  __ORBPalette2D__ *palette;
  uint8_t *ghosts;
} spare;

void leave_tables8() {
  if (palette) free(std::exchange(spare.palette, std::exchange(palette, nullptr)));
  if (table_ghost8) free(std::exchange(spare.ghosts, std::exchange(table_ghost8, nullptr)));
  delete_palette();
  delete_ghost_table();
}

/// Palette and ghost table go with 8-bit modes, the effect tables with the others.
bool make_tables8() {
  if (!palette) palette = std::exchange(spare.palette, nullptr);
  if (!table_ghost8) table_ghost8 = std::exchange(spare.ghosts, nullptr);
  if (!create_palette()) {
    rt_fatal("ENGINE 2D: Error to Create PALETTE table");
    return false;
  }
  if (!create_ghost_table()) {
    delete_palette();
    rt_fatal("ENGINE 2D: Error to Create GHOST table");
    return false;
  }
  return true;
}

} // namespace

int32_t do_tables(int32_t depth) {
  if (depth == built_depth) return 1;
  if (depth == 8) {
    if (!make_tables8()) return 0; // the tables of the old depth are intact
    built_depth = 0;
  } else {
    built_depth = 0;
    leave_tables8();
    if (depth == 16) {
      fill_effect_tables16();
    } else {
      fill_effect_tables32();
    }
  }
  // At 8 bits too: the display may be deeper than the mode.
  if (!create_depth_tables()) {
    rt_fatal("ENGINE 2D: Error to Create DEPTH table");
    return 0;
  }
  built_depth = depth;
  return 1;
}

void forget_left_tables() {
  free(spare.palette);
  free(spare.ghosts);
  spare = {};
}

void free_tables() {
  forget_left_tables();
  delete_palette();
  delete_ghost_table();
  delete_depth_tables();
  built_depth = 0;
}
