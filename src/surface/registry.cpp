#include "surface/registry.h"

#include <algorithm>
#include <cstddef>
#include <cstdlib>

#include "boundary/errors.h"
#include "boundary/runtime.h"
#include "surface/growth.h"
#include "surface/regions.h"

orb_fpg *fpg = nullptr;
int32_t max_fpg = 0, max_map = 0, max_graph = 0;
int32_t fpgs_loaded = 0, maps_loaded = 0;
int32_t *image_loaded = nullptr;
orb_fpg *pfpg = nullptr;
orb_map_slot *pfpgmap = nullptr, *pfpgmap_dst = nullptr;

namespace {

constexpr int32_t first_max_fpg = 4, fpg_step = 4, fpg_limit = 65536;
constexpr int32_t first_max_map = 1256, map_step = 256;

/// Zeroed records; null without memory or for a size that cannot be addressed.
template <typename T> T *new_records(int32_t count) {
  return static_cast<T *>(calloc(size_t(count), sizeof(T)));
}

/// The index of a cursor in the slots of library 0; -1 when it is null or points elsewhere.
int32_t place_in_library0(const orb_map_slot *cursor) {
  const uintptr_t offset =
      reinterpret_cast<uintptr_t>(cursor) - reinterpret_cast<uintptr_t>(fpg[0].slots);
  const uintptr_t place = offset / sizeof *cursor;
  return place < uintptr_t(max_map) ? int32_t(place) : -1;
}

/// No run-time code below this one is free, so searches start here instead of passing thousands of
/// graphs. (Slots that a host has emptied by itself are not seen.)
int32_t lowest_free_code = first_runtime_code;

/// The first free code from `first` on, or 0.
int32_t find_free_code(int32_t first) {
  for (int32_t code = first; code < max_map; ++code)
    if (!fpg[0].slots[code].surface) return code;
  return 0;
}

} // namespace

// ---- Libraries ---------------------------------------------------------------------------------

int32_t CreateFPGList() {
  fpg = new_records<orb_fpg>(first_max_fpg);
  max_fpg = fpg ? first_max_fpg : 0;
  return fpg != nullptr;
}

int32_t ResizeFPGList() {
  if (max_fpg >= fpg_limit) return 0;
  const std::ptrdiff_t looked_up = pfpg ? pfpg - fpg : 0;
  if (!grow_records(fpg, max_fpg, max_fpg + fpg_step)) {
    rt_fatal("ENGINE 2D: Error to Resize FPG list");
    return 0;
  }
  if (pfpg) pfpg = fpg + looked_up;
  max_fpg += fpg_step;
  return 1;
}

void DeleteFPGList() {
  free(fpg);
  fpg = nullptr;
  max_fpg = 0;
  pfpg = nullptr;
}

int32_t ResizeFPGMAPList() {
  if (max_map == INT32_MAX || !fpg) return 0;
  const int32_t wanted = max_map > INT32_MAX - map_step ? INT32_MAX : max_map + map_step;
  const int32_t source = place_in_library0(pfpgmap);
  const int32_t destination = place_in_library0(pfpgmap_dst);
  const bool grown =
      grow_records(fpg[0].slots, max_map, wanted) &&
      grow_records(image_loaded, max_map - first_runtime_code, wanted - first_runtime_code);
  // The slots may have moved even if the marks could not grow.
  if (source >= 0) pfpgmap = fpg[0].slots + source;
  if (destination >= 0) pfpgmap_dst = fpg[0].slots + destination;
  if (!grown) {
    rt_fatal("ENGINE 2D: Error to Resize FPGMAP list");
    return 0;
  }
  max_map = wanted;
  return 1;
}

void create_graph_registry() {
  constexpr const char *no_memory = "No enough memory to create primary FPG";
  fpgs_loaded = maps_loaded = 0;
  max_map = 0;
  lowest_free_code = first_runtime_code;
  // Library 0 always exists; its used flag, 0 at first, says that a file was loaded into it.
  auto *slots = new_records<orb_map_slot>(first_max_map);
  auto *marks = new_records<int32_t>(first_max_map - first_runtime_code);
  if (fpg && slots && marks) {
    fpg[0] = {0, 0, slots, 0};
    image_loaded = marks;
    max_map = first_max_map;
  } else {
    free(slots);
    free(marks);
    rt_fatal(no_memory);
  }
  create_regions();
}

