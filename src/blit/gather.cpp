// How the four operations feed pixels to a kernel.
#include <algorithm>
#include <cstring>

#include "blit/sampling.h"
#include "blit/sampling_avx2.h"
#include "blit/scaled_rows.h"
#include "blit/span.h"
#include "orb/graphics2d.h"
#include "surface/ghost_table.h"

namespace {

uint8_t *pixel_address(const __ORBSurface2D__ *surface, int32_t x, int32_t y) {
  const ptrdiff_t bytes = surface->depth >> 3;
  return static_cast<uint8_t *>(surface->pixels) + ptrdiff_t(y) * ptrdiff_t(surface->pitch) +
         x * bytes;
}

/// The kernel arguments that all operations take from the blit state.
kernel_args common_args() {
  kernel_args k{};
  k.dst_alpha = blit.dst->alpha_channel != 0;
  k.alpha = uint8_t(blit.blt_alpha);
  k.intensity = uint8_t(blit.blt_intensity);
  k.tint_r = uint8_t(blit.tintR);
  k.tint_g = uint8_t(blit.tintG);
  k.tint_b = uint8_t(blit.tintB);
  k.ghost = table_ghost8;
  return k;
}

/// A kernel reads a group of pixels before it writes one. Where source and destination overlap in
/// memory that would show, so pixels are drawn one by one: rows top to bottom, left to right.
void run_overlapping(span_kernel *kernel, kernel_args k) {
  const int32_t bytes = blit.src->depth >> 3, step = k.mirror ? -bytes : bytes;
  auto *dst = static_cast<uint8_t *>(k.dst);
  auto *src = static_cast<const uint8_t *>(k.src);
  const int32_t w = k.w, h = k.h;
  k.w = k.h = 1;
  k.mirror = false;
  for (int32_t y = 0; y < h; ++y, dst += k.dst_stride, src += k.src_stride) {
    for (int32_t x = 0; x < w; ++x) {
      k.dst = dst + x * bytes;
      k.src = src + x * step;
      kernel(k);
    }
  }
}

/// Rows are sampled into a buffer of this many pixels, small enough for the L1 cache.
constexpr int32_t chunk = 2048;
alignas(32) uint32_t sampled[chunk];

/// Runs a kernel over the `blt_w` pixels from (dst_x, dst_y), filling the buffer chunk by chunk
/// with sample(buffer, count).
template <typename Word, typename Sample> void run_sampled(span_kernel *kernel, Sample sample) {
  auto *buffer = reinterpret_cast<Word *>(sampled);
  kernel_args k = common_args();
  k.src = buffer;
  k.h = 1;
  auto *dst = reinterpret_cast<Word *>(pixel_address(blit.dst, blit.dst_x, blit.dst_y));
  // A surface drawn onto itself must not be sampled ahead of the writes.
  const int32_t piece = blit.shared ? 1 : chunk;
  for (int32_t left = blit.blt_w; left > 0;) {
    k.w = std::min(left, piece);
    k.dst = dst;
    sample(buffer, k.w);
    kernel(k);
    dst += k.w;
    left -= k.w;
  }
}

/// Whether rows up to `last` of the source can be sampled by gathers. They read 32 bits, which for
/// narrower pixels could run past the end of memory on the last row.
template <typename Word> bool can_gather(instruction_set isa, uint32_t last) {
  return isa == instruction_set::avx2 && (sizeof(Word) == 4 || last + 1 < blit.src->height) &&
         blit.src->pitch >= 4;
}

/// The rows that the blit state asks of a scale routine.
scaled_rows rows_to_scale() {
  const bool many = blit.src_rows != nullptr;
  return {static_cast<const uint8_t *>(blit.src->pixels), ptrdiff_t(blit.src->pitch),
          many ? blit.src_rows : &blit.src_y, many ? blit.blt_rows : 1};
}

/// How many of the first rows are alike.
int32_t alike(const scaled_rows &rows) {
  int32_t count = 1;
  while (count < rows.count && rows.rows[count] == rows.rows[0])
    ++count;
  return count;
}

/// Samples a strip of rows into the buffer, as many at a time as it holds, and draws them.
void draw_strip(span_kernel *kernel, kernel_args k, const column_plan &plan, scaled_rows left) {
  const int32_t bytes = blit.src->depth >> 3;
  constexpr int32_t line = 32;
  k.w = plan.count;
  k.src = sampled;
  const int32_t stride = (k.w * bytes + line - 1) / line * line;
  const int32_t room = int32_t(sizeof sampled) / stride;
  // From so many rows alike it pays to sample only one of them.
  constexpr int32_t many_alike = 4;
  while (left.count > 0) {
    scaled_rows now = left;
    const int32_t same = alike(left);
    if (same >= many_alike) {
      k.h = same;
      k.src_stride = 0;
      now.count = 1;
    } else {
      k.h = now.count = std::min(left.count, room);
      k.src_stride = stride;
    }
    plan.sample(plan, now, reinterpret_cast<uint8_t *>(sampled), stride);
    kernel(k);
    k.dst = static_cast<uint8_t *>(k.dst) + k.h * k.dst_stride;
    left.rows += k.h;
    left.count -= k.h;
  }
}

/// Draws scaled rows, in strips of as many columns as a plan covers. Where the kernel would only
/// copy, the destination takes the place of the buffer.
void scale_strips(span_kernel *kernel, plan_maker *make_plan, bool copies) {
  static column_plan plan;
  const int32_t bytes = blit.src->depth >> 3;
  const scaled_rows rows = rows_to_scale();
  kernel_args k = common_args();
  k.dst_stride = int32_t(blit.dst->pitch);
  auto x = uint32_t(blit.src_x);
  for (int32_t done = 0; done < blit.blt_w; done += plan.count) {
    const int32_t count = std::min(blit.blt_w - done, plan_width);
    make_plan(plan, x, uint32_t(blit.x_inc), count, int32_t(blit.src->width));
    x += uint32_t(blit.x_inc) * uint32_t(count);
    uint8_t *const dst = pixel_address(blit.dst, blit.dst_x + done, blit.dst_y);
    k.dst = dst;
    if (copies && count * bytes >= piece_bytes)
      plan.sample(plan, rows, dst, k.dst_stride);
    else
      draw_strip(kernel, k, plan, rows);
  }
}

/// A surface drawn onto itself is sampled pixel by pixel.
template <typename Word> void scale_shared(span_kernel *kernel) {
  const auto *row = reinterpret_cast<const Word *>(pixel_address(blit.src, 0, blit.src_y));
  auto x = uint32_t(blit.src_x);
  const auto step = uint32_t(blit.x_inc);
  run_sampled<Word>(kernel, [&](Word *to, int32_t) {
    *to = row[x >> 16];
    x += step;
  });
}

template <typename Word> void rotscale_row(span_kernel *kernel, instruction_set isa) {
  const auto *pixels = static_cast<const Word *>(blit.src->pixels);
  const uint32_t width = blit.src->width, height = blit.src->height;
  auto x = uint32_t(blit.src_x), y = uint32_t(blit.src_y);
  const auto step_x = uint32_t(blit.x_inc), step_y = uint32_t(blit.y_inc);
  const uint32_t y_end = y + step_y * uint32_t(blit.blt_w - 1);
  const bool gather =
      width < 32768 && height < 32768 && can_gather<Word>(isa, std::max(y, y_end) >> 16);
  run_sampled<Word>(kernel, [&](Word *to, int32_t count) {
    if (gather) {
      gather_line(to, pixels, width, x, y, step_x, step_y, count);
      x += step_x * uint32_t(count);
      y += step_y * uint32_t(count);
    } else {
      sample_line(to, pixels, width, height, x, y, step_x, step_y, count);
    }
  });
  blit.src_x = int32_t(x);
  blit.src_y = int32_t(y);
}

/// Calls the row function for the source's pixel size.
template <typename F> void by_depth(F f) {
  switch (blit.src->depth) {
  case 8: f(uint8_t{}); break;
  case 16: f(uint16_t{}); break;
  default: f(uint32_t{}); break;
  }
}

} // namespace

