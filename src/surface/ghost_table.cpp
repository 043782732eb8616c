// The ghost table of 8-bit modes: for two palette indices the index nearest to their mix.
//
// The mix of two entries is (a + b) >> 1 per component, and "nearest" is find_nearest. Indices 0
// and 255 are ordinary entries here: 0 mixes as the colour that the screen shows for it, so a ghost
// over an empty background looks right; keyed routines never look up a source of 0.
//
// 32,896 searches over 254 entries would take tens of milliseconds. So the bounding box of the
// palette, which holds every mix, is divided into 8 x 8 x 8 cells. Each cell lists its candidates:
// the entries whose smallest distance to the cell does not exceed the largest distance of any
// entry. Any other entry is farther than some candidate at every point of the cell, so searching
// the list gives exactly what searching all entries gives, ties included.
#include "surface/ghost_table.h"

#include <cstdlib>
#include <cstring>

#include "surface/palette.h"

uint8_t *table_ghost8 = nullptr;

namespace {

constexpr int32_t first_entry = 1, end_entry = 255; // as find_nearest
constexpr int32_t cells_per_side = 8;

struct ghost_cell {
  uint8_t count;
  uint8_t candidates[end_entry - first_entry]; // in ascending order
};

/// Distances of an entry's component to the nearest and the farthest level of a cell's side.
struct side_distance {
  int16_t near, far;
};

/// One axis of the cube: which side a level falls into, and how far entries are from each side.
struct ghost_axis {
  uint8_t side_of[256]; // within the palette's range only
  side_distance distance[cells_per_side][256];
};

struct ghost_cube {
  ghost_axis r, g, b;
  ghost_cell cells[cells_per_side][cells_per_side][cells_per_side];
};

void lay_out_axis(ghost_axis &axis, const __ORBPalette2D__ *of, uint8_t orb_rgb::*component) {
  int32_t low = 255, high = 0;
  for (const orb_rgb &entry : of->colours) {
    if (entry.*component < low) low = entry.*component;
    if (entry.*component > high) high = entry.*component;
  }
  const int32_t width = (high - low) / cells_per_side + 1;
  for (int32_t level = low; level <= high; ++level)
    axis.side_of[level] = uint8_t((level - low) / width);
  for (int32_t side = 0; side < cells_per_side; ++side) {
    const int32_t first = low + side * width, last = first + width - 1;
    for (int32_t i = first_entry; i < end_entry; ++i) {
      const int32_t value = of->colours[i].*component;
      const int32_t below = first - value, above = value - last; // at most one is positive
      const int32_t near = below > 0 ? below : above > 0 ? above : 0;
      const int32_t far = below < above ? -below : -above;
      axis.distance[side][i] = {int16_t(near), int16_t(far)};
    }
  }
}

/// Lists the candidates of every cell. Null without memory.
ghost_cube *make_ghost_cube(const __ORBPalette2D__ *of) {
  auto *const cube = static_cast<ghost_cube *>(malloc(sizeof(ghost_cube)));
  if (!cube) return nullptr;
  lay_out_axis(cube->r, of, &orb_rgb::r);
  lay_out_axis(cube->g, of, &orb_rgb::g);
  lay_out_axis(cube->b, of, &orb_rgb::b);
  for (int32_t r = 0; r < cells_per_side; ++r) {
    for (int32_t g = 0; g < cells_per_side; ++g) {
      for (int32_t b = 0; b < cells_per_side; ++b) {
        const side_distance *const in_r = cube->r.distance[r], *const in_g = cube->g.distance[g],
                                   *const in_b = cube->b.distance[b];
        int32_t bound = INT16_MAX;
        for (int32_t i = first_entry; i < end_entry; ++i) {
          const int32_t far = in_r[i].far + in_g[i].far + in_b[i].far;
          if (far < bound) bound = far;
        }
        ghost_cell &cell = cube->cells[r][g][b];
        cell.count = 0;
        for (int32_t i = first_entry; i < end_entry; ++i) {
          if (in_r[i].near + in_g[i].near + in_b[i].near <= bound)
            cell.candidates[cell.count++] = uint8_t(i);
        }
      }
    }
  }
  return cube;
}

/// find_nearest, over the candidates of the cell that the colour lies in.
uint8_t find_in_cube(const ghost_cube *cube, const __ORBPalette2D__ *in, int32_t r, int32_t g,
                     int32_t b) {
  const ghost_cell &cell = cube->cells[cube->r.side_of[r]][cube->g.side_of[g]][cube->b.side_of[b]];
  int32_t best_distance = 999;
  uint8_t best = 0;
  for (uint32_t i = 0; i < cell.count; ++i) {
    const orb_rgb &entry = in->colours[cell.candidates[i]];
    const int32_t distance = abs(entry.r - r) + abs(entry.g - g) + abs(entry.b - b);
    if (distance < best_distance) {
      best_distance = distance;
      best = cell.candidates[i];
    }
  }
  return best;
}

/// Fills the table through `nearest`(r, g, b); mixing is symmetric, so half the searches suffice.
template <typename Nearest> void fill_ghost_table(const __ORBPalette2D__ *of, Nearest nearest) {
  for (int32_t s = 0; s < 256; ++s) {
    const orb_rgb &a = of->colours[s];
    for (int32_t d = s; d < 256; ++d) {
      const orb_rgb &b = of->colours[d];
      const uint8_t mix = nearest((a.r + b.r) >> 1, (a.g + b.g) >> 1, (a.b + b.b) >> 1);
      table_ghost8[s * 256 + d] = table_ghost8[d * 256 + s] = mix;
    }
  }
}

void make_ghost_table(const __ORBPalette2D__ *of, const ghost_cube *cube) {
  fill_ghost_table(
      of, [=](int32_t r, int32_t g, int32_t b) { return find_in_cube(cube, of, r, g, b); });
}

} // namespace

void make_ghost_slow(const __ORBPalette2D__ *of) {
  fill_ghost_table(of, [=](int32_t r, int32_t g, int32_t b) { return find_nearest(of, r, g, b); });
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

void update_ghost_table() {
  if (!table_ghost8 || !palette) return;
  if (ghost_cube *const cube = make_ghost_cube(palette)) {
    make_ghost_table(palette, cube);
    free(cube);
  } else {
    make_ghost_slow(palette);
  }
  fake_ghost_table = 0;
}
