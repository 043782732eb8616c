// Pens: how a rasteriser puts pixels down, one by one and in runs.
//
// A pen has a `pixel` type, dot(address), run(address, count) with a count of at least 1, and
// finish(), called once after the last pixel when there was one.
#pragma once

#include <algorithm>
#include <cstring>

#include "blit/fx16.h"
#include "blit/lanes.h"
#include "blit/raster.h"

namespace {

/// Writes one colour.
template <typename Pixel> struct solid_pen {
  using pixel = Pixel;
  Pixel colour;

  void dot(Pixel *at) const { *at = colour; }

  /// Most runs are short or not aligned: the ends are stored in whole groups that may overlap what
  /// is stored between them.
  void run(Pixel *at, uint32_t count) const {
    constexpr uint32_t per_group = group_size<Pixel>;
    if (count < per_group) {
      for (Pixel *const end = at + count; at != end; ++at)
        *at = colour;
      return;
    }
    if constexpr (sizeof(Pixel) == 1) {
      if (count > 256) {
        memset(at, colour, count);
        return;
      }
    }
    const auto colours = group<Pixel>{} + colour;
    Pixel *const last_group = at + (count - per_group);
    store(at, colours);
    at += per_group - reinterpret_cast<uintptr_t>(at) / sizeof(Pixel) % per_group;
    for (; at + 3 * per_group < last_group; at += 4 * per_group) {
      for (uint32_t i = 0; i < 4; ++i)
        store_aligned(at + i * per_group, colours);
    }
    for (; at < last_group; at += per_group)
      store_aligned(at, colours);
    store(last_group, colours);
  }

  void finish() const {}

private:
  static void store_aligned(Pixel *to, group<Pixel> v) {
    *reinterpret_cast<group<Pixel> *>(to) = v;
  }
};

/// Looks every pixel up in a table.
struct table_pen {
  using pixel = uint8_t;
  const uint8_t *table;

  void dot(uint8_t *at) const { *at = table[*at]; }
  void run(uint8_t *at, uint32_t count) const {
    for (uint8_t *const end = at + count; at != end; ++at)
      *at = table[*at];
  }
  void finish() const {}
};

/// Blends `colorfx` at `alphafx`. d + ((s - d) * a >> 8) is (d * (256 - a) + s * a) >> 8, the shift
/// of a sum that is never negative and fits 16 bits.
template <typename Pixel> class blend_pen {
public:
  using pixel = Pixel;

  blend_pen() : blend_pen(colorfx, uint16_t(std::clamp(alphafx, 0, 255))) {}

  void dot(Pixel *at) { *at = last_ = one(*at); }

  void run(Pixel *at, uint32_t count) {
    constexpr uint32_t per_group = group_size<Pixel>;
    for (; count >= per_group; count -= per_group, at += per_group)
      store(at, several(load<group<Pixel>>(at)));
    for (; count; --count, ++at)
      *at = one(*at);
    last_ = at[-1];
  }

  void finish() const {
    if constexpr (sizeof(Pixel) == 2) {
      dR = last_ >> 11;
      dG = last_ >> 5 & 63;
      dB = last_ & 31;
    } else {
      dR = last_ >> 16 & 255;
      dG = last_ >> 8 & 255;
      dB = last_ & 255;
    }
  }

private:
  blend_pen(uint32_t colour, uint16_t alpha) {
    const words a = words{} + alpha;
    if constexpr (sizeof(Pixel) == 2) {
      rest_ = 256 - a;
      const fields16 f = split(words{} + uint16_t(colour));
      source_ = {f.r * a, f.g * a, f.b * a};
    } else {
      // The destination's alpha channel keeps all of itself.
      const words colour_channels = {0xFFFF, 0xFFFF, 0xFFFF, 0, 0xFFFF, 0xFFFF, 0xFFFF, 0};
      source_ = widen(dwords{} + colour).low * (a & colour_channels);
      rest_ = 256 - (a & colour_channels);
    }
  }

  group<Pixel> several(group<Pixel> d) const {
    if constexpr (sizeof(Pixel) == 2) {
      const fields16 f = split(d);
      return join({(f.r * rest_ + source_.r) >> 8, (f.g * rest_ + source_.g) >> 8,
                   (f.b * rest_ + source_.b) >> 8});
    } else {
      const channels c = widen(d);
      return narrow({(c.low * rest_ + source_) >> 8, (c.high * rest_ + source_) >> 8});
    }
  }
  Pixel one(Pixel d) const { return several(group<Pixel>{} + d)[0]; }

  std::conditional_t<sizeof(Pixel) == 2, fields16, words> source_; // s * a
  words rest_;                                                     // 256 - a
  Pixel last_ = 0;
};

} // namespace