void span_draw(span_kernel *kernel) {
  const int32_t bytes = blit.src->depth >> 3;
  kernel_args k = common_args();
  k.dst = pixel_address(blit.dst, blit.dst_x, blit.dst_y);
  k.src = pixel_address(blit.src, blit.src_x, blit.src_y);
  k.mirror = blit.blt_flags & 1;
  k.w = blit.blt_w;
  k.h = blit.blt_h;
  k.dst_stride = (blit.blt_w + blit.dst_inc) * bytes;
  k.src_stride = ((k.mirror ? -blit.blt_w : blit.blt_w) + blit.src_inc) * bytes;
  if (blit.shared)
    run_overlapping(kernel, k);
  else
    kernel(k);
}

void span_scale(span_kernel *kernel, instruction_set isa, bool copies) {
  if (blit.shared) {
    by_depth([=](auto word) { scale_shared<decltype(word)>(kernel); });
  } else {
    const plan_makers &makers = isa == instruction_set::avx2 ? scaled_rows_avx2 : scaled_rows_sse2;
    // Copies onto an alpha channel set it.
    const bool plain = copies && !(blit.dst->depth == 32 && blit.dst->alpha_channel);
    scale_strips(kernel, makers.for_word[blit.src->depth >> 4], plain);
  }
  blit.src_x = int32_t(uint32_t(blit.src_x) + uint32_t(blit.x_inc) * uint32_t(blit.blt_w));
}

