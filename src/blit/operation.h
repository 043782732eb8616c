// Shared by the blit operations: checks, clip rectangle, choice of span routine, results.
#pragma once

#include <algorithm>

#include "blit/blit.h"
#include "blit/blit_state.h"
#include "blit/span.h"
#include "surface/screen.h"

// What every blit goes through is inline: a small picture is drawn in less time than a few calls
// take.

/// Copies a request into the blit state, clamps it, makes the checks common to all operations
/// (equal depths, the effect, no ground without a region, the key mode of the flags), and computes
/// the clip rectangle. False: refuse, also where that rectangle is empty or its region undefined.
bool begin_blit(const __ORBBlit2D__ *request);
/// The same with size, angle and shears, for the operations that transform.
bool begin_transformed_blit(const __ORBBlit2D__ *request);

/// The span routine of an operation for the blit state, null where the tables have none. Sets the
/// effect's parameters and table rows. `column` is blit_column() except for tiles.
template <span_op op> span_routine *choose_routine(int32_t column);

/// Key mode of the flags: 0 keyed, 1 ghost, 2 no key; -1 for flags 12..15.
inline int32_t blit_column() { return blit.blt_flags < 12 ? blit.blt_flags >> 2 : -1; }

/// Ends an operation: nothing drawn, or this inclusive box, stored in the request and its owner.
inline int32_t refuse_blit(__ORBBlit2D__ *request) {
  request->drawn = 0;
  return 0;
}
inline int32_t finish_blit(__ORBBlit2D__ *request, int32_t x0, int32_t y0, int32_t x1, int32_t y1) {
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

// Positions and steps in 16.16. In pictures wider than 32767 pixels, positions use the sign bit;
// positions and steps wrap like unsigned words. i386 converts doubles to more than 31 bits through
// the x87 unit; a separate call keeps that out of the fast path.

/// Truncates toward zero, modulo 2^32.
int32_t fixed_beyond_31_bits(double value);
inline int32_t to_fixed(double value) {
  constexpr double limit = 1u << 31;
  return value < limit && value > -limit ? int32_t(value) : fixed_beyond_31_bits(value);
}
/// A step: `run` / `steps`, truncated toward zero.
inline int32_t fixed_step(double run, int32_t steps) { return to_fixed(run / steps); }

// ---- Inline ------------------------------------------------------------------------------------

/// Whether two surfaces share memory: they are the same, or one wraps the other's pixels.
inline bool share_memory(const __ORBSurface2D__ *a, const __ORBSurface2D__ *b) {
  const auto *start_a = static_cast<const uint8_t *>(a->pixels);
  const auto *start_b = static_cast<const uint8_t *>(b->pixels);
  return start_a < start_b ? size_t(start_b - start_a) < a->byte_size
                           : size_t(start_a - start_b) < b->byte_size;
}

/// Clips to the request's region. False when it is undefined or nothing is left.
bool clip_to_region(const __ORBBlit2D__ *request);

[[gnu::always_inline]] inline bool begin_blit(const __ORBBlit2D__ *request) {
  __ORBSurface2D__ *const src = request->src, *const dst = request->dst;
  if (!src || !dst || !src->pixels || !dst->pixels || src->depth != dst->depth) return false;
  blit.src = src;
  blit.dst = dst;
  blit.shared = share_memory(src, dst);
  blit.x = request->x;
  blit.y = request->y;

  const int32_t index = effect_index(request->fxmode);
  if (index < 0) return false;
  // 8-bit destinations have no blends in any mode.
  if (index > last_effect_8bits && (mode.bpp == 8 || dst->depth == 8)) return false;
  blit.fxmode = index;
  blit.fxcolor = request->fxcolor;
  blit.blt_intensity = std::clamp(request->fxintensity, 0, 255);
  blit.alpha = blit.blt_alpha = std::clamp(request->alpha, 0, 255);
  blit.flags = request->flags;
  blit.blt_flags = request->flags & 15;
  if (blit_column() < 0) return false;

  blit.clipx0 = blit.clipy0 = 0;
  blit.clipx1 = int32_t(dst->width) - 1;
  blit.clipy1 = int32_t(dst->height) - 1;
  blit.region = -1;
  blit.pregion = nullptr;
  if (request->region < 0) {
    if (dst == ground) return false;
  } else if (!clip_to_region(request)) {
    return false;
  }
  blit.clipw = blit.clipx1 - blit.clipx0 + 1;
  blit.cliph = blit.clipy1 - blit.clipy0 + 1;
  return true;
}

/// The effect table rows of the blit's alpha, and the tint's row and channels.
void set_alpha_rows();
void set_tint();
/// Makes the ghost table if need be. False without memory.
bool prepare_ghost_table();

template <span_op op> [[gnu::always_inline]] inline span_routine *choose_routine(int32_t column) {
  constexpr bool tile = op == span_op::tile;
  const int32_t depth = blit.dst->depth;
  const bool ghost = !tile && column == 1;
  span_table table = span_table::t8;
  if (depth != 8) {
    const bool channel = depth == 32 && blit.src->alpha_channel;
    const bool alpha = blit.alpha != 255 && !ghost;
    using enum span_table;
    table = depth == 16 ? (alpha ? alpha16 : t16)
            : channel   ? (alpha ? alphaalphachn32 : alphachn32)
                        : (alpha ? alpha32 : t32);
    if (alpha) set_alpha_rows();
    // A tile with an alpha channel reaches the tint by another effect's index.
    if (tile || blit.fxmode == fx_tint) set_tint();
  } else if (ghost && !prepare_ghost_table()) {
    return nullptr;
  }
  // Above 8 bits a ghost is the solid ghost, whatever the effect.
  const int32_t row = ghost && depth != 8 ? 0 : blit.fxmode, columns = columns_of(op, table);
  return span_table_in_use<op>(table)[columns == 1 ? row : column + columns * row];
}
