// Kernels of 32-bit pixels, with and without a source alpha channel, onto destinations with and
// without one: how an effect's result is put down.
//
// With a destination alpha da and a source coverage a, the result covers o = a + (255 - a) * da and
// its colour is mixed with the share w = a / o. Every term truncates by itself.
#pragma once

#include "blit/composite.h"
#include "blit/fx32.h"
#include "blit/rectangle.h"
#include "blit/routine.h"

namespace {

/// x by the weights and y by their rest.
template <typename Weights> inline dwords mix32(dwords x, dwords y, const Weights &w) {
  return narrow(part(x, w) + rest_part(y, w));
}
/// The same with a weight per pixel, in the low byte.
inline dwords mix32(dwords x, dwords y, dwords w) { return mix32(x, y, spread<0>(w)); }

/// The global alpha of a routine that applies one; a ghost's is half.
template <span_routine_id id> inline even_weights opacity32(const context32 &c) {
  return id.key == span_key::ghost ? even_weights(128) : c.opacity;
}

/// The source's coverage: its alpha channel, times the global alpha where the routine applies it.
template <span_routine_id id> inline dwords coverage32(dwords s, const context32 &c) {
  const dwords own = id.pixels == span_pixels::chn32 ? s >> 24 : dwords{} + 255;
  if constexpr (id.alpha || id.key == span_key::ghost)
    return dwords(high_product(words(own), opacity32<id>(c).own));
  else
    return own;
}

/// The same as weights: one for all pixels where they have no alpha of their own.
template <span_routine_id id> inline auto weights32(dwords s, const context32 &c) {
  if constexpr (id.pixels != span_pixels::chn32)
    return opacity32<id>(c);
  else if constexpr (id.alpha || id.key == span_key::ghost)
    return spread<0>(coverage32<id>(s, c));
  else
    return spread<3>(s);
}

template <span_routine_id id, bool onto_alpha>
inline dwords composite32(dwords s, dwords d, const context32 &c) {
  constexpr factors f = factors_of(id.fx);
  const dwords sa = coverage32<id>(s, c);
  const dwords da = onto_alpha ? d >> 24 : (d != 0 ? dwords{} + 255 : dwords{});
  const auto mul = [](dwords x, dwords y) { return mul255(x, y); };
  const dwords p = covered<f.source>(sa, da, mul);
  const dwords q = covered<f.destination>(da, sa, mul);
  if constexpr (onto_alpha) {
    const dwords sum = p + q;
    const dwords o = sum > 255 ? dwords{} + 255 : sum;
    const dwords mixed = (mix32(s, d, share(p, o)) & colour_bits) | o << 24;
    return o == 0 ? dwords{} : mixed;
  } else {
    const dwords from_source = narrow(part(s, spread<0>(p)));
    const dwords from_destination = narrow(part(d, spread<0>(q)));
    return dwords(add_saturated(bytes(from_source), bytes(from_destination))) & colour_bits;
  }
}

/// Source coverage below full: the result is mixed in.
template <span_routine_id id, bool onto_alpha>
inline dwords blend32(dwords s, dwords d, const context32 &c) {
  const auto weights = weights32<id>(s, c);
  const dwords result = fx32<id.fx>::apply(s, d, c);

  if constexpr (!onto_alpha) {
    if constexpr (id.fx == fx_additiveblend) {
      const dwords covered = narrow(part(s, weights));
      return fx32<fx_additiveblend>::apply(covered, d, c) & colour_bits;
    } else {
      return mix32(result, d, weights) & colour_bits;
    }
  } else {
    const dwords a = coverage32<id>(s, c);
    const dwords da = d >> 24;
    const dwords o = a + mul255(255 - a, da);
    if constexpr (id.fx == fx_additiveblend) {
      const dwords covered = narrow(part(s, weights));
      return (fx32<fx_additiveblend>::apply(covered, d, c) & colour_bits) | o << 24;
    } else {
      // A blend counts as far as there is a destination to blend with.
      dwords colour = result;
      if constexpr (effect_classes[id.fx] == effect_class::blend) colour = mix32(result, s, da);
      return (mix32(colour, d, share(a, o)) & colour_bits) | o << 24;
    }
  }
}

/// src with a global alpha: also transparent source pixels take their part.
template <span_routine_id id, bool onto_alpha>
inline dwords source32(dwords s, dwords d, const context32 &c) {
  if constexpr (!id.alpha) {
    // The source word as it is; one without an alpha channel is opaque where it isn't 0.
    constexpr bool opaque = onto_alpha && id.pixels != span_pixels::chn32;
    return opaque ? (s != 0 ? s | alpha_bits : dwords{}) : s;
  } else if constexpr (!onto_alpha) {
    return mix32(s, d, c.opacity) & colour_bits;
  } else {
    const dwords present = coverage32<id>(s, c);
    const dwords p = id.pixels == span_pixels::chn32 ? present : (s != 0 ? present : dwords{});
    const dwords o = p + mul255(255 - c.alpha, d >> 24);
    const dwords mixed = (mix32(s, d, share(p, o)) & colour_bits) | o << 24;
    return o == 0 ? dwords{} : mixed;
  }
}

template <span_routine_id id, bool onto_alpha>
inline dwords put32(dwords s, dwords d, const context32 &c) {
  constexpr bool channel = id.pixels == span_pixels::chn32;
  constexpr effect_class kind = effect_classes[id.fx];
  if constexpr (kind == effect_class::composite) {
    return composite32<id, onto_alpha>(s, d, c);
  } else if constexpr (kind == effect_class::source) {
    return source32<id, onto_alpha>(s, d, c);
  } else if constexpr (id.key == span_key::ghost && !channel && !onto_alpha) {
    return fx32<fx_averageblend>::apply(s, d, c);
  } else if constexpr (id.alpha || channel || id.key == span_key::ghost) {
    const dwords result = blend32<id, onto_alpha>(s, d, c);
    if constexpr (!channel) return result;
    // Nothing there: the destination's word stays whole.
    else
      return coverage32<id>(s, c) != 0 ? result : d;
  } else {
    const dwords result = fx32<id.fx>::apply(s, d, c);
    if constexpr (onto_alpha)
      return result | alpha_bits;
    else if constexpr (id.fx == fx_solid)
      return result;
    else
      return result & colour_bits;
  }
}

/// Pictures are transparent or opaque in runs: whole groups of transparent pixels are passed over
/// where there is arithmetic to save. A mere copy is quicker than the branch.
template <span_routine_id id> inline bool skips32(dwords s) {
  constexpr effect_class kind = effect_classes[id.fx];
  if constexpr (id.pixels != span_pixels::chn32) {
    if constexpr (id.key == span_key::normal)
      return (id.alpha || id.fx != fx_solid) && none(s);
    else
      return id.key == span_key::ghost && none(s);
  } else if constexpr (kind == effect_class::composite || kind == effect_class::source) {
    return false;
  } else {
    return none(s & alpha_bits);
  }
}

/// The rule of run_rectangle for a routine.
template <span_routine_id id, bool onto_alpha> struct rule32 : plain_rule {
  // Of pixels with alpha most are opaque.
  static constexpr bool copies = id.pixels == span_pixels::chn32 && id.fx == fx_solid &&
                                 !id.alpha && id.key != span_key::ghost;
  static constexpr int rows_ahead = 2;
  context32 c;

  explicit rule32(const kernel_args &k) : c(k) {}

  static bool skips(const dwords (&s)[1]) { return skips32<id>(s[0]); }
  static bool covers(const dwords (&s)[1]) { return has_all(s[0], dwords{} + alpha_bits); }
  static dwords copy(dwords s) { return onto_alpha ? s : s & colour_bits; }
  dwords put(dwords s, dwords d) const {
    const dwords result = put32<id, onto_alpha>(s, d, c);
    constexpr bool keyed = id.key == span_key::normal || id.key == span_key::ghost;
    return keyed ? (s != 0 ? result : d) : result;
  }
};

template <span_routine_id id, bool onto_alpha> inline void rectangle32(const kernel_args &k) {
  if constexpr (is_copy(id))
    run_copy<uint32_t, onto_alpha ? alpha_bits : 0, id.key == span_key::normal>(k);
  else
    run_rectangle<false, uint32_t>(k, rule32<id, onto_alpha>(k));
}

struct kernels32 {
  static constexpr span_pixels pixels = span_pixels::p32;

  template <span_routine_id id> static void run(const kernel_args &k) {
    if (!is_copy(id) && k.mirror)
      run_mirrored<uint32_t>(run<id>, k);
    else if (k.dst_alpha)
      rectangle32<id, true>(k);
    else
      rectangle32<id, false>(k);
  }
};
struct kernelschn : kernels32 {
  static constexpr span_pixels pixels = span_pixels::chn32;
};

} // namespace
