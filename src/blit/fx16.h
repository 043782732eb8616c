// Effects on 5-6-5 pixels: what each makes of a source and a destination before key and alpha.
#pragma once

#include "blit/effects.h"
#include "blit/kernels.h"
#include "simd/lanes.h"

namespace {

inline constexpr uint16_t red16 = 0xF800, green16 = 0x07E0, blue16 = 0x001F;

/// The channels of a group of pixels, each at the low end of its lane.
struct fields16 {
  words r, g, b;
};
inline fields16 split(words p) { return {p >> 11, (p >> 5) & 63, p & 31}; }
inline words join(fields16 f) { return f.r << 11 | f.g << 5 | f.b; }

/// Applies f(source, destination, channel maximum) to each channel.
template <typename F> inline words by_channel(words s, words d, F f) {
  const fields16 a = split(s), b = split(d);
  return join({f(a.r, b.r, uint16_t(31)), f(a.g, b.g, uint16_t(63)), f(a.b, b.b, uint16_t(31))});
}

inline words min16(words x, words y) { return x < y ? x : y; }

/// What an effect needs beside the pixels.
struct context16 {
  words alpha, rest; // global alpha a, 255 - a
  words intensity;
  fields16 tint;

  explicit context16(const kernel_args &k)
      : alpha(words{} + k.alpha), rest(words{} + uint16_t(255 - k.alpha)),
        intensity(words{} + k.intensity), tint{words{} + k.tint_r, words{} + k.tint_g,
                                               words{} + k.tint_b} {}
};

template <effect> struct fx16;

/// The named channels from the source, the others from the destination.
template <uint16_t mask> struct channels16 {
  static words apply(words s, words d, const context16 &) {
    return (s & mask) | (d & uint16_t(~mask));
  }
};
template <uint16_t mask> struct invert16 {
  static words apply(words s, words, const context16 &) { return s ^ mask; }
};
/// The luminance of the source in the named channels, 0 in the others. The three terms truncate by
/// themselves.
template <uint16_t mask> struct grey16 {
  static words apply(words s, words, const context16 &) {
    const words luminance =
        div255((s >> 11) * 608) + div255(((s >> 3) & 252) * 150) + div255((s & 31) * 232);
    return join({luminance >> 3, luminance >> 2, luminance >> 3}) & mask;
  }
};

template <> struct fx16<fx_solid> {
  static words apply(words s, words, const context16 &) { return s; }
};
template <> struct fx16<fx_src> : fx16<fx_solid> {};
template <> struct fx16<fx_additiveblend> {
  static words apply(words s, words d, const context16 &) {
    return by_channel(s, d,
                      [](auto x, auto y, uint16_t top) { return min16(x + y, words{} + top); });
  }
};
template <> struct fx16<fx_subtractiveblend> {
  static words apply(words s, words d, const context16 &) {
    return by_channel(s, d, [](auto x, auto y, uint16_t top) {
      const words sum = x + y;
      return sum > top ? sum - top : words{};
    });
  }
};
/// A product of two channels, divided by 31 or 63 as by 255 (lanes.h). Exact only for such products,
/// where the compiler's own division, good for all words, takes two more steps.
constexpr uint16_t channel_reciprocal(uint16_t top) { return top == 31 ? 0x8422 : 0x8209; }
constexpr uint16_t channel_shift(uint16_t top) { return top == 31 ? 4 : 5; }
constexpr bool channel_quotients_are_exact(uint32_t top) {
  for (uint32_t x = 0; x <= top * top; ++x)
    if (x * channel_reciprocal(uint16_t(top)) >> 16 >> channel_shift(uint16_t(top)) != x / top) return false;
  return true;
}
static_assert(channel_quotients_are_exact(31) && channel_quotients_are_exact(63));

template <> struct fx16<fx_multiplyblend> {
  static words apply(words s, words d, const context16 &) {
    return by_channel(s, d, [](auto x, auto y, uint16_t top) {
      return high_product(x * y, words{} + channel_reciprocal(top)) >> channel_shift(top);
    });
  }
};
template <> struct fx16<fx_averageblend> {
  static words apply(words s, words d, const context16 &) {
    return ((s & 0xF7DE) >> 1) + ((d & 0xF7DE) >> 1);
  }
};
template <> struct fx16<fx_screenblend> {
  // QUIRK: shifts where multiply divides by 31 and 63, so that black on black isn't black.
  static words apply(words s, words d, const context16 &) {
    return by_channel(s, d, [](auto x, auto y, uint16_t top) {
      return top - (((top - x) * (top - y)) >> uint16_t(top == 31 ? 5 : 6));
    });
  }
};
template <> struct fx16<fx_rblend> : channels16<red16> {};
template <> struct fx16<fx_gblend> : channels16<green16> {};
template <> struct fx16<fx_bblend> : channels16<blue16> {};
template <> struct fx16<fx_rgblend> : channels16<red16 | green16> {};
template <> struct fx16<fx_rbblend> : channels16<red16 | blue16> {};
template <> struct fx16<fx_gbblend> : channels16<green16 | blue16> {};
template <> struct fx16<fx_andblend> {
  static words apply(words s, words d, const context16 &) { return s & d; }
};
template <> struct fx16<fx_orblend> {
  static words apply(words s, words d, const context16 &) { return s | d; }
};
template <> struct fx16<fx_xorblend> {
  static words apply(words s, words d, const context16 &) { return s ^ d; }
};
template <> struct fx16<fx_invert> : invert16<0xFFFF> {};
template <> struct fx16<fx_rinvert> : invert16<red16> {};
template <> struct fx16<fx_ginvert> : invert16<green16> {};
template <> struct fx16<fx_binvert> : invert16<blue16> {};
template <> struct fx16<fx_rginvert> : invert16<red16 | green16> {};
template <> struct fx16<fx_rbinvert> : invert16<red16 | blue16> {};
template <> struct fx16<fx_gbinvert> : invert16<green16 | blue16> {};
template <> struct fx16<fx_grayscale> : grey16<0xFFFF> {};
template <> struct fx16<fx_rscale> : grey16<red16> {};
template <> struct fx16<fx_gscale> : grey16<green16> {};
template <> struct fx16<fx_bscale> : grey16<blue16> {};
template <> struct fx16<fx_rgscale> : grey16<red16 | green16> {};
template <> struct fx16<fx_rbscale> : grey16<red16 | blue16> {};
template <> struct fx16<fx_gbscale> : grey16<green16 | blue16> {};
template <> struct fx16<fx_tint> {
  static words apply(words s, words, const context16 &c) {
    const fields16 f = split(s);
    return join({toward(c.tint.r, f.r, c.intensity), toward(c.tint.g, f.g, c.intensity),
                 toward(c.tint.b, f.b, c.intensity)});
  }
};

} // namespace
