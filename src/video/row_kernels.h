// The bodies of the row routines (rows.h), for the files that compile them for one instruction set.
// Everything is in an anonymous namespace, as in simd/lanes.h and for the same reason.
#pragma once

#include <utility>

#include "simd/lanes.h"
#include "surface/depth_tables.h"
#include "video/rows.h"

namespace {

template <int depth> struct word_of_depth;
template <> struct word_of_depth<8> { using type = uint8_t; };
template <> struct word_of_depth<16> { using type = uint16_t; };
template <> struct word_of_depth<32> { using type = uint32_t; };
template <int depth> using word = typename word_of_depth<depth>::type;

/// Calls group(i) for every i in first..last - 1 where a whole group begins, and pixel(i) for
/// single ones in rows shorter than a group. The last group may overlap the one before, so both
/// must be repeatable.
template <int size, typename Group, typename Pixel>
inline void each_group(int32_t first, int32_t last, Group group, Pixel pixel) {
  int32_t i = first;
  if (last - first < size) {
    for (; i < last; ++i)
      pixel(i);
    return;
  }
  for (; i + 2 * size <= last; i += 2 * size) {
    group(i);
    group(i + size);
  }
  if (i + size <= last) {
    group(i);
    i += size;
  }
  if (i < last) group(last - size);
}

enum class half { lower, upper };

/// Interleaves one half of two groups.
template <half of, typename V, int... i>
inline V interleave(V a, V b, std::integer_sequence<int, i...>) {
  constexpr int n = sizeof...(i), first = of == half::lower ? 0 : n / 2;
  return __builtin_shufflevector(a, b, (i % 2 * n + first + i / 2)...);
}
template <half of, typename V> inline V interleave(V a, V b) {
  return interleave<of>(a, b, std::make_integer_sequence<int, sizeof(V) / sizeof(V{}[0])>{});
}

// ---- Darkening ----------------------------------------------------------------------------------

/// A pixel or a group of them. Darkening clears the top byte of 32-bit pixels; full intensity keeps
/// it.
template <typename Word, scanlines lines, typename V> inline V darkened(V p) {
  constexpr bool deep = sizeof(Word) == 4;
  constexpr auto colour = Word(deep ? 0xFFFFFF : 0xFFFF);
  constexpr auto halves = Word(deep ? 0x7F7F7F : 0x7BEF);
  constexpr auto quarters = Word(deep ? 0x3F3F3F : 0x39E7);
  if constexpr (lines == scanlines::less25)
    return V((p & colour) - ((p >> 2) & quarters));
  else if constexpr (lines == scanlines::less50)
    return V((p >> 1) & halves);
  else if constexpr (lines == scanlines::less75)
    return V((p >> 2) & quarters);
  else
    return p;
}

// ---- From depth to depth ------------------------------------------------------------------------

template <typename Word, scanlines lines>
void darken_row(const void *from_row, void *to_row, int32_t count) {
  const auto *const from = static_cast<const Word *>(from_row);
  auto *const to = static_cast<Word *>(to_row);
  const auto group_at = [=](int32_t i) {
    store(to + i, darkened<Word, lines>(load<group<Word>>(from + i)));
  };
  const auto pixel_at = [=](int32_t i) { to[i] = darkened<Word, lines>(from[i]); };
  each_group<group_size<Word>>(0, count, group_at, pixel_at);
}

/// What table_color16to32 holds, computed: the fields move to the top of their bytes.
template <typename V> inline V spread565(V p) {
  return (p & 0xF800) << 8 | (p & 0x7E0) << 5 | (p & 0x1F) << 3;
}

/// The two words of spread565, from 16 pixels at a time.
inline words low_words(words p) { return ((p << 5) & 0xFC00) | ((p << 3) & 0xF8); }
inline words high_words(words p) { return (p >> 8) & 0xF8; }

template <scanlines lines> void convert16to32(const void *from_row, void *to_row, int32_t count) {
  const auto *const from = static_cast<const uint16_t *>(from_row);
  auto *const to = static_cast<uint32_t *>(to_row);
  const auto group_at = [=](int32_t i) {
    const auto p = load<words>(from + i);
    const words low = low_words(p), high = high_words(p);
    constexpr int half_size = group_size<uint32_t>;
    store(to + i, darkened<uint32_t, lines>(dwords(interleave<half::lower>(low, high))));
    store(to + i + half_size,
          darkened<uint32_t, lines>(dwords(interleave<half::upper>(low, high))));
  };
  const auto pixel_at = [=](int32_t i) {
    to[i] = darkened<uint32_t, lines>(spread565(uint32_t(from[i])));
  };
  each_group<group_size<uint16_t>>(0, count, group_at, pixel_at);
}

// Table look-ups: several results are assembled in a register and stored at once. Measured faster
// than gathers, and than a table of index pairs, which exceeds the first-level cache.

/// entry(0) .. entry(n - 1) as the pixels of one store of 16 bytes, or of 4 bytes.
inline void store_entries(uint32_t *to, auto entry) {
  using four = uint32_t __attribute__((vector_size(16)));
  store(to, four{entry(0), entry(1), entry(2), entry(3)});
}
inline void store_entries(uint16_t *to, auto entry) {
  using eight = uint16_t __attribute__((vector_size(16)));
  store(to, eight{entry(0), entry(1), entry(2), entry(3), entry(4), entry(5), entry(6), entry(7)});
}
inline void store_entries(uint8_t *to, auto entry) {
  store(to, uint32_t(entry(0) | entry(1) << 8 | entry(2) << 16 | uint32_t(entry(3)) << 24));
}
template <typename Word> inline constexpr int entries_at_once = sizeof(Word) == 2 ? 8 : 4;

template <typename Word>
void look_up(const uint8_t *from, Word *to, int32_t count, const Word *table) {
  const auto group_at = [=](int32_t i) {
    store_entries(to + i, [=](int k) { return table[from[i + k]]; });
  };
  const auto pixel_at = [=](int32_t i) { to[i] = table[from[i]]; };
  each_group<entries_at_once<Word>>(0, count, group_at, pixel_at);
}
void convert8to16(const void *from, void *to, int32_t count) {
  look_up(static_cast<const uint8_t *>(from), static_cast<uint16_t *>(to), count, table_color8to16);
}
void convert8to32(const void *from, void *to, int32_t count) {
  look_up(static_cast<const uint8_t *>(from), static_cast<uint32_t *>(to), count, table_color8to32);
}

/// Null for plain copies and darkened palette indices.
template <int from, int to, scanlines lines> constexpr translate_row *translate_of() {
  if constexpr (lines == scanlines::black)
    return nullptr;
  else if constexpr (from == 16 && to == 32)
    return convert16to32<lines>;
  else if constexpr (from == 8)
    return lines != scanlines::none || to == 8 ? nullptr : to == 16 ? convert8to16 : convert8to32;
  else if constexpr (lines == scanlines::none)
    return nullptr;
  else
    return darken_row<word<to>, lines>;
}

// ---- Twice the size -----------------------------------------------------------------------------

/// Stores the pixels of a group, or one pixel, in turn with those of another.
template <typename Word> inline void store_pairs(Word *to, group<Word> left, group<Word> right) {
  store(to, interleave<half::lower>(left, right));
  store(to + group_size<Word>, interleave<half::upper>(left, right));
}
template <typename Word> inline void store_pairs(Word *to, Word left, Word right) {
  to[0] = left;
  to[1] = right;
}

template <typename Word, scanlines lines>
void double_pixels(const void *from_row, void *upper_row, void *lower_row, int32_t count) {
  const auto *const from = static_cast<const Word *>(from_row);
  auto *const upper = static_cast<Word *>(upper_row), *const lower = static_cast<Word *>(lower_row);
  const auto put = [=](int32_t i, auto p) {
    store_pairs(upper + 2 * i, p, p);
    if constexpr (lines != scanlines::black) {
      const auto dark = darkened<Word, lines>(p);
      store_pairs(lower + 2 * i, dark, dark);
    }
  };
  const auto group_at = [=](int32_t i) { put(i, load<group<Word>>(from + i)); };
  const auto pixel_at = [=](int32_t i) { put(i, from[i]); };
  each_group<group_size<Word>>(0, count, group_at, pixel_at);
}

/// The four pixels that one pixel, or a group of them, becomes.
template <typename V> struct quad { V upper_left, upper_right, lower_left, lower_right; };

template <typename V> inline quad<V> scale2x(V above, V left, V p, V right, V below) {
  const auto keep = (above == below) | (left == right);
  const auto corner = [&](V beside, V over) { return keep ? p : beside == over ? beside : p; };
  return {corner(left, above), corner(right, above), corner(left, below), corner(right, below)};
}

template <typename Word, scanlines lines>
void scale2x_pixels(const row_with_neighbours &rows, int32_t first, int32_t last, void *upper_row,
                    void *lower_row) {
  const auto *const above = static_cast<const Word *>(rows.above);
  const auto *const row = static_cast<const Word *>(rows.row);
  const auto *const below = static_cast<const Word *>(rows.below);
  auto *const upper = static_cast<Word *>(upper_row), *const lower = static_cast<Word *>(lower_row);
  const auto put = [=](int32_t i, const auto &q) {
    store_pairs(upper + 2 * (i - first), q.upper_left, q.upper_right);
    if constexpr (lines != scanlines::black)
      store_pairs(lower + 2 * (i - first), darkened<Word, lines>(q.lower_left),
                  darkened<Word, lines>(q.lower_right));
  };
  const auto group_at = [=](int32_t i) {
    using V = group<Word>;
    put(i, scale2x(load<V>(above + i), load<V>(row + i - 1), load<V>(row + i), load<V>(row + i + 1),
                   load<V>(below + i)));
  };
  // At the picture's sides the missing neighbour is the pixel itself.
  const int32_t right_end = rows.width - 1;
  const auto pixel_at = [=](int32_t i) {
    put(i, scale2x(above[i], row[i > 0 ? i - 1 : i], row[i], row[i < right_end ? i + 1 : i],
                   below[i]));
  };
  const bool at_left = first == 0, at_right = last == rows.width;
  if (at_left && first < last) pixel_at(first++);
  if (at_right && first < last) pixel_at(--last);
  each_group<group_size<Word>>(first, last, group_at, pixel_at);
}

// ---- Columns ------------------------------------------------------------------------------------

template <typename Word>
void pick(const void *row, const int32_t *columns, void *to_row, int32_t count) {
  const auto *const from = static_cast<const Word *>(row);
  auto *const to = static_cast<Word *>(to_row);
  const auto group_at = [=](int32_t i) {
    store_entries(to + i, [=](int k) { return from[columns[i + k]]; });
  };
  const auto pixel_at = [=](int32_t i) { to[i] = from[columns[i]]; };
  each_group<entries_at_once<Word>>(0, count, group_at, pixel_at);
}

// ---- Fades --------------------------------------------------------------------------------------

/// As high_product in simd/lanes.h.
inline uint32_t high_product(uint32_t a, uint32_t b) { return a * b >> 16; }

/// The same value in all words, or the value.
template <typename V> inline V all_of(uint32_t value) {
  if constexpr (sizeof(V) == sizeof value)
    return value;
  else
    return V{} + uint16_t(value);
}

// Most fades only darken: those use a form without flip and keep.

template <bool brightens> void fade_row32(uint32_t *p, uint32_t count, const fade_factors &by) {
  constexpr uint32_t size = group_size<uint32_t>;
  const dwords flip = dwords{} + load<uint32_t>(by.flip), keep = dwords{} + load<uint32_t>(by.keep);
  words factor;
  for (int i = 0; i < group_size<uint16_t>; ++i)
    factor[i] = by.factor[i % 4];
  for (; count >= size; count -= size, p += size) {
    const auto v = load<dwords>(p);
    const channels c = widen(brightens ? v ^ flip : v);
    const channels part = {high_product(c.low + c.low, factor),
                           high_product(c.high + c.high, factor)};
    // No component exceeds 255, so nothing carries into the next.
    store(p, narrow(part) + (v & keep));
  }
  for (; count > 0; --count, ++p) {
    const uint32_t v = *p;
    *p = faded_component(v & 255, by, 0) | faded_component(v >> 8 & 255, by, 1) << 8 |
         faded_component(v >> 16 & 255, by, 2) << 16 | faded_component(v >> 24, by, 3) << 24;
  }
}

/// A fade as 16-bit pixels, or groups of them, use it: by channel.
template <typename V> struct field_fade {
  V flip[3], keep[3], factor[3];

  explicit field_fade(const fade_factors &by) {
    // The positions of the channel's components; see below.
    constexpr int shift[3] = {8, 3, 8};
    for (int i = 0; i < 3; ++i) {
      flip[i] = all_of<V>(uint32_t(by.flip[i]) << shift[i]);
      keep[i] = all_of<V>(by.keep[i] ? 0xFFFF : 0);
      // Full intensity would be 65536. 65535 suffices: the ones below a field make up for it.
      factor[i] = all_of<V>(by.factor[i] < 32768 ? 2u * by.factor[i] : 65535);
    }
  }
};

/// A 5- or 6-bit field is faded as the brightest 8-bit component that it stands for, with ones in
/// the missing low bits, so that nothing changes at the normal level. Components are placed so that
/// the upper half of the product has the field where it belongs: x << 8 or x << 3.
template <bool brightens, typename V> inline V faded_fields(V p, const field_fade<V> &by) {
  const auto faded = [&](V x, int i) {
    if constexpr (brightens)
      return V((x & by.keep[i]) + high_product(x ^ by.flip[i], by.factor[i]));
    else
      return high_product(x, by.factor[i]);
  };
  const V red = faded((p & 0xF800) | 0x700, 2), green = faded((p & 0x7E0) | 0x18, 1);
  const V blue = faded(((p << 11) & 0xF800) | 0x700, 0);
  return (red & 0xF800) | (green & 0x7E0) | (blue >> 11);
}

template <bool brightens> void fade_row16(uint16_t *p, uint32_t count, const fade_factors &by) {
  constexpr uint32_t size = group_size<uint16_t>;
  const field_fade<words> by_group(by);
  for (; count >= size; count -= size, p += size)
    store(p, faded_fields<brightens>(load<words>(p), by_group));
  const field_fade<uint32_t> by_pixel(by);
  for (; count > 0; --count, ++p)
    *p = uint16_t(faded_fields<brightens, uint32_t>(*p, by_pixel));
}

inline bool brightens(const fade_factors &by) {
  return (by.flip[0] | by.flip[1] | by.flip[2]) != 0;
}
void fade_pixels16(void *pixels, uint32_t count, const fade_factors &by) {
  (brightens(by) ? fade_row16<true> : fade_row16<false>)(static_cast<uint16_t *>(pixels), count,
                                                         by);
}
void fade_pixels32(void *pixels, uint32_t count, const fade_factors &by) {
  (brightens(by) ? fade_row32<true> : fade_row32<false>)(static_cast<uint32_t *>(pixels), count,
                                                         by);
}

// ---- The table ----------------------------------------------------------------------------------

#define ORB_TRANSLATIONS(from, to)                                                                 \
  {                                                                                                \
    translate_of<from, to, scanlines::none>(), translate_of<from, to, scanlines::less25>(),        \
        translate_of<from, to, scanlines::less50>(), translate_of<from, to, scanlines::less75>(),  \
        nullptr                                                                                    \
  }
#define ORB_BY_SCANLINES(routine)                                                                  \
  {                                                                                                \
    {routine<uint8_t, scanlines::none>, nullptr, nullptr, nullptr,                                 \
     routine<uint8_t, scanlines::black>},                                                          \
        {routine<uint16_t, scanlines::none>, routine<uint16_t, scanlines::less25>,                 \
         routine<uint16_t, scanlines::less50>, routine<uint16_t, scanlines::less75>,               \
         routine<uint16_t, scanlines::black>},                                                     \
        {routine<uint32_t, scanlines::none>, routine<uint32_t, scanlines::less25>,                 \
         routine<uint32_t, scanlines::less50>, routine<uint32_t, scanlines::less75>,               \
         routine<uint32_t, scanlines::black>},                                                     \
  }

constexpr row_routines all_row_routines = {
    {ORB_TRANSLATIONS(8, 8), ORB_TRANSLATIONS(8, 16), ORB_TRANSLATIONS(8, 32),
     ORB_TRANSLATIONS(16, 16), ORB_TRANSLATIONS(16, 32), ORB_TRANSLATIONS(32, 32)},
    ORB_BY_SCANLINES(double_pixels),
    ORB_BY_SCANLINES(scale2x_pixels),
    {pick<uint8_t>, pick<uint16_t>, pick<uint32_t>},
    fade_pixels16,
    fade_pixels32,
};

#undef ORB_TRANSLATIONS
#undef ORB_BY_SCANLINES

} // namespace
