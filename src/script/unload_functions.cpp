// image_unload and map_unload: each deletes the loose graphs of its own kinds.
#include "module/script_call.h"
#include "script/handlers.h"
#include "surface/registry.h"

namespace {
/// The mark of graphs that are maps, wherever they came from; pictures in foreign formats are
/// marked with higher numbers.
constexpr int32_t mark_map = 1;
} // namespace

/// image_unload(code): code -1 unloads all. How many were unloaded; a map read by image_load is
/// not among them, map_unload is for those. The failure value for a code outside the run-time
/// range.
int32_t ORB_image_unload() {
  auto [code] = pop_args<int32_t>();
  return rt_return(unload_graphs(code, [](int32_t mark) { return mark > mark_map; }));
}

/// map_unload(code): the same for maps that were loaded, made, cloned or recorded.
int32_t ORB_map_unload() {
  auto [code] = pop_args<int32_t>();
  return rt_return(unload_graphs(code, [](int32_t mark) { return mark == mark_map; }));
}
