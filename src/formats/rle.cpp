#include "formats/rle.h"

#include <cstring>

namespace {

/// How many pixels from `from` on are equal, at least 1 and at most `limit`.
template <typename Pixel> int32_t run_length(const Pixel *from, int32_t limit) {
  int32_t length = 1;
  while (length < limit && from[length] == from[0])
    length++;
  return length;
}

/// A pixel of `size` bytes, compared as a whole.
template <int32_t size> struct packed_pixel {
  uint8_t bytes[size];
  bool operator==(const packed_pixel &) const = default;
};

/// What BMP lines are made of.
struct bmp_packets {
  using pixel = uint8_t;
  static constexpr int32_t max_run = 255, max_raw = bmp_raw_pixels;

  static uint8_t *put_run(uint8_t *out, int32_t length, pixel value) {
    *out++ = uint8_t(length);
    *out++ = value;
    return out;
  }
  static uint8_t *put_raw(uint8_t *out, const pixel *raw, int32_t count) {
    if (count < 3) { // shorter counts after a zero are commands
      for (int32_t i = 0; i < count; i++)
        out = put_run(out, 1, raw[i]);
      return out;
    }
    *out++ = 0;
    *out++ = uint8_t(count);
    memcpy(out, raw, size_t(count));
    out += count;
    if (count % 2) *out++ = 0;
    return out;
  }
};

/// What TGA lines are made of.
template <int32_t size> struct tga_packets {
  using pixel = packed_pixel<size>;
  static constexpr int32_t max_run = 128, max_raw = tga_raw_pixels;

  static uint8_t *put_run(uint8_t *out, int32_t length, pixel value) {
    *out++ = uint8_t(0x80 | (length - 1));
    memcpy(out, &value, size);
    return out + size;
  }
  static uint8_t *put_raw(uint8_t *out, const pixel *raw, int32_t count) {
    if (count == 0) return out;
    *out++ = uint8_t(count - 1);
    memcpy(out, raw, size_t(count) * size);
    return out + count * size;
  }
};

/// Splits a line into long runs and the raw pixels between them, collected in `raw`. Runs of fewer
/// than four pixels save nothing and stay raw.
template <typename Packets>
int32_t encode_line(const uint8_t *source, uint8_t *destination, int32_t count, uint8_t *raw) {
  using pixel = typename Packets::pixel;
  static_assert(alignof(pixel) == 1);
  const auto *from = reinterpret_cast<const pixel *>(source);
  auto *gathered = reinterpret_cast<pixel *>(raw);
  uint8_t *out = destination;
  int32_t waiting = 0;
  for (int32_t i = 0; i < count;) {
    const int32_t left = count - i;
    const int32_t length = run_length(from + i, left < Packets::max_run ? left : Packets::max_run);
    if (length >= 4) {
      out = Packets::put_raw(out, gathered, waiting);
      out = Packets::put_run(out, length, from[i]);
      waiting = 0;
      i += length;
      continue;
    }
    for (const int32_t end = i + length; i < end; i++) {
      gathered[waiting++] = from[i];
      if (waiting < Packets::max_raw) continue;
      out = Packets::put_raw(out, gathered, waiting);
      waiting = 0;
    }
  }
  out = Packets::put_raw(out, gathered, waiting);
  return int32_t(out - destination);
}

} // namespace

int32_t EncodePcxRleLine(const uint8_t *source, uint8_t *destination, int32_t count) {
  constexpr int32_t max_run = 63;
  uint8_t *out = destination;
  for (int32_t i = 0; i < count;) {
    const int32_t left = count - i;
    const int32_t length = run_length(source + i, left < max_run ? left : max_run);
    // A byte that looks like a count needs one even alone.
    if (length > 1 || source[i] >= 0xC0) *out++ = uint8_t(0xC0 | length);
    *out++ = source[i];
    i += length;
  }
  return int32_t(out - destination);
}

int32_t EncodeBmpRleLine(const uint8_t *source, uint8_t *destination, int32_t count, uint8_t *raw) {
  return encode_line<bmp_packets>(source, destination, count, raw);
}

int32_t EncodeTGARLELine(const uint8_t *source, uint8_t *destination, int32_t count,
                         int32_t pixel_size, uint8_t *raw) {
  switch (pixel_size) {
  case 1: return encode_line<tga_packets<1>>(source, destination, count, raw);
  case 2: return encode_line<tga_packets<2>>(source, destination, count, raw);
  case 3: return encode_line<tga_packets<3>>(source, destination, count, raw);
  default: return encode_line<tga_packets<4>>(source, destination, count, raw);
  }
}
