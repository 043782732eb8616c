// The PNG writer, over libpng. As in the reader, what a long jump must not lose lives in one record
// outside the function that calls setjmp.
#include <csetjmp>
#include <cstdio>
#include <cstdlib>

#include <png.h>

#include "formats/codec.h"
#include "formats/file_writer.h"
#include "formats/truecolour.h"
#include "surface/palette.h"

namespace {

struct png_writing {
  FILE *file;
  png_structp png;
  png_infop info;
  uint32_t *row; // 16 bits: the row as it is written
  int level;
};

[[noreturn]] void on_error(png_structp png, png_const_charp) { png_longjmp(png, 1); }
void on_warning(png_structp, png_const_charp) {}

void write_header(const png_writing &writing) {
  const bool alpha = image_bpp == 32 && image_alphachannel;
  const int colour = image_bpp == 8 ? PNG_COLOR_TYPE_PALETTE
                     : alpha        ? PNG_COLOR_TYPE_RGB_ALPHA
                                    : PNG_COLOR_TYPE_RGB;
  png_set_IHDR(writing.png, writing.info, uint32_t(image_w), uint32_t(image_h), 8, colour,
               PNG_INTERLACE_NONE, PNG_COMPRESSION_TYPE_DEFAULT, PNG_FILTER_TYPE_DEFAULT);
  if (image_bpp == 8) {
    png_color colours[256];
    for (int i = 0; i < 256; i++) {
      const orb_rgb &from = palette->colours[i];
      colours[i] = {from.r, from.g, from.b};
    }
    png_set_PLTE(writing.png, writing.info, colours, 256);
  }
  png_write_info(writing.png, writing.info);
  if (image_bpp == 8) return;
  if (!alpha) png_set_filler(writing.png, 0, PNG_FILLER_AFTER);
  png_set_bgr(writing.png);
}

void write_picture(png_writing *writing) {
  png_init_io(writing->png, writing->file);
  png_set_compression_level(writing->png, writing->level);
  write_header(*writing);
  const size_t pitch = size_t(image_w) * uint32_t(image_bpp / 8);
  const auto *pixels = static_cast<const uint8_t *>(image_data);
  for (int32_t y = 0; y < image_h; y++, pixels += pitch) {
    if (image_bpp != 16) {
      png_write_row(writing->png, pixels);
      continue;
    }
    const auto *from = reinterpret_cast<const uint16_t *>(pixels);
    for (int32_t x = 0; x < image_w; x++)
      writing->row[x] = widen565(from[x]);
    png_write_row(writing->png, reinterpret_cast<const uint8_t *>(writing->row));
  }
  png_write_end(writing->png, nullptr);
}

bool guarded(png_writing *writing) {
  if (setjmp(png_jmpbuf(writing->png))) return false;
  write_picture(writing);
  return true;
}

bool prepare(png_writing *writing) {
  if (image_bpp == 16) {
    writing->row = static_cast<uint32_t *>(malloc(size_t(image_w) * sizeof(uint32_t)));
    if (!writing->row) return false;
  }
  writing->png = png_create_write_struct(PNG_LIBPNG_VER_STRING, nullptr, on_error, on_warning);
  if (!writing->png) return false;
  writing->info = png_create_info_struct(writing->png);
  return writing->info != nullptr;
}

bool write_png(file_writer &file, int32_t parameter) {
  png_writing writing{};
  writing.file = file.file;
  writing.level = parameter >= 0 && parameter < 10 ? parameter : -1;
  const bool written = prepare(&writing) && guarded(&writing);
  png_destroy_write_struct(&writing.png, &writing.info);
  free(writing.row);
  return written;
}

} // namespace

int32_t ORB_SavePNG(const char *filename, int32_t parameter, const char *) {
  return write_picture_file(filename, parameter, write_png);
}
