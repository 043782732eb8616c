// Writes FPG files; their layout stands in fpg_read.cpp.
#include <cstring>

#include "formats/map_file.h"
#include "surface/registry.h"
#include "surface/screen.h"

namespace {

/// Whether every graph has pixels of the video mode's depth.
bool graphs_fit(const orb_fpg &library) {
  for (int32_t code = 1; code < graphs_per_library; ++code) {
    const __ORBSurface2D__ *surface = library.slots[code].surface;
    if (surface && (surface->depth != mode.bpp || !surface->pixels)) return false;
  }
  return true;
}

void write_graph(graph_writer *out, int32_t code, const orb_map_slot &slot) {
  const __ORBSurface2D__ &surface = *slot.surface;
  uint8_t fields[4 + 4 + 256 + 260 + 12 + 4 * stored_cpoint_mask];
  constexpr uint32_t description_at = 8, name_at = 8 + 256, size_at = name_at + 260;
  const uint32_t size[3] = {surface.width, surface.height, cpoint_word(surface)};
  memset(fields, 0, size_at);
  memcpy(fields, &code, sizeof code);
  memcpy(fields + description_at, slot.description, strnlen(slot.description, 255));
  memcpy(fields + name_at, slot.name, strnlen(slot.name, 255));
  memcpy(fields + size_at, size, sizeof size);
  const uint32_t points = pack_cpoints(surface, fields + size_at + sizeof size);
  write_graph_bytes(out, fields, size_at + sizeof size + points);
  write_graph_bytes(out, surface.pixels, surface.byte_size, out->cipher);
}

} // namespace

bool save_library(const orb_fpg &library, const char *filename, bool compressed, const char *key) {
  if (!graphs_fit(library)) return false;
  graph_writer out;
  if (!create_graph_file(&out, filename, compressed, key)) return false;
  uint8_t magic[8];
  make_graph_magic(magic, "fpg", mode.bpp);
  write_graph_bytes(&out, magic, sizeof magic);
  if (mode.bpp == 8) write_graph_palette(&out);
  for (int32_t code = 1; code < graphs_per_library; ++code)
    if (library.slots[code].surface) write_graph(&out, code, library.slots[code]);
  return close_graph_file(&out);
}
