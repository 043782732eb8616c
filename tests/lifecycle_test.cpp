// The whole module from init to release, through the reference host without a display.
#include <string>
#include <vector>

#include <SDL.h>
#include <gtest/gtest.h>

#include "blit/blit_list.h"
#include "boundary/records.h"
#include "host/host.h"
#include "module/module.h"
#include "surface/regions.h"
#include "surface/registry.h"
#include "surface/screen.h"
#include "surface/surface.h"
#include "video/fades.h"
#include "video/mode_state.h"
#include "video/presentation.h"
#include "video/zones.h"

namespace {

struct Lifecycle : testing::Test {
  std::vector<std::string> fatals;

  static uint32_t screen_pixel(uint32_t x, uint32_t y) {
    const uint8_t *row = static_cast<uint8_t *>(screen->pixels) + size_t(y) * screen->pitch;
    switch (screen->depth) {
    case 8: return row[x];
    case 16: return reinterpret_cast<const uint16_t *>(row)[x];
    default: return reinterpret_cast<const uint32_t *>(row)[x];
    }
  }
};

TEST_F(Lifecycle, InitBindsAndOpens) {
  orbhost::Host host;
  host.attach(ORB_mod_graphics2D_MainLibraryExports);
  host.init();
  EXPECT_EQ(host.device(), &device2D);
  EXPECT_EQ(device2D.mode, &mode);
  EXPECT_EQ(device2D.regions, regions);
  EXPECT_EQ(device2D.zero85 | device2D.zero86, 0u);
  EXPECT_EQ(mode.width, 320);
  EXPECT_EQ(mode.height, 200);
  EXPECT_EQ(mode.bpp, 8);
  ASSERT_TRUE(screen && ground);
  EXPECT_EQ(host.device_system.screen, screen);
  EXPECT_EQ(host.device_system.ground, ground);
  EXPECT_EQ(pBlitLists2D->lists[graphics2D_blitlist].capacity, 1024u);
  EXPECT_EQ(pBlitLists2D->lists[graphics2D_blitlist].step, 256u);
  EXPECT_STREQ(pBlitLists2D->lists[graphics2D_blitlist].name, "GRAPHICS2D");

  const std::pair<const char *, const void *> bound[] = {
      {"dump_type", _dump_type_},
      {"restore_type", _restore_type_},
      {"fading", _fading_},
      {"fps", _fps_},
      {"num_video_modes", _num_video_modes_},
      {"num_video_bits", _num_video_bits_},
      {"num_video_rates", _num_video_rates_},
      {"video_modes", _video_modes_},
      {"video_bits", _video_bits_},
      {"video_rates", _video_rates_},
      {"vsync", _vsync_},
      {"draw_z", _draw_z_},
      {"draw_destination_file", _draw_destination_file_},
      {"draw_destination_graph", _draw_destination_graph_},
      {"draw_visible", _draw_visible_},
      {"mouse", _mouse_graphics2D_},
  };
  for (const auto &[name, address] : bound)
    EXPECT_EQ(&host.global(name), address) << name;
  EXPECT_EQ(fading, _fading_);
  EXPECT_EQ(host.global("fading"), 1) << "the picture fades in";
  EXPECT_EQ(regions[0].x1, 319);
  EXPECT_EQ(regions[0].y1, 199);
  EXPECT_EQ(max_map, 1256);
  EXPECT_EQ(max_region, 32);
}

TEST_F(Lifecycle, WindowIsShownOnTheSecondFrame) {
  for (int32_t life = 0; life < 2; ++life) {
    orbhost::Host host;
    host.attach(ORB_mod_graphics2D_MainLibraryExports);
    host.init();
    EXPECT_EQ(host.log.window_shown, 0);
    host.frame();
    EXPECT_EQ(host.log.window_shown, 0);
    for (int32_t i = 0; i < 3; ++i) {
      host.frame();
      EXPECT_EQ(host.log.window_shown, 1);
    }
  }
}

TEST_F(Lifecycle, FrameExchangesGlobals) {
  orbhost::Host host;
  host.attach(ORB_mod_graphics2D_MainLibraryExports);
  host.init();
  // As an operation sees it in the middle of the frame.
  static int32_t seen_vsync, seen_global;
  device2D.ORBGI2D_Blit = [](__ORBBlit2D__ *request) {
    seen_vsync = vsync;
    seen_global = *_vsync_;
    return request->drawn = 0;
  };
  const int32_t graph = host.call("map_new", {4, 4, 8, 1});
  ASSERT_GE(graph, 1000);
  host.spawn()->locals->graph = graph;
  for (const auto &[given, kept] : {std::pair{7, 1}, {-3, 0}, {1, 1}, {0, 0}}) {
    seen_vsync = seen_global = -1;
    host.global("vsync") = given;
    host.frame_rate = 31;
    host.begin_frame();
    host.frame_rate = 31;
    host.end_frame();
    EXPECT_EQ(seen_vsync, kept);
    EXPECT_EQ(seen_global, kept);
    EXPECT_EQ(host.global("vsync"), kept);
    EXPECT_EQ(host.global("fps"), 31);
  }
  // This frame's types become the previous ones.
  host.global("dump_type") = 0;
  host.global("restore_type") = -1;
  host.frame();
  EXPECT_EQ(old_dump_type, 0);
  EXPECT_EQ(old_restore_type, -1);
}

TEST_F(Lifecycle, BusyRendererDropsTheFrame) {
  orbhost::Host host;
  host.attach(ORB_mod_graphics2D_MainLibraryExports);
  host.init();
  const int32_t graph = host.call("map_new", {4, 4, 8, 1});
  orb_process *process = host.spawn();
  process->locals->graph = graph;
  static int32_t drawn, presented, scanned;
  drawn = presented = scanned = 0;
  device2D.ORBGI2D_Blit = [](__ORBBlit2D__ *request) { return ++drawn, request->drawn = 0; };
  auto *const former_present = VID_DrawFrame;
  VID_DrawFrame = [] { ++presented; };
  static orb_process_node *(*proc_first)(int32_t);
  proc_first = host.process_services.proc_first;
  host.process_services.proc_first = [](int32_t zero) { return ++scanned, proc_first(zero); };

  host.renderer_busy = 1;
  device2D.GetAndUpdateBlitList(); // a foreign request: dropped as well
  host.begin_frame();
  host.renderer_busy = 1;
  host.end_frame();
  EXPECT_EQ(drawn, 0);
  EXPECT_EQ(presented, 0);
  EXPECT_EQ(scanned, 0);
  EXPECT_EQ(GetNumsBlitOnList(), 0);
  host.begin_frame();
  host.renderer_busy = 0;
  host.end_frame();
  EXPECT_EQ(drawn, 1);
  EXPECT_EQ(presented, 1);
  EXPECT_EQ(scanned, 1);
  // Without its list the frame is skipped, except for the exchange of globals.
  device2D.UseBlitList = [](int32_t) { return 0; };
  host.global("vsync") = 9;
  host.frame();
  EXPECT_EQ(scanned, 1);
  EXPECT_EQ(host.global("vsync"), 1);
  VID_DrawFrame = former_present;
}

/// A process on the screen, at every depth, over ten init-release cycles.
TEST_F(Lifecycle, TenLives) {
  for (int32_t life = 0; life < 10; ++life) {
    const int32_t depth = life % 3 == 0 ? 8 : life % 3 == 1 ? 16 : 32;
    orbhost::Host host;
    host.attach(ORB_mod_graphics2D_MainLibraryExports);
    host.on_fatal = [&](int32_t, const std::string &message) { fatals.push_back(message); };
    host.init();
    EXPECT_EQ(host.call("graphiclib_get_mapsloaded"), 0);
    ASSERT_EQ(host.call("mode_set", {100, 80, depth}), 1);
    ASSERT_EQ(screen->depth, depth);
    const int32_t colour = depth == 8 ? 15 : depth == 16 ? 0xF81F : 0x00FF00FF;
    const int32_t graph = host.call("map_new", {10, 10, colour});
    ASSERT_GE(graph, 1000) << depth;
    orb_process *process = host.spawn();
    process->locals->graph = graph;
    process->locals->x = 50;
    process->locals->y = 40;
    // Until the fade-in ends; at 16 and 32 bits it recolours the screen.
    for (int32_t frame = 0; frame < 20; ++frame)
      host.frame();
    EXPECT_EQ(host.global("fading"), 0);
    EXPECT_EQ(screen_pixel(50, 40) & 0xFFFFFF, uint32_t(colour)) << depth;
    EXPECT_EQ(screen_pixel(5, 5), 0u);
    EXPECT_EQ(process->box_x1 - process->box_x0, 9);
    process->locals->x = 20;
    host.frame();
    EXPECT_EQ(screen_pixel(50, 40), 0u) << "restored";
    EXPECT_EQ(screen_pixel(20, 40) & 0xFFFFFF, uint32_t(colour));
    EXPECT_TRUE(host.take_errors().empty());
    host.release();
    EXPECT_FALSE(screen || ground || gfxsurfaces || pBlitLists2D || pBlitList2D || image_loaded);
  }
  EXPECT_TRUE(fatals.empty());
}

/// When a host continues after a fatal report, frames and release do no harm.
TEST_F(Lifecycle, FailedInit) {
  orbhost::Host host;
  host.attach(ORB_mod_graphics2D_MainLibraryExports);
  host.on_fatal = [&](int32_t level, const std::string &message) {
    EXPECT_EQ(level, 2);
    fatals.push_back(message);
  };
  host.on_exit = [](int32_t) {};
  host.on_message = [](const std::string &, const std::string &) {};
  SDL_QuitSubSystem(SDL_INIT_VIDEO);
  host.init(); // init chooses SDL's driver
  host.release();
  fatals.clear();

  // A driver that SDL lacks.
  setenv("SDL_VIDEODRIVER", "nothing of the kind", 1);
  ORB_mod_graphics2D_init();
  ASSERT_FALSE(fatals.empty());
  EXPECT_EQ(fatals.back(), "Graphics2D init error");
  ORB_mod_graphics2D_frame();
  ORB_mod_graphics2D_release();
  setenv("SDL_VIDEODRIVER", "dummy", 1);
}

} // namespace
