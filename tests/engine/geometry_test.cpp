// Corners, boxes and scan order of transformed graphs; the requests of blits_test go through them
// too, but show whole pixels only.
#include <algorithm>
#include <array>
#include <climits>
#include <cmath>

#include <gtest/gtest.h>

#include "blit/geometry.h"
#include "engine/checkspan/corners.h"
#include "support/random.h"

using namespace checkspan;

namespace {

/// A surface record without pixels.
struct shape {
  uint32_t centre[3] = {65535, 65535, 0};
  __ORBSurface2D__ surface{};
  shape(int w, int h) {
    surface.width = uint32_t(w);
    surface.height = uint32_t(h);
    surface.cpoints = centre;
  }
};

TEST(Geometry, CornersAndBoxesOfTheChosenTransform) {
  for (uint32_t seed = base_seed() << 16; seed < (base_seed() << 16) + 20000; ++seed) {
    random_source random(seed);
    shape s(random.between(1, 200), random.between(1, 200));
    placed_graph g;
    g.w = s.surface.width;
    g.h = s.surface.height;
    // The pivot is the middle, unless a control point or an override says otherwise; a low word of
    // 65535 in a control point says nothing, in an override it is a number.
    int pivot[2] = {int(g.w) / 2, int(g.h) / 2};
    if (random.one_in(2))
      for (int i = 0; i < 2; ++i) {
        const int any = random.one_in(8) ? 0x1FFFF : random.between(-50, 250);
        s.centre[i] = uint32_t(any);
        if ((any & 0xFFFF) != 0xFFFF) pivot[i] = any;
      }
    if (random.one_in(3)) {
      s.surface.pivot_override = 1;
      s.surface.pivot_x = uint32_t(pivot[0] = random.one_in(8) ? 65535 : random.between(-50, 250));
      s.surface.pivot_y = uint32_t(pivot[1] = random.between(-50, 250));
    }
    const __ORBSurface2D__ before = s.surface;
    const int x = random.between(-1000, 1000), y = random.between(-1000, 1000);
    static constexpr int sizes[] = {100, 100, 1, 50, 99, 101, 200, 1000, -100, -30};
    static constexpr int shears[] = {0, 0, 1, 33, 100, -50, -250};
    static constexpr int angles[] = {0, 1, 45000, 90000, 180000, 270000, 360000, -360000};
    const int size_x = random.any_of(sizes), size_y = random.any_of(sizes);
    const int shear_x = random.any_of(shears), shear_y = random.any_of(shears);
    g.angle = random.one_in(3) ? random.between(-800000, 800000) : random.any_of(angles);
    g.tfmorder = random.below(6);
    g.flags = random.below(4);
    g.cx = pivot[0], g.cy = pivot[1], g.x = x, g.y = y;
    g.size_x = size_x, g.size_y = size_y, g.shear_x = shear_x, g.shear_y = shear_y;

    __FPoint__ found[4];
    calculate_corners(&s.surface, x, y, size_x, size_y, shear_x, shear_y, g.angle, g.tfmorder,
                      g.flags, found);
    ASSERT_EQ(s.surface.pivot_override, 0) << "an override serves once";
    // A full turn is none.
    g.angle %= 360000;
    const bool sheared = shear_x != 0 || shear_y != 0;
    corner_set wanted;
    if (g.angle != 0 && sheared) {
      wanted = corners_rotscaleshear(g);
    } else if (g.angle != 0) {
      wanted = size_x != 100 || size_y != 100 ? corners_rotscale(g) : corners_rotate(g);
    } else if (sheared) {
      wanted = corners_scaleshear(g);
    } else {
      const scaled_box b = corners_scale(g);
      wanted = {{{b.x0, b.y0}, {b.x1, b.y0}, {b.x0, b.y1}, {b.x1, b.y1}}};
    }
    std::swap(wanted[2], wanted[3]); // around the graph
    double reach = 1;
    for (const corner &c : wanted)
      reach = std::max({reach, std::abs(c.x), std::abs(c.y)});
    __ORBRegion__ bbox;
    s.surface = before;
    calculate_graph_bbox(&bbox, &s.surface, x, y, g.angle, g.flags, size_x, size_y, shear_x,
                         shear_y, g.tfmorder);
    // The box of the computed corners: the reference's could round the other way.
    double left = 1e9, right = -1e9, top = 1e9, bottom = -1e9;
    for (size_t i = 0; i < 4; ++i) {
      // Single precision: a step or two, or the error of the sines.
      ASSERT_NEAR(found[i].x, wanted[i].x, reach * 1.2e-7) << "seed " << seed << ", corner " << i;
      ASSERT_NEAR(found[i].y, wanted[i].y, reach * 1.2e-7) << "seed " << seed << ", corner " << i;
      left = std::min(left, round_half_away(found[i].x));
      right = std::max(right, round_half_away(found[i].x));
      top = std::min(top, round_half_away(found[i].y));
      bottom = std::max(bottom, round_half_away(found[i].y));
    }
    ASSERT_TRUE(bbox.x0 == left && bbox.x1 == right && bbox.y0 == top && bbox.y1 == bottom) << seed;
  }
}

TEST(Geometry, RoundsHalfAwayFromZero) {
  EXPECT_EQ(round_corner(0.5f), 1);
  EXPECT_EQ(round_corner(-0.5f), -1);
  EXPECT_EQ(round_corner(0.49999997f), 0); // adding a half in single precision would give 1
  EXPECT_EQ(round_corner(-0.49999997f), 0);
  EXPECT_EQ(round_corner(8388607.5f), 8388608);
  EXPECT_EQ(round_corner(-(1 << 30)), -(1 << 30));
  EXPECT_EQ(round_corner(1 << 30), 1 << 30);
  for (const float beyond : {3e9f, -INFINITY, NAN})
    EXPECT_EQ(round_corner(beyond), corner_out_of_range);
}

/// Whatever the corners, the sorted ones are the same four: the first is topmost, leftmost on a
/// tie; the last was opposite; and the left neighbour is not right of the right one on any row that
/// both edges cross.
TEST(Geometry, ScanOrder) {
  random_source random(base_seed());
  const auto order = [](const __Vertex__ &a, const __Vertex__ &b) {
    return std::pair(a.y, a.x) < std::pair(b.y, b.x);
  };
  for (int i = 0; i < 60000; ++i) {
    // A parallelogram, small enough that ties and lines are frequent.
    const int reach = random.one_in(8) ? 1 << 29 : random.between(0, 4);
    const auto any = [&](int most) { return random.between(-most, most); };
    const int x = any(5), y = any(5), ax = any(reach), ay = any(reach), bx = any(reach),
              by = any(reach);
    const __Vertex__ in[4] = {
        {x, y}, {x + ax, y + ay}, {x + bx, y + by}, {x + ax + bx, y + ay + by}};
    __Vertex__ out[4];
    constexpr auto sorts =
        std::array{sort_corners_rotscale, sort_corners_scaleshear, sort_corners_rotscaleshear};
    sorts[size_t(i % 3)](out, in);
    const __Vertex__ &top = *std::min_element(in, in + 4, order);
    ASSERT_TRUE(out[0].x == top.x && out[0].y == top.y);
    ASSERT_TRUE(std::is_permutation(in, in + 4, out, [&](const auto &a, const auto &b) {
      return !order(a, b) && !order(b, a);
    }));
    // In a parallelogram opposite corners have the same sum.
    ASSERT_EQ(int64_t(out[0].x) + out[3].x, int64_t(out[1].x) + out[2].x);
    ASSERT_EQ(int64_t(out[0].y) + out[3].y, int64_t(out[1].y) + out[2].y);
    ASSERT_LE((int64_t(out[1].x) - top.x) * (int64_t(out[2].y) - top.y),
              (int64_t(out[2].x) - top.x) * (int64_t(out[1].y) - top.y));
  }
}

TEST(Geometry, AnyInputGivesABox) {
  random_source random(base_seed());
  const auto any = [&] {
    return random.any_of({INT_MIN, INT_MIN + 1, -1, 0, 1, 100, INT_MAX - 1, INT_MAX});
  };
  for (int i = 0; i < 20000; ++i) {
    shape s(random.between(1, 65535), random.between(1, 65535));
    if (random.one_in(2)) s.centre[0] = uint32_t(any()), s.centre[1] = uint32_t(any());
    s.surface.pivot_override = random.one_in(2);
    s.surface.pivot_x = uint32_t(any());
    s.surface.pivot_y = uint32_t(any());
    __ORBRegion__ box;
    calculate_graph_bbox(&box, &s.surface, any(), any(), any(), any(), any(), any(), any(), any(),
                         any());
    ASSERT_TRUE(box.x0 <= box.x1 && box.y0 <= box.y1);
  }
}

} // namespace
