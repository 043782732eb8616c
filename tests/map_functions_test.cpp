// The script functions on single graphs: arguments, pixels, control points and blits.
#include <cmath>
#include <map>
#include <numbers>
#include <random>
#include <sstream>

#include <gtest/gtest.h>

#include "blit/blit.h"
#include "blit/geometry.h"
#include "graphics_fixture.h"
#include "script/handlers.h"

namespace {

constexpr int32_t failure = INT32_MIN;

struct MapFunctions : graphics_test {
  std::mt19937 random{71};

  MapFunctions() {
    fpg[1].in_use = 1;
    fpg[1].slots = static_cast<orb_map_slot *>(calloc(1000, sizeof(orb_map_slot)));
  }

  int32_t between(int32_t low, int32_t high) {
    return low + int32_t(random() % uint32_t(high - low + 1));
  }

  /// A graph of the mode's depth full of noise with many transparent pixels; its pivot anywhere.
  __ORBSurface2D__ *noise(int32_t w, int32_t h) {
    __ORBSurface2D__ *surface = ORBGI2D_CreateGFXSurface(w, h, mode.bpp, 1);
    surface->alpha_channel = mode.bpp == 32 && random() % 2;
    surface->cpoints[0] = uint32_t(between(-2, w + 2));
    surface->cpoints[1] = uint32_t(between(-2, h + 2));
    for (int32_t i = 0; i < w * h; i++)
      if (random() % 4) draw_pixel(surface, i % w, i / w, random() & colour_mask(), 0);
    return surface;
  }
  static uint32_t colour_mask() { return mode.bpp == 32 ? UINT32_MAX : (1u << mode.bpp) - 1; }

  void put(int32_t file, int32_t code, __ORBSurface2D__ *surface) {
    orb_map_slot &slot = fpg[file].slots[code];
    ORBGI2D_DeleteGFXSurface(slot.surface);
    slot.code = code;
    slot.surface = surface;
  }

  template <size_t... I>
  int32_t call_vector(int32_t (*handler)(), const std::vector<int32_t> &a,
                      std::index_sequence<I...>) {
    return host.call(handler, a[I]...);
  }
  /// A call with as many arguments as there are, 1 to 17.
  template <size_t count = 17>
  int32_t call_with(int32_t (*handler)(), const std::vector<int32_t> &a) {
    if (a.size() == count) return call_vector(handler, a, std::make_index_sequence<count>());
    if constexpr (count > 1) return call_with<count - 1>(handler, a);
    return 0;
  }

  static std::vector<uint32_t> pixels(const __ORBSurface2D__ &surface) {
    std::vector<uint32_t> all;
    for (uint32_t i = 0; i < surface.pixel_count; i++)
      all.push_back(pixel(surface, i % surface.width, i / surface.width));
    return all;
  }
};

// ---- Arguments ---------------------------------------------------------------------------------

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
// 0 has graphs 1000 and 1001, library 1 graph 5; libraries 2 and 3 aren't loaded, 4 is no number.
// "p" is a pointer, "self" and "other" are processes: the calling one, with graph 1001, and one
// without a graph. Rows with two mistakes show the order of the checks.
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
8: map_convert_palette 0 1000 null -> fail
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
  std::map<std::string, int32_t> words = {{"p", std::bit_cast<int32_t>(ints.data())},
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
    const int32_t result = call_with(handlers.at(function), arguments);
    EXPECT_EQ(result, wanted == "fail" ? failure : std::stoi(wanted));
    EXPECT_EQ(host.errors, reports);
    EXPECT_EQ(host.left_over(), 0u);
    EXPECT_EQ(host.times_returned(), 1);
    tried++;
  }
  EXPECT_EQ(tried, 92);
}

// ---- Pixels ------------------------------------------------------------------------------------

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

