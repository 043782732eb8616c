// Sampling with AVX2's gathers: eight pixels at a time.
#include "blit/sampling_avx2.h"

#include <immintrin.h>

namespace {

using eight = uint32_t __attribute__((vector_size(32)));

inline eight ramp_of_eight(uint32_t start, uint32_t step) {
  return eight{0, 1, 2, 3, 4, 5, 6, 7} * step + start;
}

/// Stores the low part of each of eight lanes as a pixel.
inline void store_pixels(uint32_t *to, eight v) {
  _mm256_storeu_si256(reinterpret_cast<__m256i *>(to), __m256i(v));
}
inline void store_pixels(uint16_t *to, eight v) {
  const __m256i words = _mm256_packus_epi32(__m256i(v & 0xFFFF), __m256i{});
  // Each half holds four pixels in its low 8 bytes.
  _mm_storeu_si128(reinterpret_cast<__m128i *>(to),
                   _mm256_castsi256_si128(_mm256_permute4x64_epi64(words, 0x08)));
}
inline void store_pixels(uint8_t *to, eight v) {
  const __m256i words = _mm256_packus_epi32(__m256i(v & 0xFF), __m256i{});
  const __m256i bytes = _mm256_packus_epi16(words, __m256i{});
  const __m256i four_each = _mm256_setr_epi32(0, 4, 0, 0, 0, 0, 0, 0);
  _mm_storel_epi64(reinterpret_cast<__m128i *>(to),
                   _mm256_castsi256_si128(_mm256_permutevar8x32_epi32(bytes, four_each)));
}

/// Gathers 32 bits at each offset; in the last, incomplete group the unused lanes read nothing.
template <typename Word, typename Offsets>
inline void gather_run(Word *to, const Word *from, int32_t count, Offsets next_offsets) {
  const auto *base = reinterpret_cast<const int *>(from);
  const eight lane = {0, 1, 2, 3, 4, 5, 6, 7};
  for (; count > 0; count -= 8, to += 8) {
    const auto offsets = __m256i(next_offsets());
    const auto wanted = __m256i(lane < eight{} + uint32_t(count));
    store_pixels(to, eight(_mm256_mask_i32gather_epi32(__m256i{}, base, offsets, wanted,
                                                       int(sizeof(Word)))));
  }
}

} // namespace

#define ORB_GATHERS(Word)                                                                          \
  void gather_line(Word *to, const Word *pixels, uint32_t width, uint32_t x, uint32_t y,           \
                   uint32_t step_x, uint32_t step_y, int32_t count) {                              \
    eight xs = ramp_of_eight(x, step_x), ys = ramp_of_eight(y, step_y);                            \
    const eight factors = eight{} + (width << 16 | 1);                                             \
    gather_run(to, pixels, count, [&] {                                                            \
      const eight whole = (xs >> 16) | (ys & 0xFFFF0000);                                          \
      xs += step_x * 8;                                                                            \
      ys += step_y * 8;                                                                            \
      return eight(_mm256_madd_epi16(__m256i(whole), __m256i(factors)));                           \
    });                                                                                            \
  }

ORB_GATHERS(uint8_t)
ORB_GATHERS(uint16_t)
ORB_GATHERS(uint32_t)
