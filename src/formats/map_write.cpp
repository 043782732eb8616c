// Writes MAP files; their layout stands in map_read.cpp.
#include "formats/image.h"
#include "formats/map_file.h"
#include "surface/screen.h"

#include <cstring>

uint32_t image_flags = 0;
const __ORBSurface2D__ *image_surface = nullptr;

void describe_graph(const orb_map_slot &slot) {
  image_w = int32_t(slot.surface->width);
  image_h = int32_t(slot.surface->height);
  image_bpp = mode.bpp;
  image_id = slot.id;
  memset(image_desc, 0, sizeof image_desc);
  memcpy(image_desc, slot.description, strnlen(slot.description, sizeof slot.description - 1));
  image_flags = cpoint_word(*slot.surface);
  image_surface = slot.surface;
}

int32_t ORB_SaveMAP(const char *filename, int32_t compression, const char *key) {
  if (!image_surface || image_surface->depth != image_bpp || !image_surface->pixels) return 0;
  graph_writer out;
  if (!create_graph_file(&out, filename, compression >= 1, key)) return 0;

  uint8_t magic[8];
  make_graph_magic(magic, "map", image_bpp);
  uint8_t header[8 + 2 + 2 + 4 + 256]{};
  const uint16_t sides[2] = {uint16_t(image_w), uint16_t(image_h)};
  memcpy(header, magic, sizeof magic);
  memcpy(header + 8, sides, sizeof sides);
  memcpy(header + 12, &image_id, sizeof image_id);
  memcpy(header + 16, image_desc, strnlen(image_desc, 255));
  write_graph_bytes(&out, header, sizeof header);
  if (image_bpp == 8) write_graph_palette(&out);

  uint8_t points[2 + 4 * stored_cpoint_mask];
  const auto word = uint16_t(image_flags);
  memcpy(points, &word, sizeof word);
  write_graph_bytes(&out, points, 2 + pack_cpoints(*image_surface, points + 2));
  write_graph_bytes(&out, image_surface->pixels, image_surface->byte_size, out.cipher);
  return close_graph_file(&out);
}
