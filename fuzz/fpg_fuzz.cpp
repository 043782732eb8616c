// The FPG readers: whole libraries and single graphs of them, plain and through a host's streams.
#include "formats/map_file.h"
#include "graph_fuzz.h"
#include "module/module.h"
#include "surface/libraries.h"

extern "C" int LLVMFuzzerInitialize(int *, char ***) {
  fuzz::start_module();
  fuzz::serve_streams();
  if (!ORBGI2D_Internal_InitGFXDevice() || !CreateFPGList()) abort();
  create_graph_registry();
  return 0;
}

namespace {

/// Every byte of every graph must be readable, and the library's totals must match its graphs.
void use_library(int32_t file) {
  uint32_t memory = empty_library_memory;
  int32_t count = 0;
  for (int32_t code = 0; code < graphs_per_library; code++) {
    const orb_map_slot &slot = fpg[file].slots[code];
    if (!slot.surface) continue;
    const __ORBSurface2D__ &surface = *slot.surface;
    if (surface.depth != mode.bpp || slot.code != code) abort();
    uint32_t defined = 0;
    for (uint32_t i = 0; i <= surface.cpoint_last; i++)
      defined += surface.cpoints[3 * i + 2];
    if (defined != surface.has_cpoints) abort();
    const auto *pixels = static_cast<const uint8_t *>(surface.pixels);
    if (crc32(0, pixels, surface.byte_size) == 0x12345678) putchar(' ');
    memory += slot.memory_usage;
    count++;
  }
  if (count != fpg[file].map_count || memory != fpg[file].memory_usage) abort();
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
  fuzz::put_streams(data, size);
  const uint32_t surfaces = gfxsurfaces->count;
  for (const char *key : {static_cast<const char *>(nullptr), "key"})
    for (int32_t depth : {32, 16, 8}) {
      mode.bpp = depth;
      library_fault fault;
      const int32_t number = load_library("input", key, fault);
      if (number >= 0) {
        use_library(number);
        unload_library(number);
      }
      if (load_library_graph("input", key, 2, 7, fault) >= 0) {
        use_library(2);
        unload_library(2);
      }
      // The next load frees what a failed one left.
      if (!open_library(0) || gfxsurfaces->count != surfaces) abort();
    }
  fuzz::check_streams();
  return 0;
}
