// The picture that a reader makes, row by row: checks its size, allocates it in the globals, and
// brings truecolour rows to the depth of the screen.
#pragma once

#include <cstddef>

#include "formats/truecolour.h"

struct picture_rows {
  uint32_t w, h;
  uint32_t pitch;  // bytes
  uint8_t *pixels; // image_data
  truecolour_conversion conversion;
  uint32_t *wide; // 8 and 16 bits: a truecolour row before its conversion
};

/// Largest picture that is read, in bytes: what a surface may hold.
constexpr uint32_t max_picture_size = 0x7FFFFFE0;

/// Makes an 8-bit picture of palette indices, sides 1..65535. False with image_error set. End a
/// picture that was begun, well or not, with end_picture.
bool begin_indices(picture_rows *picture, uint32_t w, uint32_t h);
/// Makes a truecolour picture of the depth of the screen.
bool begin_colours(picture_rows *picture, uint32_t w, uint32_t h, bool alpha);
/// Frees what only the reading needed, and the pixels unless they are `good`. Returns `good`.
bool end_picture(picture_rows *picture, bool good);

inline uint8_t *index_row(const picture_rows &picture, uint32_t y) {
  return picture.pixels + size_t(y) * picture.pitch;
}
/// Where to put row y of a truecolour picture, as 0xAARRGGBB. Finish it before the next one.
inline uint32_t *colour_row(const picture_rows &picture, uint32_t y) {
  return picture.wide ? picture.wide : reinterpret_cast<uint32_t *>(index_row(picture, y));
}
inline void finish_row(const picture_rows &picture, uint32_t y) {
  if (picture.wide)
    convert_truecolour_row(picture.conversion, index_row(picture, y), picture.wide, picture.w);
}
