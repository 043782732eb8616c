// The JPEG reader, over libjpeg, with LittleCMS for pictures in printing inks.
#include <cstdlib>
#include <cstring>

#include <jerror.h>

#include "boundary/runtime.h"
#include "formats/codec.h"
#include "formats/file_reader.h"
#include "formats/icc_profile.h"
#include "formats/icc_transform.h"
#include "formats/jpeg_guard.h"
#include "formats/picture_rows.h"

namespace {

/// Progressive files have about ten scans. Each one costs a pass over the whole picture, however
/// few bytes it has, so there is a limit.
constexpr int max_scans = 100;

struct jpeg_reading {
  jpeg_guard guard; // first
  FILE *file;
  jpeg_decompress_struct info;
  jpeg_progress_mgr progress;
  bool cut_short; // the end of the file came before the end of the picture
  picture_rows rows;
  JOCTET *profile;
  icc_transform from_cmyk;
  /// Converts libjpeg's pixels to 0x00RRGGBB; null for grey ones.
  void (*finish_colours)(const jpeg_reading &reading, uint32_t *row, uint32_t count);
};

jpeg_reading *reading_of(j_common_ptr codec) {
  return reinterpret_cast<jpeg_reading *>(guard_of(codec));
}

/// libjpeg repairs damage where it can. When a file ends early it would fill the rest with grey: a
/// warning after that means that pixels are missing.
void on_message(j_common_ptr codec, int level) {
  if (level >= 0) return; // not a warning
  jpeg_reading *reading = reading_of(codec);
  if (reading->cut_short) give_up(&reading->guard, error_format);
  if (codec->err->msg_code == JWRN_JPEG_EOF) reading->cut_short = true;
}

/// Ends pictures with too many scans. Arithmetic decoders don't even warn when the bytes run out.
void on_progress(j_common_ptr codec) {
  jpeg_reading *reading = reading_of(codec);
  const bool starved = reading->cut_short && reading->info.arith_code;
  if (starved || reading->info.input_scan_number > max_scans)
    give_up(&reading->guard, error_format);
}

bool open_jpeg(jpeg_reading *reading, const char *filename) {
  const char *path = rt_file_path(filename, ORB_PATH_READ);
  reading->file = path ? open_for_reading(path) : nullptr;
  return reading->file != nullptr;
}

/// Whether the file is long enough for its picture, so that a few bytes can't demand gigabytes.
/// Every 8 x 8 block of a component takes at least a bit. Arithmetic coding needs far less where
/// nothing changes, so it is believed up to a million blocks, 64 megapixels of grey. Streams
/// without a size are always believed.
bool long_enough(const jpeg_reading &reading) {
  const long position = ftell(reading.file);
  if (position < 0 || fseek(reading.file, 0, SEEK_END) != 0) return true;
  const long size = ftell(reading.file);
  if (fseek(reading.file, position, SEEK_SET) != 0) return false;
  uint64_t blocks = 0;
  for (int i = 0; i < reading.info.num_components; i++) {
    const jpeg_component_info &component = reading.info.comp_info[i];
    blocks += uint64_t(component.width_in_blocks) * component.height_in_blocks;
  }
  const uint64_t bits = size > 0 ? uint64_t(size) * 8 : 0;
  return blocks <= (reading.info.arith_code ? (1u << 20) + bits * 64 : bits);
}

void read_header(jpeg_reading *reading) {
  jpeg_create_decompress(&reading->info);
  reading->progress.progress_monitor = on_progress;
  reading->info.progress = &reading->progress;
  jpeg_stdio_src(&reading->info, reading->file);
  jpeg_save_markers(&reading->info, icc_marker, 0xFFFF);
  jpeg_read_header(&reading->info, TRUE);
}

void set_grey_palette() {
  for (int i = 0; i < 256; i++)
    image_palette.colours[i] = {uint8_t(i), uint8_t(i), uint8_t(i)};
  image_has_palette = 1;
}

// ---- Colours: whole rows, in place, four bytes a pixel

/// libjpeg leaves the fourth byte undefined.
void keep_colours(const jpeg_reading &, uint32_t *row, uint32_t count) {
  for (uint32_t i = 0; i < count; i++)
    row[i] &= 0xFFFFFF;
}

/// A transform is pixel by pixel, so it can work row by row.
void convert_cmyk_by_profile(const jpeg_reading &reading, uint32_t *row, uint32_t count) {
  cmsDoTransform(reading.from_cmyk.transform, row, row, count);
  keep_colours(reading, row, count);
}

/// The rounded quotient by 255 of a product of two bytes.
constexpr uint32_t multiply(uint32_t a, uint32_t b) { return (a * b + 127) / 255; }

/// The samples are inverted, as usual in such files: 255 is no ink. A colour is the light that its
/// ink transmits, times the light that black transmits.
void convert_cmyk(const jpeg_reading &, uint32_t *row, uint32_t count) {
  for (uint32_t i = 0; i < count; i++) {
    const uint32_t cmyk = row[i], black = cmyk >> 24;
    row[i] = multiply(cmyk & 255, black) << 16 | multiply(cmyk >> 8 & 255, black) << 8 |
             multiply(cmyk >> 16 & 255, black);
  }
}

/// Creates the transform from the picture's profile to sRGB, if it has a CMYK profile.
void make_transform(jpeg_reading *reading) {
  uint32_t size = 0;
  const int32_t found = jpeg_icc_read_profile(&reading->info, &reading->profile, &size);
  if (found < 0) give_up(&reading->guard, error_out_of_memory);
  if (found) make_icc_transform(&reading->from_cmyk, &reading->guard, reading->profile, size);
}

// ---- Pixels

/// Chooses libjpeg's output: grey bytes, or four bytes a pixel and how to convert them.
void choose_output(jpeg_reading *reading) {
  jpeg_decompress_struct &info = reading->info;
  switch (info.num_components) {
  case 1: info.out_color_space = JCS_GRAYSCALE; return;
  case 3:
    info.out_color_space = JCS_EXT_BGRX;
    reading->finish_colours = keep_colours;
    break;
  case 4:
    info.out_color_space = JCS_CMYK;
    make_transform(reading);
    reading->finish_colours = reading->from_cmyk.transform ? convert_cmyk_by_profile : convert_cmyk;
    break;
  default: give_up(&reading->guard, error_format);
  }
}

void read_rows(jpeg_reading *reading) {
  const picture_rows &rows = reading->rows;
  for (uint32_t y = 0; y < rows.h; y++) {
    if (!reading->finish_colours) {
      JSAMPROW row = index_row(rows, y);
      jpeg_read_scanlines(&reading->info, &row, 1);
      continue;
    }
    uint32_t *const colours = colour_row(rows, y);
    auto row = reinterpret_cast<JSAMPROW>(colours);
    jpeg_read_scanlines(&reading->info, &row, 1);
    reading->finish_colours(*reading, colours, rows.w);
    finish_row(rows, y);
  }
}

void read_picture(jpeg_reading *reading) {
  read_header(reading);
  if (!long_enough(*reading)) give_up(&reading->guard, error_format);
  choose_output(reading);
  const bool grey = !reading->finish_colours;
  const uint32_t w = reading->info.image_width, h = reading->info.image_height;
  const bool begun =
      grey ? begin_indices(&reading->rows, w, h) : begin_colours(&reading->rows, w, h, false);
  if (!begun) give_up(&reading->guard, script_error(image_error));
  if (grey) set_grey_palette();

  jpeg_start_decompress(&reading->info);
  // All scans have been read; without the end marker more may have been lost.
  if (reading->cut_short && jpeg_has_multiple_scans(&reading->info))
    give_up(&reading->guard, error_format);
  read_rows(reading);
  jpeg_finish_decompress(&reading->info);
}

/// Grey pictures get a palette of greys, others none.
void read_palette(jpeg_reading *reading) {
  read_header(reading);
  if (reading->info.num_components != 1) give_up(&reading->guard, error_format);
  set_grey_palette();
}

/// Runs `work`; false when libjpeg or `work` failed.
bool guarded(jpeg_reading *reading, void (*work)(jpeg_reading *)) {
  if (setjmp(reading->guard.jump)) return false;
  work(reading);
  return true;
}

/// Opens the file, runs `work` over it, frees all but the rows. 1, or 0 with image_error.
int32_t read_jpeg(jpeg_reading *reading, const char *filename, void (*work)(jpeg_reading *)) {
  if (!open_jpeg(reading, filename)) {
    image_error = error_open;
    return 0;
  }
  reading->info.err = init_guard(&reading->guard);
  reading->guard.manager.emit_message = on_message;
  const bool good = guarded(reading, work);
  jpeg_destroy_decompress(&reading->info);
  fclose(reading->file);
  end_icc_transform(&reading->from_cmyk);
  free(reading->profile);
  if (!good) image_error = reading->guard.error;
  return good;
}

int32_t ORB_CheckJPEGHeader(const char *filename, const char *) {
  jpeg_reading reading{};
  if (!open_jpeg(&reading, filename)) return 0;
  // Start of image, and the first byte of the marker that must follow it.
  constexpr uint8_t signature[] = {0xFF, 0xD8, 0xFF};
  uint8_t start[sizeof signature];
  const bool good = fread(start, 1, sizeof start, reading.file) == sizeof start &&
                    memcmp(start, signature, sizeof signature) == 0;
  fclose(reading.file);
  return good;
}

/// Grey pictures come as 8 bits with a palette of greys, others as truecolour without alpha.
int32_t ORB_LoadJPEG(const char *filename, const char *) {
  jpeg_reading reading{};
  return end_picture(&reading.rows, read_jpeg(&reading, filename, read_picture));
}

/// The palette of a grey picture; others have none.
int32_t ORB_LoadJPEGPalette(const char *filename) {
  jpeg_reading reading{};
  return read_jpeg(&reading, filename, read_palette);
}

} // namespace

const image_codec jpeg_codec = {img_format_jpeg, ORB_CheckJPEGHeader, ORB_LoadJPEG,
                                ORB_LoadJPEGPalette, ORB_SaveJPEG};
