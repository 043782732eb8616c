// Script functions that create graphs, draw on the ground and define regions.
#include <random>
#include <sstream>

#include <gtest/gtest.h>

#include "graphics_fixture.h"
#include "raster/pixels.h"
#include "script/blit_arguments.h"
#include "script/handlers.h"
#include "surface/fill.h"

namespace {

struct MapNew : graphics_test {};
struct GroundFunctions : graphics_test {};
struct RegionDefine : graphics_test {};
struct Pixels : graphics_test {};

constexpr int32_t failure = INT32_MIN;

int32_t call_map_new(fake_runtime &host, const std::vector<int64_t> &given) {
  std::vector<int32_t> a;
  for (int64_t value : given)
    a.push_back(int32_t(value));
  switch (a.size()) {
  case 2: return host.call(ORB_map_new, a[0], a[1]);
  case 3: return host.call(ORB_map_new, a[0], a[1], a[2]);
  case 4: return host.call(ORB_map_new, a[0], a[1], a[2], a[3]);
  case 5: return host.call(ORB_map_new, a[0], a[1], a[2], a[3], a[4]);
  default: return host.call(ORB_map_new, a[0], a[1], a[2], a[3], a[4], a[5]);
  }
}

// Depth: arguments -> error, position, value; "silent" for a failure without a report, "ok" for a
// graph. Rows with two mistakes show the order of the checks.
constexpr const char *map_new_rows = R"(
32: 1 1 -> ok
32: 65535 1 -> ok
32: 1 65535 -> ok
32: 0 1 -> 153 1 0
32: 65536 1 -> 153 1 65536
32: -1 0 -> 153 1 -1
32: 1 0 -> 153 2 0
32: 1 65536 -> 153 2 65536
32: 4 4 4294967295 -> ok
32: 4 4 0 0 -> ok
32: 4 4 0 1 -> ok
32: 4 4 0 2 -> silent
32: 4 4 0 -1 -> silent
32: 4 4 3 3 0 -> ok
32: 4 4 4 0 0 -> 155 3 4
32: 4 4 -1 9 0 -> 155 3 -1
32: 4 4 0 4 0 -> 155 4 4
32: 4 4 0 -1 0 5 -> 155 4 -1
32: 4 4 0 0 7 1 -> ok
32: 4 4 0 0 7 2 -> silent
16: 4 4 65535 -> ok
16: 4 4 65536 -> silent
16: 4 4 -1 -> silent
16: 4 4 9 9 65536 -> silent
16: 0 4 9 9 65536 -> 153 1 0
8: 4 4 255 -> ok
8: 4 4 256 -> 154 5 256
8: 4 4 256 9 -> 154 5 256
8: 4 4 9 9 256 -> 154 5 256
8: 4 0 9 9 256 -> 153 2 0
8: 4 4 9 9 255 9 -> 155 3 9
)";

TEST_F(MapNew, ChecksItsArgumentsInOrder) {
  std::istringstream rows(map_new_rows);
  int32_t depth = 32, tried = 0;
  for (std::string line; std::getline(rows, line);) {
    if (line.empty()) continue;
    SCOPED_TRACE(line);
    std::istringstream row(line);
    int32_t wanted_depth;
    std::string word, outcome;
    row >> wanted_depth >> word;
    std::vector<int64_t> arguments;
    while (row >> word && word != "->")
      arguments.push_back(std::stoll(word));
    row >> outcome;
    if (wanted_depth != depth) set_depth(depth = wanted_depth);
    host.errors.clear();
    const uint32_t surfaces = gfxsurfaces->count;
    const int32_t result = call_map_new(host, arguments);
    EXPECT_EQ(host.left_over(), 0u);
    EXPECT_EQ(host.times_returned(), 1);
    tried++;
    if (outcome == "ok") {
      EXPECT_EQ(result, 1000);
      EXPECT_TRUE(host.errors.empty());
      EXPECT_EQ(host.call(ORB_map_unload, result), 1);
    } else {
      EXPECT_EQ(result, failure);
      if (outcome == "silent") {
        EXPECT_TRUE(host.errors.empty());
      } else {
        int32_t position, value;
        row >> position >> value;
        const std::vector<fake_error> expected = {
            {std::stoi(outcome), "MAP_NEW", ORB_VALUE_INT, position, value, ""}};
        EXPECT_EQ(host.errors, expected);
      }
    }
    EXPECT_EQ(gfxsurfaces->count, surfaces);
  }
  EXPECT_EQ(tried, 31);
}

