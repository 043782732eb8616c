// Run-length encoders of the picture writers. Each encodes one line and returns the bytes written.
#pragma once

#include <cstdint>

/// PCX: a count of up to 63 in a byte with its two top bits set, then the byte; other bytes stand
/// for themselves. `destination` has room for 2 * count bytes.
int32_t EncodePcxRleLine(const uint8_t *source, uint8_t *destination, int32_t count);

constexpr int32_t bmp_raw_pixels = 254, tga_raw_pixels = 128;

/// BMP, 8 bits: pairs of count and index, and absolute runs of 3 to 254 indices. `destination` has
/// room for 2 * count bytes, `raw` for bmp_raw_pixels. The end of the line is left to the caller.
int32_t EncodeBmpRleLine(const uint8_t *source, uint8_t *destination, int32_t count, uint8_t *raw);

/// TGA: packets of up to 128 pixels of `pixel_size` bytes (1 to 4), repeated or raw. `destination`
/// has room for tga_line_bound bytes, `raw` for tga_raw_pixels pixels.
int32_t EncodeTGARLELine(const uint8_t *source, uint8_t *destination, int32_t count,
                         int32_t pixel_size, uint8_t *raw);

/// The longest encoded line: raw packets only.
constexpr uint32_t tga_line_bound(uint32_t count, uint32_t pixel_size) {
  return count * pixel_size + (count + tga_raw_pixels - 1) / tga_raw_pixels;
}
