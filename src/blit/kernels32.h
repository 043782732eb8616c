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

/// x * w + y * (255 - w), each divided by 255.
inline u32x8 mix32(u32x8 x, u32x8 y, u16x32 w, u16x32 rest) {
  return narrow(mul255(widen(x), w) + mul255(widen(y), rest));
}
inline u32x8 mix32(u32x8 x, u32x8 y, u32x8 w) {
  const u16x32 parts = spread(w);
  return mix32(x, y, parts, 255 - parts);
}

/// The source's coverage: its alpha channel, times the global alpha where the routine applies it.
template <span_routine_id id> inline u32x8 coverage32(u32x8 s, const context32 &c) {
  constexpr bool channel = id.pixels == span_pixels::chn32;
  if constexpr (id.key == span_key::ghost)
    return channel ? mul255(u32x8{} + 128, s >> 24) : u32x8{} + 128;
  else if constexpr (id.alpha)
    return channel ? mul255(c.alpha, s >> 24) : c.alpha;
  else
    return channel ? s >> 24 : u32x8{} + 255;
}

template <span_routine_id id, bool onto_alpha>
inline u32x8 composite32(u32x8 s, u32x8 d, const context32 &c) {
  constexpr factors f = factors_of(id.fx);
  const u32x8 sa = coverage32<id>(s, c);
  const u32x8 da = onto_alpha ? d >> 24 : (d != 0 ? u32x8{} + 255 : u32x8{});
  const auto mul = [](u32x8 x, u32x8 y) { return mul255(x, y); };
  const u32x8 p = covered<f.source>(sa, da, mul);
  const u32x8 q = covered<f.destination>(da, sa, mul);
  if constexpr (onto_alpha) {
    const u32x8 sum = p + q;
    const u32x8 o = sum > 255 ? u32x8{} + 255 : sum;
    const u32x8 mixed = (mix32(s, d, share(p, o)) & colour_bits) | o << 24;
    return o == 0 ? u32x8{} : mixed;
  } else {
    const u32x8 from_source = narrow(mul255(widen(s), spread(p)));
    const u32x8 from_destination = narrow(mul255(widen(d), spread(q)));
    return u32x8(add_saturated(u8x32(from_source), u8x32(from_destination))) & colour_bits;
  }
}

/// Source coverage below full: the result is mixed in.
template <span_routine_id id, bool onto_alpha>
inline u32x8 blend32(u32x8 s, u32x8 d, const context32 &c) {
  constexpr bool channel = id.pixels == span_pixels::chn32;
  constexpr bool constant = !channel && id.key != span_key::ghost; // the same for every pixel
  const u32x8 a = coverage32<id>(s, c);
  const u16x32 parts = constant ? c.alpha_channels : spread(a);
  const u16x32 rest = constant ? c.rest_channels : 255 - parts;
  const u32x8 result = fx32<id.fx>::apply(s, d, c);

  if constexpr (!onto_alpha) {
    if constexpr (id.fx == fx_additiveblend) {
      const u32x8 part = narrow(mul255(widen(s), parts));
      return fx32<fx_additiveblend>::apply(part, d, c) & colour_bits;
    } else {
      return mix32(result, d, parts, rest) & colour_bits;
    }
  } else {
    const u32x8 da = d >> 24;
    const u32x8 o = a + mul255(255 - a, da);
    if constexpr (id.fx == fx_additiveblend) {
      const u32x8 part = narrow(mul255(widen(s), parts));
      return (fx32<fx_additiveblend>::apply(part, d, c) & colour_bits) | o << 24;
    } else {
      // A blend counts as far as there is a destination to blend with.
      u32x8 colour = result;
      if constexpr (effect_classes[id.fx] == effect_class::blend) colour = mix32(result, s, da);
      return (mix32(colour, d, share(a, o)) & colour_bits) | o << 24;
    }
  }
}

/// src with a global alpha: also transparent source pixels take their part.
template <span_routine_id id, bool onto_alpha>
inline u32x8 source32(u32x8 s, u32x8 d, const context32 &c) {
  if constexpr (!id.alpha) {
    // The source word as it is; one without an alpha channel is opaque where it isn't 0.
    constexpr bool opaque = onto_alpha && id.pixels != span_pixels::chn32;
    return opaque ? (s != 0 ? s | alpha_bits : u32x8{}) : s;
  } else if constexpr (!onto_alpha) {
    return mix32(s, d, c.alpha_channels, c.rest_channels) & colour_bits;
  } else {
    const u32x8 present = coverage32<id>(s, c);
    const u32x8 p = id.pixels == span_pixels::chn32 ? present : (s != 0 ? present : u32x8{});
    const u32x8 o = p + mul255(255 - c.alpha, d >> 24);
    const u32x8 mixed = (mix32(s, d, share(p, o)) & colour_bits) | o << 24;
    return o == 0 ? u32x8{} : mixed;
  }
}

template <span_routine_id id, bool onto_alpha>
inline u32x8 put32(u32x8 s, u32x8 d, const context32 &c) {
  constexpr bool channel = id.pixels == span_pixels::chn32;
  constexpr effect_class kind = effect_classes[id.fx];
  if constexpr (kind == effect_class::composite) {
    return composite32<id, onto_alpha>(s, d, c);
  } else if constexpr (kind == effect_class::source) {
    return source32<id, onto_alpha>(s, d, c);
  } else if constexpr (id.key == span_key::ghost && !channel && !onto_alpha) {
    return fx32<fx_averageblend>::apply(s, d, c);
  } else if constexpr (id.alpha || channel || id.key == span_key::ghost) {
    const u32x8 result = blend32<id, onto_alpha>(s, d, c);
    if constexpr (!channel) return result;
    // Nothing there: the destination's word stays whole.
    else
      return coverage32<id>(s, c) != 0 ? result : d;
  } else {
    const u32x8 result = fx32<id.fx>::apply(s, d, c);
    if constexpr (onto_alpha)
      return result | alpha_bits;
    else if constexpr (id.fx == fx_solid)
      return result;
    else
      return result & colour_bits;
  }
}

template <span_routine_id id, bool onto_alpha> inline void rectangle32(const kernel_args &k) {
  const context32 c(k);
  run_rectangle<uint32_t>(k, [c](u32x8 s, u32x8 d) {
    const u32x8 result = put32<id, onto_alpha>(s, d, c);
    constexpr bool keyed = id.key == span_key::normal || id.key == span_key::ghost;
    return keyed ? (s != 0 ? result : d) : result;
  });
}

template <span_routine_id id> void kernel32(const kernel_args &k) {
  if (k.dst_alpha)
    rectangle32<id, true>(k);
  else
    rectangle32<id, false>(k);
}

} // namespace
