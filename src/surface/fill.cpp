// Fills: runs of one colour, whole surfaces, and the replacement of one colour by another.
#include "surface/fill.h"

#include <cstring>
#include <emmintrin.h>

#include "surface/screen.h"

fill_routine *memory_fill = memset8;

namespace {

/// Writes `count` pixels: single ones up to a 16-byte boundary, then 64 and 16 bytes at a time
/// through `write_vector`, then the remaining single ones.
template <typename Pixel, typename WritePixel, typename WriteVector>
void fill_run(void *to, uint32_t count, WritePixel write_pixel, WriteVector write_vector) {
  constexpr uint32_t per_vector = 16 / sizeof(Pixel);
  Pixel *pixel = static_cast<Pixel *>(to);
  for (; count && reinterpret_cast<uintptr_t>(pixel) % 16; --count)
    write_pixel(pixel++);
  for (; count >= 4 * per_vector; count -= 4 * per_vector) {
    for (uint32_t i = 0; i < 4; ++i, pixel += per_vector)
      write_vector(reinterpret_cast<__m128i *>(pixel));
  }
  for (; count >= per_vector; count -= per_vector, pixel += per_vector)
    write_vector(reinterpret_cast<__m128i *>(pixel));
  for (; count; --count)
    write_pixel(pixel++);
}

} // namespace

void memset8(void *to, int32_t value, uint32_t count) { memset(to, value, count); }

void memset16(void *to, int32_t value, uint32_t count) {
  const auto colour = uint16_t(value);
  const __m128i colours = _mm_set1_epi16(int16_t(value));
  fill_run<uint16_t>(
      to, count, [=](uint16_t *pixel) { *pixel = colour; },
      [=](__m128i *pixels) { _mm_store_si128(pixels, colours); });
}

void memset32(void *to, int32_t value, uint32_t count) {
  const auto colour = uint32_t(value);
  const __m128i colours = _mm_set1_epi32(value);
  fill_run<uint32_t>(
      to, count, [=](uint32_t *pixel) { *pixel = colour; },
      [=](__m128i *pixels) { _mm_store_si128(pixels, colours); });
}

void memset32_alphachn_unchanged(void *to, int32_t value, uint32_t count) {
  constexpr uint32_t alpha = 0xFF000000;
  const uint32_t colour = uint32_t(value) & ~alpha;
  const __m128i colours = _mm_set1_epi32(int32_t(colour));
  const __m128i kept = _mm_set1_epi32(int32_t(alpha));
  fill_run<uint32_t>(
      to, count, [=](uint32_t *pixel) { *pixel = (*pixel & alpha) | colour; },
      [=](__m128i *pixels) {
        const __m128i alphas = _mm_and_si128(_mm_load_si128(pixels), kept);
        _mm_store_si128(pixels, _mm_or_si128(alphas, colours));
      });
}

int32_t ORBGI2D_BlitFill(__ORBSurface2D__ *surface, uint32_t colour, int32_t keep_alpha) {
  if (!surface) return 0;
  switch (surface->depth) {
  case 16: memory_fill = memset16; break;
  case 32: memory_fill = keep_alpha ? memset32_alphachn_unchanged : memset32; break;
  default: memory_fill = memset8; break;
  }
  if (!surface->pixels) return 1;
  // QUIRK: filling the ground does not mark it as put: frames show it only if something else does.
  if (surface == ground) background_changed = 1;
  if (surface->pitch == surface->width * uint32_t(surface->depth >> 3)) {
    memory_fill(surface->pixels, int32_t(colour), surface->pixel_count);
    return 1;
  }
  // Only a display wrapper has padded rows, and the padding is left alone.
  auto *row = static_cast<uint8_t *>(surface->pixels);
  for (uint32_t y = 0; y < surface->height; ++y, row += surface->pitch)
    memory_fill(row, int32_t(colour), surface->width);
  return 1;
}

int32_t ORBGI2D_ClearScreen() {
  ORBGI2D_BlitFill(ground, screen_color, 0);
  ground_puting = 0;
  background_changed = 1;
  return 1;
}

// ---- Colour replacement ------------------------------------------------------------------------

namespace {

/// The comparison and the vector form for each pixel width.
template <typename Pixel> __m128i all(uint32_t value) {
  if constexpr (sizeof(Pixel) == 1) {
    return _mm_set1_epi8(int8_t(value));
  } else if constexpr (sizeof(Pixel) == 2) {
    return _mm_set1_epi16(int16_t(value));
  } else {
    return _mm_set1_epi32(int32_t(value));
  }
}
template <typename Pixel> __m128i equal(__m128i a, __m128i b) {
  if constexpr (sizeof(Pixel) == 1) {
    return _mm_cmpeq_epi8(a, b);
  } else if constexpr (sizeof(Pixel) == 2) {
    return _mm_cmpeq_epi16(a, b);
  } else {
    return _mm_cmpeq_epi32(a, b);
  }
}

template <typename Pixel>
void replace_pixels(__ORBSurface2D__ *surface, uint32_t from, uint32_t to) {
  if (!surface || !surface->pixels) return;
  constexpr uint32_t per_group = 16 / sizeof(Pixel);
  const __m128i old_group = all<Pixel>(from), new_group = all<Pixel>(to);
  auto *pixel = static_cast<Pixel *>(surface->pixels);
  uint32_t count = surface->pixel_count;
  for (; count >= per_group; count -= per_group, pixel += per_group) {
    auto *const pixels = reinterpret_cast<__m128i *>(pixel);
    const __m128i group = _mm_loadu_si128(pixels);
    const __m128i hit = equal<Pixel>(group, old_group);
    _mm_storeu_si128(pixels,
                     _mm_or_si128(_mm_and_si128(hit, new_group), _mm_andnot_si128(hit, group)));
  }
  for (; count; --count, ++pixel)
    if (*pixel == Pixel(from)) *pixel = Pixel(to);
}

} // namespace

void draw_pixels_8to8bits(__ORBSurface2D__ *surface, uint32_t from, uint32_t to) {
  replace_pixels<uint8_t>(surface, from, to);
}
void draw_pixels_16to16bits(__ORBSurface2D__ *surface, uint32_t from, uint32_t to) {
  replace_pixels<uint16_t>(surface, from, to);
}
void draw_pixels_32to32bits(__ORBSurface2D__ *surface, uint32_t from, uint32_t to) {
  replace_pixels<uint32_t>(surface, from, to);
}
