// Geometry of quadrilaterals: whether they touch, how large they are, how much lies outside a box.
#pragma once

#include "blit/geometry.h"

/// Whether two convex quadrilaterals, corners in order around them, have a point in common, edges
/// included. Ones without area count as the lines or points that they are.
int32_t convex_polygon_intersection(const __FPoint__ a[4], const __FPoint__ b[4]);
/// Whether (x, y) is inside by the even-odd rule: a ray to the right crosses an odd number of
/// edges, each of which takes in its lower end (in y) and not its upper one.
bool inside_quadrilateral(const __FPoint__ corners[4], float x, float y);

/// Area of a polygon of `count` corners, in pixels: half of its doubled area as a whole number; 0
/// with fewer than three corners.
float get_convex_polygon_area(int32_t count, const __FPoint__ *corners);
/// How many percent of `quad` lie outside the upright rectangle `region`, both as corners in order.
/// Without area: 0 when they touch, else 100.
float get_xout_region_percent(const __FPoint__ quad[4], const __FPoint__ region[4]);
