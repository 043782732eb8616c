#include "formats/truecolour.h"

#include <cstring>

#include "surface/colour.h"
#include "surface/nearest_colour.h"
#include "surface/palette.h"
#include "surface/screen.h"

namespace {

uint16_t pack_keyless(uint32_t pixel) {
  return uint16_t(pack565(pixel >> 16 & 255, pixel >> 8 & 255, pixel & 255));
}

uint16_t pack_with_alpha(uint32_t pixel) { return uint16_t(pack565_with_alpha(pixel)); }

template <typename Convert>
void convert_row(uint16_t *to, const uint32_t *from, uint32_t count, Convert convert) {
  for (uint32_t i = 0; i < count; i++)
    to[i] = convert(from[i]);
}

/// Gives invisible pixels the transparent index.
void clear_invisible(uint8_t *row, const uint32_t *from, uint32_t count) {
  for (uint32_t i = 0; i < count; i++)
    if (!is_visible(from[i] >> 24)) row[i] = 0;
}

} // namespace

bool begin_truecolour(truecolour_conversion *conversion, bool alpha) {
  *conversion = {mode.bpp, alpha};
  return mode.bpp != 8 || palette;
}

void convert_truecolour_row(const truecolour_conversion &conversion, void *to, const uint32_t *from,
                            uint32_t count) {
  switch (conversion.depth) {
  case 8: {
    auto *const row = static_cast<uint8_t *>(to);
    find_all_nearest(palette, from, count, row);
    if (conversion.alpha) clear_invisible(row, from, count);
    break;
  }
  case 16: {
    auto *const row = static_cast<uint16_t *>(to);
    if (conversion.alpha)
      convert_row(row, from, count, pack_with_alpha);
    else
      convert_row(row, from, count, pack_keyless);
    break;
  }
  default: memcpy(to, from, size_t(count) * sizeof(uint32_t));
  }
}
