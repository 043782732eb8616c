#include "script/checks.h"

#include "collision/picture.h"
#include "surface/registry.h"
#include "surface/screen.h"

bool check_graph_numbers(const script_call &call, int32_t file, int32_t graph, int32_t position) {
  max_graph = graph_bound(file);
  if (file < 0 || file >= max_fpg) {
    call.bad(error_file, position, file);
    return false;
  }
  if (graph < 1 || graph >= max_graph) {
    call.bad(error_graph, position + 1, graph);
    return false;
  }
  return true;
}

orb_map_slot *check_graph(const script_call &call, int32_t file, int32_t graph, int32_t position) {
  if (!check_graph_numbers(call, file, graph, position)) return nullptr;
  orb_fpg &library = fpg[file];
  if (!library.slots) return call.bad(error_library_not_loaded, position, file);
  pfpg = &library;
  pfpgmap = &library.slots[graph];
  if (!pfpgmap->surface) return call.bad(error_graph_not_loaded, position + 1, graph);
  return pfpgmap;
}

bool check_colour(const script_call &call, uint32_t colour, int32_t position) {
  if (mode.bpp == 8 && colour > 255) {
    call.bad(error_colour, position, int32_t(colour));
    return false;
  }
  return mode.bpp != 16 || colour <= 65535;
}

namespace {

bool report(const script_call &call, const picture_fault &fault) {
  if (fault.error)
    call.bad(script_error(fault.error), fault.error == error_file ? 1 : 2, fault.number);
  return false;
}

} // namespace

bool check_process_picture(const script_call &call, const orb_process *process,
                           __ORBBlit2D__ &request) {
  picture_fault fault;
  return process_picture(process, request, &fault) || report(call, fault);
}

bool check_graph_picture(const script_call &call, int32_t file, int32_t graph, int32_t x, int32_t y,
                         __ORBBlit2D__ &request) {
  picture_fault fault;
  return graph_picture(file, graph, x, y, request, &fault) || report(call, fault);
}

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
  // Having slots is not enough: a failed load may leave some.
  const bool loaded = file == 0 ? fpg[0].slots != nullptr : fpg[file].in_use != 0;
  return loaded ? &fpg[file] : call.bad(error_library_not_loaded, position, file);
}
