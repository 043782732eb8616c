// The bodies of the samplers of scaled rows (scaled_rows.h), for the files that compile them for
// one instruction set. Everything is in an anonymous namespace, as in simd/lanes.h and for the same
// reason.
#pragma once

#include "blit/scaled_rows.h"
#include "simd/lanes.h"

namespace {

/// put<n>(row, destination) for the source rows that are shown by n = 1 or 2 destination rows; more
/// that are alike are taken as pairs.
template <typename Put>
inline void for_each_shown(scaled_rows source, uint8_t *to, ptrdiff_t stride, Put put) {
  for (int32_t i = 0; i < source.count;) {
    const int32_t row = source.rows[i];
    const uint8_t *const from = source.from + row * source.pitch;
    if (i + 1 < source.count && source.rows[i + 1] == row) {
      put.template operator()<2>(from, to);
      to += 2 * stride;
      i += 2;
    } else {
      put.template operator()<1>(from, to);
      to += stride;
      ++i;
    }
  }
}

/// Stores the same in `rows` rows.
template <int rows, typename Vector>
inline void store_rows(uint8_t *to, ptrdiff_t stride, Vector v) {
  store(to, v);
  if (rows == 2) store(to + stride, v);
}

// ---- Each pixel from its column ----------------------------------------------------------------

template <typename Word>
void sample_columns(const column_plan &plan, const scaled_rows &source, uint8_t *to_rows,
                    ptrdiff_t stride) {
  for_each_shown(source, to_rows, stride, [&]<int rows>(const uint8_t *from, uint8_t *to) {
    const auto *const row = reinterpret_cast<const Word *>(from);
    const uint32_t *const columns = plan.columns;
    const int32_t count = plan.count;
    int32_t i = 0;
    for (; i + 4 <= count; i += 4) {
      // All are read before one is written, which could be a column for all the compiler knows.
      const Word four[4] = {row[columns[i]], row[columns[i + 1]], row[columns[i + 2]],
                            row[columns[i + 3]]};
      for (int j = 0; j < 4; ++j)
        store_rows<rows>(to + (i + j) * int(sizeof(Word)), stride, four[j]);
    }
    for (; i < count; ++i)
      store_rows<rows>(to + i * int(sizeof(Word)), stride, row[columns[i]]);
  });
}

inline void plan_columns(column_plan &plan, uint32_t x, uint32_t step) {
  for (int32_t i = 0; i < plan.count; ++i, x += step)
    plan.columns[i] = x >> 16;
}

// ---- Every other pixel -------------------------------------------------------------------------

/// The first column isn't 0. The pixels are the odd ones from the one before it: so the last that
/// is read is the last that is shown.
template <typename Word>
void sample_halves(const column_plan &plan, const scaled_rows &source, uint8_t *to,
                   ptrdiff_t stride) {
  constexpr int size = group_size<Word>, bytes_each = int(sizeof(Word));
  const uint8_t *const first = source.from + (plan.first - 1) * bytes_each;
  const int32_t last = (plan.count - size) * bytes_each;
  const int32_t *const end = source.rows + source.count;
  for (const int32_t *row = source.rows; row < end; ++row, to += stride) {
    const uint8_t *const before = first + *row * source.pitch;
    const auto put = [=](int32_t at) {
      const auto odd = shuffled<[](int lane) { return 2 * lane + 1; }>(
          load<group<Word>>(before + 2 * at), load<group<Word>>(before + 2 * at + vector_bytes));
      store(to + at, odd);
    };
    for (int32_t at = 0; at < last; at += vector_bytes)
      put(at);
    put(last);
  }
}

// ---- Every pixel twice -------------------------------------------------------------------------

/// Of the first and the last column one pixel may be shown; the others are pairs.
template <typename Word>
void sample_doubles(const column_plan &plan, const scaled_rows &source, uint8_t *to_rows,
                    ptrdiff_t stride) {
  constexpr int size = group_size<Word>, bytes_each = int(sizeof(Word));
  for_each_shown(source, to_rows, stride, [&]<int rows>(const uint8_t *from, uint8_t *to) {
    const auto *row = reinterpret_cast<const Word *>(from) + plan.first;
    const auto put_single = [=](int32_t i, const Word *pixel) {
      store_rows<rows>(to + i * bytes_each, stride, *pixel);
    };
    int32_t i = 0;
    if (plan.first_once) put_single(i++, row++);
    const int32_t pairs = (plan.count - i) / 2;
    uint8_t *const paired = to + i * bytes_each;
    const auto put = [=](int32_t pair) {
      const auto pixels = load<group<Word>>(row + pair);
      uint8_t *const at = paired + 2 * pair * bytes_each;
      store_rows<rows>(at, stride, shuffled<[](int lane) { return lane / 2; }>(pixels, pixels));
      store_rows<rows>(at + vector_bytes, stride,
                       shuffled<[](int lane) { return (size + lane) / 2; }>(pixels, pixels));
    };
    for (int32_t pair = 0; pair < pairs - size; pair += size)
      put(pair);
    put(pairs - size);
    if (i + 2 * pairs < plan.count) put_single(i + 2 * pairs, row + pairs);
  });
}

// ---- Pieces of 16 bytes ------------------------------------------------------------------------

#ifdef __AVX2__

template <typename Word> inline constexpr int piece_size = piece_bytes / int(sizeof(Word));

/// `loads` is 1 if all pieces come from one start each.
template <typename Word, int loads>
void sample_pieces(const column_plan &plan, const scaled_rows &source, uint8_t *to_rows,
                   ptrdiff_t stride) {
  for_each_shown(source, to_rows, stride, [&]<int rows>(const uint8_t *from, uint8_t *to) {
    const piece_table &pieces = plan.pieces;
    const auto source_at = [&](int which, int32_t piece) {
      return load<__m128i>(from + pieces.starts[which][piece]);
    };
    const auto put = [&](int32_t piece, int32_t at) {
      const auto part = [&](int which) {
        return _mm_shuffle_epi8(source_at(which, piece),
                                load<__m128i>(pieces.places[which][piece]));
      };
      store_rows<rows>(to + at, stride, loads == 1 ? part(0) : part(0) | part(1));
    };
    const auto put_pair = [&](int32_t piece, int32_t at) {
      const auto part = [&](int which) {
        return _mm256_shuffle_epi8(
            _mm256_set_m128i(source_at(which, piece + 1), source_at(which, piece)),
            load<__m256i>(pieces.places[which][piece]));
      };
      store_rows<rows>(to + at, stride, loads == 1 ? part(0) : part(0) | part(1));
    };
    const int32_t end = plan.count * int(sizeof(Word)) - piece_bytes;
    int32_t piece = 0, at = 0;
    for (; at + piece_bytes < end; piece += 2, at += 2 * piece_bytes)
      put_pair(piece, at);
    if (at < end) put(piece++, at);
    put(piece, end > 0 ? end : 0);
  });
}

using quad = int32_t __attribute__((vector_size(16)));
using unsigned_quad = uint32_t __attribute__((vector_size(16)));
template <typename Word> using lanes = Word __attribute__((vector_size(piece_bytes)));

/// Small numbers as the lanes of a piece.
inline lanes<uint32_t> narrowed(const quad (&v)[1]) { return lanes<uint32_t>(v[0]); }
inline lanes<uint16_t> narrowed(const quad (&v)[2]) {
  return lanes<uint16_t>(_mm_packs_epi32(__m128i(v[0]), __m128i(v[1])));
}
inline lanes<uint8_t> narrowed(const quad (&v)[4]) {
  return lanes<uint8_t>(_mm_packs_epi16(_mm_packs_epi32(__m128i(v[0]), __m128i(v[1])),
                                        _mm_packs_epi32(__m128i(v[2]), __m128i(v[3]))));
}

/// The places of pixels as the places of their bytes.
template <typename Word> inline lanes<Word> places_of_bytes(lanes<Word> pixels) {
  constexpr uint32_t all = 0x01010101, bytes = 0x03020100;
  return pixels * Word(all * sizeof(Word)) + Word(bytes);
}

/// The last piece overlaps the one before it where the row isn't a whole number of them.
template <typename Word, int loads>
inline void plan_pieces(column_plan &plan, uint32_t x, uint32_t step, int32_t width) {
  constexpr int size = piece_size<Word>, quads = size / 4;
  // A row shorter than a piece repeats its last pixel.
  const int32_t shown = plan.count < size ? plan.count : size, last = plan.count - shown;
  quad offsets[quads];
  for (int q = 0; q < quads; ++q) {
    const quad lane = quad{0, 1, 2, 3} + 4 * q;
    offsets[q] = (lane < shown ? lane : quad{} + (shown - 1)) * int32_t(step);
  }
  for (int32_t piece = 0, i = 0;; ++piece, i += size) {
    const uint32_t position = x + uint32_t(i < last ? i : last) * step;
    const auto left = int32_t(position >> 16);
    const auto right = int32_t((position + uint32_t(shown - 1) * step) >> 16);
    const int32_t lowest = left < right ? left : right, highest = left < right ? right : left;
    const int32_t first = lowest < width - size ? lowest : width - size;
    const int32_t second = highest < size ? 0 : highest - (size - 1);

    quad columns[quads], from_second[quads];
    for (int q = 0; q < quads; ++q) {
      columns[q] = quad((unsigned_quad(offsets[q]) + position) >> 16) - first;
      from_second[q] = columns[q] + (first - second);
    }
    const lanes<Word> in_first = narrowed(columns);
    const auto outside = lanes<Word>(in_first >= Word(size));
    piece_table &to = plan.pieces;
    to.starts[0][piece] = first * int32_t(sizeof(Word));
    store(to.places[0][piece], places_of_bytes<Word>(in_first) | outside);
    if (loads == 2) {
      to.starts[1][piece] = second * int32_t(sizeof(Word));
      store(to.places[1][piece], places_of_bytes<Word>(narrowed(from_second)) | ~outside);
    }
    if (i >= last) return;
  }
}

#endif

// ---- The choice --------------------------------------------------------------------------------

template <typename Word>
void make_plan(column_plan &plan, uint32_t x, uint32_t step, int32_t count,
               [[maybe_unused]] int32_t width) {
  plan.count = count;
  plan.first = int32_t(x >> 16);
  constexpr uint32_t one = 1 << 16;
  if (step == 2 * one && plan.first > 0 && count >= group_size<Word>) {
    plan.sample = sample_halves<Word>;
    return;
  }
  if (step == one / 2 && count > 2 * group_size<Word>) {
    plan.first_once = (x & 0xFFFF) >= one / 2;
    plan.sample = sample_doubles<Word>;
    return;
  }
#ifdef __AVX2__
  // A step across more than half of the widest picture looks like a small one backwards.
  const uint32_t end = x + step * uint32_t(count - 1);
  const bool backwards = int32_t(step) < 0;
  if (backwards == (end < x) && width >= piece_size<Word>) {
    if (step + one <= 2 * one) {
      plan_pieces<Word, 1>(plan, x, step, width);
      plan.sample = sample_pieces<Word, 1>;
      return;
    }
    if (step + 2 * one <= 4 * one) {
      plan_pieces<Word, 2>(plan, x, step, width);
      plan.sample = sample_pieces<Word, 2>;
      return;
    }
  }
#endif
  plan_columns(plan, x, step);
  plan.sample = sample_columns<Word>;
}

} // namespace