TEST_F(MapNew, MakesTheGraph) {
  for (int32_t depth : {8, 16, 32}) {
    set_depth(depth);
    const uint32_t memory = fpg[0].memory_usage;
    const int32_t plain = host.call(ORB_map_new, 7, 5);
    const int32_t coloured = host.call(ORB_map_new, 7, 5, 0x5A);
    const int32_t centred = host.call(ORB_map_new, 7, 5, 6, 1, 0x21, 1);
    EXPECT_EQ(fpg[0].memory_usage - memory, 3u * 616);
    for (int32_t code : {plain, coloured, centred}) {
      const orb_map_slot &graph = slot(code);
      const __ORBSurface2D__ &surface = *graph.surface;
      EXPECT_EQ(graph.code, code);
      EXPECT_EQ(graph.id, 1u);
      EXPECT_EQ(graph.memory_usage, 616u);
      EXPECT_STREQ(graph.name, "");
      EXPECT_STREQ(graph.description, "");
      EXPECT_EQ(image_loaded[code - 1000], 1);
      EXPECT_EQ(surface.depth, depth);
      EXPECT_EQ(surface.alpha_channel, code == centred);
      EXPECT_EQ(surface.has_cpoints, code == centred);
      EXPECT_EQ(surface.cpoint_last, 0u);
      EXPECT_EQ(surface.cpoints[0], code == centred ? 6u : 3u);
      EXPECT_EQ(surface.cpoints[1], code == centred ? 1u : 2u);
      EXPECT_EQ(surface.cpoints[2], code == centred);
      const uint32_t colour = code == plain ? 0 : code == coloured ? 0x5A : 0x21;
      for (uint32_t i = 0; i < 35; i++)
        ASSERT_EQ(pixel(surface, i % 7, i / 7), colour);
    }
  }
}

// ---- Ground -------------------------------------------------------------------------------------

TEST_F(GroundFunctions, PutDrawsByThePivotAndKeepsTheKey) {
  for (int32_t depth : {8, 16, 32}) {
    set_depth(depth);
    const int32_t code = host.call(ORB_map_new, 5, 3, 1, 2, 9);
    draw_pixel(slot(code).surface, 4, 0, 0, 0); // a hole
    ORBGI2D_BlitFill(ground, 3, 0);
    EXPECT_EQ(ground_puting, 0);
    EXPECT_EQ(host.call(ORB_ground_put, 0, code, 10, 20), 1);
    EXPECT_EQ(ground_puting, 1);
    for (int32_t y = 0; y < screen_height; y++)
      for (int32_t x = 0; x < screen_width; x++) {
        const bool inside = x >= 9 && x < 14 && y >= 18 && y < 21 && !(x == 13 && y == 18);
        ASSERT_EQ(host.call(ORB_ground_get_pixel, x, y), inside ? 9 : 3) << x << ", " << y;
      }
    EXPECT_EQ(host.call(ORB_ground_put, 0, code, -50, 20), 0);
    EXPECT_TRUE(host.errors.empty());
  }
}

TEST_F(GroundFunctions, PutClipsToRegionZero) {
  const int32_t code = host.call(ORB_map_new, 8, 8, 0, 0, 9);
  ASSERT_EQ(host.call(ORB_region_define, 0, 2, 3, 4, 2), 1);
  EXPECT_EQ(host.call(ORB_ground_put, 0, code, 0, 0), 1);
  for (int32_t y = 0; y < 10; y++)
    for (int32_t x = 0; x < 10; x++)
      ASSERT_EQ(host.call(ORB_ground_get_pixel, x, y), x >= 2 && x < 6 && y >= 3 && y < 5 ? 9 : 0);
}

TEST_F(GroundFunctions, PutStartsFromACleanRequest) {
  const int32_t code = host.call(ORB_map_new, 2, 2, 0, 0, 9);
  memset(&bltGraphics2D, 0x11, sizeof bltGraphics2D);
  static __ORBBlit2D__ seen;
  const auto blit = device2D.ORBGI2D_Blit;
  device2D.ORBGI2D_Blit = [](__ORBBlit2D__ *request) -> int32_t {
    seen = *request;
    return 1;
  };
  EXPECT_EQ(host.call(ORB_ground_put, 0, code, 5, -6), 1);
  device2D.ORBGI2D_Blit = blit;
  EXPECT_EQ(seen.owner, nullptr);
  EXPECT_EQ(seen.x, 5);
  EXPECT_EQ(seen.y, -6);
  EXPECT_EQ(seen.region, 0);
  EXPECT_EQ(seen.own_region, 0);
  EXPECT_EQ(seen.flags, 0);
  EXPECT_EQ(seen.fxmode, 0);
  EXPECT_EQ(seen.alpha, 255);
  EXPECT_EQ(seen.src, slot(code).surface);
  EXPECT_EQ(seen.dst, ground);
}

