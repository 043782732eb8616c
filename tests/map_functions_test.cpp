// The script functions on single graphs: arguments, pixels and control points.
#include <map>
#include <random>
#include <sstream>

#include <gtest/gtest.h>
#include <sys/mman.h>
#include <unistd.h>

#include "map_fixture.h"
#include "script/handlers.h"
#include "surface/fill.h"

namespace {

constexpr int32_t failure = INT32_MIN;

struct MapFunctions : map_test {};

// ---- Arguments ----------------------------------------------------------------------------------

const std::map<std::string, int32_t (*)()> handlers = {
    {"map_put", ORB_map_put},
    {"map_xput", ORB_map_xput},
    {"map_xxput", ORB_map_xxput},
    {"map_block_copy", ORB_map_block_copy},
    {"map_put_tile", ORB_map_put_tile},
    {"map_apply_fx", ORB_map_apply_fx},
    {"map_get_pixel", ORB_map_get_pixel},
    {"map_get_rgb", ORB_map_get_rgb},
    {"map_get_rgba", ORB_map_get_rgba},
    {"map_get_buffer", ORB_map_get_buffer},
    {"map_clear", ORB_map_clear},
    {"map_set_color", ORB_map_set_color},
    {"map_convert_palette", ORB_map_convert_palette},
    {"map_get_cpoint", ORB_map_get_cpoint},
    {"map_set_cpoint", ORB_map_set_cpoint},
    {"map_new_cpoint", ORB_map_new_cpoint},
    {"map_delete_cpoint", ORB_map_delete_cpoint},
    {"map_cpoint_exists", ORB_map_cpoint_exists},
    {"map_get_realcpoint", ORB_map_get_realcpoint},
    {"map_set_center", ORB_map_set_center},
    {"map_get_xcenter", ORB_map_get_xcenter},
    {"map_get_ycenter", ORB_map_get_ycenter},
};

// Depth: call -> result ("fail": the failure value), and the report: code, position, value. Library
// 0 has graphs 1000 and 1001, library 1 graph 5; libraries 2 and 3 aren't loaded, 4 is an invalid
// number. "p" is a pointer to 256 ints, "last" one to the last readable int, "beyond" one int
// further; "self" and "other" are processes: the caller, with graph 1001, and one without a graph.
// Rows with two mistakes show the order of the checks.
constexpr const char *rows = R"(
32: map_put 0 1000 1001 3 3 -> 1
32: map_put 0 1000 1 5 3 3 -> 1
32: map_put 1 5 0 1001 1 1 -> 1
32: map_put 0 1000 1001 99 3 -> 0
32: map_put -1 0 0 0 0 -> fail 109 1 -1
32: map_put 4 1000 4 5 0 0 -> fail 109 1 4
32: map_put 1 1000 9 0 0 0 -> fail 110 2 1000
32: map_put 0 0 9 0 0 0 -> fail 110 2 0
32: map_put 2 5 9 0 0 0 -> fail 109 3 9
32: map_put 2 5 -1 0 0 0 -> fail 109 3 -1
32: map_put 2 5 0 1256 0 0 -> fail 110 4 1256
32: map_put 2 5 1 1000 0 0 -> fail 110 4 1000
32: map_put 1 5 1000 0 0 -> fail 110 3 1000
32: map_put 0 1000 1256 0 0 -> fail 110 3 1256
32: map_put 2 5 3 5 0 0 -> fail 111 1 2
32: map_put 2 5 6 0 0 -> fail 111 1 2
32: map_put 0 1007 3 5 0 0 -> fail 121 1 1007
32: map_put 0 1000 3 5 0 0 -> fail 111 3 3
32: map_put 0 1000 1 6 0 0 -> fail 121 4 6
32: map_put 0 1000 1008 0 0 -> fail 121 3 1008
32: map_xput 0 1000 1001 4 4 360000 100 0 -> 1
32: map_xput 0 1007 1001 4 4 0 100 0 -> fail 121 2 1007
32: map_xput 0 1000 7 5 4 4 0 100 0 -> fail 109 3 7
32: map_xput 0 1000 1 6 4 4 0 100 0 -> fail 121 4 6
32: map_xput 0 1000 1001 4 4 0 0 0 -> 0
32: map_xxput 0 1000 1001 4 4 0 100 100 1 0 0 0 255 0 -> 1
32: map_xxput 1 6 1001 4 4 0 100 100 1 0 0 0 255 0 -> fail 110 3 1001
32: map_xxput 1 6 0 1001 4 4 0 100 100 1 0 0 0 255 0 -> fail 121 2 6
32: map_xxput 1 5 2 5 4 4 0 100 100 1 0 0 0 255 0 7 7 -> fail 111 3 2
32: map_block_copy 0 1000 0 0 1001 0 0 2 2 -> 1
32: map_block_copy 0 1000 0 0 1256 0 0 2 2 -> fail 110 3 1256
32: map_block_copy 0 1000 0 0 1009 0 0 2 2 0 255 0 -> fail 121 3 1009
32: map_block_copy 0 1000 0 0 4 5 0 0 2 2 -> fail 109 5 4
32: map_block_copy 0 1000 0 0 1 0 0 0 2 2 0 255 0 -> fail 110 6 0
32: map_block_copy 0 1000 0 0 3 5 0 0 2 2 0 255 0 0 0 -> fail 111 5 3
32: map_block_copy 0 1000 0 0 1 6 0 0 2 2 0 255 0 0 0 -> fail 121 6 6
32: map_block_copy 0 1001 0 0 1 5 0 0 0 2 -> 0
32: map_put_tile 0 1000 1001 2 2 -> 1
32: map_put_tile 0 1000 1001 2 2 4 255 0 -> 0
32: map_put_tile 0 1000 1 6 2 2 -> fail 121 4 6
32: map_put_tile 0 1 1 6 2 2 0 255 0 0 0 -> fail 121 2 1
32: map_apply_fx 0 1000 1000 255 0 -> 1
32: map_apply_fx 0 1000 1001 255 2 -> 0
32: map_apply_fx 0 1000 5 5 255 0 -> fail 109 3 5
32: map_apply_fx 0 1000 1 6 255 0 1 1 -> fail 121 4 6
8: map_apply_fx 0 1000 1001 255 13 -> 0
32: map_get_pixel 0 1000 99 0 -> 0
32: map_get_pixel 0 1000 -1 0 -> 0
32: map_get_pixel 1 6 0 0 -> fail 121 2 6
32: map_get_rgb 0 1000 0 0 p p p -> 1
32: map_get_rgb 0 1000 0 12 p p p -> 0
32: map_get_rgb 0 9999 0 0 p p p -> fail 110 2 9999
8: map_get_rgba 0 1000 0 0 null null null null -> 1
16: map_get_rgba 3 1 0 0 p p p p -> fail 111 1 3
32: map_get_buffer 2 1 -> fail 111 1 2
8: map_clear 0 1000 255 -> 1
8: map_clear 0 1000 256 -> fail 154 3 256
16: map_clear 0 1000 65536 1 -> fail
32: map_clear 0 1000 -1 1 -> 1
32: map_clear -5 1000 0 -> fail 109 1 -5
8: map_set_color 0 1000 256 1 -> fail 154 3 256
8: map_set_color 0 1000 255 256 -> fail 154 4 256
16: map_set_color 0 1000 0 65536 -> fail
16: map_convert_palette 0 1000 p -> fail
8: map_convert_palette 0 1000 last -> 1
8: map_convert_palette 0 1000 beyond -> fail
8: map_convert_palette 0 1000 null -> fail
8: map_convert_palette 0 1000 7 -> fail
8: map_convert_palette 0 1000 -4 -> fail
8: map_convert_palette 0 1006 p -> fail 121 2 1006
32: map_get_cpoint 0 1000 0 p p -> 1
32: map_get_cpoint 0 1000 0 null null -> 1
32: map_get_cpoint 0 1000 1 p p -> fail 133 3 1
32: map_get_cpoint 0 1000 -1 p p -> fail 133 3 -1
32: map_get_cpoint 0 1002 0 p p -> fail 121 2 1002
32: map_set_cpoint 0 1000 1 5 5 -> fail 133 3 1
32: map_set_cpoint 0 1000 -1 5 5 -> fail 133 3 -1
32: map_new_cpoint 0 1000 -1 5 5 -> fail 133 3 -1
32: map_new_cpoint 0 1000 4095 5 5 -> fail 133 3 4095
32: map_new_cpoint 0 1000 2147483647 5 5 -> fail 133 3 2147483647
32: map_delete_cpoint 0 1000 0 -> fail 133 3 0
32: map_delete_cpoint 0 1000 1 -> fail 133 3 1
32: map_cpoint_exists 0 1000 0 -> 0
32: map_cpoint_exists 0 1000 -1 -> 0
32: map_cpoint_exists 0 1000 5000 -> 0
32: map_cpoint_exists 0 1999 0 -> fail 110 2 1999
32: map_get_realcpoint 0 p p -> 1
32: map_get_realcpoint self 0 null null -> 1
32: map_get_realcpoint 1 p p -> fail 133 1 1
32: map_get_realcpoint self -1 p p -> fail 133 2 -1
32: map_get_realcpoint 12345 0 p p -> fail
32: map_get_realcpoint other 0 p p -> fail 110 2 0
32: map_set_center 0 1000 -3 70 -> 1
32: map_set_center 4 1000 0 0 -> fail 109 1 4
32: map_get_xcenter 0 1009 -> fail 121 2 1009
32: map_get_ycenter 1 1 -> fail 121 2 1
)";

