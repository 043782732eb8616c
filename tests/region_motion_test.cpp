// Quadrilaterals against exact arithmetic; region functions; motion.
#include <bit>
#include <cmath>
#include <random>
#include <vector>

#include <gtest/gtest.h>

#include "collision/picture.h"
#include "collision/polygon.h"
#include "graphics_fixture.h"
#include "script/handlers.h"

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
      axes.push_back(e);
      axes.push_back({-e.y, e.x});
    }
  for (const vec &axis : axes) {
    const auto range = [&](const quad &q) {
      int64_t low = INT64_MAX, high = INT64_MIN;
      for (const vec &c : q) {
        low = std::min(low, c.x * axis.x + c.y * axis.y);
        high = std::max(high, c.x * axis.x + c.y * axis.y);
      }
      return std::pair(low, high);
    };
    const auto [a0, a1] = range(a);
    const auto [b0, b1] = range(b);
    if (a1 < b0 || b1 < a0) return true;
  }
  return false;
}

TEST(Quadrilaterals, IntersectExactlyWhenTheySharePoints) {
  std::mt19937 random(99);
  const auto pick = [&](int low, int high) {
    return std::uniform_int_distribution<int>(low, high)(random);
  };
  int met = 0;
  for (int round = 0; round < 200000; ++round) {
    // Small coordinates, so that they often touch, are collinear, or have no area.
    const int span = round % 3 ? 5 : 1000;
    const auto make = [&] {
      const vec p{pick(-span, span), pick(-span, span)}, u{pick(-span, span), pick(-span, span)},
          v{pick(-span, span), pick(-span, span)};
      return quad{
          p, {p.x + u.x, p.y + u.y}, {p.x + u.x + v.x, p.y + u.y + v.y}, {p.x + v.x, p.y + v.y}};
    };
    const quad a = make(), b = make();
    __FPoint__ fa[4], fb[4];
    for (size_t i = 0; i < 4; ++i) {
      fa[i] = {float(a[i].x), float(a[i].y)};
      fb[i] = {float(b[i].x), float(b[i].y)};
    }
    const int32_t expected = !apart(a, b);
    met += expected;
    ASSERT_EQ(convex_polygon_intersection(fa, fb), expected) << round;
    ASSERT_EQ(convex_polygon_intersection(fb, fa), expected) << round;
  }
  EXPECT_GT(met, 50000);
  EXPECT_LT(met, 150000);
}

TEST(Quadrilaterals, AreasAndPercentages) {
  const __FPoint__ unit[4] = {{0, 0}, {10, 0}, {10, 10}, {0, 10}};
  EXPECT_EQ(get_convex_polygon_area(4, unit), 100);
  EXPECT_EQ(get_convex_polygon_area(3, unit), 50);
  EXPECT_EQ(get_convex_polygon_area(2, unit), 0);
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
    const __FPoint__ box[4] = {{0, 0}, {100, 0}, {100, 100}, {0, 100}};
    int out = 0;
    constexpr int grid = 100;
    for (int i = 0; i < grid; ++i)
      for (int j = 0; j < grid; ++j) {
        const float s = (float(i) + 0.5f) / grid, t = (float(j) + 0.5f) / grid;
        const float x = p.x + s * u.x + t * v.x, y = p.y + s * u.y + t * v.y;
        out += x < 0 || x > 100 || y < 0 || y > 100;
      }
    EXPECT_NEAR(get_xout_region_percent(q, box), 100.0 * out / (grid * grid), 1.5) << round;
  }
}

struct Regions : graphics_test {
  /// Runs a call and compares its result and its report.
  template <typename... T>
  void expect(int32_t result, std::vector<fake_error> errors, int32_t (*handler)(), T... a) {
    host.errors.clear();
    EXPECT_EQ(host.call(handler, a...), result);
    EXPECT_EQ(host.errors, errors);
    EXPECT_EQ(host.left_over(), 0u);
    EXPECT_EQ(host.times_returned(), 1);
  }
  static std::vector<fake_error> bad(const char *name, int32_t position, int32_t value) {
    return {{108, name, 0, position, value, ""}};
  }
};