TEST_F(GroundFunctions, PutReportsBadGraphs) {
  const struct {
    int32_t file, graph, code, position, value;
  } rows[] = {{-1, 1, 109, 1, -1}, {4, 1, 109, 1, 4},       {0, 0, 110, 2, 0},
              {0, -7, 110, 2, -7}, {0, 1256, 110, 2, 1256}, {1, 1000, 110, 2, 1000},
              {1, 1, 111, 1, 1},   {0, 1000, 121, 2, 1000}, {-1, 0, 109, 1, -1}};
  for (const auto &row : rows) {
    host.errors.clear();
    EXPECT_EQ(host.call(ORB_ground_put, row.file, row.graph, 0, 0), failure);
    const std::vector<fake_error> expected = {
        {row.code, "GROUND_PUT", ORB_VALUE_INT, row.position, row.value, ""}};
    EXPECT_EQ(host.errors, expected) << row.file << ", " << row.graph;
  }
  EXPECT_EQ(ground_puting, 0);
}

TEST_F(GroundFunctions, PutPixelChecksColourAndMode) {
  const struct {
    int32_t depth;
    uint32_t colour;
    int32_t mode, reported, result;
  } rows[] = {{8, 255, 0, 0, 1},          {8, 256, 0, 154, failure}, {8, 256, 2, 154, failure},
              {8, 1, 2, 0, failure},      {8, 1, -1, 0, failure},    {16, 65535, 1, 0, 1},
              {16, 65536, 0, 0, failure}, {32, 0xFFFFFFFF, 1, 0, 1}, {32, 5, 2, 0, failure}};
  for (const auto &row : rows) {
    set_depth(row.depth);
    host.errors.clear();
    EXPECT_EQ(host.call(ORB_ground_put_pixel, 3, 4, row.colour, row.mode), row.result);
    EXPECT_EQ(host.left_over(), 0u);
    const bool drawn = row.result == 1;
    EXPECT_EQ(uint32_t(host.call(ORB_ground_get_pixel, 3, 4)), drawn ? row.colour : 0);
    EXPECT_EQ(ground_puting, drawn);
    std::vector<fake_error> expected;
    if (row.reported)
      expected.push_back({row.reported, "GROUND_PUT_PIXEL", 0, 3, int32_t(row.colour), ""});
    EXPECT_EQ(host.errors, expected);
  }
  EXPECT_EQ(host.call(ORB_ground_put_pixel, 6, 7, 8), 1);
  EXPECT_EQ(host.call(ORB_ground_get_pixel, 6, 7), 8);
}

TEST_F(GroundFunctions, ScreenClearForgetsThePicture) {
  for (int32_t depth : {8, 16, 32}) {
    set_depth(depth);
    host.call(ORB_ground_put_pixel, 3, 4, 7);
    screen_color = 0x2A;
    EXPECT_EQ(host.call(ORB_screen_clear), 1);
    EXPECT_EQ(ground_puting, 0);
    for (uint32_t i = 0; i < ground->pixel_count; i++)
      ASSERT_EQ(pixel(*ground, i % screen_width, i / screen_width), 0x2Au);
  }
  screen_color = 0;
}

TEST_F(Pixels, StayInsideTheSurface) {
  std::mt19937 random(40);
  const int32_t far[] = {INT32_MIN, INT32_MIN + 1, -65536, -1, 65536, INT32_MAX};
  for (int32_t depth : {8, 16, 32}) {
    set_depth(depth);
    __ORBSurface2D__ *surface = ORBGI2D_CreateGFXSurface(7, 5, depth, 1);
    uint32_t expected[5][7] = {};
    for (int i = 0; i < 2000; i++) {
      int32_t x = int32_t(random() % 11) - 2, y = int32_t(random() % 9) - 2;
      if (i % 8 == 0) x = far[random() % 6];
      if (i % 8 == 1) y = far[random() % 6];
      const bool inside = x >= 0 && x < 7 && y >= 0 && y < 5;
      const uint32_t colour = uint32_t(random());
      const uint32_t kept = depth == 32 ? colour : colour & ((1u << depth) - 1);
      ASSERT_EQ(get_pixel(surface, x, y), inside ? expected[y][x] : 0);
      draw_pixel(surface, x, y, colour, int32_t(random()));
      if (inside) expected[y][x] = kept;
      ASSERT_EQ(get_pixel(surface, x, y), inside ? kept : 0);
    }
    EXPECT_EQ(ground_puting, 0); // none of these drew on the ground
    draw_pixel(ground, -1, 0, 5, 0);
    EXPECT_EQ(ground_puting, 0);
    draw_pixel(ground, 0, 0, 5, 0);
    EXPECT_EQ(ground_puting, 1);
    EXPECT_EQ(get_pixel(nullptr, 0, 0), 0u);
    draw_pixel(nullptr, 0, 0, 5, 0);
  }
}

