#include "formats/picture_rows.h"

#include <cstdlib>

#include "boundary/errors.h"
#include "formats/image.h"
#include "surface/surface.h"

/// Allocates the pixels and describes them in the globals.
static bool begin_picture(picture_rows *picture, uint32_t w, uint32_t h, int32_t depth) {
  image_error = error_format;
  if (w < 1 || w > largest_side || h < 1 || h > largest_side) return false;
  image_error = error_out_of_memory;
  const uint64_t size = uint64_t(w) * h * uint32_t(depth / 8);
  if (size > max_picture_size) return false;
  image_data = aligned_malloc(uint32_t(size));
  if (!image_data) return false;
  picture->w = w;
  picture->h = h;
  picture->pitch = w * uint32_t(depth / 8);
  picture->pixels = static_cast<uint8_t *>(image_data);
  image_w = int32_t(w);
  image_h = int32_t(h);
  image_bpp = depth;
  image_error = error_format; // what goes wrong from here on is the file's fault
  return true;
}

bool begin_indices(picture_rows *picture, uint32_t w, uint32_t h) {
  *picture = {};
  image_alphachannel = 0;
  return begin_picture(picture, w, h, 8);
}

bool begin_colours(picture_rows *picture, uint32_t w, uint32_t h, bool alpha) {
  *picture = {};
  if (!begin_truecolour(&picture->conversion, alpha)) {
    image_error = error_out_of_memory;
    return false;
  }
  const int32_t depth = picture->conversion.depth;
  if (!begin_picture(picture, w, h, depth)) return false;
  image_alphachannel = depth == 32 && alpha;
  if (depth == 32) return true;
  picture->wide = static_cast<uint32_t *>(malloc(size_t(w) * sizeof(uint32_t)));
  if (!picture->wide) image_error = error_out_of_memory;
  return picture->wide != nullptr;
}

bool end_picture(picture_rows *picture, bool good) {
  free(picture->wide);
  if (!good) {
    aligned_free(image_data);
    image_data = nullptr;
  }
  return good;
}
