// Effects on 32-bit pixels: what each makes of the colours of a source and a destination before
// key and alpha. The top byte of a result means nothing: whoever puts it down sets it.
#pragma once

#include "blit/effects.h"
#include "blit/kernels.h"
#include "simd/lanes.h"

namespace {

inline constexpr uint32_t colour_bits = 0x00FFFFFF, alpha_bits = 0xFF000000;
inline constexpr uint32_t red32 = 0xFF0000, green32 = 0x00FF00, blue32 = 0x0000FF;

/// What an effect needs beside the pixels. Words that hold whole pixels' channels hold the same
/// pixel over and over.
struct context32 {
  dwords alpha;         // global alpha, one byte per pixel
  even_weights opacity; // the same
  words intensity;
  words tint; // blue, green, red, 0

  explicit context32(const kernel_args &k)
      : alpha(dwords{} + k.alpha), opacity(k.alpha), intensity(words{} + k.intensity),
        tint(repeated(k.tint_r, k.tint_g, k.tint_b)) {}

  static words repeated(uint32_t r, uint32_t g, uint32_t b) {
    return widen(dwords{} + (r << 16 | g << 8 | b)).low;
  }
};

template <effect> struct fx32;

template <uint32_t mask> struct channels32 {
  static dwords apply(dwords s, dwords d, const context32 &) { return (s & mask) | (d & ~mask); }
};
template <uint32_t mask> struct invert32 {
  static dwords apply(dwords s, dwords, const context32 &) { return s ^ mask; }
};
/// The luminance of the source in the named channels, 0 in the others: weights 76, 150, 29 of 255,
/// each term truncated by itself. The terms add up to at most 255, so no sum carries.
template <uint32_t mask> struct grey32 {
  static dwords apply(dwords s, dwords, const context32 &) {
    const words weights =
        context32::repeated(76, 150, 29) * uint16_t(257) + uint16_t(1); // as even_weights::own
    const channels c = widen(s);
    const dwords terms = narrow({high_product(c.low, weights), high_product(c.high, weights)});
    const dwords luminance = (terms + (terms >> 8) + (terms >> 16)) & 0xFF;
    return (luminance | luminance << 8 | luminance << 16) & mask;
  }
};

template <> struct fx32<fx_solid> {
  static dwords apply(dwords s, dwords, const context32 &) { return s; }
};
template <> struct fx32<fx_src> : fx32<fx_solid> {};
template <> struct fx32<fx_additiveblend> {
  static dwords apply(dwords s, dwords d, const context32 &) {
    return dwords(add_saturated(bytes(s), bytes(d)));
  }
};
template <> struct fx32<fx_subtractiveblend> {
  // max(s + d - 255, 0): what is left of s when the complement of d is taken away.
  static dwords apply(dwords s, dwords d, const context32 &) {
    return dwords(subtract_saturated(bytes(s), bytes(~d)));
  }
};
template <> struct fx32<fx_multiplyblend> {
  static dwords apply(dwords s, dwords d, const context32 &) {
    return narrow(part(s, weights_of(d)));
  }
};
template <> struct fx32<fx_averageblend> {
  static dwords apply(dwords s, dwords d, const context32 &) {
    return ((s & 0xFEFEFE) + (d & 0xFEFEFE)) >> 1;
  }
};
template <> struct fx32<fx_screenblend> {
  static dwords apply(dwords s, dwords d, const context32 &) {
    return ~narrow(part(~s, weights_of(~d)));
  }
};
template <> struct fx32<fx_rblend> : channels32<red32> {};
template <> struct fx32<fx_gblend> : channels32<green32> {};
template <> struct fx32<fx_bblend> : channels32<blue32> {};
template <> struct fx32<fx_rgblend> : channels32<red32 | green32> {};
template <> struct fx32<fx_rbblend> : channels32<red32 | blue32> {};
template <> struct fx32<fx_gbblend> : channels32<green32 | blue32> {};
template <> struct fx32<fx_andblend> {
  static dwords apply(dwords s, dwords d, const context32 &) { return s & d; }
};
template <> struct fx32<fx_orblend> {
  static dwords apply(dwords s, dwords d, const context32 &) { return s | d; }
};
template <> struct fx32<fx_xorblend> {
  static dwords apply(dwords s, dwords d, const context32 &) { return s ^ d; }
};
template <> struct fx32<fx_invert> : invert32<colour_bits> {};
template <> struct fx32<fx_rinvert> : invert32<red32> {};
template <> struct fx32<fx_ginvert> : invert32<green32> {};
template <> struct fx32<fx_binvert> : invert32<blue32> {};
template <> struct fx32<fx_rginvert> : invert32<red32 | green32> {};
template <> struct fx32<fx_rbinvert> : invert32<red32 | blue32> {};
template <> struct fx32<fx_gbinvert> : invert32<green32 | blue32> {};
template <> struct fx32<fx_grayscale> : grey32<colour_bits> {};
template <> struct fx32<fx_rscale> : grey32<red32> {};
template <> struct fx32<fx_gscale> : grey32<green32> {};
template <> struct fx32<fx_bscale> : grey32<blue32> {};
template <> struct fx32<fx_rgscale> : grey32<red32 | green32> {};
template <> struct fx32<fx_rbscale> : grey32<red32 | blue32> {};
template <> struct fx32<fx_gbscale> : grey32<green32 | blue32> {};
template <> struct fx32<fx_tint> {
  static dwords apply(dwords s, dwords, const context32 &c) {
    const channels from = widen(s);
    return narrow({toward(c.tint, from.low, c.intensity), toward(c.tint, from.high, c.intensity)});
  }
};

} // namespace
