// What the blit operations share: checks, clip rectangle, choice of span routine, outputs.
#pragma once

#include "blit/blit.h"
#include "blit/blit_state.h"
#include "blit/span.h"

/// Copies a request into the blit state, clamps it, and checks what all operations check: surfaces
/// of one depth, effect, ground without region, flags' key mode; for `transformed` ones also the
/// sizes. False: refuse.
bool begin_blit(const __ORBBlit2D__ *request, bool transformed);

/// Works out the clip rectangle. False when the region is undefined or the rectangle empty.
bool clip_blit(const __ORBBlit2D__ *request);

/// The routine for the blit state from the tables of an operation, with the effect's parameters
/// and table rows set; null where the table has none. `column` is blit_column() but for tiles.
span_routine *choose_routine(span_op op, int32_t column);

/// Key mode by flags: 0 keyed, 1 ghost, 2 no key; -1 for flags 12..15.
int32_t blit_column();

/// Ends an operation: nothing drawn; or this inclusive box, written to the request and its owner.
int32_t refuse_blit(__ORBBlit2D__ *request);
int32_t finish_blit(__ORBBlit2D__ *request, int32_t x0, int32_t y0, int32_t x1, int32_t y1);

// Positions and steps in 16.16. Positions in pictures wider than 32767 pixels use the sign bit;
// they and their steps wrap as unsigned words do. i386 converts doubles to more than 31 bits by a
// detour through another unit, which a call keeps out of the usual way.

/// Truncates toward zero, modulo 2^32.
int32_t fixed_beyond_31_bits(double value);
inline int32_t to_fixed(double value) {
  constexpr double limit = 1u << 31;
  return value < limit && value > -limit ? int32_t(value) : fixed_beyond_31_bits(value);
}
/// A step: `run` / `steps`, truncated toward zero.
inline int32_t fixed_step(double run, int32_t steps) {
  return to_fixed(run / steps);
}
