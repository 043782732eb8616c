// Row routines of presentations and fades, written once and compiled for each instruction set. All
// give the same pixels. No routine reads or writes outside the given rows.
#pragma once

#include <cstdint>

/// The depth pairs that can be presented.
struct depth_pair {
  int32_t from, to; // bits a pixel, of the screen and of the display
};
inline constexpr depth_pair depth_pairs[] = {{8, 8},   {8, 16},  {8, 32},
                                             {16, 16}, {16, 32}, {32, 32}};
inline constexpr int depth_groups = 6;

/// The intensity that every second row of the display loses. Black rows are never written.
enum class scanlines { none, less25, less50, less75, black };
inline constexpr int scanline_kinds = 5;

/// `count` pixels from one depth to another, darkened.
using translate_row = void(const void *from, void *to, int32_t count);
/// `count` pixels, each twice in both rows; the lower row is darkened.
using double_row = void(const void *from, void *upper, void *lower, int32_t count);

/// A row of the screen between its neighbours. Beyond the first and the last row, a neighbour is
/// the row itself.
struct row_with_neighbours {
  const void *above, *row, *below;
  int32_t width; // pixels
};
/// The pixels first..last - 1 of a row by the Scale2x rule, twice as many in both rows; `upper` and
/// `lower` begin with those of `first`. The lower row is darkened.
using scale2x_row = void(const row_with_neighbours &rows, int32_t first, int32_t last, void *upper,
                         void *lower);
/// to[i] = row[columns[i]].
using pick_columns = void(const void *row, const int32_t *columns, void *to, int32_t count);

/// A fade of 8-bit components c, by channel (blue, green, red, top byte):
/// (c & keep) + (2 * (c ^ flip) * factor >> 16).
struct fade_factors {
  uint8_t flip[4], keep[4];
  uint16_t factor[4];
};
namespace {
constexpr uint32_t faded_component(uint32_t c, const fade_factors &by, int channel) {
  return (c & by.keep[channel]) + (2 * (c ^ by.flip[channel]) * by.factor[channel] >> 16);
}
} // namespace
/// Fades `count` pixels in place.
using fade_pixels = void(void *pixels, uint32_t count, const fade_factors &by);

/// The routines of one instruction set. Entries by depth have 8, 16 and 32 bits at 0, 1 and 2.
/// Entries that would darken palette indices, and plain copies, are empty.
struct row_routines {
  translate_row *translate[depth_groups][scanline_kinds];
  double_row *doubled[3][scanline_kinds];
  scale2x_row *scale2x[3][scanline_kinds];
  pick_columns *picked[3];
  fade_pixels *fade16, *fade32;
};
extern const row_routines rows_sse2, rows_avx2;

/// Those in use.
extern const row_routines *row_kernels;
/// Selects the widest instruction set that the CPU has.
void choose_row_routines();

/// The index of a depth in the entries by depth.
constexpr int depth_index(int32_t depth) { return depth == 8 ? 0 : depth == 16 ? 1 : 2; }
