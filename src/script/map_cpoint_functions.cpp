// Script functions on the control points of graphs. Point 0 is the pivot, which every graph has;
// where it is not set, it is the middle. Each function checks the graph (109, 110, 111, 121) and
// the point (133), and returns the failure value after reporting.
#include <cstdlib>

#include "blit/geometry.h"
#include "collision/picture.h"
#include "script/checks.h"
#include "script/handlers.h"
#include "script/script_call.h"
#include "surface/surface.h"

namespace {

constexpr int32_t most_defined = 1000;
/// Files count up to 4095 records.
constexpr int32_t highest_point = 4094;

cpoint_record *records_of(const __ORBSurface2D__ *surface) {
  return reinterpret_cast<cpoint_record *>(surface->cpoints);
}

/// Whether the surface has a record for the point, defined or not.
bool has_record(const __ORBSurface2D__ *surface, int32_t point) {
  return surface->cpoints && point >= 0 && uint32_t(point) <= surface->cpoint_last;
}

/// The record of point 0 or of a defined point; null otherwise.
const cpoint_record *find_point(const __ORBSurface2D__ *surface, int32_t point) {
  if (!has_record(surface, point)) return nullptr;
  const cpoint_record *record = &records_of(surface)[point];
  return point == 0 || record->defined ? record : nullptr;
}

void set_point(__ORBSurface2D__ *surface, int32_t point, int32_t x, int32_t y) {
  cpoint_record &record = records_of(surface)[point];
  if (!record.defined) surface->has_cpoints++;
  record = {uint32_t(x), uint32_t(y), 1};
}

/// Adds undefined records up to `point`. False, and nothing changed, without memory.
bool grow_points(__ORBSurface2D__ *surface, int32_t point) {
  const int32_t count = surface->cpoints ? int32_t(surface->cpoint_last) + 1 : 0;
  auto *records = static_cast<cpoint_record *>(
      realloc(surface->cpoints, size_t(point + 1) * sizeof(cpoint_record)));
  if (!records) return false;
  for (int32_t i = count; i <= point; i++)
    records[i] = {unset_coordinate, unset_coordinate, 0};
  surface->cpoints = reinterpret_cast<uint32_t *>(records);
  surface->cpoint_last = uint32_t(point);
  return true;
}

int32_t coordinate(uint32_t word) { return int16_t(word); }

/// A coordinate of the pivot, the middle where it is unset.
int32_t centre(uint32_t word, uint32_t side) {
  return int32_t((word & 0xFFFF) == unset_coordinate ? side >> 1 : word);
}

} // namespace

/// map_get_cpoint(file, graph, point, &x, &y), get_point(...): the position of a point in the
/// graph, in pixels. Point 0 need not be defined. Null targets are skipped. 1.
int32_t ORB_map_get_cpoint() {
  const script_call call{"MAP_GET_CPOINT"};
  auto [file, graph, point, x, y] = pop_args<int32_t, int32_t, int32_t, int32_t *, int32_t *>();
  const orb_map_slot *slot = check_graph(call, file, graph);
  if (!slot) return call.fail();
  const cpoint_record *record = find_point(slot->surface, point);
  if (!record) return call.refuse(error_cpoint, 3, point);
  if (x) *x = coordinate(record->x);
  if (y) *y = coordinate(record->y);
  return call.done(1);
}

/// map_set_cpoint(file, graph, point, x, y): moves a point that has a record, and defines it. 1.
int32_t ORB_map_set_cpoint() {
  const script_call call{"MAP_SET_CPOINT"};
  auto [file, graph, point, x, y] = pop_ints<5>();
  const orb_map_slot *slot = check_graph(call, file, graph);
  if (!slot) return call.fail();
  if (!has_record(slot->surface, point)) return call.refuse(error_cpoint, 3, point);
  set_point(slot->surface, point, x, y);
  return call.done(1);
}

/// map_new_cpoint(file, graph, point, x, y): defines a point 0..4094, adding records up to it;
/// those between stay undefined. 1, 0 when it is already defined, -1 when 1000 points are.
int32_t ORB_map_new_cpoint() {
  const script_call call{"MAP_NEW_CPOINT"};
  auto [file, graph, point, x, y] = pop_ints<5>();
  const orb_map_slot *slot = check_graph(call, file, graph);
  if (!slot) return call.fail();
  __ORBSurface2D__ *surface = slot->surface;
  if (point < 0 || point > highest_point) return call.refuse(error_cpoint, 3, point);
  const bool there = has_record(surface, point);
  if (there && records_of(surface)[point].defined) return call.done(0);
  if (surface->has_cpoints >= most_defined) return call.done(-1);
  if (!there && !grow_points(surface, point)) return call.refuse(error_out_of_memory, 1, file);
  set_point(surface, point, x, y);
  return call.done(1);
}