void release_graph_registry() {
  for (int32_t file = 0; file < max_fpg; ++file) {
    free(fpg[file].slots);
    fpg[file] = {};
  }
  free(image_loaded);
  image_loaded = nullptr;
  max_map = 0;
  pfpg = nullptr;
  pfpgmap = pfpgmap_dst = nullptr;
}

// ---- Lookups -----------------------------------------------------------------------------------

orb_fpg *GetFPG(int32_t file) { return file >= 0 && file < max_fpg ? &fpg[file] : nullptr; }

orb_map_slot *GetMAP(int32_t file, int32_t graph) {
  max_graph = graph_bound(file);
  if (file < 0 || file >= max_fpg || graph < 0 || graph >= max_graph) return nullptr;
  const orb_fpg &library = fpg[file];
  if ((file && !library.in_use) || !library.slots) return nullptr;
  return &library.slots[graph];
}

int32_t GetMaxFPG() { return max_fpg; }
int32_t GetMaxMAP() { return max_map; }

// ---- Run-time codes ----------------------------------------------------------------------------

int32_t GetMAPCode(int32_t file) {
  if (file != 0 || !max_map) return 0;
  int32_t code = find_free_code(lowest_free_code);
  // Slots that a host has emptied by itself are reused before the list grows.
  if (!code) code = find_free_code(first_runtime_code);
  if (!code) {
    code = max_map;
    if (!ResizeFPGMAPList()) return 0;
  }
  return lowest_free_code = code;
}

int32_t RecMAPCode(int32_t file, int32_t code, __ORBSurface2D__ *surface) {
  if (file != 0 || code < first_runtime_code || code >= max_map || !surface) return 0;
  orb_map_slot &slot = fpg[0].slots[code];
  slot.surface = surface;
  slot.code = code;
  slot.description[0] = slot.name[0] = '\0';
  image_loaded[code - first_runtime_code] = 1;
  // QUIRK: only the library's count grows, not `maps_loaded` or the bytes as in account_graph,
  // although unloading lowers both counts.
  ++fpg[0].map_count;
  return 1;
}

void empty_slot(orb_fpg *library, int32_t code) {
  orb_map_slot &slot = library->slots[code];
  slot.surface = nullptr;
  slot.code = 0;
  --library->map_count;
  if (library == fpg && code >= first_runtime_code)
    lowest_free_code = std::min(lowest_free_code, code);
}

void account_graph(int32_t code, uint32_t memory, int32_t mark) {
  fpg[0].slots[code].memory_usage = memory;
  fpg[0].memory_usage += memory;
  ++fpg[0].map_count;
  ++maps_loaded;
  if (code >= first_runtime_code) image_loaded[code - first_runtime_code] = mark;
}

int32_t unload_graphs(int32_t code, bool (*owns)(int32_t mark)) {
  constexpr int32_t all = -1;
  int32_t first = code, last = code;
  if (code == all) {
    if (max_map - 1 < first_runtime_code) return 0;
    first = first_runtime_code;
    last = max_map - 1;
  } else if (code < first_runtime_code || code >= max_map) {
    return script_failure;
  }
  int32_t unloaded = 0;
  for (int32_t each = first; each <= last; ++each) {
    int32_t &mark = image_loaded[each - first_runtime_code];
    if (!mark || !owns(mark)) continue;
    orb_map_slot &slot = fpg[0].slots[each];
    device2D.ORBGI2D_DeleteGFXSurface(slot.surface);
    empty_slot(fpg, each);
    fpg[0].memory_usage -= slot.memory_usage;
    slot.memory_usage = 0; // RecMAPCode does not set it
    --maps_loaded;
    mark = 0;
    ++unloaded;
  }
  return unloaded;
}