TEST_F(MapFunctions, ArgumentsResultsAndReports) {
  orb_process &self = host.spawn(), &other = host.spawn();
  self.locals->graph = 1001;
  host.current_process = &self;
  std::vector<int32_t> ints(256);
  // Two pages; the second is unreadable.
  const size_t page = size_t(sysconf(_SC_PAGESIZE));
  auto *const pages = static_cast<uint8_t *>(
      mmap(nullptr, 2 * page, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0));
  ASSERT_NE(pages, MAP_FAILED);
  ASSERT_EQ(mprotect(pages + page, page, PROT_NONE), 0);
  const auto last = std::bit_cast<int32_t>(pages + page - 256 * sizeof(int32_t));
  std::map<std::string, int32_t> words = {{"p", std::bit_cast<int32_t>(ints.data())},
                                          {"last", last},
                                          {"beyond", last + 4},
                                          {"null", 0},
                                          {"self", std::bit_cast<int32_t>(&self)},
                                          {"other", std::bit_cast<int32_t>(&other)}};
  std::istringstream lines(rows);
  int tried = 0;
  for (std::string line; std::getline(lines, line);) {
    if (line.empty()) continue;
    SCOPED_TRACE(line);
    std::istringstream row(line);
    int32_t depth;
    char colon;
    std::string function, word, wanted;
    row >> depth >> colon >> function;
    std::vector<int32_t> arguments;
    while (row >> word && word != "->")
      arguments.push_back(words.contains(word) ? words[word] : int32_t(std::stoll(word)));
    row >> wanted;
    std::vector<fake_error> reports;
    std::string capitals;
    for (const char letter : function)
      capitals += char(toupper(letter));
    if (fake_error report{0, capitals, ORB_VALUE_INT, 0, 0, ""};
        row >> report.code >> report.position >> report.value)
      reports.push_back(report);

    set_depth(depth);
    __ORBSurface2D__ *full = ORBGI2D_CreateGFXSurface(5, 4, depth, 0);
    ORBGI2D_BlitFill(full, 1, 0);
    put(0, 1000, ORBGI2D_CreateGFXSurface(16, 12, depth, 1));
    put(0, 1001, full);
    put(1, 5, noise(3, 3));
    host.errors.clear();
    const int32_t result = host.call(handlers.at(function), arguments);
    EXPECT_EQ(result, wanted == "fail" ? failure : std::stoi(wanted));
    EXPECT_EQ(host.errors, reports);
    EXPECT_EQ(host.left_over(), 0u);
    EXPECT_EQ(host.times_returned(), 1);
    tried++;
  }
  munmap(pages, 2 * page);
  EXPECT_EQ(tried, 96);
}

