#include "raw_codecs.h"

#include <cstdio>
#include <cstdlib>

#include <jpeglib.h>
#include <png.h>

namespace orbbench {

namespace {

struct plain_stream {
  FILE *file;
  plain_stream(const std::string &path, const char *how) : file(std::fopen(path.c_str(), how)) {}
  ~plain_stream() {
    if (file) std::fclose(file);
  }
};

} // namespace

bool load_raw_png(const std::string &path) {
  const plain_stream in(path, "rb");
  if (!in.file) return false;
  png_structp png = png_create_read_struct(PNG_LIBPNG_VER_STRING, nullptr, nullptr, nullptr);
  png_infop info = png_create_info_struct(png);
  png_init_io(png, in.file);
  png_read_info(png, info);
  if (png_get_color_type(png, info) != PNG_COLOR_TYPE_PALETTE) {
    if (png_get_color_type(png, info) == PNG_COLOR_TYPE_RGB)
      png_set_filler(png, 0, PNG_FILLER_AFTER);
    png_set_bgr(png);
  }
  png_read_update_info(png, info);
  const size_t pitch = png_get_rowbytes(png, info);
  const uint32_t h = png_get_image_height(png, info);
  auto *const pixels = static_cast<png_bytep>(std::malloc(pitch * h));
  for (uint32_t y = 0; y < h; ++y)
    png_read_row(png, pixels + y * pitch, nullptr);
  png_read_end(png, nullptr);
  png_destroy_read_struct(&png, &info, nullptr);
  std::free(pixels);
  return true;
}

bool load_raw_jpeg(const std::string &path) {
  const plain_stream in(path, "rb");
  if (!in.file) return false;
  jpeg_decompress_struct info;
  jpeg_error_mgr errors;
  info.err = jpeg_std_error(&errors);
  jpeg_create_decompress(&info);
  jpeg_stdio_src(&info, in.file);
  jpeg_read_header(&info, TRUE);
  info.out_color_space = JCS_EXT_BGRX;
  jpeg_start_decompress(&info);
  const size_t pitch = size_t(info.output_width) * 4;
  auto *const pixels = static_cast<JSAMPROW>(std::malloc(pitch * info.output_height));
  while (info.output_scanline < info.output_height) {
    JSAMPROW row = pixels + info.output_scanline * pitch;
    jpeg_read_scanlines(&info, &row, 1);
  }
  jpeg_finish_decompress(&info);
  jpeg_destroy_decompress(&info);
  std::free(pixels);
  return true;
}

bool save_raw_png(const std::string &path, const raw_picture &picture) {
  const plain_stream out(path, "wb");
  if (!out.file) return false;
  png_structp png = png_create_write_struct(PNG_LIBPNG_VER_STRING, nullptr, nullptr, nullptr);
  png_infop info = png_create_info_struct(png);
  png_init_io(png, out.file);
  const int colour = picture.indices ? PNG_COLOR_TYPE_PALETTE
                     : picture.alpha ? PNG_COLOR_TYPE_RGB_ALPHA
                                     : PNG_COLOR_TYPE_RGB;
  png_set_IHDR(png, info, picture.w, picture.h, 8, colour, PNG_INTERLACE_NONE,
               PNG_COMPRESSION_TYPE_DEFAULT, PNG_FILTER_TYPE_DEFAULT);
  if (picture.indices) {
    png_color greys[256];
    for (int i = 0; i < 256; ++i)
      greys[i] = {png_byte(i), png_byte(i), png_byte(i)};
    png_set_PLTE(png, info, greys, 256);
  }
  png_write_info(png, info);
  if (!picture.indices) {
    if (!picture.alpha) png_set_filler(png, 0, PNG_FILLER_AFTER);
    png_set_bgr(png);
  }
  const size_t pitch = size_t(picture.w) * (picture.indices ? 1 : 4);
  for (uint32_t y = 0; y < picture.h; ++y)
    png_write_row(png, static_cast<png_const_bytep>(picture.pixels) + y * pitch);
  png_write_end(png, info);
  png_destroy_write_struct(&png, &info);
  return true;
}

bool save_raw_jpeg(const std::string &path, const raw_picture &picture) {
  const plain_stream out(path, "wb");
  if (!out.file) return false;
  jpeg_compress_struct info;
  jpeg_error_mgr errors;
  info.err = jpeg_std_error(&errors);
  jpeg_create_compress(&info);
  jpeg_stdio_dest(&info, out.file);
  info.image_width = picture.w;
  info.image_height = picture.h;
  info.input_components = 4;
  info.in_color_space = JCS_EXT_BGRX;
  jpeg_set_defaults(&info);
  jpeg_start_compress(&info, TRUE);
  const size_t pitch = size_t(picture.w) * 4;
  while (info.next_scanline < info.image_height) {
    auto *row = static_cast<JSAMPROW>(const_cast<void *>(picture.pixels));
    row += info.next_scanline * pitch;
    jpeg_write_scanlines(&info, &row, 1);
  }
  jpeg_finish_compress(&info);
  jpeg_destroy_compress(&info);
  return true;
}

} // namespace orbbench
