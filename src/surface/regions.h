// Regions: the clip rectangles that scripts number. Region 0 is the screen.
//
// Only surface/regions.cpp resizes the arrays. The region script functions fill the records, and
// every set-mode fills region 0.
#pragma once

#include "orb/graphics2d.h"

extern __ORBRegion__ *regions; // max_region records; region 0 is the screen
extern int32_t *regions_def;   // defined-flags
extern int32_t max_region, regions_defined;

/// Grows the region list to hold number `wanted`, by at least 4. 0 at the limit of 65537.
int32_t ResizeRegionList(int32_t wanted);
void DeleteRegionList();
/// Creates the first 32 regions: region 0 defined, the others undefined and all -1. Failure is
/// fatal.
void create_regions();
int32_t GetMaxREGION();
int32_t RegionExists(int32_t region);
