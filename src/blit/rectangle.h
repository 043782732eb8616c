// The one loop of all kernels: rows of groups of pixels.
#pragma once

#include "blit/kernels.h"
#include "blit/lanes.h"

namespace {

template <typename Word> inline group<Word> load_source(const Word *from, bool mirror) {
  if (!mirror) return load<group<Word>>(from);
  return reversed(load<group<Word>>(from - (group_size<Word> - 1)));
}

/// Fewer pixels than a group: through copies, so that nothing outside the row is touched.
template <typename Word, typename Op>
inline void few_pixels(Word *d, const Word *s, int count, bool mirror, const Op &op) {
  Word sources[group_size<Word>] = {}, results[group_size<Word>] = {};
  const int step = mirror ? -1 : 1;
  for (int i = 0; i < count; ++i) {
    sources[i] = s[i * step];
    results[i] = d[i];
  }
  store(results, op(load<group<Word>>(sources), load<group<Word>>(results)));
  for (int i = 0; i < count; ++i)
    d[i] = results[i];
}

/// Puts op(source, destination) down over the rectangle. `op` takes and gives groups of pixels.
///
/// The rest of a row that has at least one whole group is done by a group that ends with the row
/// and changes only its last pixels: the others were done already and are read back as they are.
template <typename Word, typename Op>
inline void run_rectangle(const kernel_args &k, const Op &op) {
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
      few_pixels(d, s, w, mirror, op);
      continue;
    }
    int x = 0;
    for (; x + size <= w; x += size) {
      store(d + x, op(load_source(s + x * step, mirror), load<group<Word>>(d + x)));
    }
    if (rest != 0) {
      x = w - size;
      const group<Word> before = load<group<Word>>(d + x);
      const group<Word> after = op(load_source(s + x * step, mirror), before);
      store(d + x, lane >= first_new ? after : before);
    }
  }
}

} // namespace
