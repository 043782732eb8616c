#include "formats/stored_palette.h"

#include <cstring>

stored_palette store_palette(const __ORBPalette2D__ &from) {
  stored_palette out{};
  for (int32_t i = 0; i < 256; i++) {
    const orb_rgb &colour = from.colours[i];
    const uint8_t components[3] = {uint8_t(colour.r >> 2), uint8_t(colour.g >> 2),
                                   uint8_t(colour.b >> 2)};
    memcpy(out.colours[i], components, sizeof components);
  }
  for (int32_t i = 0; i < 16; i++) {
    out.ranges[i][0] = 16;
    memset(out.ranges[i] + 4, 16 * i, 32);
  }
  return out;
}

__ORBPalette2D__ restore_palette(const uint8_t (&colours)[256][3]) {
  __ORBPalette2D__ out;
  for (int32_t i = 0; i < 256; i++)
    out.colours[i] = {uint8_t(colours[i][0] << 2), uint8_t(colours[i][1] << 2),
                      uint8_t(colours[i][2] << 2)};
  return out;
}
