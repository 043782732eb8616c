// Regions: the clip rectangles that scripts number. Region 0 is the screen.
//
// The arrays belong to surface/regions.cpp, which alone resizes them; the records are filled by the
// script functions on regions, and region 0 by every set-mode.
#pragma once

#include "orb/graphics2d.h"

extern __ORBRegion__ *regions; // max_region records; region 0 is the screen
extern int32_t *regions_def;   // defined-flags
extern int32_t max_region, regions_defined;

/// Grows the region list to hold number `wanted`, by at least 4. 0 at the limit of 65537.
int32_t ResizeRegionList(int32_t wanted);
void DeleteRegionList();
/// The 32 regions of the start: region 0 defined, all but it -1. Failure is fatal.
void create_regions();
int32_t GetMaxREGION();
int32_t RegionExists(int32_t region);
