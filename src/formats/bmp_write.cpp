// The BMP writer: 8 bits with the palette in force, plain or run-length coded; 5-6-5 by bit masks;
// 24 bits, and 32 for pictures with an alpha channel. Bottom row first.
#include <cstdlib>

#include "formats/codec.h"
#include "formats/file_pixels.h"
#include "formats/file_writer.h"
#include "formats/rle.h"
#include "surface/palette.h"

namespace {

constexpr uint32_t size_field = 2; // its offset

uint32_t file_bits() {
  return image_bpp != 32 ? uint32_t(image_bpp) : image_alphachannel ? 32 : 24;
}

/// Everything before the pixels. The size of the file is written when it is known.
void write_header(file_writer &file, bool coded) {
  const uint32_t bits = file_bits(), pixels_offset = bits == 8 ? 1078 : bits == 16 ? 66 : 54;
  uint8_t bytes[1078];
  header_writer header{bytes};
  header.put8('B');
  header.put8('M');
  header.put32(pixels_offset);
  header.put16(0);
  header.put16(0);
  header.put32(pixels_offset);

  header.put32(40);
  header.put32(uint32_t(image_w));
  header.put32(uint32_t(image_h));
  header.put16(1);
  header.put16(bits);
  header.put32(coded ? 1 : bits == 16 ? 3 : 0);
  header.put_zeros(5 * 4);

  if (bits == 16) { // the masks of red, green and blue
    header.put32(0xF800);
    header.put32(0x07E0);
    header.put32(0x001F);
  }
  if (bits == 8)
    for (const orb_rgb &colour : palette->colours)
      header.put32(uint32_t(colour.b | colour.g << 8 | colour.r << 16));
  write_bytes(file, bytes, pixels_offset);
}

const uint8_t *picture_row(int32_t y) {
  const size_t pitch = size_t(image_w) * uint32_t(image_bpp / 8);
  return static_cast<const uint8_t *>(image_data) + size_t(y) * pitch;
}

void write_plain_rows(file_writer &file, uint8_t *packed) {
  const uint32_t bits = file_bits(), size = uint32_t(image_w) * (bits / 8);
  const uint32_t zeros = 0, padding = (0u - size) & 3;
  for (int32_t y = image_h - 1; y >= 0; y--) {
    const uint8_t *row = picture_row(y);
    if (bits == 24) {
      const auto *pixels = reinterpret_cast<const uint32_t *>(row);
      pack_bgr(packed, uint32_t(image_w), [pixels](uint32_t x) { return pixels[x]; });
      row = packed;
    }
    write_bytes(file, row, size);
    write_bytes(file, &zeros, padding);
  }
}

void write_coded_rows(file_writer &file, uint8_t *encoded) {
  uint8_t raw[bmp_raw_pixels];
  for (int32_t y = image_h - 1; y >= 0; y--) {
    const int32_t size = EncodeBmpRleLine(picture_row(y), encoded, image_w, raw);
    encoded[size] = 0;
    encoded[size + 1] = y == 0; // the end of the bitmap, or of a line
    write_bytes(file, encoded, uint32_t(size) + 2);
  }
}

bool save(file_writer &file, int32_t compression) {
  const bool coded = image_bpp == 8 && compression == 1;
  // A coded row with its mark takes up to 2 * w + 2 bytes, a packed one 3 * w.
  auto *row = static_cast<uint8_t *>(malloc(size_t(image_w) * 3 + 2));
  if (!row) return false;
  write_header(file, coded);
  if (coded)
    write_coded_rows(file, row);
  else
    write_plain_rows(file, row);
  free(row);

  uint8_t size[4];
  header_writer{size}.put32(writer_offset(file));
  seek_writer(file, size_field);
  write_bytes(file, size, sizeof size);
  return true;
}

} // namespace

int32_t ORB_SaveBMP(const char *filename, int32_t compression, const char *) {
  return write_picture_file(filename, compression, save);
}
