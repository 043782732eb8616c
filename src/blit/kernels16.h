// Kernels of 5-6-5 pixels: how an effect's result is put down, by key and global alpha.
#pragma once

#include "blit/composite.h"
#include "blit/fx16.h"
#include "blit/rectangle.h"
#include "blit/routine.h"

namespace {

/// Composite by coverage: the source covers with the global alpha, the destination wholly where it
/// isn't 0.
template <effect mode, bool alpha> inline words composite16(words s, words d, const context16 &c) {
  constexpr factors f = factors_of(mode);
  const words full = words{} + 255;
  const words source_cover = alpha ? c.alpha : full;
  const words cover = d != 0 ? full : words{};
  const auto mul = [](words x, words y) { return mul255(x, y); };
  const words p = covered<f.source>(source_cover, cover, mul);
  const words q = covered<f.destination>(cover, source_cover, mul);
  return by_channel(s, d, [&](auto x, auto y, uint16_t) { return mul255(p, x) + mul255(q, y); });
}

/// The global alpha: each channel goes its part of the way from the destination to the result.
inline words mix16(words result, words d, const context16 &c) {
  return by_channel(result, d, [&](auto x, auto y, uint16_t) { return toward(x, y, c.alpha); });
}

template <span_routine_id id> inline words put16(words s, words d, const context16 &c) {
  if constexpr (id.key == span_key::ghost) {
    return fx16<fx_averageblend>::apply(s, d, c);
  } else if constexpr (effect_classes[id.fx] == effect_class::composite) {
    return composite16<id.fx, id.alpha>(s, d, c);
  } else if constexpr (!id.alpha) {
    return fx16<id.fx>::apply(s, d, c);
  } else if constexpr (id.fx == fx_additiveblend) {
    const words part = by_channel(s, d, [&](auto x, auto, uint16_t) { return mul255(c.alpha, x); });
    return fx16<fx_additiveblend>::apply(part, d, c);
  } else {
    return mix16(fx16<id.fx>::apply(s, d, c), d, c);
  }
}

/// The rule of run_rectangle for a routine. Pictures are transparent or opaque in runs: whole
/// groups of transparent pixels are passed over where there is arithmetic to save.
template <span_routine_id id> struct rule16 : plain_rule {
  static constexpr bool keyed = id.key == span_key::normal || id.key == span_key::ghost;
  context16 c;

  explicit rule16(const kernel_args &k) : c(k) {}

  static bool skips(const words (&s)[1]) { return keyed && none(s[0]); }
  words put(words s, words d) const {
    const words result = put16<id>(s, d, c);
    return keyed ? (s != 0 ? result : d) : result;
  }
};

struct kernels16 {
  static constexpr span_pixels pixels = span_pixels::p16;

  template <span_routine_id id> static void run(const kernel_args &k) {
    if constexpr (is_copy(id))
      run_copy<uint16_t, 0, id.key == span_key::normal>(k);
    else if (k.mirror)
      run_mirrored<uint16_t>(run<id>, k);
    else
      run_rectangle<false, uint16_t>(k, rule16<id>(k));
  }
};

} // namespace