TEST_F(Regions, AreDefinedReadAndUndefined) {
  expect(1, {}, ORB_region_define, 0, -10, -10, 100, 100);
  int32_t box[4] = {};
  expect(1, {}, ORB_region_get_box, 0, &box[0], &box[1], &box[2], &box[3]);
  EXPECT_EQ(std::vector(box, box + 4), (std::vector{0, 0, 63, 47})) << "the screen is 64 x 48";
  expect(1, {}, ORB_region_define, 40, -10, 5, 100, 7);
  expect(1, {}, ORB_region_get_box, 40, &box[0], nullptr, &box[2], nullptr);
  EXPECT_EQ(std::vector(box, box + 4), (std::vector{-10, 0, 89, 47}));
  expect(100, {}, ORB_region_get_width, 40);
  expect(7, {}, ORB_region_get_height, 40);
  expect(-10, {}, ORB_region_get_x0, 40);
  expect(89, {}, ORB_region_get_x1, 40);
  expect(5, {}, ORB_region_get_y0, 40);
  expect(11, {}, ORB_region_get_y1, 40);
  expect(1, {}, ORB_region_is_defined, 40);
  const int32_t defined = regions_defined;
  expect(1, {}, ORB_region_undefine, 40);
  expect(0, {}, ORB_region_undefine, 40);
  EXPECT_EQ(regions_defined, defined - 1);
  expect(0, {}, ORB_region_is_defined, 40);
  expect(-1, {}, ORB_region_get_y1, 40);
  expect(1, {}, ORB_region_define, 2, -5, 0, INT32_MAX, INT32_MAX);
  expect(INT32_MAX - 5 - 5 - 1, {}, ORB_region_get_x1, 2);

  struct {
    const char *name;
    int32_t (*handler)();
  } const readers[] = {
      {"REGION_IS_DEFINED", ORB_region_is_defined}, {"REGION_GET_WIDTH", ORB_region_get_width},
      {"REGION_GET_HEIGHT", ORB_region_get_height}, {"REGION_GET_X0", ORB_region_get_x0},
      {"REGION_GET_X1", ORB_region_get_x1},         {"REGION_GET_Y0", ORB_region_get_y0},
      {"REGION_GET_Y1", ORB_region_get_y1},         {"REGION_UNDEFINE", ORB_region_undefine}};
  for (const auto &reader : readers)
    for (const int32_t wrong : {-1, max_region, INT32_MAX, INT32_MIN})
      expect(INT32_MIN, bad(reader.name, 1, wrong), reader.handler, wrong);
  expect(INT32_MIN, bad("REGION_UNDEFINE", 1, 0), ORB_region_undefine, 0);
  expect(INT32_MIN, bad("REGION_GET_BOX", 1, -1), ORB_region_get_box, -1, nullptr, nullptr, nullptr,
         nullptr);
  expect(INT32_MIN, bad("REGION_DEFINE", 1, 65537), ORB_region_define, 65537, 0, 0, 1, 1);
}

TEST_F(Regions, TellWhatHasLeftThem) {
  const int32_t code = host.call(ORB_map_new, 11, 11);
  ASSERT_GE(code, 1000);
  orb_process &p = host.spawn();
  p.locals->graph = code;
  const int32_t id = process_id(&p);
  ASSERT_EQ(host.call(ORB_region_define, 3, 0, 0, 101, 101), 1); // bounds 0..100
  const auto percent = [&](auto... a) {
    return std::bit_cast<float>(host.call(ORB_region_is_xout, a...));
  };
  struct {
    int32_t x, y, angle, out;
    float percent;
  } const rows[] = {{50, 50, 0, 0, 0},    {50, 0, 0, 0, 50},      {0, 0, 0, 0, 75},
                    {-5, 50, 0, 0, 100},  {-6, 50, 0, 1, 100},    {105, 105, 0, 0, 100},
                    {106, 50, 0, 1, 100}, {-6, 50, 45000, 0, -1}, {50, 50, 45000, 0, 0}};
  for (const auto &row : rows) {
    p.locals->x = row.x;
    p.locals->y = row.y;
    p.locals->angle = row.angle;
    expect(row.out, {}, ORB_region_is_out, id, 3);
    if (row.percent >= 0) {
      EXPECT_FLOAT_EQ(percent(id, 3), row.percent) << row.x << "," << row.y;
    }
    if (row.angle == 0) {
      expect(row.out, {}, ORB_region_is_out, 0, code, row.x, row.y, 3);
      EXPECT_FLOAT_EQ(percent(0, code, row.x, row.y, 3), row.percent);
    }
  }
  // In a scroll: where the scroll shows it.
  host.scroll.offset = [](int32_t, int32_t scroll, int32_t *x, int32_t *y) -> int32_t {
    *x = 1000;
    *y = 0;
    return scroll == 4;
  };
  // A region without pixels holds nothing, not even a picture around its position.
  struct {
    int32_t x, y, width, height;
  } const empty[] = {{50, 50, 0, 20}, {50, 50, 20, 0}, {50, 50, -5, -5}, {0, 0, 0, 0}};
  p.locals->x = p.locals->y = 50;
  for (const auto &box : empty) {
    ASSERT_EQ(host.call(ORB_region_define, 5, box.x, box.y, box.width, box.height), 1);
    expect(1, {}, ORB_region_is_out, id, 5);
    expect(1, {}, ORB_region_is_out, 0, code, 50, 50, 5);
    EXPECT_EQ(percent(id, 5), 100) << box.width << " x " << box.height;
  }
  p.locals->x = -950;
  p.locals->angle = 0;
  expect(1, {}, ORB_region_is_out, id, 3);
  p.coordinates = 1;
  expect(0, {}, ORB_region_is_out, id, 3);
  p.coordinates = 0;

  expect(INT32_MIN, bad("REGION_IS_OUT", 2, 4), ORB_region_is_out, id, 4);
  expect(INT32_MIN, bad("REGION_IS_XOUT", 2, -1), ORB_region_is_xout, id, -1);
  expect(INT32_MIN, bad("REGION_IS_OUT", 5, 4), ORB_region_is_out, 0, code, 0, 0, 4);
  expect(0, {{109, "REGION_IS_OUT", 0, 1, -1, ""}}, ORB_region_is_out, -1, code, 0, 0, 3);
  expect(0, {{110, "REGION_IS_XOUT", 0, 2, 0, ""}}, ORB_region_is_xout, 0, 0, 0, 0, 3);
  expect(0, {}, ORB_region_is_out, 77, 3);
  // Zero area: a line of pixels.
  const int32_t line = host.call(ORB_map_new, 5, 1);
  EXPECT_EQ(percent(0, line, 50, 50, 3), 0);
  EXPECT_EQ(percent(0, line, 50, 100, 3), 0) << "on the last row";
  EXPECT_EQ(percent(0, line, 50, 101, 3), 100);
}

