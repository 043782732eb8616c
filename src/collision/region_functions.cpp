// Script functions on regions, the clip rectangles that programs number.
#include <algorithm>
#include <cstdlib>

#include "module/script_call.h"
#include "script/handlers.h"
#include "surface/registry.h"
#include "video/video.h"

namespace {

constexpr uint32_t last_region = 65536;
constexpr int64_t unbounded = INT32_MAX;

/// One axis of a box. 64 bits, because scripts pass any start with any length.
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
/// other may reach beyond it. A width or height of 2147483647 means "as far as it goes". A box
/// without pixels is stored as it is and lets nothing through. 1, or the failure value after 108.
int32_t ORB_region_define() {
  const script_call call{"REGION_DEFINE"};
  auto [region, x, y, width, height] = pop_args<int32_t, int32_t, int32_t, int32_t, int32_t>();
  if (uint32_t(region) > last_region) {
    call.bad(error_region, 1, region);
    return call.fail();
  }
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
