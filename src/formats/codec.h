// Picture codecs. Pictures go through the globals of formats/image.h.
#pragma once

#include "formats/image.h"

/// The script constants img_format_*, and the marks in `image_loaded`.
enum image_format : int32_t {
  img_format_map = 1,
  img_format_bmp,
  img_format_jpeg,
  img_format_pcx,
  img_format_png,
  img_format_tga
};

/// Writes image_w x image_h pixels of image_data at image_bpp, 8 bits with the palette in force.
/// `parameter` is the format's own. The key serves MAP files only. 1, or 0 with the file of that
/// name as it was.
using image_writer = int32_t(const char *filename, int32_t parameter, const char *key);

/// A picture format. What is particular to a format is documented at its functions.
struct image_codec {
  image_format format;
  /// 1 when the file is of this format.
  int32_t (*check)(const char *filename, const char *key);
  /// Reads the picture into the globals; 1, or 0 with everything freed and image_error set.
  int32_t (*load)(const char *filename, const char *key);
  /// Reads just the palette into image_palette; 1, or 0 when there is none. May be null.
  int32_t (*load_palette)(const char *filename);
  image_writer *save;
};
extern const image_codec map_codec, bmp_codec, jpeg_codec, pcx_codec, png_codec, tga_codec;

/// In probing order.
inline constexpr const image_codec *image_codecs[] = {&map_codec, &bmp_codec, &jpeg_codec,
                                                      &pcx_codec, &png_codec, &tga_codec};

/// The codec of a format; null for a number that is none.
const image_codec *codec_for(image_format format);
/// The first codec that takes the file, or null.
const image_codec *probe_image(const char *filename, const char *key);

/// Reads a picture by the first codec that takes the file. What that reader refuses as not of its
/// format (144) goes to the next codec that takes it: the headers of some formats begin alike. The
/// codec that read it, or null with the globals reset.
const image_codec *read_image(const char *filename, const char *key);

/// `compression` 1 writes run-length coded files.
image_writer ORB_SaveBMP;
/// Alpha is lost. A parameter of 0 to 100 asks for a quality of 100 less that, any other for
/// libjpeg's own.
image_writer ORB_SaveJPEG;
/// Always run-length coded; 16 bits become 24, and alpha is lost. There is no parameter.
image_writer ORB_SavePCX;
/// The parameter is the zlib level 0 to 9; any other asks for the default.
image_writer ORB_SavePNG;
/// `compression` 1 writes run-length coded files, of any depth; 16 bits become 24.
image_writer ORB_SaveTGA;
