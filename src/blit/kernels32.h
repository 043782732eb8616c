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

/// x * w + y * (255 - w), each divided by 255. The weights are words where they are the same for
/// all pixels, else channels.
template <typename Weights> inline dwords mix32(dwords x, dwords y, Weights w) {
  return narrow(mul255(widen(x), w) + mul255(widen(y), rest_of(w)));
}
inline dwords mix32(dwords x, dwords y, dwords w) { return mix32(x, y, spread(w)); }

/// The source's coverage: its alpha channel, times the global alpha where the routine applies it.
template <span_routine_id id> inline dwords coverage32(dwords s, const context32 &c) {
  constexpr bool channel = id.pixels == span_pixels::chn32;
  if constexpr (id.key == span_key::ghost)
    return channel ? mul255(dwords{} + 128, s >> 24) : dwords{} + 128;
  else if constexpr (id.alpha)
    return channel ? mul255(c.alpha, s >> 24) : c.alpha;
  else
    return channel ? s >> 24 : dwords{} + 255;
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
    const dwords from_source = narrow(mul255(widen(s), spread(p)));
    const dwords from_destination = narrow(mul255(widen(d), spread(q)));
    return dwords(add_saturated(bytes(from_source), bytes(from_destination))) & colour_bits;
  }
}

/// The coverage in all channels: words where it is the same for all pixels, else channels.
template <span_routine_id id> inline auto weights32(dwords s, const context32 &c) {
  if constexpr (id.pixels == span_pixels::chn32) {
    const channels own = spread_alpha(widen(s));
    if constexpr (id.key == span_key::ghost)
      return mul255(own, words{} + 128);
    else if constexpr (id.alpha)
      return mul255(own, c.alpha_channels);
    else
      return own;
  } else {
    if constexpr (id.key == span_key::ghost)
      return words{} + 128;
    else
      return c.alpha_channels;
  }
}

/// Source coverage below full: the result is mixed in.
template <span_routine_id id, bool onto_alpha>
inline dwords blend32(dwords s, dwords d, const context32 &c) {
  const auto weights = weights32<id>(s, c);
  const dwords result = fx32<id.fx>::apply(s, d, c);

  if constexpr (!onto_alpha) {
    if constexpr (id.fx == fx_additiveblend) {
      const dwords part = narrow(mul255(widen(s), weights));
      return fx32<fx_additiveblend>::apply(part, d, c) & colour_bits;
    } else {
      return mix32(result, d, weights) & colour_bits;
    }
  } else {
    const dwords a = coverage32<id>(s, c);
    const dwords da = d >> 24;
    const dwords o = a + mul255(255 - a, da);
    if constexpr (id.fx == fx_additiveblend) {
      const dwords part = narrow(mul255(widen(s), weights));
      return (fx32<fx_additiveblend>::apply(part, d, c) & colour_bits) | o << 24;
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
    return mix32(s, d, c.alpha_channels) & colour_bits;
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

template <span_routine_id id, bool onto_alpha> inline void rectangle32(const kernel_args &k) {
  const context32 c(k);
  const auto put = [c](dwords s, dwords d) {
    // Of pixels with alpha most are opaque: those are copied.
    if constexpr (id.pixels == span_pixels::chn32 && id.fx == fx_solid && !id.alpha &&
                  id.key != span_key::ghost) {
      if (none(~s & alpha_bits)) return onto_alpha ? s : s & colour_bits;
    }
    const dwords result = put32<id, onto_alpha>(s, d, c);
    constexpr bool keyed = id.key == span_key::normal || id.key == span_key::ghost;
    return keyed ? (s != 0 ? result : d) : result;
  };
  run_rectangle<uint32_t>(k, put, [](dwords s) { return skips32<id>(s); });
}

/// Stores the source pixels that are in `where` and not transparent.
template <bool onto_alpha> inline void put_keyed32(uint32_t *d, dwords s, dwords where) {
  const dwords drawn = dwords(s != 0) & where;
  const dwords result = onto_alpha ? s | alpha_bits : s;
#ifdef __AVX2__
  _mm256_maskstore_epi32(reinterpret_cast<int *>(d), __m256i(drawn), __m256i(result));
#else
  store(d, (result & drawn) | (load<dwords>(d) & ~drawn));
#endif
}

/// The keyed copy by itself: transparent and opaque runs pass without a look at the destination.
template <bool onto_alpha, bool mirror> inline void copy_keyed32(const kernel_args &k) {
  constexpr int size = group_size<uint32_t>;
  const int w = k.w, step = mirror ? -1 : 1, rest = w % size;
  auto *row = static_cast<uint8_t *>(k.dst);
  auto *src_row = static_cast<const uint8_t *>(k.src);
  dwords lane;
  for (int i = 0; i < size; ++i)
    lane[i] = uint32_t(i);
  const auto last = dwords(lane >= dwords{} + uint32_t(size - rest));
  const dwords all = ~dwords{};

  for (int rows = k.h; rows > 0; --rows, row += k.dst_stride, src_row += k.src_stride) {
    auto *d = reinterpret_cast<uint32_t *>(row);
    auto *s = reinterpret_cast<const uint32_t *>(src_row);
    int x = 0;
    for (; x + 2 * size <= w; x += 2 * size) {
      const dwords s0 = load_source(s + x * step, mirror);
      const dwords s1 = load_source(s + (x + size) * step, mirror);
      if (none(s0 | s1)) continue;
#ifndef __AVX2__
      if (none(dwords(s0 == 0) | dwords(s1 == 0))) {
        store(d + x, onto_alpha ? s0 | alpha_bits : s0);
        store(d + x + size, onto_alpha ? s1 | alpha_bits : s1);
        continue;
      }
#endif
      put_keyed32<onto_alpha>(d + x, s0, all);
      put_keyed32<onto_alpha>(d + x + size, s1, all);
    }
    if (x + size <= w) put_keyed32<onto_alpha>(d + x, load_source(s + x * step, mirror), all);
    if (rest != 0)
      put_keyed32<onto_alpha>(d + w - size, load_source(s + (w - size) * step, mirror), last);
  }
}

template <span_routine_id id> void kernel32(const kernel_args &k) {
  if constexpr (id == span_routine_id{span_pixels::p32, span_key::normal, false, fx_solid, true}) {
    if (k.w >= group_size<uint32_t>) {
      if (k.mirror) return k.dst_alpha ? copy_keyed32<true, true>(k) : copy_keyed32<false, true>(k);
      return k.dst_alpha ? copy_keyed32<true, false>(k) : copy_keyed32<false, false>(k);
    }
  }
  if (k.dst_alpha)
    rectangle32<id, true>(k);
  else
    rectangle32<id, false>(k);
}

} // namespace
