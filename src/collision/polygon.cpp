#include "collision/polygon.h"

#include <algorithm>
#include <cmath>

namespace {

struct box {
  float x0 = 2147483648.0f, y0 = 2147483648.0f;
  float x1 = -2147483648.0f, y1 = -2147483648.0f;
};

box box_of(const __FPoint__ corners[4]) {
  box b;
  for (int i = 0; i < 4; ++i) {
    b.x0 = std::min(b.x0, corners[i].x);
    b.x1 = std::max(b.x1, corners[i].x);
    b.y0 = std::min(b.y0, corners[i].y);
    b.y1 = std::max(b.y1, corners[i].y);
  }
  return b;
}

bool disjoint(const box &a, const box &b) {
  return a.x1 < b.x0 || b.x1 < a.x0 || a.y1 < b.y0 || b.y1 < a.y0;
}

/// The sign says on which side of the line a-b the point lies.
double side_of(const __FPoint__ &a, const __FPoint__ &b, const __FPoint__ &p) {
  return (double(b.x) - a.x) * (double(p.y) - a.y) - (double(b.y) - a.y) * (double(p.x) - a.x);
}

bool within(float p, float a, float b) { return p >= std::min(a, b) && p <= std::max(a, b); }
bool within_extent(const __FPoint__ &p, const __FPoint__ &a, const __FPoint__ &b) {
  return within(p.x, a.x, b.x) && within(p.y, a.y, b.y);
}

/// Whether two edges meet. Computing the intersection of their lines would round; instead, tests on
/// which sides the ends lie. Ends on the other's line are decided by its extent.
bool edges_meet(const __FPoint__ &a, const __FPoint__ &b, const __FPoint__ &c,
                const __FPoint__ &d) {
  const double ca = side_of(c, d, a), cb = side_of(c, d, b);
  const double ac = side_of(a, b, c), ad = side_of(a, b, d);
  const auto opposite = [](double s, double t) { return (s < 0 && t > 0) || (s > 0 && t < 0); };
  if (opposite(ca, cb) && opposite(ac, ad)) return true;
  return (ca == 0 && within_extent(a, c, d)) || (cb == 0 && within_extent(b, c, d)) ||
         (ac == 0 && within_extent(c, a, b)) || (ad == 0 && within_extent(d, a, b));
}

/// The corners of a polygon being clipped: each of a box's four sides adds at most one.
struct polygon {
  __FPoint__ corners[8];
  int32_t count;
};

/// Clips to where keep(corner) is not negative: Sutherland, Hodgman, "Reentrant Polygon Clipping",
/// 1974.
template <typename F> void cut(polygon &p, F &&keep) {
  polygon left{{}, 0};
  for (int32_t i = 0; i < p.count; ++i) {
    const __FPoint__ &from = p.corners[i], &to = p.corners[(i + 1) % p.count];
    const double f = keep(from), t = keep(to);
    if (f >= 0) left.corners[left.count++] = from;
    if ((f < 0) == (t < 0) || left.count == 8) continue;
    const double part = f / (f - t);
    left.corners[left.count++] = {float(from.x + part * (double(to.x) - from.x)),
                                  float(from.y + part * (double(to.y) - from.y))};
    if (left.count == 8) break;
  }
  p = left;
}

} // namespace

bool inside_quadrilateral(const __FPoint__ corners[4], float x, float y) {
  bool inside = false;
  for (int i = 0, before = 3; i < 4; before = i++) {
    const __FPoint__ &a = corners[before], &b = corners[i];
    if ((a.y > y) == (b.y > y)) continue;
    const double crossing = a.x + (double(y) - a.y) * (double(b.x) - a.x) / (double(b.y) - a.y);
    if (crossing > x) inside = !inside;
  }
  return inside;
}

int32_t convex_polygon_intersection(const __FPoint__ a[4], const __FPoint__ b[4]) {
  if (disjoint(box_of(a), box_of(b))) return 0;
  for (int i = 0; i < 4; ++i) {
    if (inside_quadrilateral(b, a[i].x, a[i].y)) return 1;
    if (inside_quadrilateral(a, b[i].x, b[i].y)) return 1;
  }
  for (int i = 0, i0 = 3; i < 4; i0 = i++)
    for (int j = 0, j0 = 3; j < 4; j0 = j++)
      if (edges_meet(a[i0], a[i], b[j0], b[j])) return 1;
  return 0;
}

float get_convex_polygon_area(int32_t count, const __FPoint__ *p) {
  if (count < 3) return 0;
  double doubled = 0;
  for (int32_t i = 0; i < count; ++i) {
    const __FPoint__ &a = p[i], &b = p[(i + 1) % count];
    doubled += double(a.x) * b.y - double(b.x) * a.y;
  }
  return float(std::abs(std::trunc(doubled)) * 0.5);
}

float get_xout_region_percent(const __FPoint__ quad[4], const __FPoint__ region[4]) {
  const float area = get_convex_polygon_area(4, quad);
  if (area == 0) return convex_polygon_intersection(quad, region) ? 0 : 100;
  const box limits = box_of(region);
  polygon p{{quad[0], quad[1], quad[2], quad[3]}, 4};
  cut(p, [&](const __FPoint__ &c) { return double(c.x) - limits.x0; });
  cut(p, [&](const __FPoint__ &c) { return double(limits.x1) - c.x; });
  cut(p, [&](const __FPoint__ &c) { return double(c.y) - limits.y0; });
  cut(p, [&](const __FPoint__ &c) { return double(limits.y1) - c.y; });
  const double outside = double(area) - get_convex_polygon_area(p.count, p.corners);
  return float(std::max(outside * 100 / area, 0.0));
}
