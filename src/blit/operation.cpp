#include "blit/operation.h"

#include <algorithm>

#include "blit/effect_tables.h"
#include "blit/geometry.h"
#include "surface/ghost_table.h"
#include "surface/palette.h"
#include "surface/regions.h"
#include "surface/screen.h"

namespace {

// The rows of the effect tables (blit/effect_tables.h) for the current blit.

/// Rows alpha and 255 - alpha of FX_alpha32_table.
const uint8_t *FX_alpha32_tablep, *FX_alpha32_tablep255;
/// Points at column 255 of row intensity of FX_tint32_table: indexed by the difference itself.
const int16_t *FX_tint32_tablep;
/// Points at column 63 of row alpha of FX_alpha16_table: indexed by the difference itself.
const int16_t *FX_alpha16_tablep;
/// Rows alpha and 255 - alpha of FX_alpha16_tableN.
const uint8_t *FX_alpha16_tablep0, *FX_alpha16_tablep255;
/// Points at column 63 of row intensity of FX_tint16_table: indexed by the difference itself.
const int8_t *FX_tint16_tablep;

} // namespace

bool clip_to_region(const __ORBBlit2D__ *request) {
  blit.region = std::clamp(request->region, -1, max_region - 1);
  if (blit.region < 0) return true;
  static __ORBRegion__ own;
  if (request->own_region) {
    own = {request->own_region_x0, request->own_region_x1, request->own_region_y0,
           request->own_region_y1};
    blit.pregion = &own;
  } else {
    if (!RegionExists(blit.region)) return false;
    blit.pregion = &regions[blit.region];
  }
  blit.clipx0 = std::max(blit.clipx0, blit.pregion->x0);
  blit.clipy0 = std::max(blit.clipy0, blit.pregion->y0);
  blit.clipx1 = std::min(blit.clipx1, blit.pregion->x1);
  blit.clipy1 = std::min(blit.clipy1, blit.pregion->y1);
  return blit.clipx0 <= blit.clipx1 && blit.clipy0 <= blit.clipy1;
}

bool begin_transformed_blit(const __ORBBlit2D__ *request) {
  blit.size = request->size;
  blit.size_x = request->size_x;
  blit.size_y = request->size_y;
  blit.angle = request->angle;
  blit.shear_x = request->shear_x;
  blit.shear_y = request->shear_y;
  const bool known = request->tfmorder >= tfm_hsr && request->tfmorder <= tfm_rsh;
  blit.tfmorder = known ? request->tfmorder : tfm_hsr;
  if (blit.size == 0) return false;
  if (blit.size == 100 && (blit.size_x == 0 || blit.size_y == 0)) return false;
  if (blit.size != 100) blit.size_x = blit.size_y = blit.size;

  if (!begin_blit(request)) return false;
  blit.x = int32_t(uint32_t(blit.x) + uint32_t(blit.window_x));
  blit.y = int32_t(uint32_t(blit.y) + uint32_t(blit.window_y));
  return true;
}

void set_alpha_rows() {
  const int32_t a = blit.alpha;
  if (blit.dst->depth == 16) {
    FX_alpha16_tablep = &FX_alpha16_table[a][63];
    FX_alpha16_tablep0 = FX_alpha16_tableN[a];
    FX_alpha16_tablep255 = FX_alpha16_tableN[255 - a];
  } else {
    FX_alpha32_tablep = FX_alpha32_table[a];
    FX_alpha32_tablep255 = FX_alpha32_table[255 - a];
  }
}

void set_tint() {
  const uint32_t c = blit.fxcolor;
  if (blit.dst->depth == 32) {
    blit.tintR = int32_t(c >> 16 & 255);
    blit.tintG = int32_t(c >> 8 & 255);
    blit.tintB = int32_t(c & 255);
    FX_tint32_tablep = &FX_tint32_table[blit.blt_intensity][255];
  } else {
    // Only the low 16 bits of the colour count.
    blit.tintR = int32_t((c & 0xFFFF) >> 11);
    blit.tintG = int32_t(c >> 5 & 63);
    blit.tintB = int32_t(c & 31);
    FX_tint16_tablep = &FX_tint16_table[blit.blt_intensity][63];
  }
}

bool prepare_ghost_table() {
  if (fake_ghost_table) update_ghost_table();
  return table_ghost8 != nullptr;
}

int32_t blit_window(orb_blit_operation *operation, __ORBBlit2D__ *request, int32_t x, int32_t y) {
  const int32_t own_x = request->x, own_y = request->y;
  request->x = int32_t(uint32_t(own_x) - uint32_t(x));
  request->y = int32_t(uint32_t(own_y) - uint32_t(y));
  blit.window_x = x;
  blit.window_y = y;
  const int32_t drawn = operation(request);
  blit.window_x = blit.window_y = 0;
  request->x = own_x;
  request->y = own_y;
  return drawn;
}

int32_t fixed_beyond_31_bits(double value) { return int32_t(uint32_t(int64_t(value))); }
