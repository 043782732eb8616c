#include "surface/depth_tables.h"

#include <cstdlib>

#include "surface/colour.h"
#include "surface/palette.h"

uint16_t *table_color8to16 = nullptr;
uint32_t *table_color8to32 = nullptr;
uint32_t *table_color16to32 = nullptr;

int32_t create_depth_tables() {
  if (!table_color8to16) table_color8to16 = static_cast<uint16_t *>(malloc(256 * 2));
  if (!table_color8to32) table_color8to32 = static_cast<uint32_t *>(malloc(256 * 4));
  if (!table_color16to32) table_color16to32 = static_cast<uint32_t *>(malloc(65536 * 4));
  if (!table_color8to16 || !table_color8to32 || !table_color16to32) {
    delete_depth_tables();
    return 0;
  }
  if (palette) {
    update_depth_tables(palette);
  } else {
    __ORBPalette2D__ colours;
    load_default_palette(&colours);
    update_depth_tables(&colours);
  }
  // The fields move to the top of their bytes; the low bits stay 0.
  for (uint32_t p = 0; p < 65536; ++p)
    table_color16to32[p] = (p & 0x1F) << 3 | (p & 0x7E0) << 5 | (p >> 11) << 19;
  return 1;
}

void delete_depth_tables() {
  free(table_color8to16);
  free(table_color8to32);
  free(table_color16to32);
  table_color8to16 = nullptr;
  table_color8to32 = table_color16to32 = nullptr;
}

void update_depth_tables(const __ORBPalette2D__ *from) {
  if (!from || !table_color8to16 || !table_color8to32) return;
  for (int32_t i = 0; i < 256; ++i) {
    const orb_rgb &entry = from->colours[i];
    table_color8to16[i] = uint16_t(pack565(entry.r, entry.g, entry.b));
    table_color8to32[i] = uint32_t(entry.r) << 16 | uint32_t(entry.g) << 8 | entry.b;
  }
}