// ---- Control points ----------------------------------------------------------------------------

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
  // What is undefined must read as such from a file, where only the coordinates are.
  for (int32_t point = 1; point <= highest; point++)
    EXPECT_EQ(graph.cpoints[3 * point] == 65535, !defined.contains(point));

  // No more than a thousand, with holes or without.
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
  graph.cpoints[1] = 65535; // as a file may have it
  EXPECT_EQ(centre(), std::pair(1, 3));
}

/// The operation for a transform: rotated, scaled, sheared.
orb_blit_operation *operation_for(bool turned, bool scaled, bool sheared) {
  if (turned && sheared) return ORBGI2D_BlitRotScaleShear;
  if (turned) return scaled ? ORBGI2D_BlitRotScale : ORBGI2D_BlitRotate;
  if (sheared) return ORBGI2D_BlitScaleShear;
  return scaled ? ORBGI2D_BlitScale : ORBGI2D_Blit;
}

/// Whether scaling comes last. Then geometry takes the far pixel off before it is enlarged, and the
/// picture is drawn smaller than points say, by up to a pixel of the graph.
bool scaled_last(const orb_locals &l) {
  const std::string order =
      std::array{"hsr", "hrs", "shr", "srh", "rhs", "rsh"}[size_t(l.tfmorder)];
  const bool turned = l.angle % 360000 != 0, sheared = l.shear_x || l.shear_y;
  if (!turned && !sheared) return false; // not a case for that routine
  const bool turned_later = turned && order.find('r') > order.find('s');
  return !turned_later && !(sheared && order.find('h') > order.find('s'));
}

/// Where a point lands, transform by transform in the order of the letters.
std::pair<double, double> transformed(double u, double v, const orb_locals &l) {
  const char *order[] = {"hsr", "hrs", "shr", "srh", "rhs", "rsh"};
  const double turn = -l.angle * std::numbers::pi / 180000;
  const double sx = (l.size != 100 ? l.size : l.size_x) / 100.0;
  const double sy = (l.size != 100 ? l.size : l.size_y) / 100.0;
  for (const char letter : std::string(order[l.tfmorder])) {
    const double x = u, y = v;
    if (letter == 's') u = x * sx, v = y * sy;
    if (letter == 'h') u = x - l.shear_x / 100.0 * y, v = y - l.shear_y / 100.0 * x;
    if (letter == 'r') {
      u = x * std::cos(turn) - y * std::sin(turn);
      v = x * std::sin(turn) + y * std::cos(turn);
    }
  }
  return {l.flags & 1 ? -u : u, l.flags & 2 ? -v : v};
}

