// Script functions that query a graph's properties, and get and set its texts.
#include <iterator>

#include "script/checks.h"
#include "script/handlers.h"
#include "script/script_call.h"
#include "surface/libraries.h"

namespace {

/// Returns a number about a graph, or the failure value after reporting a bad graph.
template <typename Number> int32_t return_number(const script_call &call, Number number_of) {
  auto [file, graph] = pop_ints<2>();
  const orb_map_slot *slot = check_graph(call, file, graph);
  return slot ? call.done(int32_t(number_of(*slot))) : call.fail();
}

/// Returns a text of a graph, or "(null)" after reporting a bad graph.
int32_t return_text(const script_call &call, char (orb_map_slot::*text)[256]) {
  auto [file, graph] = pop_ints<2>();
  const orb_map_slot *slot = check_graph(call, file, graph);
  return call.done(slot ? slot->*text : "(null)");
}

/// Sets a text of a graph, cut to 255 bytes. 1, or the failure value after reporting a bad graph.
int32_t set_text(const script_call &call, char (orb_map_slot::*text)[256]) {
  auto [file, graph, value] = pop_args<int32_t, int32_t, const char *>();
  orb_map_slot *slot = check_graph(call, file, graph);
  if (!slot) return call.fail();
  set_graph_text(slot->*text, value);
  return call.done(1);
}

uint32_t width(const orb_map_slot &slot) { return slot.surface->width; }
uint32_t height(const orb_map_slot &slot) { return slot.surface->height; }
uint32_t numcpoints(const orb_map_slot &slot) { return slot.surface->has_cpoints; }
uint32_t alphachannel(const orb_map_slot &slot) { return slot.surface->alpha_channel; }

/// The values of graphic_info, in the order of its script constants.
constexpr uint32_t (*infos[])(const orb_map_slot &) = {
    width,
    height,
    [](const orb_map_slot &slot) { return slot.surface->cpoints[0]; },
    [](const orb_map_slot &slot) { return slot.surface->cpoints[1]; },
    numcpoints,
    alphachannel,
};

} // namespace

/// map_exists(file, graph): 1 when there is such a graph, else 0; reports nothing.
int32_t ORB_map_exists() {
  auto [file, graph] = pop_ints<2>();
  const orb_map_slot *slot = graph > 0 ? GetMAP(file, graph) : nullptr;
  return rt_return(slot && slot->surface);
}

/// map_get_width(file, graph): in pixels.
int32_t ORB_map_get_width() { return return_number({"MAP_GET_WIDTH"}, width); }

/// map_get_height(file, graph): in pixels.
int32_t ORB_map_get_height() { return return_number({"MAP_GET_HEIGHT"}, height); }

/// map_get_numcpoints(file, graph): defined control points, point 0 among them.
int32_t ORB_map_get_numcpoints() { return return_number({"MAP_GET_NUMCPOINTS"}, numcpoints); }

/// map_has_alphachannel(file, graph): 1 or 0.
int32_t ORB_map_has_alphachannel() { return return_number({"MAP_HAS_ALPHACHANNEL"}, alphachannel); }

/// map_get_memoryusage(file, graph): bytes counted for the graph; 0 after reporting a bad library
/// number, the failure value after reporting any other mistake.
int32_t ORB_map_get_memoryusage() {
  script_call call{"MAP_GET_MEMORYUSAGE"};
  auto [file, graph] = pop_ints<2>();
  // QUIRK: only a bad library number returns 0; other errors return the failure value.
  if (!GetFPG(file)) call.failure = 0;
  const orb_map_slot *slot = check_graph(call, file, graph);
  return slot ? call.done(int32_t(slot->memory_usage)) : call.fail();
}

/// map_get_desc(file, graph): the description, or "(null)" after reporting a bad graph.
int32_t ORB_map_get_desc() { return return_text({"MAP_GET_DESC"}, &orb_map_slot::description); }

/// map_get_name(file, graph): the name of its file, or "(null)" after reporting a bad graph.
int32_t ORB_map_get_name() { return return_text({"MAP_GET_NAME"}, &orb_map_slot::name); }

/// map_set_desc(file, graph, text): the description, cut to 255 bytes.
int32_t ORB_map_set_desc() { return set_text({"MAP_SET_DESC"}, &orb_map_slot::description); }

/// map_set_name(file, graph, text): the name, cut to 255 bytes.
int32_t ORB_map_set_name() { return set_text({"MAP_SET_NAME"}, &orb_map_slot::name); }

/// graphic_info(file, graph, info): width, height, x and y of control point 0, number of defined
/// control points, or alpha flag, for info 0 to 5.
int32_t ORB_graphic_info() {
  const script_call call{"GRAPHIC_INFO"};
  auto [file, graph, info] = pop_ints<3>();
  const orb_map_slot *slot = check_graph(call, file, graph);
  if (!slot) return call.fail();
  if (info < 0 || info >= int32_t(std::size(infos))) {
    // QUIRK: a bad info is reported as a bad graph, argument 2.
    return call.refuse(error_graph, 2, graph);
  }
  return call.done(int32_t(infos[info](*slot)));
}
