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
#include <utility>

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
using qwords = uint64_t __attribute__((vector_size(vector_bytes)));
using signed_dwords = int32_t __attribute__((vector_size(vector_bytes)));
using floats = float __attribute__((vector_size(vector_bytes)));

/// A group of pixels: what one step of a row loop handles.
template <typename Word> struct group_of;
template <> struct group_of<uint8_t> { using type = bytes; };
template <> struct group_of<uint16_t> { using type = words; };
template <> struct group_of<uint32_t> { using type = dwords; };
template <> struct group_of<uint64_t> { using type = qwords; };

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

/// Lanes of two vectors, those of `b` counted on after those of `a`: lane i is lane from(i).
template <auto from, typename Vector, int... i>
inline Vector shuffled(Vector a, Vector b, std::integer_sequence<int, i...>) {
  return __builtin_shufflevector(a, b, from(i)...);
}
template <auto from, typename Vector> inline Vector shuffled(Vector a, Vector b) {
  constexpr int lanes = sizeof a / sizeof a[0];
  return shuffled<from>(a, b, std::make_integer_sequence<int, lanes>());
}

/// The lanes in reverse order.
template <typename Vector> inline Vector reversed(Vector v) {
  return shuffled<[](int i) { return int(sizeof v / sizeof v[0]) - 1 - i; }>(v, v);
}

/// True when every bit of the vector is 0.
template <typename Vector> inline bool none(Vector v) {
#ifdef __AVX2__
  return _mm256_testz_si256(register_type(v), register_type(v));
#else
  return _mm_movemask_epi8(_mm_cmpeq_epi8(register_type(v), _mm_setzero_si128())) == 0xFFFF;
#endif
}

/// True when `v` has every bit of `mask`.
template <typename Vector> inline bool has_all(Vector v, Vector mask) {
#ifdef __AVX2__
  return _mm256_testc_si256(register_type(v), register_type(mask));
#else
  return none(~v & mask);
#endif
}

/// The upper half of the product.
inline words high_product(words x, words y) {
  return words(ORB_LANES(mulhi_epu16)(register_type(x), register_type(y)));
}

/// x / 255, exact for all 16-bit values. Compilers for x86 make the product themselves, and move what
/// stands around it; the one for WebAssembly would divide lane by lane.
inline words div255(words x) {
#ifdef __wasm__
  return high_product(x, words{} + 0x8081) >> 7;
#else
  return x / 255;
#endif
}
/// x * y / 255 in 16-bit lanes, for factors 0..255.
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

/// A vector about which the compiler knows nothing. It replaces the unpacking of vectors that it
/// knows, or knows to be equal, by shuffles that need a constant each.
template <typename Vector> inline Vector hidden(Vector v) {
#ifndef __wasm__ // all its shuffles have constants
  __asm__("" : "+x"(v));
#endif
  return v;
}

/// Words of two bytes: the bytes of `low` with those of `high` above them.
inline channels interleaved(dwords low, dwords high) {
  return {words(ORB_LANES(unpacklo_epi8)(register_type(low), register_type(high))),
          words(ORB_LANES(unpackhi_epi8)(register_type(low), register_type(high)))};
}

inline channels widen(dwords p) { return interleaved(p, hidden(dwords{})); }

/// Back to pixels; words above 255 don't occur.
inline dwords narrow(channels c) {
  return dwords(ORB_LANES(packus_epi16)(register_type(c.low), register_type(c.high)));
}

inline channels operator+(channels x, channels y) { return {x.low + y.low, x.high + y.high}; }

// Parts of channels: c * w / 255 for a channel c and a weight w, truncated, each as the upper end
// of one product. How c and w are widened takes the place of the division. Two pixels are mixed by
// a weight and its rest, 255 - w.

/// A weight for every channel, as 257 * w: its byte twice.
struct weights {
  words low, high;
};

/// One weight below 255 for all channels. c * own >> 16 is the part, and c * rest >> 16 that of the
/// rest, but for a rest of 255, whose factor would be 65536: there c is made 257 * c as well.
struct even_weights {
  words own, rest;
  dwords twice; // all bits where c is 257 * c for the rest, else 0

  explicit even_weights(uint32_t w) {
    const auto factor = uint16_t(257 * w + 1);
    const auto rest_factor = uint16_t(w == 0 ? 256 : 257 * (255 - w) + 1);
    own = words{} + factor;
    rest = words{} + rest_factor;
    twice = dwords{} + (w == 0 ? ~0u : 0);
  }
};

constexpr bool parts_are_exact() {
  for (uint32_t c = 0; c < 256; ++c) {
    for (uint32_t w = 0; w < 255; ++w)
      if ((256 * c + 1) * (257 * w) >> 24 != c * w / 255 || c * (257 * w + 1) >> 16 != c * w / 255)
        return false;
    if ((256 * c + 1) * (257 * 255) >> 24 != c || 257 * c * 256 >> 16 != c) return false;
  }
  return true;
}
static_assert(parts_are_exact());

/// Each channel of a pixel as a weight.
inline weights weights_of(dwords p) {
  const channels twice = interleaved(p, hidden(p));
  return {twice.low, twice.high};
}

/// One channel of each pixel, 0 for blue to 3 for alpha, as the weight of all its channels.
template <int channel> inline weights spread(dwords p) {
  // Bytes 0 to 7 of each 16 are for the first pixel of the half, the others for the second.
  constexpr auto low = [](int i) { return i / 16 * 16 + i / 8 % 2 * 4 + channel; };
  constexpr auto high = [](int i) { return i / 16 * 16 + i / 8 % 2 * 4 + 8 + channel; };
  return {words(shuffled<low>(bytes(p), bytes(p))), words(shuffled<high>(bytes(p), bytes(p)))};
}

inline weights rest_of(weights w) { return {~w.low, ~w.high}; }

inline channels part(dwords p, weights w) {
  const channels c = interleaved(hidden(dwords{} + 0x01010101), p); // 256 * c + 1
  return {high_product(c.low, w.low) >> 8, high_product(c.high, w.high) >> 8};
}
inline channels rest_part(dwords p, weights w) { return part(p, rest_of(w)); }

inline channels part(dwords p, const even_weights &w) {
  const channels c = widen(p);
  return {high_product(c.low, w.own), high_product(c.high, w.own)};
}
inline channels rest_part(dwords p, const even_weights &w) {
  const channels c = interleaved(p, p & w.twice);
  return {high_product(c.low, w.rest), high_product(c.high, w.rest)};
}

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
