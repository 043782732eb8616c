// The PCX writer: version 5, always run-length coded, with a palette behind the pixels or three
// planes.
#include <cstdlib>

#include "formats/codec.h"
#include "formats/file_pixels.h"
#include "formats/file_writer.h"
#include "formats/rle.h"
#include "surface/palette.h"

namespace {

/// Bytes of a plane's row: even, except where that would not fit into the header's field.
uint32_t line_bytes() {
  const uint32_t w = uint32_t(image_w);
  return w < 65535 ? w + w % 2 : w;
}

void write_header(file_writer &file, uint32_t planes) {
  uint8_t bytes[128];
  header_writer header{bytes};
  header.put8(10); // the format's mark
  header.put8(5);  // version
  header.put8(1);  // run-length coded
  header.put8(8);  // bits of a sample
  header.put16(0);
  header.put16(0);
  header.put16(uint32_t(image_w - 1));
  header.put16(uint32_t(image_h - 1));
  header.put16(72); // dots an inch
  header.put16(72);
  header.put_zeros(49); // the palette of 16-colour files, and a reserved byte
  header.put8(planes);
  header.put16(line_bytes());
  header.put16(1); // colours, not greys
  header.put_zeros(58);
  write_bytes(file, bytes, sizeof bytes);
}

/// Divides a row into planes of red, green and blue.
template <typename Pixel, typename Colour>
void split_row(const Pixel *from, uint8_t *planes, uint32_t line, Colour colour) {
  for (int32_t x = 0; x < image_w; x++) {
    const uint32_t pixel = colour(from[x]);
    planes[x] = uint8_t(pixel >> 16);
    planes[line + uint32_t(x)] = uint8_t(pixel >> 8);
    planes[2 * line + uint32_t(x)] = uint8_t(pixel);
  }
}

void write_rows(file_writer &file, uint32_t plane_count, uint8_t *planes, uint8_t *encoded) {
  const uint32_t line = line_bytes();
  const size_t pitch = size_t(image_w) * uint32_t(image_bpp / 8);
  const auto *row = static_cast<const uint8_t *>(image_data);
  for (int32_t y = 0; y < image_h; y++, row += pitch) {
    switch (image_bpp) {
    case 8: memcpy(planes, row, pitch); break;
    case 16: split_row(reinterpret_cast<const uint16_t *>(row), planes, line, widen565); break;
    default:
      split_row(reinterpret_cast<const uint32_t *>(row), planes, line,
                [](uint32_t pixel) { return pixel; });
    }
    // Plane by plane: some readers don't accept runs across planes.
    for (uint32_t i = 0; i < plane_count; i++) {
      const int32_t size = EncodePcxRleLine(planes + i * line, encoded, int32_t(line));
      write_bytes(file, encoded, uint32_t(size));
    }
  }
}

bool save(file_writer &file, int32_t) {
  const uint32_t plane_count = image_bpp == 8 ? 1 : 3, line = line_bytes();
  // Zeroed for the padding byte of odd lines. The encoded plane follows the planes.
  auto *planes = static_cast<uint8_t *>(calloc(plane_count + 2, line));
  if (!planes) return false;
  write_header(file, plane_count);
  write_rows(file, plane_count, planes, planes + size_t(plane_count) * line);
  free(planes);
  if (image_bpp == 8) {
    const uint8_t mark = 12;
    write_bytes(file, &mark, 1);
    write_bytes(file, palette, sizeof *palette);
  }
  return true;
}

} // namespace

int32_t ORB_SavePCX(const char *filename, int32_t parameter, const char *) {
  return write_picture_file(filename, parameter, save);
}
