// The storage of regions and draw records.
#include <cstdlib>
#include <cstring>

#include "module/runtime.h"
#include "surface/registry.h"

__ORBRegion__ *regions = nullptr;
int32_t *regions_def = nullptr;
int32_t max_region = 0, regions_defined = 0;

orb_draw *draws = nullptr;
int32_t max_draw = 0, draws_painted = 0, draws_fixed = 0, draws_locked = 0;

// ---- Regions -----------------------------------------------------------------------------------

namespace {

constexpr int32_t first_max_region = 32, region_step = 4, region_limit = 65537;

/// Makes arrays of `count` regions, of which the first `max_region` are the present ones. 0 and
/// nothing changed without memory.
int32_t replace_regions(int32_t count) {
  auto *const records = static_cast<__ORBRegion__ *>(malloc(size_t(count) * sizeof *regions));
  auto *const flags = static_cast<int32_t *>(calloc(size_t(count), sizeof *regions_def));
  if (!records || !flags) {
    free(records);
    free(flags);
    return 0;
  }
  if (max_region) {
    memcpy(records, regions, size_t(max_region) * sizeof *regions);
    memcpy(flags, regions_def, size_t(max_region) * sizeof *regions_def);
  }
  for (int32_t i = max_region; i < count; ++i)
    records[i] = {-1, -1, -1, -1};
  free(regions);
  free(regions_def);
  regions = records;
  regions_def = flags;
  max_region = count;
  device2D.regions = regions;
  return 1;
}

} // namespace

void create_regions() {
  DeleteRegionList();
  if (!replace_regions(first_max_region)) {
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
  if (replace_regions(int32_t(count))) return 1;
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
  draws = static_cast<orb_draw *>(calloc(first_max_draw, sizeof *draws));
  max_draw = draws ? first_max_draw : 0;
  draws_painted = draws_fixed = draws_locked = 0;
  return draws != nullptr;
}

int32_t ResizeDrawList() {
  if (max_draw >= draw_limit) return 0;
  auto *const records =
      static_cast<orb_draw *>(calloc(size_t(max_draw + draw_step), sizeof *draws));
  if (!records) {
    rt_fatal("ENGINE 2D: Error to Resize DRAW2D list");
    return 0;
  }
  if (draws) memcpy(records, draws, size_t(max_draw) * sizeof *draws);
  free(draws);
  draws = records;
  max_draw += draw_step;
  return 1;
}

void DeleteDrawList() {
  free(draws);
  draws = nullptr;
  max_draw = 0;
}
