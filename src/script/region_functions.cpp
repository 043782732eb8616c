// Script functions on regions, the numbered clip rectangles of a script.
#include <algorithm>
#include <bit>
#include <cstdlib>

#include "collision/picture.h"
#include "collision/polygon.h"
#include "script/checks.h"
#include "script/handlers.h"
#include "script/script_call.h"
#include "surface/regions.h"
#include "surface/screen.h"

namespace {

constexpr uint32_t last_region = 65536;
constexpr int64_t unbounded = INT32_MAX;

/// One axis of a box, in 64 bits because scripts pass any start and length.
struct span {
  int64_t start, length;

  void clip_to(int64_t limit) {
    if (start < 0) {
      length += start;
      start = 0;
    }
    start = std::min(start, limit);
    if (start + length > limit) length = limit - start;
  }

  void bound() {
    if (length == unbounded) length -= std::abs(start);
  }

  int32_t first() const { return int32_t(start); }
  int32_t last() const {
    return int32_t(std::clamp<int64_t>(start + length - 1, INT32_MIN, INT32_MAX));
  }
};

} // namespace

/// region_define(region, x, y, width, height): region 0, the screen, is clipped to the mode; any
/// other may reach beyond it. A width or height of 2147483647 means unlimited. An empty box is
/// stored as it is and clips everything. 1, or the failure value after reporting 108.
int32_t ORB_region_define() {
  const script_call call{"REGION_DEFINE"};
  auto [region, x, y, width, height] = pop_ints<5>();
  if (uint32_t(region) > last_region) return call.refuse(error_region, 1, region);
  span horizontal{x, width}, vertical{y, height};
  if (region == 0) {
    horizontal.clip_to(mode.width);
    vertical.clip_to(mode.height);
  }
  horizontal.bound();
  vertical.bound();

  if (region >= max_region) ResizeRegionList(region);
  if (region >= max_region) return call.fail();
  regions[region] = {horizontal.first(), horizontal.last(), vertical.first(), vertical.last()};
  if (!regions_def[region]) {
    regions_def[region] = 1;
    regions_defined++;
  }
  return call.done(1);
}

namespace {

/// The region of the only argument; null after reporting 108.
const __ORBRegion__ *check_region(const script_call &call, int32_t region) {
  if (region >= 0 && region < max_region) return &regions[region];
  return call.bad(error_region, 1, region);
}

/// region_get_...(region): value(bounds); the bounds of an undefined region are all -1.
template <typename F> int32_t region_value(const script_call &call, F &&value) {
  const __ORBRegion__ *const region = check_region(call, rt_pop_int());
  return region ? call.done(value(*region)) : call.fail();
}

/// The pixels along an axis; wraps for a region of 2^31 or more.
int32_t length(int32_t first, int32_t last) {
  return int32_t(uint32_t(last) - uint32_t(first) + 1);
}

} // namespace

/// region_undefine(region): 1 when it was defined, else 0. Region 0 cannot be undefined: reports
/// 108.
int32_t ORB_region_undefine() {
  const script_call call{"REGION_UNDEFINE"};
  const int32_t region = rt_pop_int();
  if (region < 1 || region >= max_region) return call.refuse(error_region, 1, region);
  if (!regions_def[region]) return call.done(0);
  regions[region] = {-1, -1, -1, -1};
  regions_def[region] = 0;
  regions_defined--;
  return call.done(1);
}

int32_t ORB_region_is_defined() {
  const script_call call{"REGION_IS_DEFINED"};
  const int32_t region = rt_pop_int();
  return check_region(call, region) ? call.done(regions_def[region]) : call.fail();
}

/// region_get_box(region, &x0, &y0, &x1, &y1): inclusive bounds; null pointers are skipped. 1.
int32_t ORB_region_get_box() {
  const script_call call{"REGION_GET_BOX"};
  const auto [region, x0, y0, x1, y1] =
      pop_args<int32_t, int32_t *, int32_t *, int32_t *, int32_t *>();
  const __ORBRegion__ *const box = check_region(call, region);
  if (!box) return call.fail();
  if (x0) *x0 = box->x0;
  if (y0) *y0 = box->y0;
  if (x1) *x1 = box->x1;
  if (y1) *y1 = box->y1;
  return call.done(1);
}

int32_t ORB_region_get_width() {
  return region_value(script_call{"REGION_GET_WIDTH"},
                      [](const __ORBRegion__ &r) { return length(r.x0, r.x1); });
}
int32_t ORB_region_get_height() {
  return region_value(script_call{"REGION_GET_HEIGHT"},
                      [](const __ORBRegion__ &r) { return length(r.y0, r.y1); });
}
int32_t ORB_region_get_x0() {
  return region_value(script_call{"REGION_GET_X0"}, [](const __ORBRegion__ &r) { return r.x0; });
}
int32_t ORB_region_get_x1() {
  return region_value(script_call{"REGION_GET_X1"}, [](const __ORBRegion__ &r) { return r.x1; });
}
int32_t ORB_region_get_y0() {
  return region_value(script_call{"REGION_GET_Y0"}, [](const __ORBRegion__ &r) { return r.y0; });
}
int32_t ORB_region_get_y1() {
  return region_value(script_call{"REGION_GET_Y1"}, [](const __ORBRegion__ &r) { return r.y1; });
}

/// graphiclib_get_regionsdefined(): the number of regions that scripts have defined.
int32_t ORB_graphiclib_get_regionsdefined() { return rt_return(regions_defined); }

// ---- Whether a picture has left a region --------------------------------------------------------

namespace {

enum class subject { refused, without_picture, region_empty, there };

/// Fetches (process, region) or (file, graph, x, y, region) and gets the quadrilaterals of the
/// picture and of the region. A process in a scroll is where the scroll shows it.
subject pop_subject(const script_call &call, __FPoint__ picture[4], __FPoint__ region[4]) {
  __ORBBlit2D__ request;
  bool found;
  int32_t number;
  const bool of_graph = rt_param_count() > 2;
  int32_t file = 0, graph = 0, x = 0, y = 0, id = 0;
  if (of_graph)
    pop_into(file, graph, x, y, number);
  else
    pop_into(id, number);

  if (!RegionExists(number)) {
    call.bad(error_region, of_graph ? 5 : 2, number);
    return subject::refused;
  }
  if (of_graph) {
    found = check_graph_picture(call, file, graph, x, y, request);
  } else {
    const orb_process *const process = find_process(id);
    found = process && check_process_picture(call, process, request);
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

/// Returns answer(picture, region) as a result word; 0 without a picture, and `outside` when the
/// region is empty.
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
/// or the graph at natural size, lies wholly outside the region; one that reaches inside with its
/// outermost pixels does not. 0 without a picture; the failure value after reporting 108 for an
/// undefined region.
int32_t ORB_region_is_out() {
  return test_region(script_call{"REGION_IS_OUT"}, 1,
                     [](const __FPoint__ *picture, const __FPoint__ *region) {
                       return 1 - convex_polygon_intersection(picture, region);
                     });
}

/// region_is_xout, likewise: the percentage of the picture that lies outside, as a float.
int32_t ORB_region_is_xout() {
  return test_region(script_call{"REGION_IS_XOUT"}, std::bit_cast<int32_t>(100.0f),
                     [](const __FPoint__ *picture, const __FPoint__ *region) {
                       return std::bit_cast<int32_t>(get_xout_region_percent(picture, region));
                     });
}
