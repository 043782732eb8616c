#include "surface/libraries.h"

#include <cstdlib>
#include <cstring>

#include "surface/conversion.h"
#include "surface/surface.h"

void set_graph_text(char (&field)[256], const char *text) {
  if (!text) text = "";
  const size_t length = strnlen(text, sizeof field - 1);
  memmove(field, text, length);
  memset(field + length, 0, sizeof field - length);
}

int32_t find_free_library(int32_t except) {
  for (int32_t file = 0; file < max_fpg; ++file)
    if (!fpg[file].in_use && file != except) return file;
  const int32_t file = max_fpg;
  return ResizeFPGList() ? file : -1;
}

bool open_library(int32_t file) {
  orb_fpg &library = fpg[file];
  if (library.slots) {
    for (int32_t code = 0; code < graphs_per_library; ++code)
      ORBGI2D_DeleteGFXSurface(library.slots[code].surface);
    memset(library.slots, 0, graphs_per_library * sizeof *library.slots);
  } else {
    library.slots = static_cast<orb_map_slot *>(calloc(graphs_per_library, sizeof *library.slots));
    if (!library.slots) return false;
  }
  library.map_count = 0;
  library.memory_usage = empty_library_memory;
  for (int32_t code = graphs_per_library; file == 0 && code < max_map; ++code) {
    const orb_map_slot &loose = library.slots[code];
    if (!loose.surface) continue;
    ++library.map_count;
    library.memory_usage += loose.memory_usage;
  }
  return true;
}

void discard_library(int32_t file, uint32_t memory) {
  orb_fpg &library = fpg[file];
  if (library.slots) open_library(file); // deletes its graphs
  if (file == 0) return;
  free(library.slots);
  library = {0, 0, nullptr, memory};
}

void mark_library_used(int32_t file) {
  fpg[file].in_use = 1;
  ++fpgs_loaded;
}

bool unload_library(int32_t file) {
  orb_fpg &library = fpg[file];
  if (!library.in_use) return false;
  for (int32_t code = 0; code < graphs_per_library; ++code)
    if (library.slots[code].surface) free_graph(&library, &library.slots[code]);
  // QUIRK: memory_usage keeps its value; it is reset when the number is taken again.
  if (file != 0) {
    free(library.slots);
    library.slots = nullptr;
    pfpgmap = pfpgmap_dst = nullptr; // they may point there
  }
  library.in_use = 0;
  --fpgs_loaded;
  return true;
}

void free_graph(orb_fpg *library, orb_map_slot *slot) {
  ORBGI2D_DeleteGFXSurface(slot->surface);
  empty_slot(library, int32_t(slot - library->slots));
}

void release_graph_memory(orb_fpg *library, orb_map_slot *slot) {
  library->memory_usage -= slot->memory_usage;
  slot->memory_usage = 0;
}

void count_graph(orb_fpg *library, orb_map_slot *slot, uint32_t memory) {
  slot->memory_usage = memory;
  library->memory_usage += memory;
  ++library->map_count;
}

bool copy_graph(orb_fpg *library, int32_t code, const orb_map_slot &source) {
  __ORBSurface2D__ *surface = copy_at_screen_depth(source.surface, nullptr);
  if (!surface) return false;
  orb_map_slot &slot = library->slots[code];
  if (slot.surface) {
    release_graph_memory(library, &slot);
    free_graph(library, &slot);
  }
  slot.code = code;
  slot.id = source.id;
  set_graph_text(slot.description, source.description);
  set_graph_text(slot.name, source.name);
  slot.surface = surface;
  count_graph(library, &slot, source.memory_usage);
  return true;
}
