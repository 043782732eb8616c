#include "formats/palette_file.h"

#include <cstring>

#include "boundary/runtime.h"
#include "formats/codec.h"
#include "formats/stored_palette.h"
#include "surface/palette.h"

namespace {

constexpr int32_t header_size = 8;
constexpr int32_t palette_file_size = header_size + int32_t(sizeof(stored_palette));
constexpr uint8_t palette_file_header[header_size] = {'p', 'a', 'l', 0x1A, 0x0D, 0x0A, 0, 0};

/// A file of the engine that has a palette: the first seven bytes, and where the palette begins. In
/// a graph it stands after size (2 + 2), id (4) and description (32 or 256).
struct own_header {
  char magic[8];
  int32_t palette_at;
};
constexpr own_header own_headers[] = {
    {"pal\x1A\x0D\x0A", header_size},           {"fpg\x1A\x0D\x0A", header_size},
    {"fpg\x1A\x0D\x08", header_size},           {"fnt\x1A\x0D\x0A", header_size},
    {"fnt\x1A\x0D\x08", header_size},           {"map\x1A\x0D\x0A", header_size + 8 + 32},
    {"map\x1A\x0D\x08", header_size + 8 + 256},
};
constexpr int32_t magic_size = 7;

const own_header *find_own_header(const uint8_t *bytes, int32_t size) {
  if (size < magic_size) return nullptr;
  for (const own_header &header : own_headers)
    if (memcmp(bytes, header.magic, magic_size) == 0) return &header;
  return nullptr;
}

/// The palette of a picture, through the first codec that finds one.
int32_t read_picture_palette(const char *filename, palette_in_file *out) {
  int32_t found = 0;
  for (const image_codec *codec : image_codecs) {
    if (!codec->load_palette) continue;
    reset_image();
    found = codec->load_palette(filename);
    if (found) break;
  }
  if (found) *out = {image_palette, palette_checksum(&image_palette)};
  reset_image();
  return found;
}

} // namespace

int32_t read_palette_file(const char *filename, palette_in_file *out) {
  void *file = rt_file_open(filename, ORB_OPEN_READ, nullptr);
  if (!file) return 0;
  uint8_t bytes[palette_file_size];
  const int32_t size = rt_file_read_all(bytes, sizeof bytes, 0, file);
  rt_file_close(file);

  const own_header *own = find_own_header(bytes, size);
  if (!own) return read_picture_palette(filename, out);
  uint8_t colours[256][3];
  if (size < own->palette_at + int32_t(sizeof colours)) return 0;
  memcpy(colours, bytes + own->palette_at, sizeof colours);
  out->colours = restore_palette(colours);
  out->checksum = palette_checksum_6bits(&out->colours);
  return 1;
}

int32_t write_palette_file(const char *filename, const __ORBPalette2D__ &of) {
  void *file = rt_file_open(filename, ORB_OPEN_WRITE, nullptr);
  if (!file) return 0;
  uint8_t bytes[palette_file_size];
  const stored_palette stored = store_palette(of);
  memcpy(bytes, palette_file_header, header_size);
  memcpy(bytes + header_size, &stored, sizeof stored);
  const int32_t written = rt_file_write_all(bytes, sizeof bytes, 0, file);
  rt_file_close(file);
  return written == int32_t(sizeof bytes);
}
