// The one loop of all kernels: rows of groups of pixels.
#pragma once

#include <type_traits>

#include "blit/kernels.h"
#include "simd/lanes.h"

namespace {

// ---- Rows narrower than a group ----------------------------------------------------------------
//
// Such a row is taken as its two ends, the first and the last 1, 2, 4, 8 or 16 bytes of it. Pixels
// that both ends have come to the same result. Nothing outside the row is touched.

/// A vector that repeats the first and the last End of `size` bytes.
template <typename End> inline bytes load_ends(const uint8_t *from, int size) {
  const group<End> first{load<End>(from)}, last{load<End>(from + size - sizeof(End))};
  return bytes(shuffled<[](int i) { return i % 2 * group_size<End>; }>(first, last));
}

template <typename End> inline void store_ends(uint8_t *to, bytes both, int size) {
  store(to, group<End>(both)[0]);
  store(to + size - sizeof(End), group<End>(both)[1]);
}

#ifdef __AVX2__
template <> inline bytes load_ends<__m128i>(const uint8_t *from, int size) {
  return bytes(_mm256_set_m128i(load<__m128i>(from + size - 16), load<__m128i>(from)));
}
template <> inline void store_ends<__m128i>(uint8_t *to, bytes both, int size) {
  store(to, _mm256_castsi256_si128(register_type(both)));
  store(to + size - 16, _mm256_extracti128_si256(register_type(both), 1));
}

/// A row of just half a group, as many small pictures have: both ends are the same.
struct half_group {};
template <> inline bytes load_ends<half_group>(const uint8_t *from, int) {
  return bytes(_mm256_broadcastsi128_si256(load<__m128i>(from)));
}
template <> inline void store_ends<half_group>(uint8_t *to, bytes half, int) {
  store(to, _mm256_castsi256_si128(register_type(half)));
}
#endif

/// f.operator()<End>() for the ends of so many pixels.
template <typename Word, typename F> inline auto with_ends(int size, F f) {
#ifdef __AVX2__
  if (size == 16) return f.template operator()<half_group>();
  if (size > 16) return f.template operator()<__m128i>();
#endif
  if (size >= 8) return f.template operator()<uint64_t>();
  if constexpr (sizeof(Word) <= 2)
    if (size >= 4) return f.template operator()<uint32_t>();
  if constexpr (sizeof(Word) == 1)
    if (size >= 2) return f.template operator()<uint16_t>();
  return f.template operator()<Word>();
}

template <typename Word> inline group<Word> load_few(const Word *pixels, int count) {
  const auto *from = reinterpret_cast<const uint8_t *>(pixels);
  const int size = count * int(sizeof(Word));
  return group<Word>(
      with_ends<Word>(size, [=]<typename End>() { return load_ends<End>(from, size); }));
}

template <typename Word> inline void store_few(Word *pixels, group<Word> few, int count) {
  auto *to = reinterpret_cast<uint8_t *>(pixels);
  const int size = count * int(sizeof(Word));
  with_ends<Word>(size, [=]<typename End>() { store_ends<End>(to, bytes(few), size); });
}

// ---- Mirrored rows -----------------------------------------------------------------------------

/// The group of source pixels that starts at `from` and goes leftwards.
template <typename Word> inline group<Word> load_mirrored(const Word *from) {
  return reversed(load<group<Word>>(from - (group_size<Word> - 1)));
}

/// The same for fewer: a row of its own that is read backwards, so that its ends change places.
template <typename Word> inline group<Word> load_few_mirrored(const Word *from, int count) {
  return reversed(load_few(from - (count - 1), count));
}

/// Writes the pixels from `from` leftwards.
template <typename Word> inline void turn_row(Word *to, const Word *from, int count) {
  constexpr int size = group_size<Word>;
  if (count < size) return store_few(to, load_few_mirrored(from, count), count);
  for (int x = 0; x < count - size; x += size)
    store(to + x, load_mirrored(from - x));
  store(to + count - size, load_mirrored(from - (count - size)));
}

/// Runs a kernel that knows no mirror: turns the source around first, as many rows at a time as
/// stay in the first-level cache.
template <typename Word> inline void run_mirrored(span_kernel *kernel, const kernel_args &all) {
  constexpr int room = 4096 / sizeof(Word);
  Word turned[room];
  kernel_args k = all;
  k.mirror = false;
  k.src = turned;
  for (int left = 0; left < all.w; left += k.w) {
    k.w = all.w - left < room ? all.w - left : room;
    k.src_stride = k.w * int(sizeof(Word));
    for (int top = 0; top < all.h; top += k.h) {
      k.h = all.h - top < room / k.w ? all.h - top : room / k.w;
      auto *row = static_cast<const uint8_t *>(all.src) + top * all.src_stride;
      for (int y = 0; y < k.h; ++y, row += all.src_stride)
        turn_row(turned + y * k.w, reinterpret_cast<const Word *>(row) - left, k.w);
      k.dst = static_cast<uint8_t *>(all.dst) + top * all.dst_stride + left * int(sizeof(Word));
      kernel(k);
    }
  }
}

// ---- Rows and rectangles -----------------------------------------------------------------------

/// What run_rectangle asks of a kernel beside put(source, destination), which gives the new
/// destination pixels. The answers here are those of one that has nothing to save.
struct plain_rule {
  static constexpr int together = 1; // groups that are looked at together
  /// Destination rows that are fetched ahead: rows of small pictures are too short for the CPU to
  /// see where they lead, and a rule with arithmetic fills its queues before it has read many.
  static constexpr int rows_ahead = 0;
  /// Whether groups of source pixels change nothing.
  template <typename Groups> static bool skips(const Groups &) { return false; }
  /// Whether they hide the destination wholly, so that copy(source) can replace it.
  static constexpr bool copies = false;
};

/// f(destination, source) for the rows of a rectangle.
template <typename Word, typename F> inline void for_each_row(const kernel_args &k, F f) {
  auto *d = static_cast<uint8_t *>(k.dst);
  auto *s = static_cast<const uint8_t *>(k.src);
  for (int rows = k.h; rows > 0; --rows, d += k.dst_stride, s += k.src_stride)
    f(reinterpret_cast<Word *>(d), reinterpret_cast<const Word *>(s));
}

/// Puts down the columns that are whole groups; what is left of the rectangle are the others.
/// Groups go down `together` at a time, and with `odd` one more.
template <bool odd, bool mirror, typename Word, typename Rule>
inline void put_groups(kernel_args &left, const Rule &rule) {
  constexpr int size = group_size<Word>, count = Rule::together;
  const int steps = left.w / (count * size) * (count * size), whole = odd ? steps + size : steps;
  const auto source_at = [](const Word *s, int x) {
    return mirror ? load_mirrored(s - x) : load<group<Word>>(s + x);
  };
  const ptrdiff_t ahead = ptrdiff_t(Rule::rows_ahead) * left.dst_stride;
  for_each_row<Word>(left, [=](Word *d, const Word *s) {
    for (int x = 0; x < steps; x += count * size) {
      group<Word> source[count];
      for (int i = 0; i < count; ++i)
        source[i] = source_at(s, x + i * size);
      if (rule.skips(source)) continue;
      if constexpr (Rule::copies) {
        if (rule.covers(source)) {
          for (int i = 0; i < count; ++i)
            store(d + x + i * size, rule.copy(source[i]));
          continue;
        }
      }
      if constexpr (Rule::rows_ahead != 0)
        __builtin_prefetch(reinterpret_cast<const uint8_t *>(d + x) + ahead, 1);
      for (int i = 0; i < count; ++i)
        store(d + x + i * size, rule.put(source[i], load<group<Word>>(d + x + i * size)));
    }
    if (odd) store(d + steps, rule.put(source_at(s, steps), load<group<Word>>(d + steps)));
  });
  left.w -= whole;
  left.dst = static_cast<Word *>(left.dst) + whole;
  left.src = static_cast<const Word *>(left.src) + (mirror ? -whole : whole);
}

/// Puts down a rectangle narrower than a group.
template <bool mirror, typename Word, typename Rule>
inline void put_few(const kernel_args &k, const Rule &rule) {
  for_each_row<Word>(k, [=, w = k.w](Word *d, const Word *s) {
    const group<Word> source = mirror ? load_few_mirrored(s, w) : load_few(s, w);
    store_few(d, rule.put(source, load_few(d, w)), w);
  });
}

/// A rule without its savings.
template <typename Rule> struct put_always : Rule {
  static constexpr bool copies = false;
  template <typename Groups> static bool skips(const Groups &) { return false; }
};

/// Puts down a rectangle by the rule of a kernel.
template <bool mirror, typename Word, typename Rule>
inline void run_rectangle(kernel_args k, const Rule &rule) {
  constexpr int size = group_size<Word>;
  // The edges of small pictures cross every row: there is more to lose by a wrong guess of what a
  // group holds than to save.
  if constexpr (Rule::copies && Rule::together == 1)
    if (k.w <= 2 * size) return run_rectangle<mirror, Word>(k, put_always<Rule>{rule});
  if (k.w % (Rule::together * size) >= size)
    put_groups<true, mirror, Word>(k, rule);
  else if (k.w >= size)
    put_groups<false, mirror, Word>(k, rule);
  if (k.w != 0) put_few<mirror, Word>(k, rule);
}

// ---- Copies ------------------------------------------------------------------------------------

/// Every pixel, with the bits of `set`.
template <typename Word, Word set> struct plain_copy : plain_rule {
  static constexpr int together = 2;
  static constexpr bool copies = true;
  template <typename Groups> static bool covers(const Groups &) { return true; }
  static group<Word> copy(group<Word> s) { return s | set; }
  static group<Word> put(group<Word> s, group<Word>) { return s | set; }
};

/// Every pixel but those that are 0. Pictures are transparent or opaque in runs, which pass without
/// a look at the destination.
template <typename Word, Word set> struct keyed_copy : plain_copy<Word, set> {
  template <int count> static bool skips(const group<Word> (&s)[count]) {
    group<Word> any{};
    for (int i = 0; i < count; ++i)
      any |= s[i];
    return none(any);
  }
  template <int count> static bool covers(const group<Word> (&s)[count]) {
    group<Word> holes{};
    for (int i = 0; i < count; ++i)
      holes |= group<Word>(s[i] == 0);
    return none(holes);
  }
  static group<Word> put(group<Word> s, group<Word> d) { return s != 0 ? s | set : d; }
};

/// A copy in either direction: its time is in the loop, so that each has its own.
template <typename Word, Word set, bool keyed> inline void run_copy(const kernel_args &k) {
  using rule = std::conditional_t<keyed, keyed_copy<Word, set>, plain_copy<Word, set>>;
  if (k.mirror)
    run_rectangle<true, Word>(k, rule{});
  else
    run_rectangle<false, Word>(k, rule{});
}

} // namespace
