// Corners, boxes and scan order of transformed graphs, against separate formulas per routine and
// values worked out by hand.
#include "blit/geometry.h"

#include <algorithm>
#include <array>
#include <climits>
#include <cmath>
#include <sstream>
#include <string>

#include <gtest/gtest.h>

#include "checkspan/corners.h"
#include "checkspan/random.h"

using namespace checkspan;

namespace {

/// A surface record without pixels, with a control point at its centre.
struct shape {
  uint32_t centre[3] = {65535, 65535, 0};
  __ORBSurface2D__ surface{};

  shape(int w, int h) {
    surface.width = uint32_t(w);
    surface.height = uint32_t(h);
    surface.cpoints = centre;
  }
  void set_centre(int x, int y) {
    centre[0] = uint32_t(x);
    centre[1] = uint32_t(y);
    centre[2] = 1;
  }
};

/// Allows for single-precision storage: a step or two, or the error of the sines.
void expect_near(const corner_set &wanted, const __FPoint__ found[4], const char *what) {
  double reach = 1;
  for (const corner &c : wanted)
    reach = std::max({reach, std::abs(c.x), std::abs(c.y)});
  const double tolerance = reach * 1.2e-7;
  for (size_t i = 0; i < 4; ++i) {
    EXPECT_NEAR(found[i].x, wanted[i].x, tolerance) << what << ", corner " << i;
    EXPECT_NEAR(found[i].y, wanted[i].y, tolerance) << what << ", corner " << i;
  }
}

/// A graph, the source of its pivot, and a transform.
struct random_case {
  placed_graph g;
  shape s{1, 1};
  int x, y, size_x, size_y, shear_x, shear_y;

