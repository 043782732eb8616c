// Reads MAP files, single graphs. After the markers, little-endian and without padding:
//
//   8    magic
//   2, 2 width, height
//   4    id: the graph's code when it was saved
//   D    description, NUL-padded; D is 256, in the old layout 32
//   8-bit files: 768 bytes palette with 6-bit components, 576 bytes colour ranges
//   2    control-point word: their number N in 12 bits, 0x1000 for an alpha channel
//   4N   control points: x, y, 2 bytes each; x 65535 is a missing point
//   the pixels, rows from the top
#include "formats/codec.h"
#include "formats/map_file.h"

#include <cstring>

#include "boundary/errors.h"
#include "boundary/runtime.h"
#include "formats/image.h"
#include "surface/screen.h"

namespace {

constexpr char letters[4] = "map";

int32_t open_error(graph_open_result result) {
  switch (result) {
  case graph_opened: return 0;
  case graph_not_reopened: return error_compressed_file;
  default: return error_open;
  }
}

int32_t read_error(graph_read_result result) {
  switch (result) {
  case graph_read: return 0;
  case graph_no_memory: return error_out_of_memory;
  default: return error_format;
  }
}

/// Width, height, id and description.
bool read_header(graph_reader *in, const graph_file_layout &layout) {
  uint8_t fields[8 + 256];
  const uint32_t size = 8 + layout.description_size;
  if (!read_graph_bytes(in, fields, size)) return false;
  uint16_t sides[2];
  memcpy(sides, fields, sizeof sides);
  image_w = sides[0];
  image_h = sides[1];
  memcpy(&image_id, fields + 4, sizeof image_id);
  memcpy(image_desc, fields + 8, layout.description_size);
  image_desc[layout.description_size - 1] = '\0';
  return true;
}

/// The control-point word and the points.
graph_read_result read_flags_and_cpoints(graph_reader *in) {
  uint16_t word;
  if (!read_graph_bytes(in, &word, sizeof word)) return graph_cut_short;
  image_alphachannel = (word & stored_alpha_flag) != 0;
  const uint32_t count = word & stored_cpoint_mask;
  if (count == 0) return graph_read;
  image_max_cpoint_defined = int32_t(count) - 1;
  return read_cpoints(in, count, &image_cpoint, &image_num_cpoints);
}

/// Reads what follows the markers; the message number of what went wrong, or 0.
int32_t read_graph_file(graph_reader *in) {
  if (!in->key_fits) return error_key;
  const graph_file_layout *layout = find_graph_layout(letters, in->magic);
  if (!layout || layout->depth > mode.bpp) return error_format;
  image_bpp = layout->depth;
  if (!read_header(in, *layout)) return error_format;
  if (image_bpp == 8) {
    if (!read_graph_palette(in, &image_palette)) return error_format;
    image_has_palette = 1;
  }
  const uint32_t size = surface_size(image_w, image_h, image_bpp);
  if (!size) return error_out_of_memory;
  if (!may_hold_graph_bytes(in, size)) return error_format;
  image_data = aligned_malloc(size);
  if (!image_data) return error_out_of_memory;
  if (const int32_t error = read_error(read_flags_and_cpoints(in))) return error;
  return read_graph_bytes(in, image_data, size, in->cipher) ? 0 : error_format;
}

} // namespace

int32_t ORB_CheckMAPHeader(const char *filename, const char *key) {
  graph_reader in;
  if (open_graph_file(&in, filename, key) != graph_opened) return 0;
  rt_file_close(in.handle);
  return find_graph_layout(letters, in.magic) != nullptr;
}

int32_t ORB_LoadMAP(const char *filename, const char *key) {
  graph_reader in;
  int32_t error = open_error(open_graph_file(&in, filename, key));
  if (!error) {
    error = read_graph_file(&in);
    rt_file_close(in.handle);
  }
  if (!error) return 1;
  reset_image();
  image_error = error;
  return 0;
}

// No palette reader: formats/palette_file.cpp looks into MAP files before pictures.
const image_codec map_codec = {img_format_map, ORB_CheckMAPHeader, ORB_LoadMAP, nullptr,
                               ORB_SaveMAP};
