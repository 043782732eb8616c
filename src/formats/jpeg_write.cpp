// The JPEG writer, over libjpeg.
#include <cstdlib>

#include "formats/codec.h"
#include "formats/file_writer.h"
#include "formats/jpeg_guard.h"
#include "formats/truecolour.h"
#include "surface/palette.h"

namespace {

/// Rows handed over at once.
constexpr uint32_t band_height = 16;

struct jpeg_writing {
  jpeg_guard guard; // first
  FILE *file;
  jpeg_compress_struct info;
  int quality;   // 0..100, or -1 for libjpeg's own
  uint32_t *row; // 8 and 16 bits: the row as it is compressed
};

void set_parameters(jpeg_writing *writing) {
  jpeg_compress_struct &info = writing->info;
  info.image_width = uint32_t(image_w);
  info.image_height = uint32_t(image_h);
  info.input_components = 4;
  info.in_color_space = JCS_EXT_BGRX;
  jpeg_set_defaults(&info);
  if (writing->quality >= 0) jpeg_set_quality(&info, writing->quality, TRUE);
}

/// 32-bit rows are compressed in place; their top byte is skipped.
void write_rows(jpeg_writing *writing, uint8_t *pixels) {
  const size_t pitch = size_t(image_w) * 4;
  JSAMPROW rows[band_height];
  while (writing->info.next_scanline < writing->info.image_height) {
    const uint32_t left = writing->info.image_height - writing->info.next_scanline;
    const uint32_t count = left < band_height ? left : band_height;
    for (uint32_t i = 0; i < count; i++, pixels += pitch)
      rows[i] = pixels;
    jpeg_write_scanlines(&writing->info, rows, count);
  }
}

template <typename Pixel, typename Widen>
void write_widened_rows(jpeg_writing *writing, Widen widen) {
  const auto *pixels = static_cast<const Pixel *>(image_data);
  auto *row = reinterpret_cast<JSAMPROW>(writing->row);
  for (int32_t y = 0; y < image_h; y++, pixels += image_w) {
    for (int32_t x = 0; x < image_w; x++)
      writing->row[x] = widen(pixels[x]);
    jpeg_write_scanlines(&writing->info, &row, 1);
  }
}

void write_picture(jpeg_writing *writing) {
  jpeg_create_compress(&writing->info);
  jpeg_stdio_dest(&writing->info, writing->file);
  set_parameters(writing);
  jpeg_start_compress(&writing->info, TRUE);
  switch (image_bpp) {
  case 8:
    write_widened_rows<uint8_t>(writing, [](uint8_t index) {
      const orb_rgb &colour = palette->colours[index];
      return uint32_t(colour.r) << 16 | uint32_t(colour.g) << 8 | colour.b;
    });
    break;
  case 16: write_widened_rows<uint16_t>(writing, widen565); break;
  default: write_rows(writing, static_cast<uint8_t *>(image_data));
  }
  jpeg_finish_compress(&writing->info);
}

bool guarded(jpeg_writing *writing) {
  if (setjmp(writing->guard.jump)) return false;
  write_picture(writing);
  return true;
}

bool write_jpeg(file_writer &file, int32_t parameter) {
  jpeg_writing writing{};
  writing.file = file.file;
  writing.quality = parameter >= 0 && parameter <= 100 ? 100 - parameter : -1;
  if (image_bpp != 32) {
    writing.row = static_cast<uint32_t *>(malloc(size_t(image_w) * sizeof(uint32_t)));
    if (!writing.row) return false;
  }
  writing.info.err = init_guard(&writing.guard);
  const bool written = guarded(&writing);
  jpeg_destroy_compress(&writing.info);
  free(writing.row);
  return written;
}

} // namespace

int32_t ORB_SaveJPEG(const char *filename, int32_t parameter, const char *) {
  return write_picture_file(filename, parameter, write_jpeg);
}
