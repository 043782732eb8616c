// Which argument of a script function goes where: every form of every function that draws, with
// random arguments, against the blit request that it stands for. The same for the locals of
// processes.
#include <algorithm>
#include <array>
#include <cstddef>
#include <sstream>
#include <tuple>
#include <utility>

#include <gtest/gtest.h>

#include "blit/blit.h"
#include "blit/blit_list.h"
#include "script/blit_arguments.h"
#include "support/random.h"
#include "support/world.h"
#include "surface/registry.h"
#include "surface/screen.h"

namespace {

// ---- What is known of a request -----------------------------------------------------------------

/// A field of a request with its plain value, and the values that make a difference.
struct request_field {
  const char *name;
  size_t offset;
  int32_t plain, low, high;
};
#define F(name) #name, offsetof(__ORBBlit2D__, name)
// clang-format off
constexpr request_field fields[] = {
    {F(x), 0, -10, 70}, {F(y), 0, -10, 55}, {F(z), 0, -5, 5}, {F(resolution), 0, -2, 3},
    {F(angle), 0, -800000, 800000}, {F(size), 100, 0, 300}, {F(size_x), 100, 0, 300},
    {F(size_y), 100, 0, 300}, {F(shear_x), 0, -90, 90}, {F(shear_y), 0, -90, 90},
    {F(tfmorder), 0, -1, 6}, {F(flags), 0, 0, 15}, {F(region), 0, 3, 3}, {F(alpha), 255, -9, 300},
    {F(fxmode), 0, 1, 16}, {F(fxcolor), 0, INT32_MIN, INT32_MAX}, {F(fxintensity), 0, -10, 300},
    {F(block_x), 0, -3, 12}, {F(block_y), 0, -3, 8}, {F(block_w), 0, -1, 14},
    {F(block_h), 0, -1, 14}};
// clang-format on

int32_t &word_of(__ORBBlit2D__ &request, const request_field &field) {
  return *reinterpret_cast<int32_t *>(reinterpret_cast<char *>(&request) + field.offset);
}
__ORBBlit2D__ plain_request(__ORBSurface2D__ *src, __ORBSurface2D__ *dst) {
  __ORBBlit2D__ request{};
  for (const request_field &field : fields)
    word_of(request, field) = field.plain;
  request.src = src;
  request.dst = dst;
  return request;
}

using entry = orb_blit_operation *orb_device2d::*;
constexpr entry by_transform = nullptr, block = &orb_device2d::ORBGI2D_BlitBlock,
                tile = &orb_device2d::ORBGI2D_BlitTile, blit = &orb_device2d::ORBGI2D_Blit,
                scale = &orb_device2d::ORBGI2D_BlitScale, turn = &orb_device2d::ORBGI2D_BlitRotate,
                turn_scale = &orb_device2d::ORBGI2D_BlitRotScale,
                shear = &orb_device2d::ORBGI2D_BlitScaleShear,
                turn_shear = &orb_device2d::ORBGI2D_BlitRotScaleShear;
constexpr std::array operations = {block, tile, blit, scale, turn, turn_scale, shear, turn_shear};

entry operation_for(const __ORBBlit2D__ &r) {
  const bool scaled = r.size != 100 || r.size_x != 100 || r.size_y != 100;
  if (r.shear_x || r.shear_y) return r.angle ? turn_shear : shear;
  return r.angle ? (scaled ? turn_scale : turn) : scaled ? scale : blit;
}

/// The last request that an entry of the device record got, its result, and how many there were.
struct {
  int count;
  entry operation;
  __ORBBlit2D__ request;
  int32_t result;
} seen;

template <size_t i> int32_t recorded(__ORBBlit2D__ *request) {
  seen = {seen.count + 1, operations[i], *request, request->x & 1};
  return seen.result;
}

// ---- A world with pictures ----------------------------------------------------------------------

struct drawing_world : world {
  random_source random{base_seed()};
  int32_t onto[2], from[2]; // graphs to draw on, and to draw, of the libraries 0 and 1

