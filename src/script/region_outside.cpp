// Script functions that tell whether a picture has left a region. A region without pixels holds
// nothing, so everything is outside of it.
#include <bit>

#include "collision/picture.h"
#include "collision/polygon.h"
#include "script/handlers.h"
#include "script/script_call.h"
#include "surface/registry.h"

namespace {

enum class subject { refused, without_picture, region_empty, there };

/// Fetches (process, region) or (file, graph, x, y, region): the quadrilaterals of the picture and
/// of the region. A process in a scroll is looked for where the scroll shows it.
subject pop_subject(const script_call &call, __FPoint__ picture[4], __FPoint__ region[4]) {
  __ORBBlit2D__ request;
  bool found;
  int32_t number;
  const bool of_graph = rt_param_count() > 2;
  int32_t file = 0, graph = 0, x = 0, y = 0, id = 0;
  if (of_graph)
    std::tie(file, graph, x, y, number) = pop_args<int32_t, int32_t, int32_t, int32_t, int32_t>();
  else
    std::tie(id, number) = pop_args<int32_t, int32_t>();

  if (!RegionExists(number)) {
    call.bad(error_region, of_graph ? 5 : 2, number);
    return subject::refused;
  }
  if (of_graph) {
    found = graph_picture(file, graph, x, y, request, &call);
  } else {
    const orb_process *const process = find_process(id);
    found = process && process_picture(process, request, &call);
    if (found && scroll_offset(process, x, y)) move_picture(request, x, y);
  }
  if (!found) return subject::without_picture;

  const __ORBRegion__ &box = regions[number];
  if (box.x0 > box.x1 || box.y0 > box.y1) return subject::region_empty;
  picture_corners(request, picture);
  const auto x0 = float(box.x0), x1 = float(box.x1), y0 = float(box.y0), y1 = float(box.y1);
  region[0] = {x0, y0};
  region[1] = {x1, y0};
  region[2] = {x1, y1};
  region[3] = {x0, y1};
  return subject::there;
}

/// The common shape: `answer(picture, region)` as a result word; 0 for what shows no picture, and
/// `outside` for any picture when the region is empty.
template <typename F> int32_t test_region(const script_call &call, int32_t outside, F &&answer) {
  __FPoint__ picture[4], region[4];
  switch (pop_subject(call, picture, region)) {
  case subject::refused: return call.fail();
  case subject::without_picture: return call.done(0);
  case subject::region_empty: return call.done(outside);
  case subject::there: break;
  }
  return call.done(answer(picture, region));
}

} // namespace

/// region_is_out(process, region), (file, graph, x, y, region): 1 when the picture of the process,
/// or the graph at natural size, lies wholly outside the region; its corner pixels count, so one
/// that is inside by its outermost pixels is not out. 0 for what shows no picture; the failure
/// value after 108 for an undefined region.
int32_t ORB_region_is_out() {
  return test_region(script_call{"REGION_IS_OUT"}, 1,
                     [](const __FPoint__ *picture, const __FPoint__ *region) {
                       return 1 - convex_polygon_intersection(picture, region);
                     });
}

/// region_is_xout, likewise: how many percent of the picture lie outside, as a float.
int32_t ORB_region_is_xout() {
  return test_region(script_call{"REGION_IS_XOUT"}, std::bit_cast<int32_t>(100.0f),
                     [](const __FPoint__ *picture, const __FPoint__ *region) {
                       return std::bit_cast<int32_t>(get_xout_region_percent(picture, region));
                     });
}
