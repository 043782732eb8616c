// The TGA reader: palette indices, greys and colours, plain and run-length coded, rows and columns
// in either direction.
#include <algorithm>

#include "formats/codec.h"
#include "formats/file_pixels.h"
#include "formats/file_reader.h"
#include "formats/picture_rows.h"

namespace {

enum tga_type : uint32_t { type_indices = 1, type_colours, type_greys, type_coded = 8 };

constexpr uint32_t header_size = 18, max_packet = 128;

struct tga_header {
  uint32_t id_size;
  bool has_map;
  uint32_t type; // a tga_type, plain
  bool coded;
  uint32_t map_first, map_length, map_bits;
  uint32_t w, h, bits;
  bool top_down, right_to_left, alpha;
};

bool is_map_depth(uint32_t bits) { return bits == 15 || bits == 16 || bits == 24 || bits == 32; }

/// Reads the header; false for anything but a TGA file that we support. The format has no
/// signature, so this is the only check.
bool read_header(file_reader &file, tga_header *header) {
  const uint8_t *bytes = take(file, header_size);
  if (!bytes) return false;
  const uint32_t map_type = bytes[1], type = bytes[2];
  *header = {.id_size = bytes[0],
             .has_map = map_type == 1,
             .type = type & ~uint32_t(type_coded),
             .coded = (type & type_coded) != 0,
             .map_first = word16(bytes + 3),
             .map_length = word16(bytes + 5),
             .map_bits = bytes[7],
             .w = word16(bytes + 12),
             .h = word16(bytes + 14),
             .bits = bytes[16],
             .top_down = (bytes[17] & 0x20) != 0,
             .right_to_left = (bytes[17] & 0x10) != 0,
             .alpha = bytes[16] == 32 && (bytes[17] & 15) == 8};
  if (map_type > 1 || header->type < type_indices || header->type > type_greys) return false;
  if (header->type == type_indices && !header->has_map) return false;
  if (header->type == type_colours ? !is_map_depth(header->bits) : header->bits != 8) return false;
  return !header->has_map ||
         (header->map_length >= 1 && header->map_length <= 256 &&
          header->map_first + header->map_length <= 256 && is_map_depth(header->map_bits));
}

uint32_t map_size(const tga_header &header) {
  return header.has_map ? header.map_length * ((header.map_bits + 7) / 8) : 0;
}

/// The palette of an 8-bit picture: the colour map, else greys. The reader is behind the header.
bool read_palette(file_reader &file, const tga_header &header) {
  if (header.type == type_colours) return false;
  image_palette = {};
  image_has_palette = 1;
  if (header.type == type_greys) {
    for (uint32_t i = 0; i < 256; i++)
      image_palette.colours[i] = {uint8_t(i), uint8_t(i), uint8_t(i)};
    return true;
  }
  if (!seek_reader(file, header_size + header.id_size)) return false;
  const uint8_t *bytes = take(file, map_size(header));
  if (!bytes) return false;
  uint32_t colours[256];
  switch (header.map_bits) {
  case 24: unpack_bgr(colours, bytes, header.map_length); break;
  case 32: unpack_bgrx(colours, bytes, header.map_length); break;
  default: unpack555(colours, bytes, header.map_length);
  }
  for (uint32_t i = 0; i < header.map_length; i++)
    image_palette.colours[header.map_first + i] = {uint8_t(colours[i] >> 16),
                                                   uint8_t(colours[i] >> 8), uint8_t(colours[i])};
  return true;
}

/// A run or raw packet in progress: packets may continue in the next row.
template <typename Pixel> struct packet {
  uint32_t left; // pixels
  bool run;
  Pixel value;
};

template <typename Pixel, typename Unpack>
bool read_coded_row(file_reader &file, packet<Pixel> *now, Pixel *to, uint32_t w, uint32_t size,
                    Unpack unpack) {
  while (w > 0) {
    if (now->left == 0) {
      const uint8_t *head = take(file, 1);
      if (!head) return false;
      now->left = (*head & 127u) + 1;
      now->run = *head & 128;
      const uint8_t *value = now->run ? take(file, size) : nullptr;
      if (value) unpack(&now->value, value, 1);
      if (now->run && !value) return false;
    }
    const uint32_t count = std::min(now->left, w);
    if (now->run) {
      std::fill_n(to, count, now->value);
    } else {
      const uint8_t *from = take(file, count * size);
      if (!from) return false;
      unpack(to, from, count);
    }
    now->left -= count;
    to += count;
    w -= count;
  }
  return true;
}

template <typename Pixel, typename Unpack>
bool read_plain_row(file_reader &file, Pixel *to, uint32_t w, uint32_t size, Unpack unpack) {
  const uint32_t piece = file.window_size / size;
  for (uint32_t x = 0; x < w; x += piece) {
    const uint32_t count = std::min(piece, w - x);
    const uint8_t *from = take(file, count * size);
    if (!from) return false;
    unpack(to + x, from, count);
  }
  return true;
}

/// Reads the rows; unpack(to, from, count) gives their pixels.
template <typename Pixel, typename Unpack>
bool read_rows(file_reader &file, const tga_header &header, const picture_rows &picture,
               Unpack unpack) {
  const uint32_t size = (header.bits + 7) / 8;
  packet<Pixel> now{};
  for (uint32_t y = 0; y < header.h; y++) {
    const uint32_t row = header.top_down ? y : header.h - 1 - y;
    Pixel *to;
    if constexpr (sizeof(Pixel) == 1)
      to = index_row(picture, row);
    else
      to = colour_row(picture, row);
    const bool good = header.coded ? read_coded_row(file, &now, to, header.w, size, unpack)
                                   : read_plain_row(file, to, header.w, size, unpack);
    if (!good) return false;
    if (header.right_to_left) std::reverse(to, to + header.w);
    if constexpr (sizeof(Pixel) == 4) finish_row(picture, row);
  }
  return true;
}

void copy_indices(uint8_t *to, const uint8_t *from, uint32_t count) { memcpy(to, from, count); }

/// Whether the file can hold what it claims.
bool has_rows(const file_reader &file, const tga_header &header) {
  const uint64_t pixels = uint64_t(header.w) * header.h, size = (header.bits + 7) / 8;
  const uint64_t needed =
      header.coded ? (pixels + max_packet - 1) / max_packet * (1 + size) : pixels * size;
  return bytes_left(file) >= needed;
}

bool load_rows(file_reader &file, const tga_header &header, picture_rows *picture) {
  if (!has_rows(file, header)) return false;
  if (header.bits == 8)
    return begin_indices(picture, header.w, header.h) &&
           read_rows<uint8_t>(file, header, *picture, copy_indices);
  if (!begin_colours(picture, header.w, header.h, header.alpha)) return false;
  switch (header.bits) {
  case 24: return read_rows<uint32_t>(file, header, *picture, unpack_bgr);
  case 32:
    return header.alpha ? read_rows<uint32_t>(file, header, *picture, unpack_bgra)
                        : read_rows<uint32_t>(file, header, *picture, unpack_bgrx);
  // The sixteenth bit isn't an alpha channel here: too many files leave it 0 throughout.
  default: return read_rows<uint32_t>(file, header, *picture, unpack555);
  }
}

bool load(file_reader &file) {
  tga_header header;
  if (!read_header(file, &header)) return false;
  if (header.bits == 8 && !read_palette(file, header)) return false;
  if (!seek_reader(file, header_size + header.id_size + map_size(header))) return false;
  picture_rows picture{};
  return end_picture(&picture, load_rows(file, header, &picture));
}

/// The format has no signature: accepts every file whose header describes a supported picture.
int32_t ORB_CheckTGAHeader(const char *filename, const char *) {
  return read_picture_file(filename, [](file_reader &file) {
    tga_header header;
    return read_header(file, &header);
  });
}

/// Pictures of indices and of greys come as 8 bits, greys with a palette of greys; truecolour ones
/// at the depth of the screen, with an alpha channel at 32 bits when the header says so.
int32_t ORB_LoadTGA(const char *filename, const char *) {
  return read_picture_file(filename, load);
}

/// The colour map of a picture of indices, or the greys of a grey one.
int32_t ORB_LoadTGAPalette(const char *filename) {
  return read_picture_file(filename, [](file_reader &file) {
    tga_header header;
    return read_header(file, &header) && read_palette(file, header);
  });
}

} // namespace

const image_codec tga_codec = {img_format_tga, ORB_CheckTGAHeader, ORB_LoadTGA, ORB_LoadTGAPalette,
                               ORB_SaveTGA};
