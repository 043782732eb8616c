// The corners of a picture as collisions see them, and the numbers in them that drawn pixels hardly
// show.
#include <algorithm>
#include <array>
#include <cmath>

#include <gtest/gtest.h>

#include "blit/geometry.h"
#include "engine/checkspan/blits.h"
#include "support/random.h"

using namespace checkspan;

namespace {

TEST(Geometry, CornersAndBoxesOfTheChosenTransform) {
  for (uint32_t seed = base_seed() << 16; seed < (base_seed() << 16) + 20000; ++seed) {
    random_source random(seed);
    __ORBSurface2D__ surface{};
    static constexpr int sizes[] = {100, 100, 1, 50, 99, 101, 200, 1000, -100, -30};
    static constexpr int shears[] = {0, 0, 1, 33, 100, -50, -250};
    static constexpr int angles[] = {0, 1, 45000, 90000, 180000, 270000, 360000, -360000};
    placed_graph g{};
    surface.width = uint32_t(g.w = random.between(1, 200));
    surface.height = uint32_t(g.h = random.between(1, 200));
    surface.pivot_override = 1;
    surface.pivot_x = uint32_t(g.cx = random.between(0, 250));
    surface.pivot_y = uint32_t(g.cy = random.between(0, 250));
    g.x = random.between(-1000, 1000), g.y = random.between(-1000, 1000);
    g.size_x = random.any_of(sizes), g.size_y = random.any_of(sizes);
    g.shear_x = random.any_of(shears), g.shear_y = random.any_of(shears);
    g.angle = random.one_in(3) ? random.between(-800000, 800000) : random.any_of(angles);
    g.tfmorder = random.below(6);
    g.flags = random.below(4);

    const std::string order = order_that_matters(g);
    const bool straight = order.empty() || order == "s";
    const corner_set wanted = straight ? scaled(g) : transformed(g, order);
    __FPoint__ found[4];
    calculate_corners(&surface, g.x, g.y, g.size_x, g.size_y, g.shear_x, g.shear_y, g.angle,
                      g.tfmorder, g.flags, found);
    ASSERT_EQ(surface.pivot_override, 0) << "an override serves once";
    surface.pivot_override = 1;
    __ORBRegion__ box;
    calculate_graph_bbox(&box, &surface, g.x, g.y, g.angle, g.flags, g.size_x, g.size_y, g.shear_x,
                         g.shear_y, g.tfmorder);
    double reach = 1;
    for (const corner &c : wanted)
      reach = std::max({reach, std::abs(c.x), std::abs(c.y)});
    for (size_t i = 0; i < 4; ++i) {
      const corner &c = wanted[std::array{0u, 1u, 3u, 2u}[i]]; // clockwise
      // Single precision: a step or two, or the error of the sines.
      ASSERT_NEAR(found[i].x, c.x, reach * 1.2e-7) << "seed " << seed << ", corner " << i;
      ASSERT_NEAR(found[i].y, c.y, reach * 1.2e-7) << "seed " << seed << ", corner " << i;
    }
    // Of the computed corners: the reference's could round the other way.
    const auto [x0, x1] = std::minmax({found[0].x, found[1].x, found[2].x, found[3].x});
    const auto [y0, y1] = std::minmax({found[0].y, found[1].y, found[2].y, found[3].y});
    ASSERT_TRUE(box.x0 == round_half_away(x0) && box.x1 == round_half_away(x1)) << seed;
    ASSERT_TRUE(box.y0 == round_half_away(y0) && box.y1 == round_half_away(y1)) << seed;
  }
}

TEST(Geometry, RoundsHalfAwayFromZero) {
  EXPECT_EQ(round_corner(0.5f), 1);
  EXPECT_EQ(round_corner(-0.5f), -1);
  EXPECT_EQ(round_corner(0.49999997f), 0); // adding a half in single precision would give 1
  EXPECT_EQ(round_corner(-0.49999997f), 0);
  EXPECT_EQ(round_corner(-(1 << 30)), -(1 << 30));
  EXPECT_EQ(round_corner(1 << 30), 1 << 30);
  for (const float beyond : {3e9f, -INFINITY, NAN})
    EXPECT_EQ(round_corner(beyond), corner_out_of_range);
}

/// The topmost corner comes first, leftmost on a tie; then its left and its right neighbour, and
/// the opposite one.
TEST(Geometry, ScanOrder) {
  random_source random(base_seed());
  constexpr auto sorts =
      std::array{sort_corners_rotscale, sort_corners_scaleshear, sort_corners_rotscaleshear};
  for (int i = 0; i < 20000; ++i) {
    // A parallelogram, small enough that ties and lines are frequent.
    const int most = random.one_in(8) ? 1 << 29 : random.between(0, 4);
    const auto any = [&] { return random.between(-most, most); };
    const int ax = any(), ay = any(), bx = any(), by = any();
    const __Vertex__ in[4] = {
        {7, 7}, {7 + ax, 7 + ay}, {7 + bx, 7 + by}, {7 + ax + bx, 7 + ay + by}};
    const __Vertex__ &top = *std::min_element(in, in + 4, [](const auto &a, const auto &b) {
      return std::pair(a.y, a.x) < std::pair(b.y, b.x);
    });
    __Vertex__ out[4];
    sorts[size_t(i % 3)](out, in);
    ASSERT_TRUE(out[0].x == top.x && out[0].y == top.y);
    for (const auto &[a, b] : {std::pair(0, 3), {1, 2}}) { // opposite corners have the same sum
      ASSERT_EQ(int64_t(out[a].x) + out[b].x, int64_t(in[0].x) + in[3].x);
      ASSERT_EQ(int64_t(out[a].y) + out[b].y, int64_t(in[0].y) + in[3].y);
    }
    ASSERT_LE((int64_t(out[1].x) - top.x) * (int64_t(out[2].y) - top.y),
              (int64_t(out[2].x) - top.x) * (int64_t(out[1].y) - top.y));
  }
}

} // namespace
