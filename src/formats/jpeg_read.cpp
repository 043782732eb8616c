// The JPEG reader, over libjpeg, with LittleCMS for pictures in printing inks.
#include <cstdlib>
#include <cstring>

#include <jerror.h>
#include <lcms2.h>

#include "formats/codec.h"
#include "formats/icc_profile.h"
#include "formats/jpeg_guard.h"
#include "formats/truecolour.h"
#include "surface/surface.h"

namespace {

/// Rows asked for at once: as many as libjpeg makes in one go.
constexpr uint32_t band_height = 16;
/// Progressive files come in about ten scans. More than this many only cost time: every one goes
/// over the whole picture, however few bytes it has.
constexpr int max_scans = 100;

struct jpeg_reading {
  jpeg_guard guard; // first
  FILE *file;
  jpeg_decompress_struct info;
  jpeg_progress_mgr progress;
  bool cut_short; // the end of the file came before the end of the picture
  truecolour_conversion conversion;
  JOCTET *profile;
  cmsHTRANSFORM from_cmyk; // null when there is no profile to go by
  uint32_t *scratch;       // a band of rows that are still to be converted
  /// Brings pixels as libjpeg delivers them to 0x00RRGGBB.
  void (*finish_row)(const jpeg_reading &reading, uint32_t *row, uint32_t count);
};

jpeg_reading *reading_of(j_common_ptr codec) {
  return reinterpret_cast<jpeg_reading *>(guard_of(codec));
}

/// Damage that libjpeg can mend is left to it. But where the file ends early it would go on with
/// grey for ever: a complaint after that means that pixels are missing.
void on_message(j_common_ptr codec, int level) {
  if (level >= 0) return; // not a warning
  jpeg_reading *reading = reading_of(codec);
  if (reading->cut_short) give_up(&reading->guard, error_format);
  if (codec->err->msg_code == JWRN_JPEG_EOF) reading->cut_short = true;
}

void on_progress(j_common_ptr codec) {
  jpeg_reading *reading = reading_of(codec);
  if (reading->info.input_scan_number > max_scans) give_up(&reading->guard, error_format);
}

bool open_jpeg(jpeg_reading *reading, const char *filename) {
  const char *path = rt_file_path(filename, ORB_PATH_READ);
  reading->file = path ? fopen(path, "rb") : nullptr;
  return reading->file != nullptr;
}

/// Whether the file is long enough for its picture: every 8 x 8 block of a component takes a bit at
/// least. Keeps files of a few bytes from asking for gigabytes. Arithmetic coding knows no such
/// bound, nor is it known for what isn't a plain file.
bool long_enough(const jpeg_reading &reading) {
  const long position = ftell(reading.file);
  if (reading.info.arith_code || position < 0 || fseek(reading.file, 0, SEEK_END) != 0) return true;
  const long size = ftell(reading.file);
  if (fseek(reading.file, position, SEEK_SET) != 0) return false;
  uint64_t blocks = 0;
  for (int i = 0; i < reading.info.num_components; i++) {
    const jpeg_component_info &component = reading.info.comp_info[i];
    blocks += uint64_t(component.width_in_blocks) * component.height_in_blocks;
  }
  return size < 0 || uint64_t(size) * 8 >= blocks;
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

// ---- Colours: whole rows, in place; both kinds are four bytes a pixel

/// libjpeg leaves the byte beside the colour to chance.
void finish_colour(const jpeg_reading &, uint32_t *row, uint32_t count) {
  for (uint32_t i = 0; i < count; i++)
    row[i] &= 0xFFFFFF;
}

void finish_cmyk_by_profile(const jpeg_reading &reading, uint32_t *row, uint32_t count) {
  cmsDoTransform(reading.from_cmyk, row, row, count);
  finish_colour(reading, row, count);
}

/// The rounded quotient by 255 of a product of two bytes.
constexpr uint32_t multiply(uint32_t a, uint32_t b) {
  return (a * b + 127) / 255;
}

/// The samples are inverted, as the programs that write such files leave them: 255 is no ink. Each
/// colour is then what its ink lets through, times what black lets through.
void finish_cmyk(const jpeg_reading &, uint32_t *row, uint32_t count) {
  for (uint32_t i = 0; i < count; i++) {
    const uint32_t cmyk = row[i], black = cmyk >> 24;
    row[i] = multiply(cmyk & 255, black) << 16 | multiply(cmyk >> 8 & 255, black) << 8 |
             multiply(cmyk >> 16 & 255, black);
  }
}

/// Makes the transform from the picture's own profile to sRGB, if it brings one that is for CMYK.
void make_transform(jpeg_reading *reading) {
  uint32_t size = 0;
  if (!jpeg_icc_read_profile(&reading->info, &reading->profile, &size)) return;
  const cmsHPROFILE from = cmsOpenProfileFromMem(reading->profile, size);
  if (!from) return;
  const cmsHPROFILE to =
      cmsGetColorSpace(from) == cmsSigCmykData ? cmsCreate_sRGBProfile() : nullptr;
  if (to) {
    reading->from_cmyk =
        cmsCreateTransform(from, TYPE_CMYK_8_REV, to, TYPE_BGRA_8, INTENT_PERCEPTUAL, 0);
    cmsCloseProfile(to);
  }
  cmsCloseProfile(from);
}

// ---- Pixels

/// Says what libjpeg is to deliver: grey bytes, or four bytes a pixel and how to finish them.
void choose_output(jpeg_reading *reading) {
  jpeg_decompress_struct &info = reading->info;
  switch (info.num_components) {
  case 1: info.out_color_space = JCS_GRAYSCALE; return;
  case 3:
    info.out_color_space = JCS_EXT_BGRX;
    reading->finish_row = finish_colour;
    break;
  case 4:
    info.out_color_space = JCS_CMYK;
    make_transform(reading);
    reading->finish_row = reading->from_cmyk ? finish_cmyk_by_profile : finish_cmyk;
    break;
  default: give_up(&reading->guard, error_format);
  }
}

/// `size` bytes for pixels, or the end of the reading.
void *pixel_memory(jpeg_reading *reading, uint64_t size) {
  // What a surface may hold at most; larger requests would wrap on their way to the heap.
  void *memory = size <= 0x7FFFFFE0u ? aligned_malloc(uint32_t(size)) : nullptr;
  if (!memory) give_up(&reading->guard, error_out_of_memory);
  return memory;
}

/// Reads the next rows, some or all of a band, one `pitch` apart. How many.
uint32_t read_band(jpeg_reading *reading, uint8_t *band, size_t pitch) {
  const uint32_t left = reading->info.output_height - reading->info.output_scanline;
  const uint32_t count = left < band_height ? left : band_height;
  JSAMPROW rows[band_height];
  for (uint32_t i = 0; i < count; i++)
    rows[i] = band + i * pitch;
  return jpeg_read_scanlines(&reading->info, rows, count);
}

void read_rows(jpeg_reading *reading, uint8_t *rows, size_t pitch, int32_t depth) {
  const uint32_t w = reading->info.output_width;
  // Rows that keep the size in which they are delivered are finished where they stay.
  const bool in_place = depth == 32 || !reading->finish_row;
  const size_t band_pitch = in_place ? pitch : size_t(w) * 4;
  if (!in_place)
    reading->scratch =
        static_cast<uint32_t *>(pixel_memory(reading, uint64_t(band_pitch) * band_height));
  while (reading->info.output_scanline < reading->info.output_height) {
    auto *band = in_place ? rows : reinterpret_cast<uint8_t *>(reading->scratch);
    const uint32_t count = read_band(reading, band, band_pitch);
    for (uint32_t i = 0; reading->finish_row && i < count; i++) {
      auto *row = reinterpret_cast<uint32_t *>(band + i * band_pitch);
      reading->finish_row(*reading, row, w);
      if (!in_place) convert_truecolour_row(reading->conversion, rows + i * pitch, row, w);
    }
    rows += count * pitch;
  }
}

void read_picture(jpeg_reading *reading) {
  read_header(reading);
  choose_output(reading);
  if (!long_enough(*reading)) give_up(&reading->guard, error_format);
  const bool grey = !reading->finish_row;
  if (grey)
    set_grey_palette();
  else if (!begin_truecolour(&reading->conversion, false))
    give_up(&reading->guard, error_out_of_memory);
  const int32_t depth = grey ? 8 : reading->conversion.depth;
  const uint32_t w = reading->info.image_width, h = reading->info.image_height;
  const uint64_t pitch = uint64_t(w) * uint32_t(depth / 8);
  image_data = pixel_memory(reading, pitch * h);

  jpeg_start_decompress(&reading->info);
  // All scans have been read by now; without the end nobody knows how many more there were.
  if (reading->cut_short && jpeg_has_multiple_scans(&reading->info))
    give_up(&reading->guard, error_format);
  read_rows(reading, static_cast<uint8_t *>(image_data), size_t(pitch), depth);
  jpeg_finish_decompress(&reading->info);

  image_w = int32_t(w);
  image_h = int32_t(h);
  image_bpp = depth;
  image_alphachannel = 0;
}

/// Grey pictures have the ramp of greys for a palette, others none.
void read_palette(jpeg_reading *reading) {
  read_header(reading);
  if (reading->info.num_components != 1) give_up(&reading->guard, error_format);
  set_grey_palette();
}

/// Runs `work`; false when libjpeg or the work itself gave up.
bool guarded(jpeg_reading *reading, void (*work)(jpeg_reading *)) {
  if (setjmp(reading->guard.jump)) return false;
  work(reading);
  return true;
}

/// Opens the file, runs `work` over it, frees everything but the result. 1, or 0 with image_error.
int32_t read_jpeg(const char *filename, void (*work)(jpeg_reading *)) {
  jpeg_reading reading{};
  if (!open_jpeg(&reading, filename)) {
    image_error = error_open;
    return 0;
  }
  reading.info.err = init_guard(&reading.guard);
  reading.guard.manager.emit_message = on_message;
  const bool good = guarded(&reading, work);
  jpeg_destroy_decompress(&reading.info);
  fclose(reading.file);
  if (reading.from_cmyk) cmsDeleteTransform(reading.from_cmyk);
  free(reading.profile);
  aligned_free(reading.scratch);
  end_truecolour(&reading.conversion);
  if (!good) image_error = reading.guard.error;
  return good;
}

} // namespace

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

int32_t ORB_LoadJPEG(const char *filename, const char *) {
  if (read_jpeg(filename, read_picture)) return 1;
  aligned_free(image_data);
  image_data = nullptr;
  return 0;
}

int32_t ORB_LoadJPEGPalette(const char *filename) {
  return read_jpeg(filename, read_palette);
}
