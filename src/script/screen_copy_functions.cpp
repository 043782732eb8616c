// Script functions that copy the ground or the screen onto a graph. The screen holds the frame that
// was drawn last.
#include "script/checks.h"
#include "script/handlers.h"
#include "script/script_call.h"
#include "script/surface_copies.h"
#include "surface/regions.h"
#include "surface/screen.h"

namespace {

int32_t get_surface(const script_call &call, const __ORBSurface2D__ *from) {
  auto [file, graph] = pop_ints<2>();
  const orb_map_slot *slot = check_graph(call, file, graph);
  if (!slot || !copy_corner(from, slot->surface)) return call.fail();
  return call.done(1);
}

int32_t copy_region(const script_call &call, const __ORBSurface2D__ *from) {
  auto [region, file, graph, x, y, w, h] = pop_ints<7>();
  if (!RegionExists(region)) return call.refuse(error_region_argument, 1, region);
  const orb_map_slot *slot = check_graph(call, file, graph, 2);
  if (!slot) return call.fail();
  __ORBSurface2D__ *to = slot->surface;
  if (!from || !from->pixels || !to->pixels || from->depth != to->depth) return call.fail();
  return call.done(stretch_copy(from, regions[region], to, x, y, w, h));
}

} // namespace

/// ground_get(file, graph): copies the top left corner of the ground onto the graph, as much as
/// both have. 1, or the failure value: after reporting a bad graph, or for one of another depth.
int32_t ORB_ground_get() {
  return get_surface({"GROUND_GET"}, ground);
}
/// screen_get(file, graph): the same from the screen.
int32_t ORB_screen_get() {
  return get_surface({"SCREEN_GET"}, screen);
}

/// ground_copy(region, file, graph, x, y, w, h): copies what the ground has in the region onto the
/// graph, zeros included, stretched to w x h pixels, its top left corner at (x, y). What of the
/// region lies outside the ground doesn't count. 1 when something was drawn, else 0; the failure
/// value after reporting a bad region (120) or graph, or for a graph of another depth.
int32_t ORB_ground_copy() {
  return copy_region({"GROUND_COPY"}, ground);
}
/// screen_copy(region, file, graph, x, y, w, h): the same from the screen.
int32_t ORB_screen_copy() {
  return copy_region({"SCREEN_COPY"}, screen);
}