/// map_delete_cpoint(file, graph, point): makes a defined point, except 0, undefined. 1.
int32_t ORB_map_delete_cpoint() {
  const script_call call{"MAP_DELETE_CPOINT"};
  auto [file, graph, point] = pop_ints<3>();
  const orb_map_slot *slot = check_graph(call, file, graph);
  if (!slot) return call.fail();
  __ORBSurface2D__ *surface = slot->surface;
  if (point == 0 || !find_point(surface, point)) return call.refuse(error_cpoint, 3, point);
  // The coordinates as well: files mark undefined points by them.
  records_of(surface)[point] = {unset_coordinate, unset_coordinate, 0};
  surface->has_cpoints--;
  return call.done(1);
}

/// map_cpoint_exists(file, graph, point): 1 when the point is defined, else 0, also for an
/// invalid number.
int32_t ORB_map_cpoint_exists() {
  const script_call call{"MAP_CPOINT_EXISTS"};
  auto [file, graph, point] = pop_ints<3>();
  const orb_map_slot *slot = check_graph(call, file, graph);
  if (!slot) return call.fail();
  return call.done(has_record(slot->surface, point) && records_of(slot->surface)[point].defined);
}

/// map_get_realcpoint([process,] point, &x, &y), get_real_point(...): the position of a point of a
/// process's graph on the screen, as the next frame draws it, rounded to pixels. The default is the
/// calling process. Mirroring is about the pivot itself. Null targets are skipped. 1, or the
/// failure value for an unknown process or one without a graph.
int32_t ORB_map_get_realcpoint() {
  const script_call call{"MAP_GET_REALCPOINT"};
  const bool process_given = rt_param_count() > 3;
  auto [point, x, y] = pop_args<int32_t, int32_t *, int32_t *>();
  orb_process *process = process_given ? find_process(rt_pop_int()) : calling_process();
  __ORBBlit2D__ picture;
  if (!process || !check_process_picture(call, process, picture)) return call.fail();

  __ORBSurface2D__ *surface = picture.src;
  const cpoint_record *record = find_point(surface, point);
  if (!record) return call.refuse(error_cpoint, process_given ? 2 : 1, point);
  const bool is_pivot = point == 0;
  const int32_t px = is_pivot ? centre(record->x, surface->width) : coordinate(record->x);
  const int32_t py = is_pivot ? centre(record->y, surface->height) : coordinate(record->y);
  const uint8_t pivot_override = surface->pivot_override; // kept for the next blit
  const __Vertex__ place = calculate_point(surface, px, py, picture.x, picture.y, picture.size_x,
                                           picture.size_y, picture.shear_x, picture.shear_y,
                                           picture.angle, picture.tfmorder, picture.flags);
  surface->pivot_override = pivot_override;
  if (x) *x = place.x;
  if (y) *y = place.y;
  return call.done(1);
}

/// map_set_center(file, graph, x, y): sets the pivot, inside the graph or not, and defines it as
/// control point 0. A coordinate of -1 (or 65535) stands for the middle. 1.
int32_t ORB_map_set_center() {
  const script_call call{"MAP_SET_CENTER"};
  auto [file, graph, x, y] = pop_ints<4>();
  const orb_map_slot *slot = check_graph(call, file, graph);
  if (!slot) return call.fail();
  __ORBSurface2D__ *surface = slot->surface;
  if (!has_record(surface, 0) && !grow_points(surface, 0))
    return call.refuse(error_out_of_memory, 1, file);
  set_point(surface, 0, x, y);
  return call.done(1);
}

/// map_get_xcenter(file, graph): the pivot's x, the middle where it is unset.
int32_t ORB_map_get_xcenter() {
  const script_call call{"MAP_GET_XCENTER"};
  auto [file, graph] = pop_ints<2>();
  const orb_map_slot *slot = check_graph(call, file, graph);
  if (!slot) return call.fail();
  const __ORBSurface2D__ &surface = *slot->surface;
  return call.done(centre(surface.cpoints ? surface.cpoints[0] : unset_coordinate, surface.width));
}

/// map_get_ycenter(file, graph): the pivot's y, the middle where it is unset.
int32_t ORB_map_get_ycenter() {
  const script_call call{"MAP_GET_YCENTER"};
  auto [file, graph] = pop_ints<2>();
  const orb_map_slot *slot = check_graph(call, file, graph);
  if (!slot) return call.fail();
  const __ORBSurface2D__ &surface = *slot->surface;
  return call.done(centre(surface.cpoints ? surface.cpoints[1] : unset_coordinate, surface.height));
}
