// The blit state: what an operation computes once per blit and its span routine reads.
//
// Owner: the running operation (blit/blit_*.cpp); span routines only read it, except that the
// scaled and rotated ones advance `src_x` and `src_y`. Nothing in it outlives a blit.
#pragma once

#include <cstdint>

struct __ORBSurface2D__;
struct __ORBRegion__;
struct turned_row;

using span_routine = void();

struct blit_state {
  __ORBSurface2D__ *src, *dst;
  bool shared;  // src and dst overlap in memory: pixels must be drawn one by one, in order
  int32_t x, y; // pivot position, pixels
  // The destination's origin on the plane that transformed pictures are placed on: (0, 0) except in
  // blit_window().
  int32_t window_x, window_y;
  int32_t region;
  const __ORBRegion__ *pregion; // clip region in use, or null
  int32_t flags;
  int32_t blt_flags;        // flags & 15
  int32_t alpha, blt_alpha; // 0..255
  int32_t fxmode;           // effect index after conversion
  uint32_t fxcolor;
  int32_t blt_intensity; // 0..255
  int32_t tintR, tintG, tintB;
  int32_t size, size_x, size_y; // percent
  int32_t angle;                // thousandths of a degree
  int32_t shear_x, shear_y;     // percent
  int32_t tfmorder;
  int32_t clipx0, clipy0, clipx1, clipy1; // inclusive
  int32_t clipw, cliph;
  int32_t dst_x, dst_y;     // first destination pixel
  int32_t blt_w, blt_h;     // pixels to draw
  // What the `blt_rows` rows show that a scaled or rotated span draws; null: it draws one, and takes
  // it from what else is here.
  const int32_t *src_rows; // source rows
  const turned_row *turned_rows;
  int32_t blt_rows;
  int32_t src_x, src_y;     // pixels, or 16.16 for scaled and rotated spans
  int32_t src_inc, dst_inc; // pixels from the end of a row to the next row's start
  int32_t x_inc, y_inc;     // 16.16 source steps per destination pixel
  int32_t tile_x, tile_y;   // where the next tile row starts
  int32_t tile_phase_x, tile_phase_y; // source pixel under (clipx0, clipy0)
  span_routine *draw, *scale, *rotscale, *tile;
};

extern blit_state blit;
