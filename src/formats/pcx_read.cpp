// The PCX reader: version 5, run-length coded, a plane of palette indices or three of colours.
#include <algorithm>
#include <cstdlib>

#include "boundary/errors.h"
#include "formats/codec.h"
#include "formats/file_reader.h"
#include "formats/picture_rows.h"
#include "surface/screen.h"
#include "surface/surface.h"

namespace {

constexpr uint32_t header_size = 128, palette_size = 769, palette_mark = 12;
constexpr uint8_t count_mark = 0xC0;
constexpr uint32_t max_run = 63;

struct pcx_header {
  uint32_t w, h, planes;
  uint32_t line; // bytes of a plane's row
};

bool read_header(file_reader &file, pcx_header *header) {
  const uint8_t *bytes = take(file, header_size);
  // Stricter than the probe: earlier versions have other pixel formats or no palette at the end.
  if (!bytes || bytes[0] != 10 || bytes[1] != 5 || bytes[2] != 1 || bytes[3] != 8) return false;
  const int32_t w = word16(bytes + 8) - word16(bytes + 4) + 1;
  const int32_t h = word16(bytes + 10) - word16(bytes + 6) + 1;
  if (w < 1 || w > largest_side || h < 1 || h > largest_side) return false;
  *header = {uint32_t(w), uint32_t(h), bytes[65], word16(bytes + 66)};
  return (header->planes == 1 || header->planes == 3) && header->line >= header->w;
}

/// Reads the palette at the end of the file. Afterwards the reader is at the pixels, and ends
/// there.
bool read_palette(file_reader &file) {
  if (file.size < header_size + palette_size) return false;
  const uint32_t pixels_end = file.size - palette_size;
  const uint8_t *bytes = seek_reader(file, pixels_end) ? take(file, palette_size) : nullptr;
  if (!bytes || bytes[0] != palette_mark) return false;
  memcpy(&image_palette, bytes + 1, sizeof image_palette);
  image_has_palette = 1;
  return limit_reader(file, header_size, pixels_end);
}

/// Writes a run of `run` bytes, at most max_run, that ends before `end`. Most runs are short:
/// storing the longest is faster than a branch, and the next run overwrites the excess.
void put_run(uint8_t *to, const uint8_t *end, uint8_t value, uint32_t run) {
  if (end - to <= ptrdiff_t(max_run)) {
    memset(to, value, run);
    return;
  }
  memset(to, value, max_run + 1);
}

/// Decodes `count` bytes. Longer runs are cut: none continues in the next row.
bool decode_row(file_reader &file, uint8_t *to, uint32_t count) {
  uint8_t *const end = to + count;
  while (to < end) {
    // A pair of count and value, if the file has that much.
    if (file.end - file.at < 2) refill(file, std::min<uint32_t>(2, bytes_left(file)));
    const uint8_t *from = file.window + file.at;
    const uint8_t *const last = file.window + file.end;
    while (to < end && from < last) {
      const uint8_t byte = *from;
      if (byte < count_mark) {
        *to++ = byte;
        from++;
        continue;
      }
      if (last - from < 2) break;
      const uint32_t run = std::min<uint32_t>(byte & max_run, uint32_t(end - to));
      put_run(to, end, from[1], run);
      to += run;
      from += 2;
    }
    const bool stuck = from == file.window + file.at;
    file.at = uint32_t(from - file.window);
    if (stuck) return false; // at the end of the file, or at a count without its value
  }
  return true;
}

bool decode_rows(file_reader &file, const pcx_header &header, const picture_rows &picture,
                 uint8_t *row) {
  const uint32_t row_bytes = header.planes * header.line;
  for (uint32_t y = 0; y < header.h; y++) {
    if (!decode_row(file, row, row_bytes)) return false;
    if (header.planes == 1) {
      memcpy(index_row(picture, y), row, header.w);
      continue;
    }
    const uint8_t *red = row, *green = red + header.line, *blue = green + header.line;
    uint32_t *to = colour_row(picture, y);
    for (uint32_t x = 0; x < header.w; x++)
      to[x] = uint32_t(red[x] << 16 | green[x] << 8 | blue[x]);
  }
  return true;
}

bool load(file_reader &file) {
  pcx_header header;
  if (!read_header(file, &header)) return false;
  // QUIRK: truecolour files are refused below 32 bits; those of other formats are converted.
  if (int32_t(8 * header.planes) > mode.bpp) return false;
  if (header.planes == 1 && !read_palette(file)) return false;
  // Two bytes decode to 63 at most: don't allocate more than the file can hold.
  const uint32_t row_bytes = header.planes * header.line;
  if (bytes_left(file) < uint64_t(header.h) * ((2 * row_bytes + max_run - 1) / max_run))
    return false;

  picture_rows picture;
  auto *row = static_cast<uint8_t *>(malloc(row_bytes));
  bool good = header.planes == 1 ? begin_indices(&picture, header.w, header.h)
                                 : begin_colours(&picture, header.w, header.h, false);
  if (good && !row) {
    image_error = error_out_of_memory;
    good = false;
  }
  good = end_picture(&picture, good && decode_rows(file, header, picture, row));
  free(row);
  return good;
}

/// Files up to version 5, of which the reader takes version 5 only.
int32_t ORB_CheckPCXHeader(const char *filename, const char *) {
  return read_picture_file(filename, [](file_reader &file) {
    const uint8_t *bytes = take(file, 2);
    return bytes && bytes[0] == 10 && bytes[1] < 6;
  });
}

/// Palette pictures come as 8 bits; truecolour ones as 32, and are refused (144) at lower depths.
int32_t ORB_LoadPCX(const char *filename, const char *) {
  return read_picture_file(filename, load);
}

int32_t ORB_LoadPCXPalette(const char *filename) {
  return read_picture_file(filename, [](file_reader &file) {
    pcx_header header;
    return read_header(file, &header) && header.planes == 1 && read_palette(file);
  });
}

} // namespace

const image_codec pcx_codec = {img_format_pcx, ORB_CheckPCXHeader, ORB_LoadPCX, ORB_LoadPCXPalette,
                               ORB_SavePCX};