  explicit random_case(random_source &random) {
    const int w = random.between(1, 200), h = random.between(1, 200);
    s.surface.width = uint32_t(w);
    s.surface.height = uint32_t(h);
    int cx = w / 2, cy = h / 2;
    if (random.one_in(2)) {
      cx = random.between(-50, 250);
      cy = random.between(-50, 250);
      s.set_centre(cx, cy);
      // -1 has the unset mark in its low 16 bits.
      if (cx == -1) cx = w / 2;
      if (cy == -1) cy = h / 2;
    }
    if (random.one_in(3)) {
      s.surface.pivot_override = 1;
      cx = random.between(-50, 250);
      cy = random.between(-50, 250);
      s.surface.pivot_x = uint32_t(cx);
      s.surface.pivot_y = uint32_t(cy);
    }
    x = random.between(-1000, 1000);
    y = random.between(-1000, 1000);
    static constexpr int sizes[] = {100, 100, 1, 50, 99, 101, 200, 1000, -100, -30};
    static constexpr int shears[] = {0, 0, 1, 33, 100, -50, -250};
    static constexpr int angles[] = {0,      1,      45000,  90000,   180000,
                                     270000, 359999, 360000, -360000, -90000};
    size_x = random.any_of(sizes);
    size_y = random.any_of(sizes);
    shear_x = random.any_of(shears);
    shear_y = random.any_of(shears);
    const int angle = random.one_in(3) ? random.between(-800000, 800000) : random.any_of(angles);
    g = {double(w), double(h),       double(cx),     double(cy),      double(x),
         double(y), double(size_x),  double(size_y), double(shear_x), double(shear_y),
         angle,     random.below(6), random.below(4)};
  }
  /// The engine's routines consume the override, so restore it for each.
  __ORBSurface2D__ *surface() {
    copy_ = s.surface;
    copy_.cpoints = s.centre;
    return &copy_;
  }

private:
  __ORBSurface2D__ copy_{};
};

std::string describe(const placed_graph &g) {
  std::ostringstream out;
  out << g.w << "x" << g.h << " pivot " << g.cx << ", " << g.cy << " at " << g.x << ", " << g.y
      << " size " << g.size_x << ", " << g.size_y << " shear " << g.shear_x << ", " << g.shear_y
      << " angle " << g.angle << " order " << g.tfmorder << " flags " << g.flags;
  return out.str();
}

TEST(Geometry, RandomTransforms) {
  random_source random(base_seed());
  for (int i = 0; i < 20000 && !testing::Test::HasFailure(); ++i) {
    random_case c(random);
    const placed_graph &g = c.g;
    SCOPED_TRACE(describe(g));

    float x0, y0, x1, y1;
    __ORBSurface2D__ *surface = c.surface();
    calculate_corners_scale(surface, c.x, c.y, c.size_x, c.size_y, g.flags, &x0, &y0, &x1, &y1);
    EXPECT_EQ(surface->pivot_override, 0);
    const scaled_box box = corners_scale(g);
    const __FPoint__ found_box[4] = {{x0, y0}, {x1, y0}, {x0, y1}, {x1, y1}};
    const corner_set wanted_box = {
        {{box.x0, box.y0}, {box.x1, box.y0}, {box.x0, box.y1}, {box.x1, box.y1}}};
    expect_near(wanted_box, found_box, "scale");

    __FPoint__ found[4];
    calculate_corners_rotate(surface = c.surface(), c.x, c.y, g.angle, g.flags, found);
    EXPECT_EQ(surface->pivot_override, 0);
    expect_near(corners_rotate(g), found, "rotate");
    calculate_corners_rotscale(c.surface(), c.x, c.y, c.size_x, c.size_y, g.angle, g.tfmorder,
                               g.flags, found);
    expect_near(corners_rotscale(g), found, "rotscale");
    calculate_corners_scaleshear(c.surface(), c.x, c.y, c.size_x, c.size_y, c.shear_x, c.shear_y,
                                 g.tfmorder, g.flags, found);
    expect_near(corners_scaleshear(g), found, "scaleshear");
    calculate_corners_rotscaleshear(c.surface(), c.x, c.y, c.size_x, c.size_y, c.shear_x, c.shear_y,
                                    g.angle, g.tfmorder, g.flags, found);
    expect_near(corners_rotscaleshear(g), found, "rotscaleshear");

    // The choice of routine, and the corners' order around the graph.
    const bool turned = g.angle % 360000 != 0, sheared = c.shear_x != 0 || c.shear_y != 0;
    const bool sized = c.size_x != 100 || c.size_y != 100;
    placed_graph reduced = g;
    reduced.angle %= 360000;
    corner_set wanted = turned && sheared ? corners_rotscaleshear(reduced)
                        : turned && sized ? corners_rotscale(reduced)
                        : turned          ? corners_rotate(reduced)
                        : sheared         ? corners_scaleshear(reduced)
                                          : wanted_box;
    std::swap(wanted[2], wanted[3]);
    calculate_corners(surface = c.surface(), c.x, c.y, c.size_x, c.size_y, c.shear_x, c.shear_y,
                      g.angle, g.tfmorder, g.flags, found);
    EXPECT_EQ(surface->pivot_override, 0);
    expect_near(wanted, found, "any");

    // The box of the computed corners: the reference's could round the other way.
    __ORBRegion__ bbox;
    calculate_graph_bbox(&bbox, c.surface(), c.x, c.y, g.angle, g.flags, c.size_x, c.size_y,
                         c.shear_x, c.shear_y, g.tfmorder);
    double left = 1e9, right = -1e9, top = 1e9, bottom = -1e9;
    for (const __FPoint__ &p : found) {
      left = std::min(left, round_half_away(p.x));
      right = std::max(right, round_half_away(p.x));
      top = std::min(top, round_half_away(p.y));
      bottom = std::max(bottom, round_half_away(p.y));
    }
    EXPECT_EQ(bbox.x0, left);
    EXPECT_EQ(bbox.x1, right);
    EXPECT_EQ(bbox.y0, top);
    EXPECT_EQ(bbox.y1, bottom);
  }
}

/// With one transform missing, all three at once must equal the routine for the other two.
TEST(Geometry, ThreeTransformsAgreeWithTwo) {
  random_source random(base_seed() + 1);
  int compared = 0;
  for (int i = 0; i < 5000 && !testing::Test::HasFailure(); ++i) {
    random_case c(random);
    placed_graph &g = c.g;
    __FPoint__ three[4], two[4];
    if (random.one_in(2)) {
      // No shear, so only rotation and scaling.
      c.shear_x = c.shear_y = 0;
      if (g.angle % 360000 == 0 || (c.size_x == 100 && c.size_y == 100)) continue;
      calculate_corners_rotscale(c.surface(), c.x, c.y, c.size_x, c.size_y, g.angle, g.tfmorder,
                                 g.flags, two);
    } else {
      g.angle = random.between(-2, 2) * 360000;
      if (c.shear_x == 0 && c.shear_y == 0) continue;
      calculate_corners_scaleshear(c.surface(), c.x, c.y, c.size_x, c.size_y, c.shear_x, c.shear_y,
                                   g.tfmorder, g.flags, two);
    }
    calculate_corners_rotscaleshear(c.surface(), c.x, c.y, c.size_x, c.size_y, c.shear_x, c.shear_y,
                                    g.angle, g.tfmorder, g.flags, three);
    ++compared;
    for (int k = 0; k < 4; ++k) {
      EXPECT_FLOAT_EQ(three[k].x, two[k].x) << describe(g);
      EXPECT_FLOAT_EQ(three[k].y, two[k].y) << describe(g);
    }
  }
  EXPECT_GT(compared, 2000);
}

void expect_corners(const __FPoint__ found[4], std::array<double, 8> wanted) {
  for (size_t i = 0; i < 4; ++i) {
    EXPECT_NEAR(found[i].x, wanted[2 * i], 1e-4) << "corner " << i;
    EXPECT_NEAR(found[i].y, wanted[2 * i + 1], 1e-4) << "corner " << i;
  }
}

TEST(Geometry, KnownCorners) {
  shape s(10, 8);
  s.set_centre(3, 2);
  __FPoint__ p[4];
  calculate_corners_rotate(&s.surface, 100, 50, 0, 0, p);
  expect_corners(p, {97, 48, 106, 48, 97, 55, 106, 55});
  // Counter-clockwise: the right side moves up.
  calculate_corners_rotate(&s.surface, 100, 50, 90000, 0, p);
  expect_corners(p, {98, 53, 98, 44, 105, 53, 105, 44});
  calculate_corners_rotate(&s.surface, 100, 50, 90000, 1, p);
  expect_corners(p, {102, 53, 102, 44, 95, 53, 95, 44});
  // A positive shear moves the rows below the pivot left, at 100 by one pixel per row.
  calculate_corners_scaleshear(&s.surface, 100, 50, 100, 100, 100, 0, tfm_hsr, 0, p);
  expect_corners(p, {99, 48, 108, 48, 92, 55, 101, 55});
  calculate_corners_scaleshear(&s.surface, 100, 50, 100, 100, 0, 50, tfm_shr, 0, p);
  expect_corners(p, {97, 49.5, 106, 45, 97, 56.5, 106, 52});

  // The far pixel is a source pixel when scaling comes last, else a destination pixel.
  s.set_centre(0, 0);
  calculate_corners_rotscale(&s.surface, 0, 0, 200, 200, 90000, tfm_hrs, 0, p);
  expect_corners(p, {0, 0, 0, -18, 14, 0, 14, -18});
  calculate_corners_rotscale(&s.surface, 0, 0, 200, 200, 90000, tfm_hsr, 0, p);
  expect_corners(p, {0, 0, 0, -19, 15, 0, 15, -19});
  // All three: shear by a half, double, quarter turn.
  calculate_corners_rotscaleshear(&s.surface, 0, 0, 200, 200, 50, 0, 90000, tfm_hsr, 0, p);
  expect_corners(p, {0, 0, 0, -19, 15, 8, 15, -11});
  calculate_corners_rotscaleshear(&s.surface, 0, 0, 200, 200, 50, 0, 90000, tfm_hrs, 0, p);
  expect_corners(p, {0, 0, 0, -18, 14, 7, 14, -11});

  float x0, y0, x1, y1;
  shape ten(10, 10);
  ten.set_centre(0, 0);
  calculate_corners_scale(&ten.surface, 5, 5, 200, 200, 0, &x0, &y0, &x1, &y1);
  EXPECT_EQ(x0, 5);
  EXPECT_EQ(y0, 5);
  EXPECT_EQ(x1, 24);
  EXPECT_EQ(y1, 24);
  ten.set_centre(3, 4);
  calculate_corners_scale(&ten.surface, 50, 50, 100, 100, 1, &x0, &y0, &x1, &y1);
  EXPECT_EQ(x0, 50 - (10 - 3));
  EXPECT_EQ(x1, 50 + 3 - 1);
  EXPECT_EQ(y0, 46);
  EXPECT_EQ(y1, 55);

  // A full turn takes the unrotated path: the box of scaling, corners in clockwise order.
  for (const int angle : {0, 360000, -360000, 720000}) {
    calculate_corners(&ten.surface, 50, 50, 100, 100, 0, 0, angle, tfm_hsr, 1, p);
    expect_corners(p, {43, 46, 52, 46, 52, 55, 43, 55});
  }
}

TEST(Geometry, PivotComesFromTheOverrideOnceThenFromTheCentre) {
  shape s(9, 7);
  s.surface.pivot_override = 1;
  s.surface.pivot_x = 65535; // a valid pivot: only control points have an unset mark
  s.surface.pivot_y = 0;
  __FPoint__ p[4];
  calculate_corners_rotate(&s.surface, 0, 0, 0, 0, p);
  expect_corners(p, {-65535, 0, -65527, 0, -65535, 6, -65527, 6});
  EXPECT_EQ(s.surface.pivot_override, 0);
  calculate_corners_rotate(&s.surface, 0, 0, 0, 0, p);
  expect_corners(p, {-4, -3, 4, -3, -4, 3, 4, 3});
  // The mark is in the low 16 bits of each coordinate separately.
  s.centre[0] = 0x1FFFF;
  s.centre[1] = 5;
  calculate_corners_rotate(&s.surface, 0, 0, 0, 0, p);
  expect_corners(p, {-4, -5, 4, -5, -4, 1, 4, 1});
}

TEST(Geometry, RoundsHalfAwayFromZero) {
  EXPECT_EQ(round_corner(0.5f), 1);
  EXPECT_EQ(round_corner(-0.5f), -1);
  EXPECT_EQ(round_corner(0.49999997f), 0); // adding a half in single precision would give 1
  EXPECT_EQ(round_corner(-0.49999997f), 0);
  EXPECT_EQ(round_corner(-2.5f), -3);
  EXPECT_EQ(round_corner(8388607.5f), 8388608);
  EXPECT_EQ(round_corner(1 << 30), 1 << 30);
  EXPECT_EQ(round_corner(-(1 << 30)), -(1 << 30));
  EXPECT_EQ(round_corner(3e9f), corner_out_of_range);
  EXPECT_EQ(round_corner(-INFINITY), corner_out_of_range);
  EXPECT_EQ(round_corner(NAN), corner_out_of_range);
}

/// Whatever the corners, the sorted ones are the same four: the first is topmost, leftmost on a
/// tie; the last was opposite; and the left neighbour is not right of the right one on any row that
/// both edges cross.
TEST(Geometry, ScanOrder) {
  using sort_routine = void(__Vertex__ sorted[4], const __Vertex__ corners[4]);
  random_source random(base_seed() + 2);
  for (sort_routine *const sort :
       {sort_corners_rotscale, sort_corners_scaleshear, sort_corners_rotscaleshear}) {
    for (int i = 0; i < 20000; ++i) {
      // A parallelogram, small enough that ties and lines are frequent.
      const int reach = random.one_in(8) ? 1 << 29 : random.between(0, 4);
      const __Vertex__ o = {random.between(-5, 5), random.between(-5, 5)};
      const __Vertex__ a = {random.between(-reach, reach), random.between(-reach, reach)};
      const __Vertex__ b = {random.between(-reach, reach), random.between(-reach, reach)};
      const __Vertex__ in[4] = {
          o, {o.x + a.x, o.y + a.y}, {o.x + b.x, o.y + b.y}, {o.x + a.x + b.x, o.y + a.y + b.y}};
      __Vertex__ out[4];
      sort(out, in);

      const auto pairs = [](const __Vertex__ v[4]) {
        std::array<std::pair<int, int>, 4> p;
        for (size_t k = 0; k < 4; ++k)
          p[k] = {v[k].x, v[k].y};
        std::sort(p.begin(), p.end());
        return p;
      };
      ASSERT_EQ(pairs(out), pairs(in));
      for (const __Vertex__ &v : in) {
        ASSERT_LE(out[0].y, v.y);
        if (v.y == out[0].y) ASSERT_LE(out[0].x, v.x);
      }
      // In a parallelogram opposite corners have the same sum.
      ASSERT_EQ(int64_t(out[0].x) + out[3].x, int64_t(out[1].x) + out[2].x);
      ASSERT_EQ(int64_t(out[0].y) + out[3].y, int64_t(out[1].y) + out[2].y);
      const int64_t turn = (int64_t(out[1].x) - out[0].x) * (int64_t(out[2].y) - out[0].y) -
                           (int64_t(out[2].x) - out[0].x) * (int64_t(out[1].y) - out[0].y);
      ASSERT_LE(turn, 0);
    }
  }
}

TEST(Geometry, AnyInputGivesABox) {
  random_source random(base_seed() + 3);
  static constexpr int extremes[] = {INT_MIN, INT_MIN + 1, -1, 0, 1, 100, INT_MAX - 1, INT_MAX};
  for (int i = 0; i < 20000; ++i) {
    shape s(random.between(1, 65535), random.between(1, 65535));
    if (random.one_in(2)) s.set_centre(random.any_of(extremes), random.any_of(extremes));
    s.surface.pivot_override = random.one_in(2);
    s.surface.pivot_x = uint32_t(random.any_of(extremes));
    s.surface.pivot_y = uint32_t(random.any_of(extremes));
    const auto any = [&] { return random.any_of(extremes); };
    __ORBRegion__ box;
    calculate_graph_bbox(&box, &s.surface, any(), any(), any(), any(), any(), any(), any(), any(),
                         any());
    ASSERT_LE(box.x0, box.x1);
    ASSERT_LE(box.y0, box.y1);
  }
}

} // namespace
