// The blend of palette pixels: a table of 256 indices for a colour and an alpha.
//
// Building a table searches the palette 256 times. Frames repeat the same drawings, so tables are
// kept until the palette changes: one per colour as long as all have the same alpha.
#include <algorithm>
#include <cstring>

#include "raster/raster.h"
#include "surface/nearest_colour.h"
#include "surface/palette.h"

namespace {

constexpr int32_t opaque = 15;

struct fx_table {
  bool made;
  uint8_t colour, alpha;
  uint8_t index[256];
};

fx_table tables[256];

/// The slot for a colour and an alpha; other pairs may share it.
fx_table &place_of(uint8_t colour, uint8_t alpha) { return tables[uint8_t(colour + 16 * alpha)]; }

/// The palette that the tables were made for.
__ORBPalette2D__ made_for;

void fill_table(fx_table &table) {
  const orb_rgb source = palette->colours[table.colour];
  const auto mix = [&table](uint8_t s, uint8_t d) {
    const int32_t s6 = s >> 2, d6 = d >> 2;
    return uint32_t(d6 + ((s6 - d6) * table.alpha >> 4)) * 4;
  };
  uint32_t mixes[256];
  for (int32_t i = 0; i < 256; ++i) {
    const orb_rgb &d = palette->colours[i];
    mixes[i] = mix(source.r, d.r) << 16 | mix(source.g, d.g) << 8 | mix(source.b, d.b);
  }
  find_all_nearest(palette, mixes, 256, table.index);
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
  fx_table &table = place_of(colour, alpha);
  if (!table.made || table.colour != colour || table.alpha != alpha) {
    table.made = true;
    table.colour = colour;
    table.alpha = alpha;
    fill_table(table);
  }
  return table.index;
}

uint8_t do_pixelfx_8bits(uint8_t pixel) { return pixelfx_table()[pixel]; }
