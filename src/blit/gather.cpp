// How the four operations feed pixels to a kernel.
#include <algorithm>
#include <cstring>

#include "blit/sampling.h"
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

/// Draws turned rows, each in pieces of as many pixels as the buffer holds. A surface drawn onto
/// itself must not be sampled ahead of the writes.
void draw_turned(span_kernel *kernel, line_sampler *sample, const turned_row *rows, int32_t count) {
  const int32_t bytes = blit.src->depth >> 3, most = blit.shared ? 1 : chunk;
  const void *const pixels = blit.src->pixels;
  const uint32_t width = blit.src->width, height = blit.src->height;
  kernel_args k = common_args();
  k.src = sampled;
  k.h = 1;
  for (const turned_row *row = rows; row < rows + count; ++row) {
    uint8_t *dst = pixel_address(blit.dst, row->x, row->y);
    source_line line = row->line;
    for (int32_t left = row->w; left > 0; left -= k.w) {
      k.w = std::min(left, most);
      k.dst = dst;
      sample(sampled, pixels, width, height, line, k.w);
      kernel(k);
      if (k.w == left) break;
      line.advance(k.w);
      dst += k.w * bytes;
    }
  }
}

constexpr by_instruction_set<samplers> samplers_of = one_for_each(sampling_sse2, sampling_avx2);

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
  const samplers &with = samplers_of[isa];
  const int32_t word = blit.src->depth >> 4;
  if (blit.shared) {
    // A line that doesn't leave its row.
    const turned_row row = {
        blit.dst_x,
        blit.dst_y,
        blit.blt_w,
        {uint32_t(blit.src_x), uint32_t(blit.src_y) << 16, uint32_t(blit.x_inc), 0}};
    draw_turned(kernel, with.turned[word], &row, 1);
  } else {
    // Copies onto an alpha channel set it.
    const bool plain = copies && !(blit.dst->depth == 32 && blit.dst->alpha_channel);
    scale_strips(kernel, with.scaled[word], plain);
  }
  blit.src_x = int32_t(uint32_t(blit.src_x) + uint32_t(blit.x_inc) * uint32_t(blit.blt_w));
}

void span_rotscale(span_kernel *kernel, instruction_set isa) {
  line_sampler *const sample = samplers_of[isa].turned[blit.src->depth >> 4];
  if (blit.turned_rows) return draw_turned(kernel, sample, blit.turned_rows, blit.blt_rows);
  turned_row row = {
      blit.dst_x,
      blit.dst_y,
      blit.blt_w,
      {uint32_t(blit.src_x), uint32_t(blit.src_y), uint32_t(blit.x_inc), uint32_t(blit.y_inc)}};
  draw_turned(kernel, sample, &row, 1);
  row.line.advance(row.w);
  blit.src_x = int32_t(row.line.x);
  blit.src_y = int32_t(row.line.y);
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
