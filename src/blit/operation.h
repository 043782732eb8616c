// Shared by the blit operations: checks, clip rectangle, choice of span routine, results.
#pragma once

#include "blit/blit.h"
#include "blit/blit_state.h"
#include "blit/span.h"

/// Copies a request into the blit state, clamps it, and makes the checks common to all operations:
/// equal depths, the effect, no ground without a region, the key mode of the flags; with
/// `transformed` also the sizes. False: refuse.
bool begin_blit(const __ORBBlit2D__ *request, bool transformed);

/// Whether two surfaces share memory: they are the same, or one wraps the other's pixels.
bool share_memory(const __ORBSurface2D__ *a, const __ORBSurface2D__ *b);

/// Computes the clip rectangle. False when the region is undefined or the rectangle empty.
bool clip_blit(const __ORBBlit2D__ *request);

/// The span routine of an operation for the blit state, null where the tables have none. Sets the
/// effect's parameters and table rows. `column` is blit_column() except for tiles.
span_routine *choose_routine(span_op op, int32_t column);

/// Key mode of the flags: 0 keyed, 1 ghost, 2 no key; -1 for flags 12..15.
int32_t blit_column();

/// Ends an operation: nothing drawn, or this inclusive box, stored in the request and its owner.
int32_t refuse_blit(__ORBBlit2D__ *request);
int32_t finish_blit(__ORBBlit2D__ *request, int32_t x0, int32_t y0, int32_t x1, int32_t y1);

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
