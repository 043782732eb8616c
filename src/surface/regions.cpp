// The storage of regions and draw records.
#include <cstdlib>

#include "boundary/runtime.h"
#include "surface/growth.h"
#include "surface/registry.h"

__ORBRegion__ *regions = nullptr;
int32_t *regions_def = nullptr;
int32_t max_region = 0, regions_defined = 0;

orb_draw *draws = nullptr;
int32_t max_draw = 0, draws_painted = 0, draws_fixed = 0, draws_locked = 0;
int32_t draws_moved_alpha = 0;

// ---- Regions -----------------------------------------------------------------------------------

namespace {

constexpr int32_t first_max_region = 32, region_step = 4, region_limit = 65537;

/// Lengthens the region list to `count` records. False, with no region lost, without memory.
bool grow_regions(int32_t count) {
  const bool grown =
      grow_records(regions, max_region, count) && grow_records(regions_def, max_region, count);
  device2D.regions = regions; // it may have moved even where the flags found no room
  if (!grown) return false;
  for (int32_t i = max_region; i < count; ++i)
    regions[i] = {-1, -1, -1, -1};
  max_region = count;
  return true;
}

} // namespace

void create_regions() {
  DeleteRegionList();
  if (!grow_regions(first_max_region)) {
    rt_fatal("No enough memory to create REGIONS");
    return;
  }
  regions_def[0] = 1; // the screen: every set-mode fills it in
}

int32_t ResizeRegionList(int32_t wanted) {
  if (max_region >= region_limit) return 0;
  int64_t count = int64_t(max_region) + region_step;
  if (int64_t(wanted) + 1 > count) count = int64_t(wanted) + 1;
  if (count > region_limit) count = region_limit;
  if (grow_regions(int32_t(count))) return 1;
  rt_fatal("ENGINE 2D: Error to Resize REGION list");
  return 0;
}

void DeleteRegionList() {
  free(regions);
  free(regions_def);
  regions = nullptr;
  regions_def = nullptr;
  max_region = regions_defined = 0;
  device2D.regions = nullptr;
}

int32_t GetMaxREGION() {
  return max_region;
}

int32_t RegionExists(int32_t region) {
  return region >= 0 && region < max_region ? regions_def[region] : 0;
}

// ---- Draw records ------------------------------------------------------------------------------

namespace {
constexpr int32_t first_max_draw = 16, draw_step = 16, draw_limit = 65536;
}

int32_t CreateDrawList() {
  draws_painted = draws_fixed = draws_locked = 0;
  draws_moved_alpha = 0;
  max_draw = grow_records(draws, 0, first_max_draw) ? first_max_draw : 0;
  return max_draw != 0;
}

int32_t ResizeDrawList() {
  if (max_draw >= draw_limit) return 0;
  if (!grow_records(draws, max_draw, max_draw + draw_step)) {
    rt_fatal("ENGINE 2D: Error to Resize DRAW2D list");
    return 0;
  }
  max_draw += draw_step;
  return 1;
}

void DeleteDrawList() {
  free(draws);
  draws = nullptr;
  max_draw = 0;
}
