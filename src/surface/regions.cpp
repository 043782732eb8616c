#include "surface/regions.h"

#include <cstdlib>

#include "boundary/runtime.h"
#include "surface/growth.h"

__ORBRegion__ *regions = nullptr;
int32_t *regions_def = nullptr;
int32_t max_region = 0, regions_defined = 0;

namespace {

constexpr int32_t first_max_region = 32, region_step = 4, region_limit = 65537;

/// Grows the region list to `count` records. False without memory; no region is lost then.
bool grow_regions(int32_t count) {
  const bool grown =
      grow_records(regions, max_region, count) && grow_records(regions_def, max_region, count);
  device2D.regions = regions; // may have moved even if the flags could not grow
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
  regions_def[0] = 1; // the screen, filled in by every set-mode
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

int32_t GetMaxREGION() { return max_region; }

int32_t RegionExists(int32_t region) {
  return region >= 0 && region < max_region ? regions_def[region] : 0;
}
