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

/// The ghost's table can't be read by whole registers. The places in it are made in a register all
/// the same, and what stands there comes back to one four bytes at a time.
inline bytes ghost8(bytes s, bytes d, const uint8_t *table) {
  const channels places = interleaved(dwords(d), dwords(s));
  uint16_t low[vector_bytes / 2], high[vector_bytes / 2];
  store(low, places.low);
  store(high, places.high);
  // Reading them from memory is cheaper than taking the registers apart.
  __asm__("" : "+m"(low), "+m"(high));
  const auto four = [table](const uint16_t *at) -> uint32_t {
    return table[at[0]] | table[at[1]] << 8 | table[at[2]] << 16 | uint32_t(table[at[3]]) << 24;
  };
  dwords mixed;
  for (int i = 0; i < group_size<uint32_t>; i += 4) {
    mixed[i] = four(low + i * 2);
    mixed[i + 1] = four(low + i * 2 + 4);
    mixed[i + 2] = four(high + i * 2);
    mixed[i + 3] = four(high + i * 2 + 4);
  }
  return bytes(mixed);
}

/// The rule of run_rectangle for a routine that isn't a copy.
template <span_routine_id id> struct rule8 : plain_rule {
  static constexpr bool ghost = id.key == span_key::ghost;
  const uint8_t *table;

  explicit rule8(const kernel_args &k) : table(k.ghost) {}

  static bool skips(const bytes (&s)[1]) { return ghost && none(s[0]); }
  bytes put(bytes s, bytes d) const {
    bytes result;
    if constexpr (ghost)
      result = ghost8(s, d, table);
    else if constexpr (effect_classes[id.fx] == effect_class::composite)
      result = composite8<id.fx>(s, d);
    else
      result = s;
    return ghost || id.key == span_key::normal ? (s != 0 ? result : d) : result;
  }
};

struct kernels8 {
  static constexpr span_pixels pixels = span_pixels::p8;

  template <span_routine_id id> static void run(const kernel_args &k) {
    if constexpr (is_copy(id))
      run_copy<uint8_t, 0, id.key == span_key::normal>(k);
    else if (k.mirror)
      run_mirrored<uint8_t>(run<id>, k);
    else
      run_rectangle<false, uint8_t>(k, rule8<id>(k));
  }
};

} // namespace
