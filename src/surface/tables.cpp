#include "surface/tables.h"

#include "blit/effect_tables.h"
#include "module/runtime.h"
#include "surface/palette.h"

namespace {

int32_t built_depth = 0;

/// Palette and ghost table go with 8-bit modes, the effect tables with the others.
bool make_tables8() {
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
  built_depth = 0;
  if (depth == 8) {
    if (!make_tables8()) return 0;
  } else {
    delete_palette();
    delete_ghost_table();
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

void free_tables() {
  delete_palette();
  delete_ghost_table();
  delete_depth_tables();
  built_depth = 0;
}
