// Effects on 32-bit pixels: what each makes of the colours of a source and a destination before
// key and alpha. The top byte of a result means nothing: whoever puts it down sets it.
#pragma once

#include "blit/effects.h"
#include "blit/kernels.h"
#include "blit/lanes.h"

namespace {

inline constexpr uint32_t colour_bits = 0x00FFFFFF, alpha_bits = 0xFF000000;
inline constexpr uint32_t red32 = 0xFF0000, green32 = 0x00FF00, blue32 = 0x0000FF;

/// The channels of 8 pixels, one a lane, blue first.
inline u16x32 widen(u32x8 p) {
  return __builtin_convertvector(u8x32(p), u16x32);
}
inline u32x8 narrow(u16x32 c) {
  return u32x8(__builtin_convertvector(c, u8x32));
}

/// A byte per pixel, copied into all four channels.
inline u16x32 spread(u32x8 byte) {
  byte |= byte << 8;
  return widen(byte | byte << 16);
}

/// x * y / 255 for one byte per pixel. The upper halves of the lanes are 0 and stay 0, so that the
/// multiplication of 16-bit lanes serves.
inline u32x8 mul255(u32x8 x, u32x8 y) {
  return u32x8(mul255(u16x16(x), u16x16(y)));
}

/// min(255, 255 * p / o), 0 where o is 0; one byte per pixel. Both operands are exact in floats,
/// and a quotient that isn't whole is further from the next whole number than it is rounded.
inline u32x8 share(u32x8 p, u32x8 o) {
  const u32x8 divisor = o == 0 ? u32x8{} + 1 : o;
  const f32x8 quotient = __builtin_convertvector(s32x8(p * 255u), f32x8) /
                         __builtin_convertvector(s32x8(divisor), f32x8);
  const s32x8 whole = __builtin_convertvector(quotient, s32x8);
  const u32x8 capped = u32x8(whole > 255 ? s32x8{} + 255 : whole);
  return o == 0 ? u32x8{} : capped;
}

/// What an effect needs beside the pixels.
struct context32 {
  u32x8 alpha;           // global alpha, one byte per pixel
  u16x32 alpha_channels; // the same, and its complement, in every channel
  u16x32 rest_channels;
  u16x32 intensity;
  u16x32 tint; // blue, green, red, 0

  explicit context32(const kernel_args &k)
      : alpha(u32x8{} + k.alpha), alpha_channels(u16x32{} + k.alpha),
        rest_channels(u16x32{} + uint16_t(255 - k.alpha)), intensity(u16x32{} + k.intensity),
        tint(widen(u32x8{} + (uint32_t(k.tint_r) << 16 | uint32_t(k.tint_g) << 8 | k.tint_b))) {}
};

template <effect> struct fx32;

template <uint32_t mask> struct channels32 {
  static u32x8 apply(u32x8 s, u32x8 d, const context32 &) { return (s & mask) | (d & ~mask); }
};
template <uint32_t mask> struct invert32 {
  static u32x8 apply(u32x8 s, u32x8, const context32 &) { return s ^ mask; }
};
/// The luminance of the source in the named channels, 0 in the others: weights 76, 150, 29 of 255,
/// each term truncated by itself. The terms add up to at most 255, so no sum carries.
template <uint32_t mask> struct grey32 {
  static u32x8 apply(u32x8 s, u32x8, const context32 &) {
    constexpr uint32_t weights = 76u << 16 | 150u << 8 | 29u;
    const u32x8 terms = narrow(div255(widen(s) * widen(u32x8{} + weights)));
    const u32x8 luminance = (terms + (terms >> 8) + (terms >> 16)) & 0xFF;
    return (luminance | luminance << 8 | luminance << 16) & mask;
  }
};

template <> struct fx32<fx_solid> {
  static u32x8 apply(u32x8 s, u32x8, const context32 &) { return s; }
};
template <> struct fx32<fx_src> : fx32<fx_solid> {};
template <> struct fx32<fx_additiveblend> {
  static u32x8 apply(u32x8 s, u32x8 d, const context32 &) {
    return u32x8(add_saturated(u8x32(s), u8x32(d)));
  }
};
template <> struct fx32<fx_subtractiveblend> {
  // max(s + d - 255, 0): what is left of s when the complement of d is taken away.
  static u32x8 apply(u32x8 s, u32x8 d, const context32 &) {
    return u32x8(subtract_saturated(u8x32(s), u8x32(~d)));
  }
};
template <> struct fx32<fx_multiplyblend> {
  static u32x8 apply(u32x8 s, u32x8 d, const context32 &) {
    return narrow(mul255(widen(s), widen(d)));
  }
};
template <> struct fx32<fx_averageblend> {
  static u32x8 apply(u32x8 s, u32x8 d, const context32 &) {
    return ((s & 0xFEFEFE) + (d & 0xFEFEFE)) >> 1;
  }
};
template <> struct fx32<fx_screenblend> {
  static u32x8 apply(u32x8 s, u32x8 d, const context32 &) {
    return ~narrow(mul255(widen(~s), widen(~d)));
  }
};
template <> struct fx32<fx_rblend> : channels32<red32> {};
template <> struct fx32<fx_gblend> : channels32<green32> {};
template <> struct fx32<fx_bblend> : channels32<blue32> {};
template <> struct fx32<fx_rgblend> : channels32<red32 | green32> {};
template <> struct fx32<fx_rbblend> : channels32<red32 | blue32> {};
template <> struct fx32<fx_gbblend> : channels32<green32 | blue32> {};
template <> struct fx32<fx_andblend> {
  static u32x8 apply(u32x8 s, u32x8 d, const context32 &) { return s & d; }
};
template <> struct fx32<fx_orblend> {
  static u32x8 apply(u32x8 s, u32x8 d, const context32 &) { return s | d; }
};
template <> struct fx32<fx_xorblend> {
  static u32x8 apply(u32x8 s, u32x8 d, const context32 &) { return s ^ d; }
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
  static u32x8 apply(u32x8 s, u32x8, const context32 &c) {
    return narrow(toward(c.tint, widen(s), c.intensity));
  }
};

} // namespace