// ---- Pixels -------------------------------------------------------------------------------------

TEST_F(MapFunctions, PixelsAndComponents) {
  for (int32_t depth : {8, 16, 32}) {
    set_depth(depth);
    for (int round = 0; round < 3; round++) {
      put(0, 1000, noise(9, 7));
      __ORBSurface2D__ &graph = *slot(1000).surface;
      EXPECT_EQ(host.call(ORB_map_get_buffer, 0, 1000), std::bit_cast<int32_t>(graph.pixels));
      for (int32_t i = 0; i < 63; i++) {
        const int32_t x = i % 9, y = i / 9;
        const uint32_t p = pixel(graph, uint32_t(x), uint32_t(y));
        ASSERT_EQ(uint32_t(host.call(ORB_map_get_pixel, 0, 1000, x, y)), p);
        int32_t rgba[4] = {-1, -1, -1, -1};
        ASSERT_EQ(host.call(ORB_map_get_rgb, 0, 1000, x, y, rgba, rgba + 1, rgba + 2), 1);
        EXPECT_EQ(rgba[3], -1);
        const orb_rgb entry = depth == 8 ? palette->colours[p] : orb_rgb{};
        const std::vector<int32_t> expected =
            depth == 8    ? std::vector<int32_t>{entry.r, entry.g, entry.b, 255}
            : depth == 16 ? std::vector<int32_t>{int32_t(p >> 11 << 3), int32_t(p >> 5 & 63) << 2,
                                                 int32_t(p & 31) << 3, 255}
                          : std::vector<int32_t>{int32_t(p >> 16 & 255), int32_t(p >> 8 & 255),
                                                 int32_t(p & 255),
                                                 graph.alpha_channel ? int32_t(p >> 24) : 255};
        EXPECT_TRUE(std::equal(rgba, rgba + 3, expected.begin()));
        ASSERT_EQ(host.call(ORB_map_get_rgba, 0, 1000, x, y, nullptr, rgba + 1, rgba + 2, rgba + 3),
                  1);
        EXPECT_TRUE(std::equal(rgba, rgba + 4, expected.begin()));
      }
    }
  }
}