TEST_F(MapFunctions, RealPointsLieWhereTheFrameDrawsThem) {
  constexpr uint32_t marked = 0xFF0000;
  orb_process &process = host.spawn();
  host.current_process = &process;
  orb_locals &l = *process.locals;
  int seen = 0;
  for (int round = 0; round < 600; round++) {
    SCOPED_TRACE(round);
    // A graph of one colour with one marked pixel between control points 1 and 2.
    __ORBSurface2D__ *graph = ORBGI2D_CreateGFXSurface(9, 8, 32, 1);
    ORBGI2D_BlitFill(graph, 0x00FF00, 0);
    const int32_t px = between(0, 8), py = between(0, 7);
    draw_pixel(graph, px, py, marked, 0);
    put(0, 1000, graph);
    host.call(ORB_map_set_center, 0, 1000, between(0, 8), between(0, 7));
    host.call(ORB_map_new_cpoint, 0, 1000, 1, px, py);
    host.call(ORB_map_new_cpoint, 0, 1000, 2, px + 1, py + 1);

    l.graph = 1000;
    l.resolution = round % 3 ? 0 : 10;
    l.x = between(10, 54) * (l.resolution ? 10 : 1);
    l.y = between(10, 38) * (l.resolution ? 10 : 1);
    l.angle = random() % 3 ? between(-720000, 720000) : 0;
    l.size = round % 2 ? 100 : between(500, 900);
    l.size_x = between(500, 900);
    l.size_y = between(500, 900);
    l.shear_x = random() % 2 ? between(-60, 60) : 0;
    l.shear_y = l.shear_x && random() % 2 ? between(-20, 20) : 0;
    l.tfmorder = between(0, 5);
    l.flags = between(0, 3);
    const orb_locals before = l;

    const int32_t width = l.resolution ? 10 : 1;
    const auto expect_near = [&](int32_t got, double wanted) {
      EXPECT_LE(std::abs(got - wanted), 0.501) << got << ' ' << wanted;
    };
    int32_t x[3], y[3];
    for (int32_t point = 0; point < 3; point++) {
      ASSERT_EQ(host.call(ORB_map_get_realcpoint, point, &x[point], &y[point]), 1);
      const auto [u, v] =
          transformed(int32_t(graph->cpoints[3 * point] - graph->cpoints[0]),
                      int32_t(graph->cpoints[3 * point + 1] - graph->cpoints[1]), l);
      expect_near(x[point], l.x / width + u);
      expect_near(y[point], l.y / width + v);
    }
    EXPECT_EQ(memcmp(&before, &l, sizeof l), 0);

    // The marked pixel, now some pixels wide, is drawn between them.
    ORBGI2D_BlitFill(ground, 0, 0);
    __ORBBlit2D__ request{};
    request.src = graph;
    request.dst = ground;
    request.region = 0;
    request.x = l.x / width;
    request.y = l.y / width;
    request.angle = l.angle % 360000;
    request.size = l.size;
    request.size_x = l.size_x;
    request.size_y = l.size_y;
    request.shear_x = l.shear_x;
    request.shear_y = l.shear_y;
    request.tfmorder = l.tfmorder;
    request.flags = l.flags;
    request.alpha = 255;
    operation_for(request.angle != 0, true, l.shear_x || l.shear_y)(&request);
    const int32_t mx = (x[1] + x[2]) / 2, my = (y[1] + y[2]) / 2;
    if (mx < 0 || mx >= screen_width || my < 0 || my >= screen_height || scaled_last(l)) continue;
    EXPECT_EQ(pixel(*ground, uint32_t(mx), uint32_t(my)), marked);
    seen++;
  }
  EXPECT_GT(seen, 150);
}

TEST_F(MapFunctions, RealPointsFollowDirectionGraphs) {
  put(0, 1000, ORBGI2D_CreateGFXSurface(4, 4, 32, 1));
  put(0, 1001, ORBGI2D_CreateGFXSurface(8, 6, 32, 1));
  host.call(ORB_map_new_cpoint, 0, 1001, 1, 7, 1);
  orb_process &process = host.spawn();
  int32_t directions[] = {4, 1000, -1001, 1000, 1000};
  process.locals->xgraph = directions;
  process.locals->angle = 90000;
  process.locals->x = 100;
  const orb_locals before = *process.locals;
  int32_t x = 0, y = 0;
  ASSERT_EQ(host.call(ORB_map_get_realcpoint, std::bit_cast<int32_t>(&process), 1, &x, &y), 1);
  EXPECT_EQ(x, 100 - (7 - 4)); // mirrored, but not turned
  EXPECT_EQ(y, 1 - 3);
  EXPECT_EQ(memcmp(&before, process.locals, sizeof before), 0);
}

// ---- Blits -------------------------------------------------------------------------------------

enum function_under_test { put_, xput_, xxput_, block_, tile_, apply_fx_ };

