// image_unload, unload_pcx and map_unload: each deletes the loose graphs of its own kinds.
#include "formats/codec.h"
#include "script/handlers.h"
#include "script/script_call.h"
#include "surface/registry.h"

/// image_unload(code): code -1 unloads all. How many were unloaded; a map read by image_load is
/// not among them, map_unload is for those. The failure value for a code outside the run-time
/// range.
int32_t ORB_image_unload() {
  auto [code] = pop_args<int32_t>();
  return rt_return(unload_graphs(code, [](int32_t mark) { return mark > img_format_map; }));
}

/// unload_pcx(code): the same for pictures that came from PCX files, by load_pcx or image_load.
int32_t ORB_unload_pcx() {
  auto [code] = pop_args<int32_t>();
  return rt_return(unload_graphs(code, [](int32_t mark) { return mark == img_format_pcx; }));
}

/// map_unload(code): the same for maps that were loaded, made, cloned or recorded.
int32_t ORB_map_unload() {
  auto [code] = pop_args<int32_t>();
  return rt_return(unload_graphs(code, [](int32_t mark) { return mark == img_format_map; }));
}
