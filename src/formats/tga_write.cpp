// The TGA writer: 8 bits with the palette in force, 24, and 32 for pictures with an alpha channel;
// plain or run-length coded. Bottom row first.
#include <cstdlib>

#include "formats/codec.h"
#include "formats/file_pixels.h"
#include "formats/file_writer.h"
#include "formats/rle.h"
#include "surface/palette.h"

namespace {

/// A line as the file holds it, from a row of pixels: the row itself, or what is made in `packed`.
using line_maker = const uint8_t *(const uint8_t *row, uint8_t *packed);

const uint8_t *same_line(const uint8_t *row, uint8_t *) { return row; }
const uint8_t *line_from_16(const uint8_t *row, uint8_t *packed) {
  const auto *pixels = reinterpret_cast<const uint16_t *>(row);
  pack_bgr(packed, uint32_t(image_w), [pixels](uint32_t x) { return widen565(pixels[x]); });
  return packed;
}
const uint8_t *line_from_32(const uint8_t *row, uint8_t *packed) {
  const auto *pixels = reinterpret_cast<const uint32_t *>(row);
  pack_bgr(packed, uint32_t(image_w), [pixels](uint32_t x) { return pixels[x]; });
  return packed;
}

/// Gives the lines to write(line), the bottom one first.
template <typename Write> void for_each_line(line_maker *make, uint8_t *packed, Write write) {
  const size_t pitch = size_t(image_w) * uint32_t(image_bpp / 8);
  const auto *row = static_cast<const uint8_t *>(image_data) + pitch * uint32_t(image_h);
  for (int32_t y = 0; y < image_h; y++) {
    row -= pitch;
    write(make(row, packed));
  }
}

template <line_maker *make, int32_t size>
void encode_image(file_writer &file, uint8_t *packed, uint8_t *encoded) {
  uint8_t raw[tga_raw_pixels * size];
  for_each_line(make, packed, [&](const uint8_t *line) {
    write_bytes(file, encoded, uint32_t(EncodeTGARLELine(line, encoded, image_w, size, raw)));
  });
}

// Each encodes the picture of the globals line by line, from pixels of the depth in its name; 24
// are pixels of 32 bits without an alpha channel, and 16 become 24 in the file.

void EncodeTGARLEImage8(file_writer &file, uint8_t *packed, uint8_t *encoded) {
  encode_image<same_line, 1>(file, packed, encoded);
}
void EncodeTGARLEImage16(file_writer &file, uint8_t *packed, uint8_t *encoded) {
  encode_image<line_from_16, 3>(file, packed, encoded);
}
void EncodeTGARLEImage24(file_writer &file, uint8_t *packed, uint8_t *encoded) {
  encode_image<line_from_32, 3>(file, packed, encoded);
}
void EncodeTGARLEImage32(file_writer &file, uint8_t *packed, uint8_t *encoded) {
  encode_image<same_line, 4>(file, packed, encoded);
}

/// How a picture is written.
struct tga_kind {
  uint32_t size;       // bytes of a pixel in the file
  uint32_t descriptor; // bits of the alpha channel; rows from the bottom, columns from the left
  line_maker *make_line;
  void (*encode)(file_writer &file, uint8_t *packed, uint8_t *encoded);
};

constexpr tga_kind indices = {1, 0, same_line, EncodeTGARLEImage8};
constexpr tga_kind from_16 = {3, 0, line_from_16, EncodeTGARLEImage16};
constexpr tga_kind from_32 = {3, 0, line_from_32, EncodeTGARLEImage24};
constexpr tga_kind with_alpha = {4, 8, same_line, EncodeTGARLEImage32};

const tga_kind &kind_of_image() {
  switch (image_bpp) {
  case 8: return indices;
  case 16: return from_16;
  default: return image_alphachannel ? with_alpha : from_32;
  }
}

void write_header(file_writer &file, const tga_kind &kind, bool coded) {
  const bool mapped = kind.size == 1;
  uint8_t bytes[18 + 768];
  header_writer header{bytes};
  header.put8(0); // no id
  header.put8(mapped);
  header.put8((mapped ? 1 : 2) + (coded ? 8 : 0));
  header.put16(0); // the colour map: first index, length, bits
  header.put16(mapped ? 256 : 0);
  header.put8(mapped ? 24 : 0);
  header.put16(0); // origin
  header.put16(0);
  header.put16(uint32_t(image_w));
  header.put16(uint32_t(image_h));
  header.put8(8 * kind.size);
  header.put8(kind.descriptor);
  if (mapped)
    for (const orb_rgb &colour : palette->colours) {
      header.put8(colour.b);
      header.put8(colour.g);
      header.put8(colour.r);
    }
  write_bytes(file, bytes, uint32_t(header.at - bytes));
}

bool save(file_writer &file, int32_t compression) {
  const tga_kind &kind = kind_of_image();
  const uint32_t w = uint32_t(image_w), line = w * kind.size;
  auto *packed = static_cast<uint8_t *>(malloc(line + tga_line_bound(w, kind.size)));
  if (!packed) return false;
  write_header(file, kind, compression == 1);
  if (compression == 1)
    kind.encode(file, packed, packed + line);
  else
    for_each_line(kind.make_line, packed,
                  [&](const uint8_t *bytes) { write_bytes(file, bytes, line); });
  free(packed);
  return true;
}

} // namespace

int32_t ORB_SaveTGA(const char *filename, int32_t compression, const char *) {
  return write_picture_file(filename, compression, save);
}
