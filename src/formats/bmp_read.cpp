// The BMP reader: headers of 12 and of 40 and more bytes; palette indices of 1, 4 and 8 bits, plain
// or run-length coded; colours of 16, 24 and 32 bits, plain or by bit masks.
#include <algorithm>
#include <bit>

#include "formats/codec.h"
#include "formats/file_pixels.h"
#include "formats/file_reader.h"
#include "formats/picture_rows.h"
#include "surface/surface.h"

namespace {

enum compression_kind : uint32_t {
  plain,
  rle8,
  rle4,
  bit_fields,
  alpha_bit_fields = 6, // four masks, even behind a header of 40 bytes
};
enum mask_index { mask_red, mask_green, mask_blue, mask_alpha };

constexpr uint32_t file_header_size = 14, short_header_size = 12, header_size = 40;
constexpr uint32_t masks_offset = file_header_size + header_size;

struct bmp_header {
  uint32_t info_size; // of the information header
  uint32_t w, h;
  bool top_down;
  uint32_t bits;
  uint32_t compression;
  uint32_t palette_offset, palette_entries, palette_entry_size;
  uint32_t pixels_offset;
  uint32_t masks[4];  // 16 and 32 bits
  uint32_t masks_end; // where they end in the file, or 0
  bool told_alpha;    // a mask in the header tells whether there is an alpha channel
};

bool compression_fits(uint32_t compression, uint32_t bits) {
  switch (compression) {
  case plain: return bits == 1 || bits == 4 || bits == 8 || bits == 16 || bits == 24 || bits == 32;
  case rle8: return bits == 8;
  case rle4: return bits == 4;
  case bit_fields:
  case alpha_bit_fields: return bits == 16 || bits == 32;
  default: return false;
  }
}

/// Reads the information header up to the masks, and how many colours it states. The reader stands
/// behind the file header.
bool read_information(file_reader &file, bmp_header *header, uint32_t *colours) {
  const uint8_t *bytes = take(file, 4);
  if (!bytes) return false;
  header->info_size = word32(bytes);
  *colours = 0;
  if (header->info_size == short_header_size) {
    bytes = take(file, short_header_size - 4);
    if (!bytes) return false;
    header->w = word16(bytes);
    header->h = word16(bytes + 2);
    header->bits = word16(bytes + 6);
  } else {
    if (header->info_size < header_size || header->info_size > file.size) return false;
    bytes = take(file, header_size - 4);
    if (!bytes) return false;
    const uint32_t h = word32(bytes + 4);
    header->w = word32(bytes);
    header->top_down = h >> 31;
    header->h = header->top_down ? 0u - h : h;
    header->bits = word16(bytes + 10);
    header->compression = word32(bytes + 12);
    *colours = word32(bytes + 28);
  }
  return compression_fits(header->compression, header->bits);
}

/// Fills in the masks: the file's, or those that hold without any.
bool read_masks(file_reader &file, bmp_header *header) {
  uint32_t(&masks)[4] = header->masks;
  if (header->compression == plain) {
    constexpr uint32_t x555[4] = {0x7C00, 0x03E0, 0x001F, 0};
    constexpr uint32_t x888[4] = {0xFF0000, 0xFF00, 0xFF, 0};
    memcpy(masks, header->bits == 16 ? x555 : x888, sizeof masks);
    return true;
  }
  // Three masks follow a header of 40 bytes; longer ones hold them in the same place.
  header->told_alpha = header->info_size >= 56 || header->compression == alpha_bit_fields;
  header->masks_end = masks_offset + (header->told_alpha ? 16 : 12);
  const uint8_t *bytes =
      seek_reader(file, masks_offset) ? take(file, header->masks_end - masks_offset) : nullptr;
  if (!bytes) return false;
  memcpy(masks, bytes, header->masks_end - masks_offset);
  // QUIRK: these two masks make a file 5-5-5, whatever its mask of red is.
  if (header->bits == 16 && masks[mask_green] == 0x03E0 && masks[mask_blue] == 0x001F)
    masks[mask_red] = 0x7C00;
  return true;
}

/// Finds the palette behind the headers, and the pixels behind it. `colours` is the stated number.
bool find_palette(const file_reader &file, bmp_header *header, uint32_t colours) {
  const uint32_t start = std::max(file_header_size + header->info_size, header->masks_end);
  const uint32_t entry = header->info_size == short_header_size ? 3 : 4;
  const bool indices = header->bits <= 8;
  if (indices && (colours == 0 || colours > 256)) colours = 1u << header->bits;
  // Without an offset the pixels follow the palette, which truecolour files may also have. They do
  // so too where a palette picture's offset is that of its palette, which would leave no colours.
  if (header->pixels_offset == 0 || (indices && header->pixels_offset == start))
    header->pixels_offset =
        uint32_t(std::min<uint64_t>(start + uint64_t(colours) * entry, file.size));
  if (header->pixels_offset < start || header->pixels_offset > file.size) return false;
  header->palette_offset = start;
  header->palette_entry_size = entry;
  // The pixels may begin before the palette would end: some files leave unused colours out.
  header->palette_entries = std::min(colours, (header->pixels_offset - start) / entry);
  return true;
}

bool read_header(file_reader &file, bmp_header *header) {
  const uint8_t *bytes = take(file, file_header_size);
  if (!bytes || word16(bytes) != 19778) return false; // "BM"
  header->pixels_offset = word32(bytes + 10);
  uint32_t colours;
  if (!read_information(file, header, &colours)) return false;
  if (header->bits >= 16 && !read_masks(file, header)) return false;
  return find_palette(file, header, colours);
}

bool read_palette(file_reader &file, const bmp_header &header) {
  const uint32_t size = header.palette_entry_size;
  const uint8_t *entry = seek_reader(file, header.palette_offset)
                             ? take(file, header.palette_entries * size)
                             : nullptr;
  if (!entry) return false;
  image_palette = {};
  for (uint32_t i = 0; i < header.palette_entries; i++, entry += size)
    image_palette.colours[i] = {entry[2], entry[1], entry[0]};
  image_has_palette = 1;
  return true;
}

// ---- Plain rows

/// Row in the picture of the file's row y.
uint32_t picture_row(const bmp_header &header, uint32_t y) {
  return header.top_down ? y : header.h - 1 - y;
}

uint32_t row_bytes(const bmp_header &header) { return (header.w * header.bits + 7) / 8; }
/// Up to the next row, which starts at a multiple of 4.
uint32_t row_stride(const bmp_header &header) { return (row_bytes(header) + 3) & ~3u; }

/// Whether the file has the rows that it claims; the last one need not be padded.
bool has_plain_rows(const file_reader &file, const bmp_header &header) {
  return bytes_left(file) >= uint64_t(row_stride(header)) * (header.h - 1) + row_bytes(header);
}

bool skip_padding(file_reader &file, const bmp_header &header, uint32_t y) {
  const uint32_t padding = row_stride(header) - row_bytes(header);
  return padding == 0 || y + 1 == header.h || take(file, padding);
}

/// Indices of 1 or 4 bits, the leftmost in the top bits.
template <uint32_t bits> bool read_packed_row(file_reader &file, uint8_t *to, uint32_t w) {
  const uint8_t *from = take(file, (w * bits + 7) / 8);
  if (!from) return false;
  constexpr uint32_t in_byte = 8 / bits, mask = (1u << bits) - 1;
  for (uint32_t x = 0; x < w; x++)
    to[x] = uint8_t(from[x / in_byte] >> (8 - bits - x % in_byte * bits) & mask);
  return true;
}

bool read_plain_indices(file_reader &file, const bmp_header &header, const picture_rows &picture) {
  for (uint32_t y = 0; y < header.h; y++) {
    uint8_t *to = index_row(picture, picture_row(header, y));
    const bool good = header.bits == 8   ? read_bytes(file, to, header.w)
                      : header.bits == 4 ? read_packed_row<4>(file, to, header.w)
                                         : read_packed_row<1>(file, to, header.w);
    if (!good || !skip_padding(file, header, y)) return false;
  }
  return true;
}

// ---- Run-length coded rows

struct rle_place {
  uint32_t x, y; // in the file's order of rows
};

/// Puts `count` pixels, one by one given by index_at(i), as far as the row is wide.
template <typename IndexAt>
void put_indices(const bmp_header &header, const picture_rows &picture, rle_place *place,
                 uint32_t count, IndexAt index_at) {
  uint8_t *to = index_row(picture, picture_row(header, place->y)) + place->x;
  count = std::min(count, header.w - place->x);
  for (uint32_t i = 0; i < count; i++)
    to[i] = index_at(i);
  place->x += count;
}

/// Decodes until the picture ends. The end mark may be missing after the last row.
template <uint32_t bits>
bool read_rle(file_reader &file, const bmp_header &header, const picture_rows &picture) {
  enum { end_of_line, end_of_bitmap, delta, first_absolute };
  /// Index i of packed ones.
  constexpr auto index_of = [](const uint8_t *from, uint32_t i) {
    if constexpr (bits == 8) return from[i];
    return uint8_t(i % 2 ? from[i / 2] & 15 : from[i / 2] >> 4);
  };
  rle_place place{};
  while (place.y < header.h) {
    const uint8_t *pair = take(file, 2);
    if (!pair) return place.y == header.h - 1 && place.x == header.w;
    const uint32_t count = pair[0], value = pair[1];
    if (count > 0) {
      const uint8_t indices[] = {bits == 8 ? pair[1] : uint8_t(value >> 4), uint8_t(value & 15)};
      put_indices(header, picture, &place, count,
                  [&](uint32_t i) { return indices[bits == 8 ? 0 : i % 2]; });
    } else if (value == end_of_line) {
      place = {0, place.y + 1};
    } else if (value == end_of_bitmap) {
      return true;
    } else if (value == delta) {
      const uint8_t *steps = take(file, 2);
      if (!steps) return false;
      place = {std::min(place.x + steps[0], header.w), place.y + steps[1]};
    } else {
      static_assert(first_absolute == 3);
      const uint32_t size = (value * bits + 7) / 8;
      const uint8_t *indices = take(file, size);
      if (!indices) return false;
      put_indices(header, picture, &place, value, [&](uint32_t i) { return index_of(indices, i); });
      if (size % 2 && !take(file, 1)) return false;
    }
  }
  return true;
}

/// Whether to believe the size of a picture. Run-length coded files may skip pixels and so be
/// short, but a short file gets no gigabytes.
bool has_coded_rows(const file_reader &file, const bmp_header &header) {
  constexpr uint64_t free_pixels = 1u << 26;
  const uint64_t pixels = uint64_t(header.w) * header.h;
  return pixels <= free_pixels || pixels / 255 * 2 <= bytes_left(file);
}

// ---- Colours

/// The value of a channel for each of its bit patterns, in its place in 0xAARRGGBB. Masks above
/// 8 bits count by their top ones.
struct channel_table {
  uint32_t mask, shift;
  uint32_t values[256];
};

void make_channel(channel_table *channel, uint32_t mask, uint32_t place) {
  *channel = {mask, uint32_t(std::countr_zero(mask)) & 31, {}};
  while (mask >> channel->shift > 255)
    channel->shift++;
  const uint32_t top = mask >> channel->shift;
  for (uint32_t i = 0; top > 0 && i <= top; i++)
    channel->values[i] = (i * 255 + top / 2) / top << place;
}

struct channel_tables {
  channel_table channels[4]; // in the order of the masks
};

void make_channels(channel_tables *tables, const uint32_t (&masks)[4]) {
  constexpr uint32_t places[] = {16, 8, 0, 24};
  for (int i = 0; i < 4; i++)
    make_channel(&tables->channels[i], masks[i], places[i]);
}

uint32_t unmask(const channel_tables &tables, uint32_t pixel) {
  uint32_t colour = 0;
  for (const channel_table &channel : tables.channels)
    colour |= channel.values[(pixel & channel.mask) >> channel.shift];
  return colour;
}

/// Reads the rows; unpack(to, from, count) gives their pixels as 0xAARRGGBB.
template <typename Unpack>
bool read_colours(file_reader &file, const bmp_header &header, const picture_rows &picture,
                  Unpack unpack) {
  const uint32_t size = header.bits / 8, piece = file.window_size / size;
  for (uint32_t y = 0; y < header.h; y++) {
    const uint32_t row = picture_row(header, y);
    uint32_t *to = colour_row(picture, row);
    for (uint32_t x = 0; x < header.w; x += piece) {
      const uint32_t count = std::min(piece, header.w - x);
      const uint8_t *from = take(file, count * size);
      if (!from) return false;
      unpack(to + x, from, count);
    }
    finish_row(picture, row);
    if (!skip_padding(file, header, y)) return false;
  }
  return true;
}

/// Whether any pixel's top byte is not 0. Leaves the reader where it was.
bool any_top_byte(file_reader &file, const bmp_header &header) {
  const uint64_t count = uint64_t(header.w) * header.h;
  constexpr uint32_t piece = file_reader::window_size / 4;
  uint32_t any = 0;
  for (uint64_t i = 0; i < count && any >> 24 == 0; i += piece) {
    const uint32_t now = uint32_t(std::min<uint64_t>(piece, count - i));
    const uint8_t *from = take(file, now * 4);
    if (!from) break;
    for (uint32_t k = 0; k < now; k++)
      any |= word32(from + 4 * k);
  }
  return seek_reader(file, header.pixels_offset) && any >> 24 != 0;
}

bool has_plain_masks(const bmp_header &header) {
  return header.bits == 32 && header.masks[mask_red] == 0xFF0000 &&
         header.masks[mask_green] == 0xFF00 && header.masks[mask_blue] == 0xFF;
}

/// Says whether the picture has an alpha channel, and sets its mask. Where the header can't tell,
/// 32-bit files have one when the byte that is left over isn't 0 throughout.
bool find_alpha(file_reader &file, bmp_header *header) {
  uint32_t &alpha = header->masks[mask_alpha];
  const uint32_t colours =
      header->masks[mask_red] | header->masks[mask_green] | header->masks[mask_blue];
  if (header->bits == 32 && !header->told_alpha && !(colours >> 24) && any_top_byte(file, *header))
    alpha = 0xFF000000;
  return alpha != 0;
}

bool load_colours(file_reader &file, bmp_header &header, picture_rows *picture) {
  if (!has_plain_rows(file, header)) return false;
  const bool alpha = find_alpha(file, &header);
  if (!begin_colours(picture, header.w, header.h, alpha)) return false;
  if (header.bits == 24) return read_colours(file, header, *picture, unpack_bgr);
  if (has_plain_masks(header) && !alpha) return read_colours(file, header, *picture, unpack_bgrx);
  if (has_plain_masks(header) && header.masks[mask_alpha] == 0xFF000000)
    return read_colours(file, header, *picture, unpack_bgra);
  channel_tables tables;
  make_channels(&tables, header.masks);
  if (header.bits == 16)
    return read_colours(file, header, *picture,
                        [&tables](uint32_t *to, const uint8_t *from, uint32_t count) {
                          for (uint32_t i = 0; i < count; i++)
                            to[i] = unmask(tables, word16(from + 2 * i));
                        });
  return read_colours(file, header, *picture,
                      [&tables](uint32_t *to, const uint8_t *from, uint32_t count) {
                        for (uint32_t i = 0; i < count; i++)
                          to[i] = unmask(tables, word32(from + 4 * i));
                      });
}

bool load_indices(file_reader &file, const bmp_header &header, picture_rows *picture) {
  const bool coded = header.compression != plain;
  if (!(coded ? has_coded_rows(file, header) : has_plain_rows(file, header))) return false;
  if (!begin_indices(picture, header.w, header.h)) return false;
  if (!coded) return read_plain_indices(file, header, *picture);
  // What the file leaves out is index 0.
  memset(picture->pixels, 0, size_t(picture->pitch) * header.h);
  return header.bits == 8 ? read_rle<8>(file, header, *picture)
                          : read_rle<4>(file, header, *picture);
}

bool load(file_reader &file) {
  bmp_header header{};
  if (!read_header(file, &header)) return false;
  if (header.w < 1 || header.w > largest_side || header.h < 1 || header.h > largest_side)
    return false;
  const bool indices = header.bits <= 8;
  if (indices && !read_palette(file, header)) return false;
  if (!seek_reader(file, header.pixels_offset)) return false;
  picture_rows picture{};
  return end_picture(&picture, indices ? load_indices(file, header, &picture)
                                       : load_colours(file, header, &picture));
}

int32_t ORB_CheckBMPHeader(const char *filename, const char *) {
  return read_picture_file(filename, [](file_reader &file) {
    const uint8_t *bytes = take(file, 2);
    return bytes && bytes[0] == 'B' && bytes[1] == 'M';
  });
}

/// Palette pictures come as 8 bits; truecolour ones at the depth of the screen, with an alpha
/// channel when the header has a mask for it or else, at 32 bits, any pixel's top byte isn't 0.
int32_t ORB_LoadBMP(const char *filename, const char *) {
  return read_picture_file(filename, load);
}

int32_t ORB_LoadBMPPalette(const char *filename) {
  return read_picture_file(filename, [](file_reader &file) {
    bmp_header header{};
    return read_header(file, &header) && header.bits <= 8 && read_palette(file, header);
  });
}

} // namespace

const image_codec bmp_codec = {img_format_bmp, ORB_CheckBMPHeader, ORB_LoadBMP, ORB_LoadBMPPalette,
                               ORB_SaveBMP};