TEST_F(Pixels, ColoursArePackedForTheDepth) {
  set_depth(16);
  EXPECT_EQ(device2D.set_rgbx(255, 255, 255), 0xFFFFu);
  set_depth(32);
  EXPECT_EQ(device2D.set_rgbx(255, 255, 255), 0xFFFFFFFFu);
  EXPECT_EQ(do_fading, do_fading_32bits);
  set_depth(8);
  EXPECT_EQ(do_fading, do_fading_8bits);
}

// ---- Regions ------------------------------------------------------------------------------------

TEST_F(RegionDefine, Boxes) {
  constexpr int32_t all = INT32_MAX, w = screen_width, h = screen_height;
  const struct {
    int32_t region, x, y, width, height;
    __ORBRegion__ box; // x0, x1, y0, y1
  } rows[] = {
      {0, -10, -10, 60, 50, {0, 49, 0, 39}},
      {0, 0, 0, w, h, {0, w - 1, 0, h - 1}},
      {0, 0, 0, 1000, 1000, {0, w - 1, 0, h - 1}},
      {0, 10, 20, all, all, {10, w - 1, 20, h - 1}},
      {0, -10, -20, all, all, {0, w - 1, 0, h - 1}},
      {0, 100, 100, 5, 5, {w, w - 1, h, h - 1}},
      {0, -10, -10, 5, 5, {0, -6, 0, -6}},
      {5, -10, -20, 100, 100, {-10, 89, -20, 79}},
      {5, 1000, 2000, 10, 20, {1000, 1009, 2000, 2019}},
      {5, 3, -4, all, all, {3, all - 1, -4, all - 9}},
      {5, 0, 0, all, all, {0, all - 1, 0, all - 1}},
      {5, 3, 4, 0, -3, {3, 2, 4, 0}},
      {5, 2000000000, 5, 2000000000, 1, {2000000000, all, 5, 5}},
      {5, INT32_MIN, 0, -5, 1, {INT32_MIN, INT32_MIN, 0, 0}},
  };
  for (const auto &row : rows) {
    SCOPED_TRACE(testing::Message() << row.region << ": " << row.x << " " << row.y << " "
                                    << row.width << " " << row.height);
    EXPECT_EQ(host.call(ORB_region_define, row.region, row.x, row.y, row.width, row.height), 1);
    const __ORBRegion__ &box = regions[row.region];
    EXPECT_EQ(box.x0, row.box.x0);
    EXPECT_EQ(box.x1, row.box.x1);
    EXPECT_EQ(box.y0, row.box.y0);
    EXPECT_EQ(box.y1, row.box.y1);
  }
}

TEST_F(RegionDefine, NumbersGrowTheListAndCountOnce) {
  const int32_t before = regions_defined;
  for (int i = 0; i < 3; i++)
    EXPECT_EQ(host.call(ORB_region_define, 40, 1, 2, 3, 4), 1);
  EXPECT_EQ(regions_defined, before + 1);
  EXPECT_EQ(max_region, 41);
  EXPECT_EQ(RegionExists(40), 1);
  EXPECT_EQ(RegionExists(39), 0);
  EXPECT_EQ(host.call(ORB_region_define, 65536, 1, 2, 3, 4), 1);
  EXPECT_EQ(max_region, 65537);
  EXPECT_EQ(device2D.regions, regions);
  EXPECT_EQ(regions[40].y1, 5);

  for (int32_t region : {-1, 65537, INT32_MIN, INT32_MAX}) {
    host.errors.clear();
    EXPECT_EQ(host.call(ORB_region_define, region, 1, 2, 3, 4), failure);
    const std::vector<fake_error> expected = {{108, "REGION_DEFINE", 0, 1, region, ""}};
    EXPECT_EQ(host.errors, expected);
  }
  EXPECT_EQ(regions_defined, before + 2);
}

} // namespace
