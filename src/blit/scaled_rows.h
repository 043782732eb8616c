// Sampling of scaled rows: nearest neighbour at 16.16 positions that advance by a step.
//
// All rows of a scaled blit show the same columns. So these are worked out once, as a plan, and
// every row is sampled by it:
// - At half size every other pixel is taken: two registers of neighbours give one. At double size
//   one register gives two.
// - With AVX2, up to two source pixels a step, 16 bytes of a result come from 16 bytes of the row,
//   or twice 16: the plan says where they start and which of them go where, and a shuffle of bytes
//   puts them there. In either direction, so that mirrored rows are no different.
// - Else each pixel is fetched from its column.
// Whatever the way, a row is read within its own pixels only.
//
// Positions and steps are unsigned words that wrap: in a picture wider than 32767 pixels a position
// uses the sign bit.
#pragma once

#include <cstddef>
#include <cstdint>

/// The most pixels of a row that one plan covers.
inline constexpr int32_t plan_width = 2048;
/// A plan for fewer bytes than this may write as many all the same.
inline constexpr int32_t piece_bytes = 16;

struct column_plan;

/// The rows to sample: destination row i shows row `rows[i]` of the picture at `from`.
struct scaled_rows {
  const uint8_t *from;
  ptrdiff_t pitch; // bytes
  const int32_t *rows;
  int32_t count;
};

/// Samples rows by a plan, to `to` and every `stride` bytes on. The plan is of the same pixels.
using rows_sampler = void(const column_plan &plan, const scaled_rows &source, uint8_t *to,
                          ptrdiff_t stride);

/// Where the pieces of a result come from.
struct piece_table {
  static constexpr int32_t size = plan_width * 4 / piece_bytes;

  int32_t starts[2][size]; // bytes into the row
  // For each byte of a piece the place after its start; not from there with the highest bit.
  alignas(32) uint8_t places[2][size][piece_bytes];
};

struct column_plan {
  rows_sampler *sample;
  int32_t count;   // pixels
  int32_t first;   // the first column
  bool first_once; // it is shown once where the others are shown twice
  union {
    uint32_t columns[plan_width];
    piece_table pieces;
  };
};

/// Makes the plan for `count` pixels, 1 to plan_width, from position `x`, of rows that are `width`
/// pixels wide. Every sampled position lies inside the row.
using plan_maker = void(column_plan &plan, uint32_t x, uint32_t step, int32_t count, int32_t width);
