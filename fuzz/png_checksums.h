// Corrects the checksums of a PNG file's chunks: otherwise libpng refuses nearly every mutated file
// at the first chunk.
#pragma once

#include <cstddef>
#include <cstdint>

#include <zlib.h>

namespace fuzz {

/// A big-endian word, as PNG stores it.
inline uint32_t png_word(const uint8_t *at) {
  return uint32_t(at[0]) << 24 | uint32_t(at[1]) << 16 | uint32_t(at[2]) << 8 | at[3];
}

inline void fix_checksums(uint8_t *data, size_t size) {
  for (size_t at = 8; at + 12 <= size;) {
    const size_t length = png_word(data + at);
    if (length > size - at - 12) return;
    const uint32_t sum = uint32_t(crc32(0, data + at + 4, uInt(length + 4)));
    uint8_t *place = data + at + 8 + length;
    for (int i = 0; i < 4; i++)
      place[i] = uint8_t(sum >> (24 - 8 * i));
    at += length + 12;
  }
}

} // namespace fuzz
