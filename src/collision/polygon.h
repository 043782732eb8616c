// Geometry of quadrilaterals: intersection, area, and the part outside a box.
#pragma once

#include "blit/geometry.h"

/// Whether two convex quadrilaterals, corners in order around them, share a point, edges included.
/// Degenerate ones count as lines or points.
int32_t convex_polygon_intersection(const __FPoint__ a[4], const __FPoint__ b[4]);
/// Whether (x, y) is inside by the even-odd rule: a ray to the right crosses an odd number of
/// edges. Each edge includes its end with the lower y, not the other.
bool inside_quadrilateral(const __FPoint__ corners[4], float x, float y);

/// Area of a polygon of `count` corners, in pixels: twice the area truncated to a whole number,
/// halved. 0 for fewer than three corners.
float get_convex_polygon_area(int32_t count, const __FPoint__ *corners);
/// The percentage of `quad` outside the axis-aligned rectangle `region`, both given as corners in
/// order. Without area: 0 when they touch, else 100.
float get_xout_region_percent(const __FPoint__ quad[4], const __FPoint__ region[4]);
