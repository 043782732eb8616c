// The collision and overlap checks.
#include <algorithm>

#include "collision/collision.h"
#include "collision/picture.h"
#include "collision/polygon.h"
#include "surface/screen.h"
#include "surface/surface.h"

__ORBBlit2D__ proc, scan;
__ORBRegion__ proc_box;

namespace {

using pixel_kernel = int32_t(const void *a, const void *b, int32_t width, int32_t height);
using point_kernel = int32_t(const void *pixel);

template <typename Kernel> Kernel *by_depth(Kernel *k8, Kernel *k16, Kernel *k32) {
  return proc_surface->depth == 8 ? k8 : proc_surface->depth == 16 ? k16 : k32;
}

/// A picture loaded before the mode's depth changed has no pixels to compare.
bool comparable(const __ORBBlit2D__ &picture) {
  return picture.src->depth == mode.bpp && picture.src->pixels;
}

int32_t compare_pictures() {
  if (!comparable(proc) || !comparable(scan)) return 0;
  const __ORBRegion__ &a = proc_box, b = picture_box(scan);
  const int32_t x0 = std::max(a.x0, b.x0), x1 = std::min(a.x1, b.x1);
  const int32_t y0 = std::max(a.y0, b.y0), y1 = std::min(a.y1, b.y1);
  if (x0 > x1 || y0 > y1) return 0;
  // No surface has a larger side; far corners may still be further apart.
  const int64_t w = int64_t(x1) - x0 + 1, h = int64_t(y1) - y0 + 1;
  if (w > largest_side || h > largest_side || !fit_collision_surfaces(int32_t(w), int32_t(h)))
    return 0;
  draw_picture(proc, x0, y0, proc_surface);
  draw_picture(scan, x0, y0, scan_surface);
  proc_alpha = proc.src->alpha_channel != 0;
  scan_alpha = scan.src->alpha_channel != 0;
  pixel_kernel *const kernel =
      by_depth(process_collision_8bits, process_collision_16bits, process_collision_32bits);
  return kernel(proc_surface->pixels, scan_surface->pixels, int32_t(w), int32_t(h));
}

/// A picture of size 0 is never drawn, though it has corners around its position.
bool has_size(const __ORBBlit2D__ &picture) { return picture.size_x != 0 && picture.size_y != 0; }

int32_t compare_outlines() {
  if (!has_size(proc) || !has_size(scan)) return 0;
  __FPoint__ a[4], b[4];
  picture_corners(proc, a);
  picture_corners(scan, b);
  return convex_polygon_intersection(a, b);
}

int32_t covers_point(int32_t x, int32_t y, point_kernel *k8, point_kernel *k16, point_kernel *k32) {
  if (!comparable(scan)) return 0;
  const __ORBRegion__ box = picture_box(scan);
  if (x < box.x0 || x > box.x1 || y < box.y0 || y > box.y1) return 0;
  if (!fit_collision_surfaces(1, 1)) return 0;
  draw_picture(scan, x, y, scan_surface);
  scan_alpha = scan.src->alpha_channel != 0;
  return by_depth(k8, k16, k32)(scan_surface->pixels);
}

} // namespace

int32_t check_process_collision() { return compare_pictures(); }
int32_t check_mouse_collision() { return compare_pictures(); }
int32_t check_hittest_collision(int32_t x, int32_t y) {
  return covers_point(x, y, hit_collision_8bits, hit_collision_16bits, hit_collision_32bits);
}

int32_t check_process_overlap() { return compare_outlines(); }
int32_t check_mouse_overlap() { return compare_outlines(); }
int32_t check_hittest_overlap(int32_t x, int32_t y) {
  if (!has_size(scan)) return 0;
  __FPoint__ corners[4];
  picture_corners(scan, corners);
  return inside_quadrilateral(corners, float(x), float(y));
}