// Every form of every function against the request that it stands for.
TEST_F(MapFunctions, BlitsAreTheRequestsTheyStandFor) {
  int drawn = 0;
  for (int32_t round = 0; round < 3000; round++) {
    SCOPED_TRACE(round);
    if (round % 1000 == 0) set_depth(round / 1000 == 0 ? 8 : round / 1000 == 1 ? 16 : 32);
    const bool own_library = random() % 2, same = random() % 8 == 0 && !own_library;
    put(0, 1000, noise(between(10, 40), between(10, 40)));
    put(0, 1001, noise(between(1, 20), between(1, 20)));
    put(1, 5, noise(between(1, 20), between(1, 20)));
    __ORBSurface2D__ *onto = slot(1000).surface;
    __ORBSurface2D__ *from =
        own_library ? fpg[1].slots[5].surface : slot(same ? 1000 : 1001).surface;

    __ORBBlit2D__ r{};
    r.region = -1;
    r.alpha = 255;
    r.size = r.size_x = r.size_y = 100;
    r.x = between(-10, 30);
    r.y = between(-10, 30);
    const auto function = function_under_test(random() % 6);
    const int32_t tail = int32_t(random() % 3);
    std::vector<int32_t> a = {0, 1000};
    if (function == block_) a.insert(a.end(), {r.x, r.y});
    if (own_library) a.push_back(1);
    a.push_back(own_library ? 5 : same ? 1000 : 1001);
    if (function != block_ && function != apply_fx_) a.insert(a.end(), {r.x, r.y});

    const auto flags = [&] {
      r.flags = function == tile_ ? int32_t(random() % 2) * 8 : int32_t(random() % 12);
      a.push_back(r.flags);
    };
    const auto effect = [&](bool with_parameters) {
      r.alpha = between(0, 255);
      r.fxmode = random() % 2 ? 0 : mode.bpp == 8 ? between(1, 12) : between(1000, 1016);
      a.insert(a.end(), {r.alpha, r.fxmode});
      if (!with_parameters) return;
      r.fxcolor = random() & colour_mask();
      r.fxintensity = between(0, 255);
      a.insert(a.end(), {int32_t(r.fxcolor), r.fxintensity});
    };
    const auto sizes = [&] { return random() % 3 ? between(20, 300) : 100; };
    // What map_put and map_xput leave as they were must not matter.
    bltGraphics2D.fxcolor = 0x1234;
    bltGraphics2D.fxintensity = 77;
    int32_t (*handler)() = nullptr;
    orb_blit_operation *operation = ORBGI2D_Blit;
    switch (function) {
    case put_: handler = ORB_map_put; break;
    case xput_:
      handler = ORB_map_xput;
      r.angle = random() % 3 ? between(-800000, 800000) : between(-1, 1) * 360000;
      r.size = sizes();
      a.insert(a.end(), {r.angle, r.size});
      flags();
      operation = operation_for(r.angle % 360000 != 0, r.size != 100, false);
      break;
    case xxput_:
      handler = ORB_map_xxput;
      r.angle = random() % 3 ? between(-800000, 800000) : 0;
      r.size_x = sizes();
      r.size_y = sizes();
      r.shear_x = random() % 2 ? between(-90, 90) : 0;
      r.shear_y = random() % 4 ? 0 : between(-90, 90);
      r.tfmorder = between(-1, 6);
      a.insert(a.end(), {r.angle, r.size_x, r.size_y, r.shear_x, r.shear_y, r.tfmorder});
      flags();
      effect(tail == 2);
      operation = operation_for(r.angle % 360000 != 0, r.size_x != 100 || r.size_y != 100,
                                r.shear_x != 0 || r.shear_y != 0);
      break;
    case block_:
    case tile_:
      handler = function == block_ ? ORB_map_block_copy : ORB_map_put_tile;
      operation = function == block_ ? ORBGI2D_BlitBlock : ORBGI2D_BlitTile;
      if (function == block_) {
        r.block_x = between(-5, 20);
        r.block_y = between(-5, 20);
        r.block_w = between(0, 25);
        r.block_h = between(0, 25);
        a.insert(a.end(), {r.block_x, r.block_y, r.block_w, r.block_h});
      }
      if (tail > 0) {
        flags();
        effect(tail == 2);
      }
      break;
    case apply_fx_:
      handler = ORB_map_apply_fx;
      effect(tail == 2);
      r.x = r.y = 0;
      r.block_w = int32_t(from->width);
      r.block_h = int32_t(from->height);
      operation = ORBGI2D_BlitBlock;
    }
    r.angle %= 360000;

    __ORBSurface2D__ *expected =
        ORBGI2D_CreateGFXSurface(int32_t(onto->width), int32_t(onto->height), mode.bpp, 0);
    expected->alpha_channel = onto->alpha_channel;
    memcpy(expected->cpoints, onto->cpoints, 12);
    memcpy(expected->pixels, onto->pixels, onto->byte_size);
    r.src = same ? expected : from;
    r.dst = expected;
    const int32_t wanted = operation(&r);
    ASSERT_EQ(call_with(handler, a), wanted);
    ASSERT_EQ(pixels(*onto), pixels(*expected));
    ASSERT_TRUE(host.errors.empty());
    ASSERT_EQ(host.left_over(), 0u);
    if (wanted) {
      ASSERT_EQ(bltGraphics2D.drawn_x0, r.drawn_x0);
      ASSERT_EQ(bltGraphics2D.drawn_y1, r.drawn_y1);
    }
    if (function == put_ || function == xput_) {
      ASSERT_EQ(bltGraphics2D.fxcolor, 0x1234u);
      ASSERT_EQ(bltGraphics2D.fxintensity, 77);
    }
    drawn += wanted;
    ORBGI2D_DeleteGFXSurface(expected);
  }
  EXPECT_GT(drawn, 1500);
}

