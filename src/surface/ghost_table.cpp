// The ghost table of 8-bit modes: for two palette indices the index nearest to their mix.
//
// The mix of two entries is (a + b) >> 1 per component, and "nearest" is find_nearest. Indices 0
// and 255 are ordinary entries here: 0 mixes as the colour that the screen shows for it, so a ghost
// over an empty background looks right; keyed routines never look up a source of 0.
#include "surface/ghost_table.h"

#include <cstdlib>
#include <cstring>

#include "surface/nearest_colour.h"
#include "surface/palette.h"

uint8_t *table_ghost8 = nullptr;

namespace {

void make_ghost_table(const __ORBPalette2D__ *of) {
  for (int32_t s = 0; s < 256; ++s) {
    const orb_rgb &a = of->colours[s];
    uint32_t mixes[256];
    for (int32_t d = s; d < 256; ++d) {
      const orb_rgb &b = of->colours[d];
      mixes[d] =
          uint32_t(a.r + b.r) >> 1 << 16 | uint32_t(a.g + b.g) >> 1 << 8 | uint32_t(a.b + b.b) >> 1;
    }
    // Mixing is symmetric, so half the searches suffice.
    uint8_t *const row = table_ghost8 + s * 256;
    find_all_nearest(of, mixes + s, uint32_t(256 - s), row + s);
    for (int32_t d = s; d < 256; ++d)
      table_ghost8[d * 256 + s] = row[d];
  }
}

} // namespace

void update_ghost_table() {
  if (!table_ghost8 || !palette) return;
  make_ghost_table(palette);
  fake_ghost_table = 0;
}

int32_t create_ghost_table() {
  if (!table_ghost8) table_ghost8 = static_cast<uint8_t *>(malloc(256 * 256));
  if (!table_ghost8) return 0;
  // A placeholder that draws ghosts solid; the first ghost blit asks for the real table.
  for (int32_t s = 0; s < 256; ++s)
    memset(table_ghost8 + s * 256, s, 256);
  fake_ghost_table = 1;
  return 1;
}

void delete_ghost_table() {
  free(table_ghost8);
  table_ghost8 = nullptr;
  fake_ghost_table = 1;
}
