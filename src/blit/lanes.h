// Vectors of pixels and of channels, in the compiler's vector types. The same source gives SSE2 and
// AVX2 code, depending on the flags of the file that includes it, and equal results: all arithmetic
// is on integers, but for one division whose result is exact.
//
// Everything here and in the files built on it is in an anonymous namespace, so that the linker
// can't take one instruction set's copy of a function for another's.
#pragma once

#include <immintrin.h>

#include <cstddef>
#include <cstdint>

namespace {

using u8x32 = uint8_t __attribute__((vector_size(32)));
using u16x16 = uint16_t __attribute__((vector_size(32)));
using s16x16 = int16_t __attribute__((vector_size(32)));
using u16x32 = uint16_t __attribute__((vector_size(64)));
using s16x32 = int16_t __attribute__((vector_size(64)));
using u32x8 = uint32_t __attribute__((vector_size(32)));
using s32x8 = int32_t __attribute__((vector_size(32)));
using f32x8 = float __attribute__((vector_size(32)));

/// A group of pixels: what one step of a row loop handles.
template <typename Word> struct group_of;
template <> struct group_of<uint8_t> { using type = u8x32; };
template <> struct group_of<uint16_t> { using type = u16x16; };
template <> struct group_of<uint32_t> { using type = u32x8; };

template <typename Word> using group = typename group_of<Word>::type;
template <typename Word> inline constexpr int group_size = int(32 / sizeof(Word));

template <typename Vector> inline Vector load(const void *from) {
  Vector v;
  __builtin_memcpy(&v, from, sizeof v);
  return v;
}

template <typename Vector> inline void store(void *to, Vector v) {
  __builtin_memcpy(to, &v, sizeof v);
}

inline u8x32 reversed(u8x32 v) {
  return __builtin_shufflevector(v, v, 31, 30, 29, 28, 27, 26, 25, 24, 23, 22, 21, 20, 19, 18, 17,
                                 16, 15, 14, 13, 12, 11, 10, 9, 8, 7, 6, 5, 4, 3, 2, 1, 0);
}
inline u16x16 reversed(u16x16 v) {
  return __builtin_shufflevector(v, v, 15, 14, 13, 12, 11, 10, 9, 8, 7, 6, 5, 4, 3, 2, 1, 0);
}
inline u32x8 reversed(u32x8 v) {
  return __builtin_shufflevector(v, v, 7, 6, 5, 4, 3, 2, 1, 0);
}

/// x / 255 for x in 0..65025, by lane.
template <typename Vector> inline Vector div255(Vector x) {
  return (x + 1 + (x >> 8)) >> 8;
}

/// x * y / 255, lanes 0..255.
template <typename Vector> inline Vector mul255(Vector x, Vector y) {
  return div255(x * y);
}

/// Saturating sums and differences of bytes.
inline u8x32 add_saturated(u8x32 x, u8x32 y) {
#ifdef __AVX2__
  return u8x32(_mm256_adds_epu8(__m256i(x), __m256i(y)));
#else
  __m128i a[2], b[2];
  __builtin_memcpy(a, &x, sizeof x);
  __builtin_memcpy(b, &y, sizeof y);
  a[0] = _mm_adds_epu8(a[0], b[0]);
  a[1] = _mm_adds_epu8(a[1], b[1]);
  return load<u8x32>(a);
#endif
}
inline u8x32 subtract_saturated(u8x32 x, u8x32 y) {
#ifdef __AVX2__
  return u8x32(_mm256_subs_epu8(__m256i(x), __m256i(y)));
#else
  __m128i a[2], b[2];
  __builtin_memcpy(a, &x, sizeof x);
  __builtin_memcpy(b, &y, sizeof y);
  a[0] = _mm_subs_epu8(a[0], b[0]);
  a[1] = _mm_subs_epu8(a[1], b[1]);
  return load<u8x32>(a);
#endif
}

/// d + (s - d) * a / 255 with the quotient truncated toward zero; lanes of at most 8 bits.
template <typename Signed, typename Vector>
inline Vector step_toward(Vector s, Vector d, Vector a) {
  const Signed difference = Signed(s) - Signed(d);
  const Signed sign = difference >> 15;
  const Vector size = Vector((difference ^ sign) - sign);
  const Signed part = Signed(div255(size * a));
  return d + Vector((part ^ sign) - sign);
}
inline u16x16 toward(u16x16 s, u16x16 d, u16x16 a) {
  return step_toward<s16x16>(s, d, a);
}
inline u16x32 toward(u16x32 s, u16x32 d, u16x32 a) {
  return step_toward<s16x32>(s, d, a);
}

} // namespace
