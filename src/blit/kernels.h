// Kernels: the pixel arithmetic of the span routines, one per routine, pixel kind and instruction
// set, shared by all four operations.
//
// A kernel combines a rectangle of source pixels with a rectangle of destination pixels. The draw
// routines hand it the whole rectangle; the others fetch a row of sampled pixels first and hand
// over that row. Everything a kernel reads arrives in its argument, so that its loops keep it in
// registers.
#pragma once

#include <cstddef>
#include <cstdint>

struct kernel_args {
  void *dst;          // first pixel of the first row
  const void *src;    // first pixel to read; when mirrored, the rightmost of its row
  int32_t dst_stride; // bytes from a row to the next
  int32_t src_stride;
  int32_t w, h;                   // pixels, at least 1
  bool mirror;                    // the source is read leftwards
  bool dst_alpha;                 // the destination has an alpha channel
  uint8_t alpha;                  // global alpha; below 255 where the routine applies it
  uint8_t intensity;              // of the tint
  uint8_t tint_r, tint_g, tint_b; // in the destination's channel widths
  const uint8_t *ghost;           // 256 x 256 palette mixes, row by source index
};

using span_kernel = void(const kernel_args &);

/// Kernels of a pixel kind, by routine number less the kind's first number; null where no routine
/// exists, and for AVX2 where it gains nothing. One table per kind and instruction set.
inline constexpr int kernels_per_pixel_kind = 4 * 2 * 42;
struct kernel_table {
  span_kernel *at[kernels_per_pixel_kind];
};
extern const kernel_table kernels8_sse2, kernels16_sse2, kernels32_sse2, kernelschn_sse2;
extern const kernel_table kernels8_avx2, kernels16_avx2, kernels32_avx2, kernelschn_avx2;
