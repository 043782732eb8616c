// Pens: how a rasteriser writes pixels, singly and in runs.
//
// A pen has a `pixel` type, dot(address), run(address, count) with count >= 1, and finish(), called
// once after the last pixel if there was one.
#pragma once

#include <algorithm>
#include <cstring>

#include "blit/fx16.h"
#include "raster/raster.h"
#include "simd/lanes.h"

namespace {

/// Writes one colour.
template <typename Pixel> struct solid_pen {
  using pixel = Pixel;
  Pixel colour;

  void dot(Pixel *at) const { *at = colour; }

  /// Most runs are short and unaligned, so both ends are stored in the widest pieces that fit the
  /// run; they may overlap each other and what lies between.
  void run(Pixel *at, uint32_t count) const {
    auto *const begin = reinterpret_cast<uint8_t *>(at);
    const uint32_t bytes_left = count * uint32_t(sizeof(Pixel));
    uint8_t *const end = begin + bytes_left;
    const auto colours = group<Pixel>{} + colour;
    if (bytes_left >= vector_bytes) {
      long_run(begin, end, colours);
    } else if (bytes_left >= 8) {
      store_both_ends<uint64_t>(begin, end, colours);
    } else if (bytes_left >= 4) {
      store_both_ends<uint32_t>(begin, end, colours);
    } else if constexpr (sizeof(Pixel) == 1) {
      begin[0] = begin[count / 2] = end[-1] = colour;
    } else {
      *at = colour;
    }
  }

  void finish() const {}

private:
  template <typename Piece>
  static void store_both_ends(uint8_t *begin, uint8_t *end, group<Pixel> colours) {
    Piece piece;
    memcpy(&piece, &colours, sizeof piece);
    memcpy(begin, &piece, sizeof piece);
    memcpy(end - sizeof piece, &piece, sizeof piece);
  }

  static void long_run(uint8_t *begin, uint8_t *end, group<Pixel> colours) {
    constexpr size_t worth_a_call = 4096; // from here on the C library's wider stores are faster
    if constexpr (sizeof(Pixel) == 1) {
      if (size_t(end - begin) >= worth_a_call) {
        memset(begin, colours[0], size_t(end - begin));
        return;
      }
    }
    uint8_t *const last = end - vector_bytes;
    store(begin, colours);
    uint8_t *at = begin + (vector_bytes - reinterpret_cast<uintptr_t>(begin) % vector_bytes);
    for (; at + 3 * vector_bytes < last; at += 4 * vector_bytes) {
      for (int32_t i = 0; i < 4; ++i)
        store_aligned(at + i * vector_bytes, colours);
    }
    for (; at < last; at += vector_bytes)
      store_aligned(at, colours);
    store(last, colours);
  }

  static void store_aligned(uint8_t *to, group<Pixel> v) {
    *reinterpret_cast<group<Pixel> *>(to) = v;
  }
};

/// Maps every pixel through a table.
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

/// Blends `colorfx` at `alphafx`: d + ((s - d) * a >> 8), computed as (d * (256 - a) + s * a) >> 8,
/// whose sum is never negative and fits 16 bits.
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
      // Keeps the destination's alpha channel.
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
