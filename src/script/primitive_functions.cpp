// Script functions that draw primitives on a graph (file, graph, then the rasteriser's arguments)
// and on the ground (the rasteriser's arguments only). Units are pixels; `fill` 0 draws an outline.
// Each returns 1, or the failure value for a bad graph (109, 110, 111, 121) or colour (154 at its
// own position).
#include <tuple>

#include "raster/raster.h"
#include "script/checks.h"
#include "script/handlers.h"
#include "script/script_call.h"
#include "surface/screen.h"

namespace {

/// The 1-based position of the colour, the one unsigned argument of a rasteriser.
template <typename... Arguments> constexpr int32_t colour_position() {
  int32_t position = 1;
  (void)((std::is_same_v<Arguments, uint32_t> || (++position, false)) || ...);
  return position;
}

template <typename... Arguments>
int32_t draw_on_graph(const char *name, void (*draw)(__ORBSurface2D__ *, Arguments...)) {
  const script_call call{name};
  const auto arguments = pop_args<Arguments...>();
  const auto [file, graph] = pop_ints<2>();
  const orb_map_slot *slot = check_graph(call, file, graph);
  if (!slot) return call.fail();
  if (!check_colour(call, std::get<uint32_t>(arguments), 2 + colour_position<Arguments...>()))
    return call.fail();
  std::apply([=](auto... given) { draw(slot->surface, given...); }, arguments);
  return call.done(1);
}

template <typename... Arguments>
int32_t draw_on_ground(const char *name, void (*draw)(__ORBSurface2D__ *, Arguments...)) {
  const script_call call{name};
  const auto arguments = pop_args<Arguments...>();
  if (!check_colour(call, std::get<uint32_t>(arguments), colour_position<Arguments...>()))
    return call.fail();
  std::apply([=](auto... given) { draw(ground, given...); }, arguments);
  return call.done(1);
}

} // namespace

/// map_put_line(file, graph, x0, y0, x1, y1, colour): a line, both ends included.
int32_t ORB_map_put_line() { return draw_on_graph("MAP_PUT_LINE", draw_line); }
/// map_put_rect(file, graph, x0, y0, x1, y1, colour, fill): a rectangle by two corners. The part
/// left of the graph or above it is also taken off the other side.
int32_t ORB_map_put_rect() { return draw_on_graph("MAP_PUT_RECT", draw_rect); }
/// map_put_srect(file, graph, x, y, width, height, colour, fill): a rectangle by its top left
/// corner and size.
int32_t ORB_map_put_srect() { return draw_on_graph("MAP_PUT_SRECT", draw_srect); }
/// map_put_csrect(file, graph, x, y, width, height, colour, fill): a rectangle by its centre and
/// size.
int32_t ORB_map_put_csrect() { return draw_on_graph("MAP_PUT_CSRECT", draw_csrect); }
/// map_put_circle(file, graph, x, y, radius, colour, fill): a circle by its centre.
int32_t ORB_map_put_circle() { return draw_on_graph("MAP_PUT_CIRCLE", draw_circle); }
/// map_put_ellipse(file, graph, x0, y0, x1, y1, colour, fill): the ellipse in the box of two
/// corners, of at most 4096 rows.
int32_t ORB_map_put_ellipse() { return draw_on_graph("MAP_PUT_ELLIPSE", draw_ellipse); }
/// map_put_csellipse(file, graph, x, y, radius x, radius y, colour, fill): an ellipse by its
/// centre.
int32_t ORB_map_put_csellipse() { return draw_on_graph("MAP_PUT_CSELLIPSE", draw_csellipse); }

/// ground_put_line(x0, y0, x1, y1, colour), and so on: the same on the ground.
int32_t ORB_ground_put_line() { return draw_on_ground("GROUND_PUT_LINE", draw_line); }
int32_t ORB_ground_put_rect() { return draw_on_ground("GROUND_PUT_RECT", draw_rect); }
int32_t ORB_ground_put_srect() { return draw_on_ground("GROUND_PUT_SRECT", draw_srect); }
int32_t ORB_ground_put_csrect() { return draw_on_ground("GROUND_PUT_CSRECT", draw_csrect); }
int32_t ORB_ground_put_circle() { return draw_on_ground("GROUND_PUT_CIRCLE", draw_circle); }
int32_t ORB_ground_put_ellipse() { return draw_on_ground("GROUND_PUT_ELLIPSE", draw_ellipse); }
int32_t ORB_ground_put_csellipse() {
  return draw_on_ground("GROUND_PUT_CSELLIPSE", draw_csellipse);
}
