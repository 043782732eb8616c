// The one loop of all kernels: rows of groups of pixels.
#pragma once

#include "blit/kernels.h"
#include "simd/lanes.h"

namespace {

template <typename Word> inline group<Word> load_source(const Word *from, bool mirror) {
  if (!mirror) return load<group<Word>>(from);
  return reversed(load<group<Word>>(from - (group_size<Word> - 1)));
}

template <typename Part> inline void copy_ends(uint8_t *to, const uint8_t *from, int size) {
  const Part first = load<Part>(from), last = load<Part>(from + size - sizeof(Part));
  store(to, first);
  store(to + size - sizeof(Part), last);
}

/// Copies less than a register, without a call: the first and the last half of it, which overlap.
inline void copy_few(void *to, const void *from, int size) {
  auto *t = static_cast<uint8_t *>(to);
  auto *f = static_cast<const uint8_t *>(from);
  using quarter = uint64_t __attribute__((vector_size(16)));
  if (vector_bytes > 16 && size >= 16)
    copy_ends<quarter>(t, f, size);
  else if (size >= 8)
    copy_ends<uint64_t>(t, f, size);
  else if (size >= 4)
    copy_ends<uint32_t>(t, f, size);
  else if (size >= 2)
    copy_ends<uint16_t>(t, f, size);
  else
    *t = *f;
}

/// Fewer pixels than a group: through copies, so that nothing outside the row is touched.
template <typename Word, typename Put>
inline void few_pixels(Word *d, const Word *s, int count, bool mirror, const Put &put) {
  constexpr int size = group_size<Word>;
  group<Word> sources{}, results{};
  const int bytes = count * int(sizeof(Word));
  if (mirror) {
    // The picture's pixels end up at the end of the group, and so at the start of its reverse.
    copy_few(reinterpret_cast<Word *>(&sources) + size - count, s - (count - 1), bytes);
    sources = reversed(sources);
  } else {
    copy_few(&sources, s, bytes);
  }
  copy_few(&results, d, bytes);
  results = put(sources, results);
  copy_few(d, &results, bytes);
}

/// Puts put(source, destination) down over the rectangle; groups of source pixels for which
/// skip(source) is true change nothing.
///
/// The rest of a row that has at least one whole group is done by a group that ends with the row
/// and changes only its last pixels: the others were done already and are read back as they are.
template <typename Word, typename Put, typename Skip>
inline void run_rectangle(const kernel_args &k, const Put &put, const Skip &skip) {
  constexpr int size = group_size<Word>;
  const int w = k.w, step = k.mirror ? -1 : 1;
  const bool mirror = k.mirror;
  auto *row = static_cast<uint8_t *>(k.dst);
  auto *src_row = static_cast<const uint8_t *>(k.src);

  group<Word> lane;
  for (int i = 0; i < size; ++i)
    lane[i] = Word(i);
  const int rest = w % size;
  const group<Word> first_new = group<Word>{} + Word(size - rest);

  for (int rows = k.h; rows > 0; --rows, row += k.dst_stride, src_row += k.src_stride) {
    auto *d = reinterpret_cast<Word *>(row);
    auto *s = reinterpret_cast<const Word *>(src_row);
    if (w < size) {
      few_pixels(d, s, w, mirror, put);
      continue;
    }
    int x = 0;
    for (; x + size <= w; x += size) {
      const group<Word> source = load_source(s + x * step, mirror);
      if (!skip(source)) store(d + x, put(source, load<group<Word>>(d + x)));
    }
    if (rest != 0) {
      x = w - size;
      const group<Word> before = load<group<Word>>(d + x);
      const group<Word> after = put(load_source(s + x * step, mirror), before);
      store(d + x, lane >= first_new ? after : before);
    }
  }
}

} // namespace
