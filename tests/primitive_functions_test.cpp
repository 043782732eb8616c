// The script functions that draw shapes on graphs and on the ground: their checks, and that each
// passes its arguments to its rasteriser.
#include <algorithm>
#include <cstring>
#include <sstream>

#include <gtest/gtest.h>

#include "graphics_fixture.h"
#include "raster_shapes.h"
#include "script/handlers.h"
#include "surface/fill.h"

namespace {

using raster_shapes::arguments, raster_shapes::shape_named;

struct Primitives : graphics_test {};

struct primitive {
  const char *name;
  int32_t (*map)(), (*ground)();
};
constexpr primitive primitives[] = {
    {"line", ORB_map_put_line, ORB_ground_put_line},
    {"rect", ORB_map_put_rect, ORB_ground_put_rect},
    {"srect", ORB_map_put_srect, ORB_ground_put_srect},
    {"csrect", ORB_map_put_csrect, ORB_ground_put_csrect},
    {"circle", ORB_map_put_circle, ORB_ground_put_circle},
    {"ellipse", ORB_map_put_ellipse, ORB_ground_put_ellipse},
    {"csellipse", ORB_map_put_csellipse, ORB_ground_put_csellipse},
};

// Depth, call -> "ok", "silent" or the report: error, function, position, value. G is a graph of
// library 0, L a free code. Rows with two mistakes show the order of the checks.
constexpr const char *primitive_rows = R"(
32: map line 0 G 1 2 3 4 4294967295 -> ok
32: map line -1 G 1 2 3 4 5 -> 109 MAP_PUT_LINE 1 -1
32: map rect 99999 G 1 2 3 4 5 1 -> 109 MAP_PUT_RECT 1 99999
32: map srect 0 0 1 2 3 4 5 1 -> 110 MAP_PUT_SRECT 2 0
32: map csrect 0 99999 1 2 3 4 5 1 -> 110 MAP_PUT_CSRECT 2 99999
32: map circle 1 5 1 2 3 4 1 -> 111 MAP_PUT_CIRCLE 1 1
32: map ellipse 0 L 1 2 3 4 5 1 -> 121 MAP_PUT_ELLIPSE 2 L
8: map csellipse 0 L 1 2 3 4 256 1 -> 121 MAP_PUT_CSELLIPSE 2 L
8: map line 0 G 1 2 3 4 256 -> 154 MAP_PUT_LINE 7 256
8: map rect 0 G 1 2 3 4 256 0 -> 154 MAP_PUT_RECT 7 256
8: map circle 0 G 1 2 3 256 0 -> 154 MAP_PUT_CIRCLE 6 256
8: map csellipse 0 G 1 2 3 4 -1 0 -> 154 MAP_PUT_CSELLIPSE 7 -1
8: map ellipse 0 G 1 2 3 4 255 0 -> ok
16: map line 0 G 1 2 3 4 65536 -> silent
16: map circle 0 G 1 2 3 65535 1 -> ok
8: ground line 1 2 3 4 256 -> 154 GROUND_PUT_LINE 5 256
8: ground rect 1 2 3 4 256 1 -> 154 GROUND_PUT_RECT 5 256
8: ground srect 1 2 3 4 256 1 -> 154 GROUND_PUT_SRECT 5 256
8: ground csrect 1 2 3 4 256 1 -> 154 GROUND_PUT_CSRECT 5 256
8: ground circle 1 2 3 256 1 -> 154 GROUND_PUT_CIRCLE 4 256
8: ground ellipse 1 2 3 4 256 1 -> 154 GROUND_PUT_ELLIPSE 5 256
8: ground csellipse 1 2 3 4 256 1 -> 154 GROUND_PUT_CSELLIPSE 5 256
16: ground rect 1 2 3 4 70000 1 -> silent
32: ground circle 1 2 3 4294967295 1 -> ok
)";

TEST_F(Primitives, CheckTheirArguments) {
  std::istringstream rows(primitive_rows);
  int tried = 0;
  for (std::string line; std::getline(rows, line);) {
    if (line.empty()) continue;
    SCOPED_TRACE(line);
    std::istringstream row(line);
    int32_t depth;
    std::string word, kind, name;
    row >> depth >> word >> kind >> name;
    set_depth(depth);
    host.errors.clear();
    const int32_t graph = host.call(ORB_map_new, 20, 20);
    const auto number = [&](const std::string &text) {
      return text == "G" ? graph : text == "L" ? graph + 1 : int32_t(std::stoll(text));
    };
    std::vector<int32_t> given;
    while (row >> word && word != "->")
      given.push_back(number(word));
    const auto *const what = std::find_if(std::begin(primitives), std::end(primitives),
                                          [&](const primitive &p) { return p.name == name; });
    ground_puting = 0;
    const int32_t result = host.call(kind == "map" ? what->map : what->ground, given);
    std::string outcome;
    row >> outcome;
    std::vector<fake_error> reports;
    if (outcome != "ok" && outcome != "silent") {
      fake_error error{std::stoi(outcome), "", ORB_VALUE_INT, 0, 0, ""};
      row >> error.function >> error.position >> word;
      error.value = number(word);
      reports.push_back(error);
    }
    EXPECT_EQ(host.errors == reports, true);
    EXPECT_EQ(result, outcome == "ok" ? 1 : INT32_MIN);
    EXPECT_EQ(host.left_over(), 0u);
    EXPECT_EQ(host.times_returned(), 1);
    // A failed check draws nothing, and drawing on a graph does not mark the ground.
    EXPECT_EQ(ground_puting, outcome == "ok" && kind == "ground" ? 1 : 0);
    host.call(ORB_map_unload, graph);
    ++tried;
  }
  EXPECT_EQ(tried, 24);
}

TEST_F(Primitives, HandTheirArgumentsToTheirRasteriser) {
  for (const int depth : {8, 16, 32}) {
    set_depth(depth);
    for (const primitive &p : primitives) {
      SCOPED_TRACE(p.name);
      const int32_t graph = host.call(ORB_map_new, screen_width, screen_height);
      ORBGI2D_BlitFill(ground, 0, 0);
      __ORBSurface2D__ *const expected =
          ORBGI2D_CreateGFXSurface(screen_width, screen_height, depth, 1);
      const arguments a = {21, 17, 9, 11};
      const bool line = p.name == std::string("line"), circle = p.name == std::string("circle");
      for (const int fill : {0, 1}) {
        const uint32_t colour = 7 + uint32_t(fill);
        std::vector<int32_t> given(a.begin(), a.begin() + (circle ? 3 : 4));
        given.push_back(int32_t(colour));
        if (!line) given.push_back(fill);
        shape_named(p.name).draw(expected, a, colour, fill);
        EXPECT_EQ(host.call(p.ground, given), 1);
        given.insert(given.begin(), {0, graph});
        EXPECT_EQ(host.call(p.map, given), 1);
        for (const __ORBSurface2D__ *drawn : {ground, slot(graph).surface})
          EXPECT_EQ(memcmp(drawn->pixels, expected->pixels, expected->byte_size), 0);
      }
      ORBGI2D_DeleteGFXSurface(expected);
      host.call(ORB_map_unload, graph);
    }
  }
}

} // namespace
