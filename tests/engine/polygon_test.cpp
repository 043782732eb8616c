// Quadrilaterals beside exact arithmetic.
#include <algorithm>
#include <array>
#include <cmath>
#include <random>

#include <gtest/gtest.h>

#include "collision/polygon.h"

namespace {

struct vec {
  int64_t x, y;
};
using quad = std::array<vec, 4>;

/// Whether two convex point sets with integer coordinates are disjoint: if so, a line parallel or
/// perpendicular to an edge of one of them, or to an axis, separates them.
bool apart(const quad &a, const quad &b) {
  std::vector<vec> axes{{1, 0}, {0, 1}};
  for (const quad *q : {&a, &b})
    for (size_t i = 0; i < 4; ++i) {
      const vec e{(*q)[(i + 1) % 4].x - (*q)[i].x, (*q)[(i + 1) % 4].y - (*q)[i].y};
      axes.insert(axes.end(), {e, {-e.y, e.x}});
    }
  return std::any_of(axes.begin(), axes.end(), [&](const vec &axis) {
    const auto along = [&](const vec &c) { return c.x * axis.x + c.y * axis.y; };
    const auto [a0, a1] = std::ranges::minmax(a, {}, along);
    const auto [b0, b1] = std::ranges::minmax(b, {}, along);
    return along(a1) < along(b0) || along(b1) < along(a0);
  });
}

TEST(Polygons, IntersectExactlyWhenTheySharePoints) {
  std::mt19937 random(99);
  int met = 0;
  for (int round = 0; round < 100000; ++round) {
    // Small coordinates, so that they often touch, are collinear, or have no area.
    const int span = round % 3 ? 5 : 1000;
    const auto pick = [&] { return std::uniform_int_distribution<int>(-span, span)(random); };
    const auto make = [&](__FPoint__ *corners) {
      const vec p{pick(), pick()}, u{pick(), pick()}, v{pick(), pick()};
      const quad q{
          p, {p.x + u.x, p.y + u.y}, {p.x + u.x + v.x, p.y + u.y + v.y}, {p.x + v.x, p.y + v.y}};
      for (const vec &c : q)
        *corners++ = {float(c.x), float(c.y)};
      return q;
    };
    __FPoint__ fa[4], fb[4];
    const quad a = make(fa), b = make(fb);
    const int32_t expected = !apart(a, b);
    met += expected;
    ASSERT_EQ(convex_polygon_intersection(fa, fb), expected) << round;
    ASSERT_EQ(convex_polygon_intersection(fb, fa), expected) << round;
  }
  EXPECT_NEAR(met, 50000, 25000);
}

TEST(Polygons, PercentagesOutsideABox) {
  const __FPoint__ box[4] = {{0, 0}, {100, 0}, {100, 100}, {0, 100}};
  EXPECT_EQ(get_convex_polygon_area(4, box), 10000);
  EXPECT_EQ(get_convex_polygon_area(3, box), 5000);
  EXPECT_EQ(get_convex_polygon_area(2, box), 0);
  std::mt19937 random(5);
  const auto pick = [&](int low, int high) {
    return float(std::uniform_int_distribution<int>(low, high)(random));
  };
  for (int round = 0; round < 300; ++round) {
    const __FPoint__ p{pick(-50, 150), pick(-50, 150)}, u{pick(-90, 90), pick(-90, 90)},
        v{pick(-90, 90), pick(-90, 90)};
    if (std::abs(u.x * v.y - u.y * v.x) < 500) continue;
    const __FPoint__ q[4] = {
        p, {p.x + u.x, p.y + u.y}, {p.x + u.x + v.x, p.y + u.y + v.y}, {p.x + v.x, p.y + v.y}};
    int out = 0;
    for (int i = 0; i < 10000; ++i) {
      const float s = (float(i / 100) + 0.5f) / 100, t = (float(i % 100) + 0.5f) / 100;
      const float x = p.x + s * u.x + t * v.x, y = p.y + s * u.y + t * v.y;
      out += x < 0 || x > 100 || y < 0 || y > 100;
    }
    EXPECT_NEAR(get_xout_region_percent(q, box), out / 100.0, 1.5) << round;
  }
}

} // namespace
