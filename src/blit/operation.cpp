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

bool share_memory(const __ORBSurface2D__ *a, const __ORBSurface2D__ *b) {
  const auto *start_a = static_cast<const uint8_t *>(a->pixels);
  const auto *start_b = static_cast<const uint8_t *>(b->pixels);
  return start_a < start_b ? size_t(start_b - start_a) < a->byte_size
                           : size_t(start_a - start_b) < b->byte_size;
}

bool begin_blit(const __ORBBlit2D__ *request, bool transformed) {
  blit.x = request->x;
  blit.y = request->y;
  blit.region = request->region;
  blit.flags = request->flags;
  blit.alpha = request->alpha;
  blit.fxmode = request->fxmode;
  blit.fxcolor = request->fxcolor;
  blit.src = request->src;
  blit.dst = request->dst;
  blit.blt_intensity = std::clamp(request->fxintensity, 0, 255);
  if (transformed) {
    blit.x = int32_t(uint32_t(blit.x) + uint32_t(blit.window_x));
    blit.y = int32_t(uint32_t(blit.y) + uint32_t(blit.window_y));
    blit.size = request->size;
    blit.size_x = request->size_x;
    blit.size_y = request->size_y;
    blit.angle = request->angle;
    blit.shear_x = request->shear_x;
    blit.shear_y = request->shear_y;
    const bool known = request->tfmorder >= tfm_hsr && request->tfmorder <= tfm_rsh;
    blit.tfmorder = known ? request->tfmorder : tfm_hsr;
  }

  if (!blit.src || !blit.dst || !blit.src->pixels || !blit.dst->pixels) return false;
  if (blit.src->depth != blit.dst->depth) return false;
  blit.shared = share_memory(blit.src, blit.dst);
  if (blit.region < 0 && blit.dst == ground) return false;
  if (transformed) {
    if (blit.size == 0) return false;
    if (blit.size == 100 && (blit.size_x == 0 || blit.size_y == 0)) return false;
    if (blit.size != 100) blit.size_x = blit.size_y = blit.size;
  }

  const int32_t index = effect_index(blit.fxmode);
  if (index < 0) return false;
  // 8-bit destinations have no blends in any mode.
  if ((mode.bpp == 8 || blit.dst->depth == 8) && blit.fxmode > last_effect_8bits) return false;
  blit.fxmode = index;

  blit.region = std::clamp(blit.region, -1, max_region - 1);
  blit.alpha = std::clamp(blit.alpha, 0, 255);
  blit.blt_alpha = blit.alpha;
  blit.blt_flags = blit.flags & 15;
  return blit_column() >= 0;
}

int32_t blit_column() { return blit.blt_flags < 12 ? blit.blt_flags >> 2 : -1; }

bool clip_blit(const __ORBBlit2D__ *request) {
  const int32_t right = int32_t(blit.dst->width) - 1, bottom = int32_t(blit.dst->height) - 1;
  blit.clipx0 = blit.clipy0 = 0;
  blit.clipx1 = right;
  blit.clipy1 = bottom;
  blit.pregion = nullptr;

  static __ORBRegion__ own;
  if (blit.region >= 0) {
    if (request->own_region) {
      own = {request->own_region_x0, request->own_region_x1, request->own_region_y0,
             request->own_region_y1};
      blit.pregion = &own;
    } else {
      if (!RegionExists(blit.region)) return false;
      blit.pregion = &regions[blit.region];
    }
    blit.clipx0 = std::max(blit.pregion->x0, 0);
    blit.clipy0 = std::max(blit.pregion->y0, 0);
    blit.clipx1 = std::min(blit.pregion->x1, right);
    blit.clipy1 = std::min(blit.pregion->y1, bottom);
  }
  if (blit.clipx0 > blit.clipx1 || blit.clipy0 > blit.clipy1) return false;
  blit.clipw = blit.clipx1 - blit.clipx0 + 1;
  blit.cliph = blit.clipy1 - blit.clipy0 + 1;
  return true;
}

namespace {

/// Chooses the blit's table, and sets the effect table rows for its alpha.
span_table choose_table() {
  const bool opaque = blit.alpha == 255;
  const int32_t a = blit.alpha, column = blit_column();
  if (blit.dst->depth == 8) return span_table::t8;
  if (blit.dst->depth == 16) {
    if (column == 1) return span_table::t16;
    if (opaque) return span_table::t16;
    FX_alpha16_tablep = &FX_alpha16_table[a][63];
    FX_alpha16_tablep0 = FX_alpha16_tableN[a];
    FX_alpha16_tablep255 = FX_alpha16_tableN[255 - a];
    return span_table::alpha16;
  }
  FX_alpha32_tablep = FX_alpha32_table[a];
  FX_alpha32_tablep255 = FX_alpha32_table[255 - a];
  const bool channel = blit.src->alpha_channel != 0;
  if (column == 1 || opaque) return channel ? span_table::alphachn32 : span_table::t32;
  return channel ? span_table::alphaalphachn32 : span_table::alpha32;
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

/// The tables in use of each operation, in the order of span_table.
span_routine *const *table_in_use(span_op op, span_table table) {
  static span_routine *const **const variables[span_op_count * span_table_count] = {
#define ORB_VARIABLE(variable, op, table) &variable,
      ORB_SPAN_TABLES(ORB_VARIABLE)
#undef ORB_VARIABLE
  };
  return *variables[int(op) * span_table_count + int(table)];
}

} // namespace

span_routine *choose_routine(span_op op, int32_t column) {
  const span_table table = choose_table();
  // For every effect: a tile with an alpha channel reaches the tint by another effect's index.
  if (blit.dst->depth != 8) set_tint();
  if (blit.dst->depth == 8 && column == 1 && op != span_op::tile) {
    if (fake_ghost_table) update_ghost_table();
    if (!table_ghost8) return nullptr;
  }
  const int32_t columns = columns_of(op, table);
  int32_t index = columns == 1 ? blit.fxmode : column + columns * blit.fxmode;
  // Above 8 bits a ghost is the solid ghost, whatever the effect.
  if (op != span_op::tile && column == 1 && blit.dst->depth != 8) index = 1;
  return table_in_use(op, table)[index];
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

int32_t refuse_blit(__ORBBlit2D__ *request) {
  request->drawn = 0;
  return 0;
}

int32_t finish_blit(__ORBBlit2D__ *request, int32_t x0, int32_t y0, int32_t x1, int32_t y1) {
  request->drawn = 1;
  request->drawn_x0 = x0;
  request->drawn_x1 = x1;
  request->drawn_y0 = y0;
  request->drawn_y1 = y1;
  mark_ground(blit.dst);
  if (orb_process *owner = request->owner) {
    owner->box_x0 = x0;
    owner->box_y0 = y0;
    owner->box_x1 = x1;
    owner->box_y1 = y1;
  }
  return 1;
}
