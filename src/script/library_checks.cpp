#include "script/checks.h"

#include "surface/registry.h"

orb_fpg *check_library(const script_call &call, int32_t file, int32_t position) {
  orb_fpg *const library = GetFPG(file);
  return library ? library : call.bad(error_file, position, file);
}

orb_fpg *check_library_graph(const script_call &call, int32_t file, int32_t file_position,
                             int32_t graph, int32_t graph_position) {
  orb_fpg *const library = check_library(call, file, file_position);
  if (library && (graph < 1 || graph >= graphs_per_library))
    return call.bad(error_graph, graph_position, graph);
  return library;
}

orb_fpg *check_library_loaded(const script_call &call, int32_t file, int32_t position) {
  // Slots alone don't do: a library that failed to load may have some.
  const bool loaded = file == 0 ? fpg[0].slots != nullptr : fpg[file].in_use != 0;
  return loaded ? &fpg[file] : call.bad(error_library_not_loaded, position, file);
}