struct Motion : graphics_test {
  orb_process *a, *b;
  Motion() : a(&host.spawn()), b(&host.spawn()) { host.current_process = a; }
  void place(orb_process *p, int32_t x, int32_t y) {
    p->locals->x = x;
    p->locals->y = y;
  }
};

TEST_F(Motion, StepsAreCutToWholePixels) {
  struct {
    int32_t angle, distance, x, y;
  } const rows[] = {{0, 10, 10, 0},      {90000, 10, 0, -10}, {180000, 10, -10, 0},
                    {45000, 1, 0, 0},    {45000, 10, 7, -7},  {-30000, 10, 8, 5},
                    {30000, -10, -8, 5}, {720000, 5, 5, 0},   {0, INT32_MAX, INT32_MAX, 0}};
  for (const auto &row : rows) {
    place(a, 0, 0);
    EXPECT_EQ(host.call(ORB_xadvance, row.angle, row.distance), 1);
    EXPECT_EQ(a->locals->x, row.x) << row.angle;
    EXPECT_EQ(a->locals->y, row.y) << row.angle;
    place(b, 100, 100);
    b->locals->angle = row.angle;
    EXPECT_EQ(host.call(ORB_advance, process_id(b), row.distance), 1);
    EXPECT_EQ(b->locals->x, int32_t(uint32_t(row.x) + 100));
    EXPECT_EQ(b->locals->y, row.y + 100);
    place(b, 0, 0);
    EXPECT_EQ(host.call(ORB_xadvance, process_id(b), row.angle, row.distance), 1);
    EXPECT_EQ(b->locals->x, row.x);
  }
}

TEST_F(Motion, AnglesAndDistances) {
  struct {
    int32_t x, y, angle, dist, distsq;
  } const rows[] = {{0, 0, 0, 0, 0},
                    {0, -5, 90000, 5, 25},
                    {-5, 0, 180000, 5, 25},
                    {5, 5, -45000, 7, 50},
                    {3, -4, 53130, 5, 25},
                    {30000, 40000, -53130, 50000, 1250000000},
                    {45999, 0, 0, 45999, 2115908001},
                    {46000, 0, 0, 46000, 1058000000},
                    // 2^31 - 1 halved sixteen times is 32767.
                    {INT32_MAX, 0, 0, 2147418112, int32_t(uint32_t(32767ull * 32767 << 16))}};
  const int32_t to = process_id(b);
  for (const auto &row : rows) {
    SCOPED_TRACE(testing::Message() << row.x << "," << row.y);
    place(a, 0, 0);
    place(b, row.x, row.y);
    EXPECT_EQ(host.call(ORB_get_angle, to), row.angle);
    EXPECT_EQ(host.call(ORB_get_dist, to), row.dist);
    EXPECT_EQ(host.call(ORB_get_distsq, to), row.distsq);
    EXPECT_EQ(host.call(ORB_get_dist, to, process_id(a)), row.dist);
  }
  place(a, INT32_MIN, INT32_MIN);
  place(b, INT32_MAX, INT32_MAX);
  EXPECT_EQ(host.call(ORB_get_angle, to), -45000);
  host.call(ORB_get_dist, to);
  for (const auto handler : {ORB_get_angle, ORB_get_dist, ORB_get_distsq, ORB_advance}) {
    EXPECT_EQ(host.call(handler, 99, 99), INT32_MIN);
    EXPECT_EQ(host.left_over(), 0u);
  }
  EXPECT_EQ(host.call(ORB_xadvance, 99, 0, 0), INT32_MIN);
  host.current_process = nullptr;
  EXPECT_EQ(host.call(ORB_get_dist, to), INT32_MIN);
  EXPECT_EQ(host.call(ORB_advance, 1), INT32_MIN);
  EXPECT_TRUE(host.errors.empty());
}

} // namespace
