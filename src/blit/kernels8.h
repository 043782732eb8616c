// Kernels of 8-bit pixels: copies, composites by coverage, and the ghost through its table.
#pragma once

#include "blit/composite.h"
#include "blit/rectangle.h"
#include "blit/routine.h"

namespace {

/// With coverage that is all or nothing, a composite picks the source, the destination or nothing.
template <effect mode> inline u8x32 composite8(u8x32 s, u8x32 d) {
  constexpr factors f = factors_of(mode);
  // Coverage of the source is 1 in a keyed routine; the destination's is 1 where it isn't 0.
  constexpr auto weight = [](factor which, bool other) {
    return which == factor::one || (which == factor::other && other) ||
           (which == factor::not_other && !other);
  };
  const u8x32 over = weight(f.source, true) ? s : weight(f.destination, true) ? d : u8x32{};
  const u8x32 empty = weight(f.source, false) ? s : u8x32{};
  return d != 0 ? over : empty;
}

template <span_routine_id id> void kernel8(const kernel_args &k) {
  if constexpr (id.key == span_key::ghost) {
    const uint8_t *table = k.ghost;
    run_rectangle<uint8_t>(k, [table](u8x32 s, u8x32 d) {
      u8x32 result = d;
      for (int i = 0; i < group_size<uint8_t>; ++i)
        if (s[i] != 0) result[i] = table[s[i] * 256 + d[i]];
      return result;
    });
  } else {
    run_rectangle<uint8_t>(k, [](u8x32 s, u8x32 d) {
      u8x32 result;
      if constexpr (effect_classes[id.fx] == effect_class::composite)
        result = composite8<id.fx>(s, d);
      else
        result = s;
      return id.key == span_key::normal ? (s != 0 ? result : d) : result;
    });
  }
}

} // namespace