void span_rotscale(span_kernel *kernel, instruction_set isa) {
  by_depth([=](auto word) { rotscale_row<decltype(word)>(kernel, isa); });
}

namespace {

/// Narrow tiles: repeats each source row into a buffer as wide as the clip rectangle and draws it
/// on every destination row that shows it.
template <typename Word> void tile_repeated(span_kernel *kernel) {
  const auto width = int32_t(blit.src->width), height = int32_t(blit.src->height);
  auto *const row = reinterpret_cast<Word *>(sampled);
  kernel_args k = common_args();
  k.src = row;
  k.src_stride = 0;
  // A tile higher than the clip rectangle is drawn once, so the stride does not matter.
  const int32_t rows = std::min(height, blit.cliph);
  k.dst_stride = int32_t(blit.dst->pitch) * rows;
  int32_t phase = blit.tile_phase_x;
  for (blit.tile_x = blit.clipx0; blit.tile_x <= blit.clipx1; blit.tile_x += k.w) {
    k.w = std::min(chunk, blit.clipx1 - blit.tile_x + 1);
    for (int32_t i = 0; i < rows; ++i) {
      const int32_t src_y = (blit.tile_phase_y + i) % height;
      const auto *from = reinterpret_cast<const Word *>(pixel_address(blit.src, 0, src_y));
      for (int32_t x = 0, at = phase; x < k.w;) {
        const int32_t part = std::min(width - at, k.w - x);
        memcpy(row + x, from + at, size_t(part) * sizeof(Word));
        x += part;
        at = 0;
      }
      blit.tile_y = blit.clipy0 + i;
      k.dst = pixel_address(blit.dst, blit.tile_x, blit.tile_y);
      k.h = (blit.cliph - i + height - 1) / height;
      kernel(k);
    }
    phase = (phase + k.w) % width;
  }
}

/// Wide tiles: draws each copy separately.
void tile_copies(span_kernel *kernel) {
  const auto width = int32_t(blit.src->width), height = int32_t(blit.src->height);
  const int32_t bytes = blit.src->depth >> 3;
  kernel_args k = common_args();
  k.dst_stride = int32_t(blit.dst->pitch);
  k.src_stride = int32_t(blit.src->pitch);
  int32_t src_y = blit.tile_phase_y;
  for (blit.tile_y = blit.clipy0; blit.tile_y <= blit.clipy1;) {
    // Adjacent copies share their rows, so a surface drawn onto itself is drawn row by row.
    k.h = blit.shared ? 1 : std::min(height - src_y, blit.clipy1 - blit.tile_y + 1);
    int32_t src_x = blit.tile_phase_x;
    uint8_t *dst = pixel_address(blit.dst, blit.clipx0, blit.tile_y);
    for (blit.tile_x = blit.clipx0; blit.tile_x <= blit.clipx1;) {
      k.w = std::min(width - src_x, blit.clipx1 - blit.tile_x + 1);
      k.dst = dst;
      k.src = pixel_address(blit.src, src_x, src_y);
      if (blit.shared)
        run_overlapping(kernel, k);
      else
        kernel(k);
      dst += k.w * bytes;
      blit.tile_x += k.w;
      src_x = 0;
    }
    blit.tile_y += k.h;
    src_y = src_y + k.h < height ? src_y + k.h : 0;
  }
}

/// Below this width, repeating a row into the buffer is faster.
constexpr uint32_t narrow_tile = 256;

} // namespace

void span_tile(span_kernel *kernel) {
  if (blit.shared || blit.src->width >= narrow_tile)
    tile_copies(kernel);
  else
    by_depth([kernel](auto word) { tile_repeated<decltype(word)>(kernel); });
}
