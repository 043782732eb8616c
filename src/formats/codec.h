// Picture codecs: one row per format in the order in which files are probed, and their readers and
// writers. Pictures go through the globals of formats/image.h.
#pragma once

#include "formats/image.h"

/// The script constants img_format_*, and the marks in `image_loaded`.
enum image_format : int32_t {
  img_format_map = 1, img_format_bmp, img_format_jpeg, img_format_pcx, img_format_png,
  img_format_tga
};


struct image_codec {
  image_format format;
  /// 1 when the file is of this format.
  int32_t (*check)(const char *filename, const char *key);
  /// Reads the picture into the globals; 1, or 0 with everything freed and image_error set.
  int32_t (*load)(const char *filename, const char *key);
  /// Reads just the palette into image_palette; 1, or 0 when there is none. May be null.
  int32_t (*load_palette)(const char *filename);
  /// Writes image_w x image_h pixels of image_data at image_bpp, 8 bits with the palette in force.
  /// `parameter` is the format's own (compression or quality; -1 its default). The key serves MAP
  /// files only. 1, or 0 with the file of that name as it was.
  int32_t (*save)(const char *filename, int32_t parameter, const char *key);
};
/// In probing order: MAP, BMP, JPEG, PCX, PNG, TGA, as far as they are built in.
extern const image_codec image_codecs[];
extern const int32_t num_image_codecs;

/// The row of a format, or null when it isn't built in.
const image_codec *codec_for(image_format format);
/// The first codec that takes the file, or null.
const image_codec *probe_image(const char *filename, const char *key);

/// Reads a picture by the first codec that takes the file. What that reader refuses as not of its
/// format (144) goes to the next codec that takes it: the headers of some formats begin alike. The
/// codec that read it, or null with the globals reset.
const image_codec *read_image(const char *filename, const char *key);

int32_t ORB_CheckBMPHeader(const char *filename, const char *key);
/// Palette pictures come as 8 bits; truecolour ones at the depth of the screen, with an alpha
/// channel when the header has a mask for it or else, at 32 bits, any pixel's top byte isn't 0.
int32_t ORB_LoadBMP(const char *filename, const char *key);
int32_t ORB_LoadBMPPalette(const char *filename);
/// Writes image_w x image_h pixels of image_data at image_bpp, 8 bits with the palette in force;
/// those with a `compression` of 1 run-length coded. 1, or 0.
int32_t ORB_SaveBMP(const char *filename, int32_t compression);

int32_t ORB_CheckJPEGHeader(const char *filename, const char *key);
/// Grey pictures come as 8 bits with a palette of greys, others as truecolour without alpha.
int32_t ORB_LoadJPEG(const char *filename, const char *key);
/// The palette of a grey picture; others have none.
int32_t ORB_LoadJPEGPalette(const char *filename);
/// Writes image_w x image_h pixels of image_data at image_bpp (8 bits with the palette in force);
/// alpha is lost. `parameter` 0..100 asks for a quality of 100 - parameter, any other for libjpeg's
/// own. 1, or 0.
int32_t ORB_SaveJPEG(const char *filename, int32_t parameter);

/// Files up to version 5, of which the reader takes version 5 only.
int32_t ORB_CheckPCXHeader(const char *filename, const char *key);
/// Palette pictures come as 8 bits; truecolour ones as 32, and are refused (144) at lower depths.
int32_t ORB_LoadPCX(const char *filename, const char *key);
int32_t ORB_LoadPCXPalette(const char *filename);
/// Writes the picture as ORB_SaveBMP does, always run-length coded; 16 bits become 24, and alpha is
/// lost. The format has no parameter. 1, or 0.
int32_t ORB_SavePCX(const char *filename, int32_t parameter);

int32_t ORB_CheckPNGHeader(const char *filename, const char *key);
/// Palette pictures come as 8 bits, with alphas for the palette where the file has them; others as
/// truecolour at the depth of the screen, with an alpha channel at 32 bits where the file has one
/// or names a transparent colour.
int32_t ORB_LoadPNG(const char *filename, const char *key);
int32_t ORB_LoadPNGPalette(const char *filename);
/// Writes image_w x image_h pixels of image_data at image_bpp (8 bits with the palette in force).
/// `parameter` is the zlib level 0..9, else the default. 1, or 0.
int32_t ORB_SavePNG(const char *filename, int32_t parameter);

/// The format has no mark: this takes every file whose header describes a picture that we read.
int32_t ORB_CheckTGAHeader(const char *filename, const char *key);
/// Pictures of indices and of greys come as 8 bits, greys with a palette of greys; truecolour ones
/// at the depth of the screen, with an alpha channel at 32 bits when the header says so.
int32_t ORB_LoadTGA(const char *filename, const char *key);
/// The colour map of a picture of indices, or the greys of a grey one.
int32_t ORB_LoadTGAPalette(const char *filename);
/// Writes the picture as ORB_SaveBMP does, at any depth run-length coded with a `compression` of 1;
/// 16 bits become 24. 1, or 0.
int32_t ORB_SaveTGA(const char *filename, int32_t compression);
