// Kernels of 8-bit pixels: copies, composites by coverage, and the ghost through its table.
#pragma once

#include "blit/composite.h"
#include "blit/rectangle.h"
#include "blit/routine.h"

namespace {

/// With coverage that is all or nothing, a composite picks the source, the destination or nothing.
template <effect mode> inline bytes composite8(bytes s, bytes d) {
  constexpr factors f = factors_of(mode);
  // Coverage of the source is 1 in a keyed routine; the destination's is 1 where it isn't 0.
  constexpr auto weight = [](factor which, bool other) {
    return which == factor::one || (which == factor::other && other) ||
           (which == factor::not_other && !other);
  };
  const bytes over = weight(f.source, true) ? s : weight(f.destination, true) ? d : bytes{};
  const bytes empty = weight(f.source, false) ? s : bytes{};
  return d != 0 ? over : empty;
}

template <span_routine_id id> void kernel8(const kernel_args &k) {
  const auto never = [](bytes) { return false; };
  if constexpr (id.key == span_key::ghost) {
    const uint8_t *table = k.ghost;
    const auto put = [table](bytes s, bytes d) {
      bytes result = d;
      for (int i = 0; i < group_size<uint8_t>; ++i)
        if (s[i] != 0) result[i] = table[s[i] * 256 + d[i]];
      return result;
    };
    run_rectangle<uint8_t>(k, put, [](bytes s) { return none(s); });
  } else {
    const auto put = [](bytes s, bytes d) {
      bytes result;
      if constexpr (effect_classes[id.fx] == effect_class::composite)
        result = composite8<id.fx>(s, d);
      else
        result = s;
      return id.key == span_key::normal ? (s != 0 ? result : d) : result;
    };
    run_rectangle<uint8_t>(k, put, never);
  }
}

} // namespace
