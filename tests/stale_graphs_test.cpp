// Graphs that are freed, or left over, while something still shows or requests them.
#include <algorithm>
#include <cstdint>
#include <span>

#include <gtest/gtest.h>

#include "host_tour.h"
#include "surface/registry.h"
#include "surface/screen.h"

namespace {

constexpr int32_t white = -1;

struct StaleGraphs : testing::Test {
  static void SetUpTestSuite() { fuzz::world_folder(); } // created by a host of its own

  null_host host;

  StaleGraphs() {
    host.init();
    set_depth(32);
  }
  ~StaleGraphs() override { EXPECT_EQ(host.fatals, std::vector<std::string>()); }

  void set_depth(int32_t depth) { host.call("mode_set", {64, 48, depth}); }

  /// A graph of 10 x 10 white pixels.
  int32_t graph() {
    const int32_t code = host.call("map_new", {10, 10, 0});
    const __ORBSurface2D__ &surface = *GetMAP(0, code)->surface;
    memset(surface.pixels, 0xFF, surface.byte_size);
    return code;
  }
  orb_process *show(int32_t library, int32_t code) {
    orb_process *const process = host.spawn();
    process->locals->file = library;
    process->locals->graph = code;
    process->locals->x = process->locals->y = 20;
    return process;
  }
  /// Draws a frame; returns the number of nonzero bytes on the screen.
  int64_t lit_after_frame() {
    host.frame();
    const __ORBSurface2D__ &screen = *host.screen();
    const std::span bytes(static_cast<const uint8_t *>(screen.pixels), screen.byte_size);
    return std::ranges::count_if(bytes, [](uint8_t byte) { return byte != 0; });
  }
};

TEST_F(StaleGraphs, UnloadedWhileShown) {
  const int32_t library = host.call("fpg_new"), code = graph();
  host.call("fpg_add_map", {library, 7, 0, code});
  show(library, 7);
  EXPECT_EQ(lit_after_frame(), 400);
  EXPECT_EQ(host.call("fpg_unload", {library}), 1);
  EXPECT_EQ(lit_after_frame(), 0);
  // The number is reused, and the process shows the new graph.
  EXPECT_EQ(host.call("fpg_new"), library);
  EXPECT_EQ(lit_after_frame(), 0);
  host.call("fpg_add_map", {library, 7, 0, code});
  EXPECT_EQ(lit_after_frame(), 400);
  show(0, code);
  host.call("fpg_unload_map", {library, 7});
  EXPECT_EQ(lit_after_frame(), 400);
  host.call("map_unload", {code});
  EXPECT_EQ(lit_after_frame(), 0);
}

TEST_F(StaleGraphs, OlderThanTheDepth) {
  constexpr int32_t depths[] = {8, 16, 32};
  for (const int32_t made : depths)
    for (const int32_t shown : depths) {
      if (made == shown) continue;
      SCOPED_TRACE(made * 100 + shown);
      set_depth(made);
      const int32_t code = graph();
      orb_process *const first = show(0, code), *const second = show(0, code);
      for (orb_process *process : {first, second})
        process->locals->angle = made * 1000;
      set_depth(shown);
      EXPECT_EQ(lit_after_frame(), 0);
      host.processes().current = first;
      EXPECT_EQ(host.call("collision", {orbhost::ProcessList::id(second)}), 0);
      const int32_t newer = graph();
      EXPECT_EQ(host.call("map_put", {0, newer, code, 5, 5}), 0);
      EXPECT_EQ(host.call("map_put", {0, code, newer, 5, 5}), 0);
      EXPECT_EQ(host.call("ground_put", {0, code, 5, 5}), 0);
      host.call("map_put_line", {0, code, 0, 0, 9, 9, 1});
      host.call("map_clear", {0, code, 1});
      host.processes().current = nullptr;
      for (orb_process *process : {first, second})
        host.kill(process);
      host.call("map_unload", {code});
      host.call("map_unload", {newer});
    }
}

/// A host may add its own requests between two frames.
TEST_F(StaleGraphs, RequestsOutliveTheirSurfaces) {
  for (const bool source_goes : {true, false}) {
    const int32_t source = graph(), destination = graph();
    __ORBBlit2D__ *const request = host.device()->GetAndUpdateBlitList();
    *request = {};
    request->src = GetMAP(0, source)->surface;
    request->dst = GetMAP(0, destination)->surface;
    request->alpha = 255;
    request->region = -1;
    request->blit_op = host.device()->ORBGI2D_Blit;
    host.call("map_unload", {source_goes ? source : destination});
    request->drawn = 1;
    host.frame();
    EXPECT_EQ(request->drawn, 0);
    host.call("map_unload", {source_goes ? destination : source});
  }
}

TEST_F(StaleGraphs, DrawObjectsOutliveTheirDestination) {
  const int32_t destination = graph();
  host.global("draw_destination_graph") = destination;
  const int32_t draw = host.call("draw_new", {3, white, 255, 0, 0, 0, 40, 40});
  EXPECT_EQ(lit_after_frame(), 0);
  host.call("map_unload", {destination});
  EXPECT_EQ(lit_after_frame(), 0);
  host.global("draw_destination_graph") = 0;
  EXPECT_GT(lit_after_frame(), 0);
  EXPECT_EQ(host.call("draw_delete", {draw}), 1);
}

} // namespace
