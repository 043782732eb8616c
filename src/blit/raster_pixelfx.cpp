// The blend of palette pixels: a table of 256 indices for a colour and an alpha.
//
// Making one searches the palette 256 times. As a frame draws the same few drawings again and
// again, the last few tables are kept until the palette changes.
#include <algorithm>
#include <cstring>

#include "blit/raster.h"
#include "surface/palette.h"

namespace {

constexpr int32_t opaque = 15;

struct fx_table {
  bool made;
  uint8_t colour, alpha;
  uint8_t index[256];
};

constexpr int32_t table_count = 16;
fx_table tables[table_count];
int32_t next_table = 0;
/// The palette that the tables were made for.
__ORBPalette2D__ made_for;

void fill_table(fx_table &table) {
  const orb_rgb source = palette->colours[table.colour];
  const auto mix = [&table](uint8_t s, uint8_t d) {
    const int32_t s6 = s >> 2, d6 = d >> 2;
    return (d6 + ((s6 - d6) * table.alpha >> 4)) * 4;
  };
  for (int32_t i = 0; i < 256; ++i) {
    const orb_rgb &d = palette->colours[i];
    table.index[i] =
        find_nearest(palette, mix(source.r, d.r), mix(source.g, d.g), mix(source.b, d.b));
  }
}

const uint8_t *identity() {
  static uint8_t index[256];
  for (int32_t i = 0; i < 256; ++i)
    index[i] = uint8_t(i);
  return index;
}

} // namespace

const uint8_t *pixelfx_table() {
  if (!palette) return identity();
  if (memcmp(&made_for, palette, sizeof made_for) != 0) {
    for (fx_table &table : tables)
      table.made = false;
    made_for = *palette;
  }
  const auto colour = uint8_t(colorfx);
  const auto alpha = uint8_t(std::clamp(alphafx, 0, opaque));
  for (const fx_table &table : tables)
    if (table.made && table.colour == colour && table.alpha == alpha) return table.index;

  fx_table &table = tables[next_table];
  next_table = (next_table + 1) % table_count;
  table.made = true;
  table.colour = colour;
  table.alpha = alpha;
  fill_table(table);
  return table.index;
}

uint8_t do_pixelfx_8bits(uint8_t pixel) {
  return pixelfx_table()[pixel];
}