  drawing_world() {
    set_mode(32);
    host.call("region_define", {3, 5, 6, 40, 30});
    host.call("fpg_new");
    host.call("fpg_new");
    for (int32_t library : {1, 0}) {
      onto[library] = host.call("map_new", {30 + library, 40});
      from[library] = host.call("map_new", {13 - library * 6, 9 + library * 2});
    }
    host.call("fpg_add_map", {1, 5, 0, std::exchange(onto[1], 5)});
    host.call("fpg_add_map", {1, 6, 0, std::exchange(from[1], 6)});
    watch(std::make_index_sequence<operations.size()>());
  }
  template <size_t... i> void watch(std::index_sequence<i...>) {
    ((host.device()->*operations[i] = recorded<i>), ...);
  }
  /// A value for a field: its plain one, one that makes a difference, or an extreme.
  int32_t value_for(const request_field &field) {
    if (random.one_in(2)) return field.plain;
    if (random.one_in(32) && field.low != field.high)
      return random.any_of({INT32_MIN, INT32_MIN + 1, -65536, 65535, INT32_MAX});
    const bool deep = field.name == std::string("fxmode") && random.one_in(2);
    return random.between(field.low, field.high) + (deep ? 1000 : 0);
  }
};

__ORBSurface2D__ *surface(int32_t library, int32_t graph) {
  return GetMAP(library, graph)->surface;
}

/// Completes a request whose fields are as given. `draw` must hand it to one operation of the
/// device record, once, and give its result; a null `operation` is the one that the transform calls
/// for.
template <typename Draw> void expect_request(__ORBBlit2D__ wanted, entry operation, Draw draw) {
  wanted.angle %= 360000;
  if (wanted.resolution > 0) {
    wanted.x /= wanted.resolution;
    wanted.y /= wanted.resolution;
  }
  if (operation == by_transform) operation = operation_for(wanted);
  seen = {};
  const int32_t result = draw();
  EXPECT_EQ(result, seen.result);
  EXPECT_EQ(seen.count, 1);
  EXPECT_TRUE(seen.operation == operation) << "another operation";
  for (const auto &field : fields)
    EXPECT_EQ(word_of(seen.request, field), word_of(wanted, field)) << field.name;
  EXPECT_EQ(seen.request.owner, wanted.owner);
  EXPECT_TRUE(seen.request.src == wanted.src && seen.request.dst == wanted.dst);
}

// ---- Functions that put graphs ------------------------------------------------------------------

/// A function's arguments in order: `to` and `from` are library and graph; with `from?` the library
/// may be left out, and is then that of `to`; every other word is a field of the request. A form
/// ends at each bar. What follows a = isn't an argument: the field has the size of the source, or
/// stays as the last request of this kind left it.
struct function_row {
  const char *name, *arguments;
  entry operation;
};
#define TRANSFORM " angle size_x size_y shear_x shear_y tfmorder flags "
#define BLOCK     " block_x block_y block_w block_h "
#define MAP_TAIL  " | flags alpha fxmode | fxcolor fxintensity"
#define TAIL      " | flags region | alpha fxmode | fxcolor fxintensity"
constexpr function_row functions[] = {
    {"map_put", "to from? x y fxcolor=last fxintensity=last", blit},
    {"map_xput", "to from? x y angle size flags fxcolor=last fxintensity=last", by_transform},
    {"map_xxput", "to from? x y" TRANSFORM "alpha fxmode | fxcolor fxintensity", by_transform},
    {"map_block_copy", "to x y from?" BLOCK MAP_TAIL, block},
    {"map_put_tile", "to from? x y" MAP_TAIL, tile},
    {"map_apply_fx", "to from? block_w=width block_h=height alpha fxmode | fxcolor fxintensity",
     block},
    {"ground_put", "from x y", blit},
    {"ground_xput", "from x y angle size flags region", by_transform},
    {"ground_xxput", "from x y" TRANSFORM "region alpha fxmode | fxcolor fxintensity",
     by_transform},
    {"ground_put_block", "from x y" BLOCK TAIL, block},
    {"ground_put_tile", "from x y" TAIL, tile},
    {"screen_draw_graphic",
     "from x y z resolution | angle size flags | region alpha fxmode | fxcolor fxintensity",
     by_transform},
    {"screen_draw_graphic",
     "from x y z resolution" TRANSFORM "region alpha fxmode | fxcolor fxintensity", by_transform},
    {"screen_draw_block", "from x y z" BLOCK TAIL, block},
    {"screen_draw_tile", "from x y z" TAIL, tile},
};

/// Calls one of a function's forms.
void try_function(drawing_world &w, const function_row &function) {
  const bool on_screen = std::string(function.name).starts_with("screen");
  __ORBBlit2D__ wanted = plain_request(nullptr, on_screen ? screen : ground);
  std::vector<orbhost::Argument> arguments;
  std::string call = function.name;
  const auto add = [&](int32_t value) {
    arguments.emplace_back(value);
    call += " " + std::to_string(value);
    return value;
  };
  int32_t library = w.random.below(2);
  std::istringstream words(function.arguments);
  for (std::string word; words >> word;) {
    if (word == "|") {
      if (w.random.one_in(3)) break;
    } else if (word == "to") {
      wanted.region = -1;
      wanted.dst = surface(add(library), add(w.onto[library]));
    } else if (word.starts_with("from")) {
      if (word == "from" || w.random.one_in(2)) add(library = w.random.below(2));
      wanted.src = surface(library, add((w.random.one_in(8) ? w.onto : w.from)[library]));
    } else {
      const size_t end = word.find('=');
      const auto &field =
          *std::find_if(std::begin(fields), std::end(fields),
                        [&](const auto &each) { return word.substr(0, end) == each.name; });
      word_of(wanted, field) = end == word.npos ? add(w.value_for(field))
                               : word.ends_with("=last")
                                   ? word_of(bltGraphics2D, field) = w.value_for(field)
                               : word.ends_with("width") ? int32_t(wanted.src->width)
                                                         : int32_t(wanted.src->height);
    }
  }
  SCOPED_TRACE(call);
  expect_request(wanted, function.operation, [&] {
    const int32_t result = w.host.call(function.name, arguments);
    if (!on_screen) return result;
    EXPECT_EQ(result, 1);
    w.host.frame();
    return seen.result;
  });
  EXPECT_EQ(w.reports(), "");
}

struct RequestForms : testing::TestWithParam<function_row> {};
TEST_P(RequestForms, FillTheirRequest) {
  drawing_world w;
  for (int round = 0; round < 500 && !HasFailure(); ++round)
    try_function(w, GetParam());
}
INSTANTIATE_TEST_SUITE_P(, RequestForms, testing::ValuesIn(functions), [](const auto &info) {
  return std::string(info.param.name) + "_" + std::to_string(info.index);
});

TEST(RequestFormsOf, Processes) {
  drawing_world w;
  for (int round = 0; round < 1000 && !HasFailure(); ++round) {
    SCOPED_TRACE(round);
    orb_process *const process = w.host.spawn();
    orb_locals &locals = *process->locals;
    const int32_t library = w.random.below(2), target = w.random.between(-4, 1);
    locals.file = library;
    locals.graph = w.from[library];
    // A process of a library can't draw on the run-time graphs of library 0.
    if (target == 1 || (target == 0 && library == 0)) {
      locals.destination_file = target;
      locals.destination_graph = w.onto[target];
    }
    __ORBBlit2D__ wanted = plain_request(surface(library, locals.graph), screen);
    for (const request_field &field : fields)
      if (const orbhost::Declaration *local = w.host.locals().find(field.name))
        word_of(wanted, field) = reinterpret_cast<int32_t *>(&locals)[local->word] =
            w.value_for(field);
    wanted.owner = process;
    if (locals.destination_graph)
      wanted.dst = surface(locals.destination_file, locals.destination_graph);
    expect_request(wanted, by_transform, [&] {
      w.host.frame();
      return seen.result;
    });
    EXPECT_EQ(seen.request.destination_file, locals.destination_file);
    EXPECT_EQ(seen.request.destination_graph, locals.destination_graph);
    w.host.kill(process);
  }
}

TEST(RequestFormsOf, DirectionGraphsUpToTheirLimit) {
  drawing_world w;
  orb_locals &locals = *w.host.spawn()->locals;
  std::array<int32_t, 257> directions;
  directions.fill(w.from[0]);
  locals.xgraph = directions.data();
  for (const int32_t count : {1, 256, 0, 257, -1, INT32_MIN}) {
    directions[0] = count;
    seen = {};
    w.host.frame();
    EXPECT_EQ(seen.count, count == 1 || count == 256) << count;
  }
  locals.xgraph = nullptr;
}

TEST(RequestFormsOf, WorldsWithoutAScreen) {
  world w;
  w.set_mode(32);
  const int32_t graph = w.host.call("map_new", {4, 4});
  w.host.spawn()->locals->graph = graph;
  const std::pair former(std::exchange(ground, nullptr), std::exchange(screen, nullptr));
  EXPECT_EQ(w.host.call("ground_put", {0, graph, 5, 5}), 0);
  EXPECT_EQ(w.host.call("ground_put_screen", {0, graph}), 0);
  EXPECT_EQ(w.host.call("ground_get", {0, graph}), orbhost::failure_value);
  EXPECT_EQ(w.host.call("ground_copy", {0, 0, graph, 0, 0, 4, 4}), orbhost::failure_value);
  EXPECT_EQ(w.host.call("screen_get_pixel", {0, 0}), 0);
  EXPECT_EQ(w.host.call("screen_draw_graphic", {0, graph, 5, 5, 0, 0}), 1);
  w.host.frame();
  EXPECT_EQ(GetNumsBlitOnList(), 0);
  std::tie(ground, screen) = former;
}

/// A list that can't grow ends the scan of the processes, and that of the draw objects.
TEST(RequestFormsOf, FullLists) {
  drawing_world w;
  static int asked;
  asked = 0;
  w.host.device()->GetAndUpdateBlitList = []() -> __ORBBlit2D__ * { return ++asked, nullptr; };
  for (int i = 0; i < 2; ++i) {
    w.host.spawn()->locals->graph = w.from[0];
    w.host.call("draw_new", {3, 0, 255, 0, 0, 0, 1, 1});
    EXPECT_EQ(w.host.call("screen_draw_tile", {0, w.from[0], 5, 5, 0}), orbhost::failure_value);
  }
  w.host.frame();
  EXPECT_EQ(asked, 4);
}

} // namespace
