// The PNG reader, over libpng.
//
// libpng reports errors by a long jump. Everything that has to be freed then lives in one record
// outside the function that calls setjmp, and no frame that the jump crosses has a destructor.
#include <csetjmp>
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include <png.h>

#include "boundary/errors.h"
#include "boundary/runtime.h"
#include "formats/codec.h"
#include "formats/file_reader.h"
#include "formats/picture_rows.h"
#include "surface/surface.h"

namespace {

constexpr size_t signature_size = 8;
/// The most that libpng may allocate for one chunk; we keep neither texts nor profiles.
constexpr uint32_t max_chunk_memory = 8u << 20;

struct png_reading {
  FILE *file;
  png_structp png;
  png_infop info;
  uint32_t w, h;
  bool paletted, alpha, interlaced;
  truecolour_conversion conversion;
  void *scratch; // truecolour rows that are still to be converted: one, or all when interlaced
  script_error error;
};

[[noreturn]] void on_error(png_structp png, png_const_charp) { png_longjmp(png, 1); }
void on_warning(png_structp, png_const_charp) {}

[[noreturn]] void give_up(png_reading *reading, script_error error) {
  reading->error = error;
  png_longjmp(reading->png, 1);
}

/// Opens the file and tells whether it begins with the signature. The file stays open.
bool open_png(png_reading *reading, const char *filename) {
  const char *path = rt_file_path(filename, ORB_PATH_READ);
  reading->file = path ? open_for_reading(path) : nullptr;
  if (!reading->file) {
    reading->error = error_open;
    return false;
  }
  png_byte signature[signature_size];
  return fread(signature, 1, signature_size, reading->file) == signature_size &&
         png_sig_cmp(signature, 0, signature_size) == 0;
}

/// Runs `work`; false when libpng gave up in it.
bool guarded(png_reading *reading, void (*work)(png_reading *)) {
  if (setjmp(png_jmpbuf(reading->png))) return false;
  work(reading);
  return true;
}

void read_header(png_reading *reading) {
  png_structp png = reading->png;
  png_infop info = reading->info;
  png_init_io(png, reading->file);
  png_set_sig_bytes(png, signature_size);
  png_set_user_limits(png, largest_side, largest_side);
  png_set_chunk_malloc_max(png, max_chunk_memory);
  // Texts, profiles, gamma and the like don't affect the pixels: skip them.
  png_set_keep_unknown_chunks(png, PNG_HANDLE_CHUNK_NEVER, nullptr, -1);
  png_read_info(png, info);

  reading->w = png_get_image_width(png, info);
  reading->h = png_get_image_height(png, info);
  const int colour = png_get_color_type(png, info);
  reading->paletted = colour == PNG_COLOR_TYPE_PALETTE;
  reading->alpha = !reading->paletted &&
                   ((colour & PNG_COLOR_MASK_ALPHA) || png_get_valid(png, info, PNG_INFO_tRNS));
  reading->interlaced = png_get_interlace_type(png, info) != PNG_INTERLACE_NONE;
}

void take_palette(png_reading *reading) {
  png_colorp colours = nullptr;
  int count = 0;
  if (!png_get_PLTE(reading->png, reading->info, &colours, &count)) give_up(reading, error_format);
  image_palette = {};
  for (int i = 0; i < count && i < 256; i++)
    image_palette.colours[i] = {colours[i].red, colours[i].green, colours[i].blue};
  image_has_palette = 1;
}

/// Alphas of the palette's colours; a file gives them for the first few, or for none.
void take_palette_alphas(png_reading *reading) {
  png_bytep alphas = nullptr;
  int count = 0;
  if (!png_get_tRNS(reading->png, reading->info, &alphas, &count, nullptr)) return;
  memset(image_palette_alphas, 255, sizeof image_palette_alphas);
  memcpy(image_palette_alphas, alphas, size_t(count < 256 ? count : 256));
  image_has_palette_alphas = 1;
}

/// Asks libpng for the samples as we keep them: palette indices in a byte each, or blue, green,
/// red and alpha (0 in pictures without).
void set_transforms(png_reading *reading) {
  png_structp png = reading->png;
  png_set_packing(png);
  if (!reading->paletted) {
    png_set_expand(png);
    png_set_scale_16(png);
    png_set_gray_to_rgb(png);
    if (!reading->alpha) png_set_filler(png, 0, PNG_FILLER_AFTER);
    png_set_bgr(png);
  }
  if (reading->interlaced) png_set_interlace_handling(png);
  png_read_update_info(png, reading->info);
}

/// `size` bytes for pixels, or the end of the reading.
void *pixel_memory(png_reading *reading, uint64_t size) {
  // Larger sizes would wrap in the allocator.
  void *memory = size <= max_picture_size ? aligned_malloc(uint32_t(size)) : nullptr;
  if (!memory) give_up(reading, error_out_of_memory);
  return memory;
}

void read_rows(png_reading *reading, uint8_t *rows, size_t pitch) {
  const int passes = reading->interlaced ? 7 : 1;
  for (int pass = 0; pass < passes; pass++)
    for (uint32_t y = 0; y < reading->h; y++)
      png_read_row(reading->png, rows + y * pitch, nullptr);
}

void read_converted_rows(png_reading *reading, uint8_t *rows, size_t pitch) {
  const uint32_t w = reading->w, h = reading->h;
  const size_t read_pitch = size_t(w) * 4;
  reading->scratch = pixel_memory(reading, uint64_t(w) * 4 * (reading->interlaced ? h : 1));
  auto *scratch = static_cast<uint8_t *>(reading->scratch);
  if (reading->interlaced) read_rows(reading, scratch, read_pitch);
  for (uint32_t y = 0; y < h; y++) {
    if (!reading->interlaced)
      png_read_row(reading->png, scratch, nullptr);
    else if (y > 0)
      scratch += read_pitch;
    convert_truecolour_row(reading->conversion, rows + y * pitch,
                           reinterpret_cast<const uint32_t *>(scratch), w);
  }
}

void read_picture(png_reading *reading) {
  read_header(reading);
  if (reading->paletted) {
    take_palette(reading);
    take_palette_alphas(reading);
  } else if (!begin_truecolour(&reading->conversion, reading->alpha)) {
    give_up(reading, error_out_of_memory);
  }
  set_transforms(reading);
  const size_t row_bytes = png_get_rowbytes(reading->png, reading->info);
  if (row_bytes != size_t(reading->w) * (reading->paletted ? 1 : 4)) give_up(reading, error_format);

  const int32_t depth = reading->paletted ? 8 : reading->conversion.depth;
  const uint64_t pitch = uint64_t(reading->w) * uint32_t(depth / 8);
  image_data = pixel_memory(reading, pitch * reading->h);
  auto *rows = static_cast<uint8_t *>(image_data);
  if (reading->paletted || depth == 32)
    read_rows(reading, rows, size_t(pitch));
  else
    read_converted_rows(reading, rows, size_t(pitch));
  // Files that are cut or damaged behind the pixels are refused, too.
  png_read_end(reading->png, nullptr);

  image_w = int32_t(reading->w);
  image_h = int32_t(reading->h);
  image_bpp = depth;
  image_alphachannel = depth == 32 && reading->alpha;
}

void read_palette(png_reading *reading) {
  read_header(reading);
  if (!reading->paletted) give_up(reading, error_format);
  take_palette(reading);
}

/// Opens the file, runs `work` over it, frees everything but the result. 1, or 0 with image_error.
int32_t read_png(const char *filename, void (*work)(png_reading *)) {
  png_reading reading{};
  reading.error = error_format;
  bool good = open_png(&reading, filename);
  if (good) {
    reading.png = png_create_read_struct(PNG_LIBPNG_VER_STRING, nullptr, on_error, on_warning);
    if (reading.png) reading.info = png_create_info_struct(reading.png);
    if (!reading.info) reading.error = error_out_of_memory;
    good = reading.info && guarded(&reading, work);
    png_destroy_read_struct(&reading.png, &reading.info, nullptr);
  }
  if (reading.file) fclose(reading.file);
  aligned_free(reading.scratch);
  if (!good) image_error = reading.error;
  return good;
}

int32_t ORB_CheckPNGHeader(const char *filename, const char *) {
  png_reading reading{};
  const bool good = open_png(&reading, filename);
  if (reading.file) fclose(reading.file);
  return good;
}

/// Palette pictures come as 8 bits, with alphas for the palette where the file has them; others as
/// truecolour at the depth of the screen, with an alpha channel at 32 bits where the file has one
/// or names a transparent colour.
int32_t ORB_LoadPNG(const char *filename, const char *) {
  if (read_png(filename, read_picture)) return 1;
  aligned_free(image_data);
  image_data = nullptr;
  return 0;
}

int32_t ORB_LoadPNGPalette(const char *filename) { return read_png(filename, read_palette); }

} // namespace

const image_codec png_codec = {img_format_png, ORB_CheckPNGHeader, ORB_LoadPNG, ORB_LoadPNGPalette,
                               ORB_SavePNG};