TEST_F(MapFunctions, ClearsAndReplacesColours) {
  for (int32_t depth : {8, 16, 32}) {
    set_depth(depth);
    put(0, 1000, noise(13, 11));
    __ORBSurface2D__ &graph = *slot(1000).surface;
    for (int32_t i = 0; i < 40; i++)
      draw_pixel(&graph, i % 13, i / 13, uint32_t(i % 3), 0);
    std::vector<uint32_t> expected = pixels(graph);
    for (uint32_t &p : expected)
      if (p == 2) p = 0xF1;
    ASSERT_EQ(host.call(ORB_map_set_color, 0, 1000, 2, 0xF1), 1);
    EXPECT_EQ(pixels(graph), expected);

    ASSERT_EQ(host.call(ORB_map_clear, 0, 1000, 0x7A, 1), 1);
    for (uint32_t &p : expected)
      p = depth == 32 ? (p & 0xFF000000) | 0x7A : 0x7A;
    EXPECT_EQ(pixels(graph), expected);
    ASSERT_EQ(host.call(ORB_map_clear, 0, 1000, 0x11), 1);
    EXPECT_EQ(pixels(graph), std::vector<uint32_t>(143, 0x11));
  }
  set_depth(8);
  put(0, 1000, noise(20, 20));
  const std::vector<uint32_t> before = pixels(*slot(1000).surface);
  int32_t table[256];
  for (int32_t i = 0; i < 256; i++)
    table[i] = (i * 7 + 3) | 0x100;
  ASSERT_EQ(host.call(ORB_map_convert_palette, 0, 1000, std::bit_cast<int32_t>(&table[0])), 1);
  for (uint32_t i = 0; i < 400; i++)
    ASSERT_EQ(pixel(*slot(1000).surface, i % 20, i / 20), (before[i] * 7 + 3) % 256);
}

// ---- Control points -----------------------------------------------------------------------------

