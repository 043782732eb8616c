// Sampling of turned rows: nearest neighbour along lines through a picture, from 16.16 positions
// that advance by steps.
//
// Pixels are fetched one by one from offsets that are computed four at a time. Gathers, measured,
// are no quicker on one maker's CPUs, much slower on others, and read beyond narrow pixels.
//
// Positions and steps are unsigned words that wrap: in a picture wider than 32767 pixels a position
// uses the sign bit.
#pragma once

#include <cstdint>

/// A line: the position of its first pixel, and the steps.
struct source_line {
  uint32_t x, y, step_x, step_y;

  /// Moves on by so many pixels.
  void advance(int32_t pixels) {
    x += step_x * uint32_t(pixels);
    y += step_y * uint32_t(pixels);
  }
};

/// A row of a turned picture.
struct turned_row {
  int32_t x, y, w; // destination pixels
  source_line line;
};

/// Samples `count` pixels along a line, all of them inside the picture.
using line_sampler = void(void *to, const void *pixels, uint32_t width, uint32_t height,
                          const source_line &line, int32_t count);
