// Transform geometry: the corners of a scaled, rotated or sheared graph.
//
// Angles are thousandths of a degree, counter-clockwise on screen (y points down). Sizes are
// percent. Shears are percent with the sign reversed: a positive shear_x moves the rows below the
// pivot to the left. Every routine puts the pivot (control point 0, or the one-shot override, which
// it consumes) at the position. Far corners are those of the last pixel, not of the edge.
#pragma once

#include "orb/graphics2d.h"
#include "surface/surface.h"

/// In thousandths of a degree.
inline constexpr int32_t full_turn = 360000;

struct __FPoint__ {
  float x, y;
};

/// A corner on the destination's pixel grid.
struct __Vertex__ {
  int32_t x, y;
};

/// Order of shear (h), scale (s) and rotation (r), first to last.
enum transform_order : int32_t { tfm_hsr, tfm_hrs, tfm_shr, tfm_srh, tfm_rhs, tfm_rsh };

/// Rounds half away from zero. Values outside -2^30..2^30 and NaN give `corner_out_of_range`.
inline constexpr int32_t corner_out_of_range = INT32_MIN;
inline int32_t round_corner(float value) {
  constexpr float limit = 1 << 30;
  if (!(value >= -limit && value <= limit)) return corner_out_of_range;
  return int32_t(value >= 0 ? double(value) + 0.5 : double(value) - 0.5);
}

/// The pivot in unmirrored source pixels. `overridden` says whether it is a pivot override, which
/// take_pivot consumes.
struct blit_pivot {
  int32_t x, y;
  bool overridden;
};
inline blit_pivot pivot_of(const __ORBSurface2D__ &surface) {
  if (surface.pivot_override) return {int32_t(surface.pivot_x), int32_t(surface.pivot_y), true};
  const uint32_t *centre = surface.cpoints;
  const bool middle_x = !centre || (centre[0] & 0xFFFF) == unset_coordinate;
  const bool middle_y = !centre || (centre[1] & 0xFFFF) == unset_coordinate;
  return {int32_t(middle_x ? surface.width >> 1 : centre[0]),
          int32_t(middle_y ? surface.height >> 1 : centre[1]), false};
}
inline blit_pivot take_pivot(__ORBSurface2D__ *surface) {
  const blit_pivot pivot = pivot_of(*surface);
  surface->pivot_override = 0;
  return pivot;
}

/// The bounding box of a scaled graph.
void calculate_corners_scale(__ORBSurface2D__ *surface, int32_t x, int32_t y, int32_t size_x,
                             int32_t size_y, int32_t flags, float *x0, float *y0, float *x1,
                             float *y1);

// The routines below give the four corners in the order top left, top right, bottom left, bottom
// right of the untransformed graph.

void calculate_corners_rotate(__ORBSurface2D__ *surface, int32_t x, int32_t y, int32_t angle,
                              int32_t flags, __FPoint__ corners[4]);
void calculate_corners_rotscale(__ORBSurface2D__ *surface, int32_t x, int32_t y, int32_t size_x,
                                int32_t size_y, int32_t angle, int32_t tfmorder, int32_t flags,
                                __FPoint__ corners[4]);
void calculate_corners_scaleshear(__ORBSurface2D__ *surface, int32_t x, int32_t y, int32_t size_x,
                                  int32_t size_y, int32_t shear_x, int32_t shear_y,
                                  int32_t tfmorder, int32_t flags, __FPoint__ corners[4]);
void calculate_corners_rotscaleshear(__ORBSurface2D__ *surface, int32_t x, int32_t y,
                                     int32_t size_x, int32_t size_y, int32_t shear_x,
                                     int32_t shear_y, int32_t angle, int32_t tfmorder,
                                     int32_t flags, __FPoint__ corners[4]);

/// Picks one of the routines above. Corners in the order top left, top right, bottom right, bottom
/// left: clockwise on screen unless rotated or mirrored.
void calculate_corners(__ORBSurface2D__ *surface, int32_t x, int32_t y, int32_t size_x,
                       int32_t size_y, int32_t shear_x, int32_t shear_y, int32_t angle,
                       int32_t tfmorder, int32_t flags, __FPoint__ corners[4]);

/// Where a point (px, py) of the untransformed graph lands, rounded: its offset from the pivot is
/// transformed as the corners are, without the far-edge correction. Clamped to -2^30..2^30.
__Vertex__ calculate_point(__ORBSurface2D__ *surface, int32_t px, int32_t py, int32_t x, int32_t y,
                           int32_t size_x, int32_t size_y, int32_t shear_x, int32_t shear_y,
                           int32_t angle, int32_t tfmorder, int32_t flags);

/// The rounded bounding box of the four corners.
void calculate_graph_bbox(__ORBRegion__ *box, __ORBSurface2D__ *surface, int32_t x, int32_t y,
                          int32_t angle, int32_t flags, int32_t size_x, int32_t size_y,
                          int32_t shear_x, int32_t shear_y, int32_t tfmorder);

/// Puts corners (top left, top right, bottom left, bottom right) in scan order: the topmost
/// (leftmost on a tie), its left and right neighbours, the opposite one.
void sort_corners_rotscale(__Vertex__ sorted[4], const __Vertex__ corners[4]);
void sort_corners_scaleshear(__Vertex__ sorted[4], const __Vertex__ corners[4]);
void sort_corners_rotscaleshear(__Vertex__ sorted[4], const __Vertex__ corners[4]);
