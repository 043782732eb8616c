// Pixels as picture files hold them, to and from 0xAARRGGBB.
#pragma once

#include <emmintrin.h>

#include <cstdint>
#include <cstring>

#include "formats/file_reader.h"
#include "formats/truecolour.h"

/// 5 bits to 8, rounded: 31 becomes 255.
constexpr uint32_t widen5(uint32_t value) { return (value * 527 + 23) >> 6; }
static_assert([] {
  for (uint32_t value = 0; value < 32; value++)
    if (widen5(value) != (value * 255 * 2 + 31) / 62) return false;
  return true;
}());

/// x-5-5-5 to 0x00RRGGBB.
constexpr uint32_t widen555(uint32_t pixel) {
  return widen5(pixel >> 10 & 31) << 16 | widen5(pixel >> 5 & 31) << 8 | widen5(pixel & 31);
}

/// Words of 15 or 16 bits, x-5-5-5.
inline void unpack555(uint32_t *to, const uint8_t *from, uint32_t count) {
  for (uint32_t i = 0; i < count; i++)
    to[i] = widen555(word16(from + 2 * i));
}

/// Blue, green, red bytes.
inline void unpack_bgr(uint32_t *to, const uint8_t *from, uint32_t count) {
  uint32_t i = 0;
  const __m128i colours = _mm_set1_epi32(0xFFFFFF);
  for (; i + 6 <= count; i += 4, from += 12) { // four pixels; the load reaches into the sixth
    const __m128i four = _mm_loadu_si128(reinterpret_cast<const __m128i *>(from));
    const __m128i low = _mm_unpacklo_epi32(four, _mm_srli_si128(four, 3));
    const __m128i high = _mm_unpacklo_epi32(_mm_srli_si128(four, 6), _mm_srli_si128(four, 9));
    _mm_storeu_si128(reinterpret_cast<__m128i *>(to + i),
                     _mm_and_si128(_mm_unpacklo_epi64(low, high), colours));
  }
  for (; i < count; i++, from += 3)
    to[i] = uint32_t(from[0] | from[1] << 8 | from[2] << 16);
}

/// Words 0xAARRGGBB.
inline void unpack_bgra(uint32_t *to, const uint8_t *from, uint32_t count) {
  memcpy(to, from, size_t(count) * sizeof(uint32_t));
}

/// Words with an unused top byte.
inline void unpack_bgrx(uint32_t *to, const uint8_t *from, uint32_t count) {
  for (uint32_t i = 0; i < count; i++)
    to[i] = word32(from + 4 * size_t(i)) & 0xFFFFFF;
}

/// `colour(i)` as blue, green, red bytes.
template <typename Colour> void pack_bgr(uint8_t *to, uint32_t count, Colour colour) {
  uint32_t i = 0;
  for (; i + 4 <= count; i += 4, to += 12) {
    const uint32_t a = colour(i) & 0xFFFFFF, b = colour(i + 1) & 0xFFFFFF,
                   c = colour(i + 2) & 0xFFFFFF, d = colour(i + 3);
    const uint32_t words[] = {a | b << 24, b >> 8 | c << 16, c >> 16 | d << 8};
    memcpy(to, words, sizeof words);
  }
  for (; i < count; i++, to += 3) {
    const uint32_t pixel = colour(i);
    to[0] = uint8_t(pixel);
    to[1] = uint8_t(pixel >> 8);
    to[2] = uint8_t(pixel >> 16);
  }
}