// The device record's operations are called, and no other than the transform needs.
TEST_F(MapFunctions, TransformsChooseTheirOperation) {
  put(0, 1000, noise(10, 10));
  put(0, 1001, noise(5, 5));
  const auto number = []<int32_t which>() -> orb_blit_operation * {
    return [](__ORBBlit2D__ *) -> int32_t { return which; };
  };
  device2D.ORBGI2D_Blit = number.operator()<10>();
  device2D.ORBGI2D_BlitScale = number.operator()<11>();
  device2D.ORBGI2D_BlitRotate = number.operator()<12>();
  device2D.ORBGI2D_BlitRotScale = number.operator()<13>();
  device2D.ORBGI2D_BlitScaleShear = number.operator()<14>();
  device2D.ORBGI2D_BlitRotScaleShear = number.operator()<15>();
  const struct {
    int32_t angle, size, expected;
  } plain[] = {{0, 100, 10},      {360000, 100, 10}, {-720000, 100, 10}, {0, 99, 11},
               {360000, 101, 11}, {1, 100, 12},      {-359999, 100, 12}, {5, 50, 13}};
  for (const auto &[angle, size, expected] : plain)
    EXPECT_EQ(host.call(ORB_map_xput, 0, 1000, 1001, 1, 1, angle, size, 0), expected);
  const struct {
    int32_t angle, size_x, size_y, shear_x, shear_y, expected;
  } all[] = {{0, 100, 100, 0, 0, 10},      {360000, 100, 100, 0, 0, 10}, {0, 100, 99, 0, 0, 11},
             {0, 100, 100, 1, 0, 14},      {0, 100, 100, 0, -1, 14},     {0, 50, 100, 1, 0, 14},
             {90000, 100, 100, 0, 0, 12},  {90000, 101, 100, 0, 0, 13},  {1, 100, 100, 0, 1, 15},
             {-360001, 200, 100, 3, 0, 15}};
  for (const auto &c : all)
    EXPECT_EQ(host.call(ORB_map_xxput, 0, 1000, 1001, 1, 1, c.angle, c.size_x, c.size_y, c.shear_x,
                        c.shear_y, 0, 0, 255, 0),
              c.expected);
}

} // namespace
