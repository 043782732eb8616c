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

/// The ghost's table can't be read by whole registers. Four pixels at a time, so that transparent
/// and opaque runs pass quickly and results are stored at once.
inline void ghost_row8(uint8_t *d, const uint8_t *s, int count, int step, const uint8_t *table) {
  const auto mix = [table](uint32_t source, uint32_t destination) -> uint32_t {
    return table[source << 8 | destination];
  };
  int x = 0;
  for (; x + 4 <= count; x += 4, s += 4 * step) {
    const uint32_t s0 = s[0], s1 = s[step], s2 = s[2 * step], s3 = s[3 * step];
    if (s0 && s1 && s2 && s3) {
      const uint32_t low = mix(s0, d[x]) | mix(s1, d[x + 1]) << 8;
      store(d + x, low | mix(s2, d[x + 2]) << 16 | mix(s3, d[x + 3]) << 24);
    } else if (s0 | s1 | s2 | s3) {
      if (s0) d[x] = uint8_t(mix(s0, d[x]));
      if (s1) d[x + 1] = uint8_t(mix(s1, d[x + 1]));
      if (s2) d[x + 2] = uint8_t(mix(s2, d[x + 2]));
      if (s3) d[x + 3] = uint8_t(mix(s3, d[x + 3]));
    }
  }
  for (; x < count; ++x, s += step)
    if (*s) d[x] = uint8_t(mix(*s, d[x]));
}

template <span_routine_id id> void kernel8(const kernel_args &k) {
  if constexpr (id.key == span_key::ghost) {
    auto *d = static_cast<uint8_t *>(k.dst);
    auto *s = static_cast<const uint8_t *>(k.src);
    for (int rows = k.h; rows > 0; --rows, d += k.dst_stride, s += k.src_stride)
      ghost_row8(d, s, k.w, k.mirror ? -1 : 1, k.ghost);
  } else {
    constexpr bool keyed = id.key == span_key::normal;
    const auto put = [](bytes s, bytes d) {
      bytes result;
      if constexpr (effect_classes[id.fx] == effect_class::composite)
        result = composite8<id.fx>(s, d);
      else
        result = s;
      return keyed ? (s != 0 ? result : d) : result;
    };
    run_rectangle<uint8_t>(k, put, [](bytes) { return false; });
  }
}

} // namespace
