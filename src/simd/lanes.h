// Vectors of pixels and of channels, in the compiler's vector types: one SSE2 or one AVX2 register,
// depending on the flags of the file that includes this. Both give equal results: all arithmetic is
// on integers, but for one division whose result is exact.
//
// Everything here and in the files built on it is in an anonymous namespace, so that the linker
// can't take one instruction set's copy of a function for another's.
#pragma once

#include <immintrin.h>

#include <cstddef>
#include <cstdint>

namespace {

#ifdef __AVX2__
inline constexpr int vector_bytes = 32;
using register_type = __m256i;
#define ORB_LANES(name) _mm256_##name
#else
inline constexpr int vector_bytes = 16;
using register_type = __m128i;
#define ORB_LANES(name) _mm_##name
#endif

using bytes = uint8_t __attribute__((vector_size(vector_bytes)));
using words = uint16_t __attribute__((vector_size(vector_bytes)));
using signed_words = int16_t __attribute__((vector_size(vector_bytes)));
using dwords = uint32_t __attribute__((vector_size(vector_bytes)));
using signed_dwords = int32_t __attribute__((vector_size(vector_bytes)));
using floats = float __attribute__((vector_size(vector_bytes)));

/// A group of pixels: what one step of a row loop handles.
template <typename Word> struct group_of;
template <> struct group_of<uint8_t> { using type = bytes; };
template <> struct group_of<uint16_t> { using type = words; };
template <> struct group_of<uint32_t> { using type = dwords; };

template <typename Word> using group = typename group_of<Word>::type;
template <typename Word> inline constexpr int group_size = int(vector_bytes / sizeof(Word));

template <typename Vector> inline Vector load(const void *from) {
  Vector v;
  __builtin_memcpy(&v, from, sizeof v);
  return v;
}

template <typename Vector> inline void store(void *to, Vector v) {
  __builtin_memcpy(to, &v, sizeof v);
}

/// The lanes in reverse order.
template <typename Vector> inline Vector reversed(Vector v) {
  constexpr int n = sizeof v / sizeof v[0];
  if constexpr (n == 32)
    return __builtin_shufflevector(v, v, 31, 30, 29, 28, 27, 26, 25, 24, 23, 22, 21, 20, 19, 18, 17,
                                   16, 15, 14, 13, 12, 11, 10, 9, 8, 7, 6, 5, 4, 3, 2, 1, 0);
  else if constexpr (n == 16)
    return __builtin_shufflevector(v, v, 15, 14, 13, 12, 11, 10, 9, 8, 7, 6, 5, 4, 3, 2, 1, 0);
  else if constexpr (n == 8)
    return __builtin_shufflevector(v, v, 7, 6, 5, 4, 3, 2, 1, 0);
  else
    return __builtin_shufflevector(v, v, 3, 2, 1, 0);
}

/// True when every bit of the vector is 0.
template <typename Vector> inline bool none(Vector v) {
#ifdef __AVX2__
  return _mm256_testz_si256(register_type(v), register_type(v));
#else
  return _mm_movemask_epi8(_mm_cmpeq_epi8(register_type(v), _mm_setzero_si128())) == 0xFFFF;
#endif
}

/// x * y / 255 in 16-bit lanes, for factors 0..255. The compiler divides by multiplying with the
/// reciprocal and taking the upper half, which is exact for all 16-bit values.
inline words div255(words x) { return x / 255; }
inline words mul255(words x, words y) { return div255(x * y); }

/// Saturating sums and differences of bytes.
inline bytes add_saturated(bytes x, bytes y) {
  return bytes(ORB_LANES(adds_epu8)(register_type(x), register_type(y)));
}
inline bytes subtract_saturated(bytes x, bytes y) {
  return bytes(ORB_LANES(subs_epu8)(register_type(x), register_type(y)));
}

/// d + (s - d) * a / 255 with the quotient truncated toward zero; lanes of at most 8 bits.
inline words toward(words s, words d, words a) {
  const signed_words difference = signed_words(s) - signed_words(d);
  const signed_words sign = difference >> 15;
  const words size = words((difference ^ sign) - sign);
  const signed_words part = signed_words(mul255(size, a));
  return d + words((part ^ sign) - sign);
}

/// The channels of a group of 32-bit pixels, a word each, blue first: the pixels of the lower and
/// of the upper half of each 16 bytes, so that widening and narrowing stay within them.
struct channels {
  words low, high;
};

inline channels widen(dwords p) {
  const register_type zero{};
  return {words(ORB_LANES(unpacklo_epi8)(register_type(p), zero)),
          words(ORB_LANES(unpackhi_epi8)(register_type(p), zero))};
}

/// Back to pixels; words above 255 don't occur.
inline dwords narrow(channels c) {
  return dwords(ORB_LANES(packus_epi16)(register_type(c.low), register_type(c.high)));
}

inline channels mul255(channels x, channels y) {
  return {mul255(x.low, y.low), mul255(x.high, y.high)};
}
inline channels mul255(channels x, words y) { return {mul255(x.low, y), mul255(x.high, y)}; }
inline channels operator+(channels x, channels y) { return {x.low + y.low, x.high + y.high}; }
/// 255 - x.
inline words rest_of(words x) { return 255 - x; }
inline channels rest_of(channels x) { return {255 - x.low, 255 - x.high}; }

/// The alpha of each pixel in all its channels.
inline words spread_alpha(words c) {
  return words(
      ORB_LANES(shufflehi_epi16)(ORB_LANES(shufflelo_epi16)(register_type(c), 0xFF), 0xFF));
}
inline channels spread_alpha(channels c) { return {spread_alpha(c.low), spread_alpha(c.high)}; }

/// One byte per pixel, in the low end of its lane, in all channels.
inline channels spread(dwords byte) { return spread_alpha(widen(byte << 24)); }

/// x * y / 255 for one byte per pixel. The upper halves of the lanes are 0 and stay 0, so that the
/// multiplication of words serves.
inline dwords mul255(dwords x, dwords y) { return dwords(mul255(words(x), words(y))); }

/// min(255, 255 * p / o), 0 where o is 0; one byte per pixel. Both operands are exact in floats,
/// and a quotient that isn't whole is further from the next whole number than it is rounded.
inline dwords share(dwords p, dwords o) {
  const dwords divisor = o == 0 ? dwords{} + 1 : o;
  // 255 * p is 256 * p - p.
  const floats quotient = __builtin_convertvector(signed_dwords((p << 8) - p), floats) /
                          __builtin_convertvector(signed_dwords(divisor), floats);
  const signed_dwords whole = __builtin_convertvector(quotient, signed_dwords);
  const dwords capped = dwords(whole > 255 ? signed_dwords{} + 255 : whole);
  return o == 0 ? dwords{} : capped;
}

} // namespace