TEST_F(MapFunctions, ControlPointsKeepWhatTheyAreTold) {
  struct place {
    int32_t x, y;
  };
  put(0, 1000, ORBGI2D_CreateGFXSurface(10, 7, 32, 1));
  const __ORBSurface2D__ &graph = *slot(1000).surface;
  std::map<int32_t, place> defined;
  int32_t highest = 0;
  for (int round = 0; round < 6000; round++) {
    const int32_t point = random() % 20 ? between(-1, 12) : between(0, 60);
    const place at{between(-40, 40), between(-40, 40)};
    const bool there = defined.contains(point), record = point >= 0 && point <= highest;
    switch (random() % 5) {
    case 0:
      ASSERT_EQ(host.call(ORB_map_new_cpoint, 0, 1000, point, at.x, at.y), point < 0 ? failure
                                                                           : there   ? 0
                                                                                     : 1);
      if (point >= 0 && !there) defined[point] = at;
      highest = std::max(highest, point);
      break;
    case 1:
      ASSERT_EQ(host.call(ORB_map_set_cpoint, 0, 1000, point, at.x, at.y), record ? 1 : failure);
      if (record) defined[point] = at;
      break;
    case 2:
      ASSERT_EQ(host.call(ORB_map_delete_cpoint, 0, 1000, point),
                there && point != 0 ? 1 : failure);
      if (point != 0) defined.erase(point);
      break;
    case 3: ASSERT_EQ(host.call(ORB_map_cpoint_exists, 0, 1000, point), there); break;
    default: {
      int32_t x = 99, y = 99;
      const int32_t result = host.call(ORB_map_get_cpoint, 0, 1000, point, &x, &y);
      ASSERT_EQ(result, there || point == 0 ? 1 : failure);
      const place expected = there ? defined[point] : point == 0 ? place{5, 3} : place{99, 99};
      ASSERT_EQ(x, expected.x);
      ASSERT_EQ(y, expected.y);
    }
    }
    ASSERT_EQ(graph.has_cpoints, defined.size());
    ASSERT_EQ(graph.cpoint_last, uint32_t(highest));
  }
  // Undefined points must read as such from a file, which stores only the coordinates.
  for (int32_t point = 1; point <= highest; point++)
    EXPECT_EQ(graph.cpoints[3 * point] == 65535, !defined.contains(point));

  // At most a thousand, with or without holes.
  put(0, 1000, ORBGI2D_CreateGFXSurface(3, 3, 32, 1));
  EXPECT_EQ(host.call(ORB_map_new_cpoint, 0, 1000, 4094, 1, 1), 1);
  for (int32_t point = 0; point < 999; point++)
    ASSERT_EQ(host.call(ORB_map_new_cpoint, 0, 1000, point, 1, 1), 1);
  EXPECT_EQ(host.call(ORB_map_new_cpoint, 0, 1000, 999, 1, 1), -1);
  EXPECT_EQ(host.call(ORB_map_new_cpoint, 0, 1000, 998, 1, 1), 0);
  EXPECT_EQ(host.call(ORB_map_new_cpoint, 0, 1000, 5000, 1, 1), failure);
}

TEST_F(MapFunctions, TheCentreIsControlPointZero) {
  put(0, 1000, ORBGI2D_CreateGFXSurface(10, 7, 32, 1));
  __ORBSurface2D__ &graph = *slot(1000).surface;
  const auto centre = [this] {
    return std::pair(host.call(ORB_map_get_xcenter, 0, 1000),
                     host.call(ORB_map_get_ycenter, 0, 1000));
  };
  EXPECT_EQ(centre(), std::pair(5, 3));
  ASSERT_EQ(host.call(ORB_map_set_center, 0, 1000, -12, 70000), 1);
  EXPECT_EQ(centre(), std::pair(-12, 70000));
  EXPECT_EQ(host.call(ORB_map_cpoint_exists, 0, 1000, 0), 1);
  EXPECT_EQ(graph.has_cpoints, 1u);
  ASSERT_EQ(host.call(ORB_map_set_center, 0, 1000, 1, 2), 1);
  EXPECT_EQ(graph.has_cpoints, 1u);
  graph.cpoints[1] = 65535; // as it may be in a file
  EXPECT_EQ(centre(), std::pair(1, 3));
}

} // namespace
