// Modes: what the display shows, modes that can't be opened, the lists, what the host hears, and
// the life of the module around them.
#include <SDL.h>
#include <gtest/gtest.h>

#include "blit/blit_list.h"
#include "boundary/records.h"
#include "boundary/runtime.h"
#include "hostile/digest.h"
#include "module/module.h"
#include "support/world.h"
#include "surface/palette.h"
#include "surface/regions.h"
#include "surface/registry.h"
#include "surface/screen.h"
#include "surface/surface.h"
#include "video/display.h"
#include "video/fades.h"
#include "video/mode.h"
#include "video/mode_lists.h"
#include "video/mode_state.h"
#include "video/presentation.h"
#include "video/zones.h"

namespace {

using numbers = std::vector<int32_t>;

uint32_t shown(int32_t x, int32_t y) {
  const SDL_Surface *const s = SDL_GetVideoSurface();
  uint32_t value = 0;
  memcpy(&value, static_cast<uint8_t *>(s->pixels) + y * s->pitch + x * s->format->BytesPerPixel,
         s->format->BytesPerPixel);
  return value;
}

/// Presents a picture and compares the whole display, its border included.
void expect_presented() {
  auto *const bytes = static_cast<uint8_t *>(screen->pixels);
  for (uint32_t i = 0; i < screen->byte_size; ++i)
    bytes[i] = uint8_t(i * 7 + i / 256 + 1);
  complete_frame = 1;
  VID_DrawFrame();
  for (int32_t y = 0; y < SDL_GetVideoSurface()->h; ++y)
    for (int32_t x = 0; x < SDL_GetVideoSurface()->w; ++x) {
      const auto from_x = uint32_t(x - mode_x), from_y = uint32_t(y - mode_y);
      const bool inside = from_x < screen->width && from_y < screen->height;
      ASSERT_EQ(shown(x, y), inside ? pixel(*screen, from_x, from_y) : 0) << x << ", " << y;
    }
}

struct Modes : testing::Test {
  world w;
  int32_t set(int32_t width, int32_t height, int32_t depth, int32_t flags) {
    return w.host.call("mode_set", {width, height, depth, flags});
  }
};

TEST_F(Modes, TheDisplayShowsTheScreenAndBlackBorders) {
  w.set_mode(16); // until the first picture has faded in
  for (const int32_t depth : {8, 16, 32}) {
    for (const int32_t width : {32, 33, 67, 641}) {
      ASSERT_EQ(set(width, 41, depth, 1 | 64), 1);
      if (depth == 8) EXPECT_EQ(SDL_GetVideoSurface()->format->palette->colors[15].r, 252);
      expect_presented();
    }
    ASSERT_EQ(set(300, 181, depth, 2 | 2048), 1);
    EXPECT_EQ(GetEmulatedXOffset() * 100 + GetEmulatedYOffset(), 1009) << "in 320 x 200";
    expect_presented();
    ASSERT_EQ(set(260, 150, depth, 2), 1) << "the same display; the border must be cleared";
    expect_presented();
  }
  ASSERT_EQ(set(64, 48, 32, 1), 1);
  EXPECT_EQ(gfxsurfaces->count, 5u) << "ground, screen, the display's, two of the collision tests";
  EXPECT_EQ(GetEmulatedMode() * 10000 + GetEmulatedWidth() * 100 + GetEmulatedHeight(), 6448);
  EXPECT_TRUE(w.host.device_system.ground == ground && w.host.screen() == screen);
  w.host.call("virtualresolution_set", {200, 100, 1, 1});
  for (uint32_t i = 0; i < 64 * 48; ++i)
    set_pixel(*screen, i, 0, 0x123456);
  VID_DrawFrame();
  for (int32_t x = 0; x < 200; ++x) // the screen spans 133 1/3 columns from 33 on
    EXPECT_EQ(shown(x, 99), x >= 33 && x < 167 ? 0x123456u : 0) << x;
}

TEST_F(Modes, AModeThatCantBeOpenedIsTakenBack) {
  for (const int32_t had : {8, 16, 32})
    for (const int32_t wanted : {8, 16, 32}) {
      SCOPED_TRACE(testing::Message() << had << " to " << wanted);
      ASSERT_EQ(set(123, 77, had, 4 | 16 | 128 | 4096), 1);
      while (*fading)
        w.host.frame();
      w.host.call("palette_set_color", {33, 10, 20, 30});
      w.host.call("ground_put_pixel", {10, 0, 42});
      w.host.frame();
      if (palette) palette_crc = 4711;
      w.host.global("vsync") = 7; // by the script since
      const auto state = [&] {
        return digest_of(w.folder.path) + "\nchoices " + std::to_string(mode_centerwindow) +
               std::to_string(mode_centermouse) + std::to_string(mode_fade) +
               std::to_string(*_vsync_) + " " + std::to_string(palette_crc) + " display " +
               std::to_string(buffer->depth);
      };
      const std::string before = state();
      EXPECT_EQ(
          w.host.call("mode_set", {65535, 65535, wanted, 8 | 32 | 64 | 2048 | 8192, 60, 1, 33}), 0);
      EXPECT_EQ(w.reports(), "fatal \"SetVideoMode (WINDOWED: FRAMEBUFFER - SYSTEMMEMORY)\"");
      EXPECT_EQ(difference(before, state()), "");
      EXPECT_EQ(w.host.log.mode_changes.back(), 0);
      if (had == 8) EXPECT_EQ(SDL_GetVideoSurface()->format->palette->colors[33].r, 40);
      mode_fade = 0;
      const std::string again = state();
      EXPECT_EQ(w.host.call("virtualresolution_set", {65535, 65535, 1, 1}), 0);
      EXPECT_EQ(difference(again, state()), "");
      expect_presented();
      EXPECT_EQ(set(123, 77, had, 1), 1);
      w.reports();
    }
}

TEST_F(Modes, AFormWithAnEffectIsUnderstoodThoughNotRegistered) {
  const auto form =
      orbhost::best_form(w.host.registration(), "mode_set", std::vector<orbhost::Argument>(7, 0));
  for (const int32_t effect : {9, 16})
    EXPECT_EQ(
        w.host.call_form(w.host.registration().functions[*form], {64, 48, 32, 0, 70, 0, 0, effect}),
        effect == 9 ? 1 : INT32_MIN);
  EXPECT_EQ(w.host.call("mode_get_filter", {3}), 9);
}

TEST_F(Modes, DisplaysThatAreGoneAreNotDrawnOn) {
  ASSERT_EQ(set(100, 80, 8, 1), 1);
  SDL_QuitSubSystem(SDL_INIT_VIDEO);
  setenv("SDL_VIDEODRIVER", "there is no such driver", 1);
  VID_DrawFrame();
  EXPECT_EQ(VID_UpdatePalette(&fadepalette), 0);
  EXPECT_EQ(set(200, 80, 8, 1), 0);
  EXPECT_EQ(mode.width, 100);
  w.host.frame();
  EXPECT_NE(w.reports(), "");
  setenv("SDL_VIDEODRIVER", "dummy", 1);
  ASSERT_EQ(SDL_InitSubSystem(SDL_INIT_VIDEO), 0);
  EXPECT_EQ(set(200, 80, 8, 1), 1);
  expect_presented();
}

TEST_F(Modes, ListsAreSortedAndFindTheFirstModeWithRoom) {
  // 70 sizes of 40 rates at 8 bits, out of order: the script's arrays hold 64 and 32.
  ASSERT_TRUE(create_mode_lists());
  for (int32_t i = 0; i < 70 * 40; ++i)
    ASSERT_TRUE(add_video_mode(320 + i * 37 % 70 * 8, 480, 8, 89 - i / 70));
  add_video_mode(320, 480, 32, 0);
  add_video_mode(320, 480, 24, 0);
  ASSERT_TRUE(finish_mode_lists());
  EXPECT_EQ(num_video_modes - num_video_modes8 - num_video_modes32, 1) << "no list for 24 bits";
  for (int32_t i = 1; i < num_video_modes8; ++i) {
    const orb_video_mode &a = video_modes8[i - 1], &b = video_modes8[i];
    EXPECT_TRUE(a.code < b.code || (a.code == b.code && a.rate <= b.rate));
  }
  EXPECT_EQ(mode_code(1280, 999) + mode_code(1280, 1024), 1280999 + 12801024);
  w.host.global("video_bits", 2) = -77;
  update_video_structs();
  EXPECT_EQ((numbers{w.host.global("num_video_modes"), w.host.global("num_video_rates"),
                     w.host.global("num_video_bits")}),
            (numbers{64, 32, 2}));
  EXPECT_EQ(w.host.global("video_rates", 31), 81);
  EXPECT_EQ(w.host.global("video_bits", 2), -77);
  EXPECT_EQ(w.host.global("video_modes", 3 + 4), 328480);

  ASSERT_TRUE(create_mode_lists());
  for (const int32_t width : {640, 320, 800})
    for (const int32_t rate : {60, 75})
      add_video_mode(width, width * 3 / 4, 8, rate);
  ASSERT_TRUE(finish_mode_lists());
  const int32_t rows[][7] = {{320, 200, 0, 1, 320, 240, 0},   {321, 200, 0, 1, 640, 480, 0},
                             {321, 481, 0, 1, 800, 600, 0},   {640, 480, 61, 1, 640, 480, 75},
                             {640, 480, 90, 0, 640, 480, 90}, {801, 99, 0, 0, 801, 99, 0},
                             {99, 601, 0, 0, 99, 601, 0}};
  for (const auto &[width, height, rate, exists, found_width, found_height, found_rate] : rows) {
    mode = {0, 0, width, height, 8, 2, 1024, rate, 0};
    filter_w = width;
    filter_h = height;
    EXPECT_EQ(FindEmulatedMode(), exists) << width << " x " << height;
    EXPECT_EQ((numbers{GetEmulatedMode(), GetEmulatedWidth(), GetEmulatedHeight(), mode.rate}),
              (numbers{exists, found_width, found_height, found_rate}));
  }
  EXPECT_EQ(w.host.call("mode_exists", {640, 480, 8, 75}), 1);
  EXPECT_EQ(w.host.call("mode_exists", {640, 480, 8, 61}), 0);
}

TEST_F(Modes, TheHostHearsOfWindowsMiceAndChanges) {
  const orbhost::ServiceLog &log = w.host.log;
  EXPECT_EQ((numbers{log.window_moved, log.window_x, log.window_y}), (numbers{1, 352, 284}))
      << "320 x 200 in the middle of 1024 x 768";
  EXPECT_TRUE(log.signals.empty()) << "not before the first frame";
  for (const int shown : {0, 1, 1}) { // with the second frame
    w.host.frame();
    EXPECT_EQ(log.window_shown, shown);
  }
  set(64, 48, 32, 1 | 4 | 32 | 8192);
  EXPECT_EQ((numbers{log.window_moved, log.mouse_centres, w.host.vsync}), (numbers{1, 1, 1}));
  EXPECT_EQ(log.signals, numbers{3});
  set(64, 48, 32, 2 | 16);
  EXPECT_EQ(w.host.full_screen, 1);
  EXPECT_EQ(log.mode_changes, (numbers{0, 0, 1, 0}));
  EXPECT_EQ((numbers{log.mouse_grabs, log.input_resets, log.mouse_centres}), (numbers{1, 1, 1}));
  EXPECT_EQ(log.window_rereads, 3);
  for (const int flags : {4, 8}) { // not centred, centred
    set(64, 48, 32, 1 | flags);
    EXPECT_EQ(log.window_moved, flags == 8 ? 2 : 1);
  }
}

TEST_F(Modes, FrameRatesAreClamped) {
  static std::pair<int32_t, int32_t> asked;
  w.host.timing_services.set_fps = [](int32_t fps, int32_t skip) { asked = {fps, skip}; };
  const int32_t rows[][4] = {{0, 0, 0, 0}, {-1, -1, 1, 0}, {60, 3, 60, 3}, {1001, 101, 1000, 100}};
  for (const auto &[fps, skip, got_fps, got_skip] : rows) {
    EXPECT_EQ(w.host.call("set_fps", {fps, skip}), 1);
    EXPECT_EQ(asked, std::pair(got_fps, got_skip));
  }
}

TEST_F(Modes, ABusyRendererDropsTheFrame) {
  w.set_mode(32);
  w.host.spawn()->locals->graph = w.host.call("map_new", {9, 9, 5});
  for (const int32_t busy : {1, 0}) {
    w.host.begin_frame();
    w.host.renderer_busy = busy;
    if (busy) w.host.call("screen_draw_graphic", {0, 1000, 30, 30, 0, 0});
    w.host.end_frame();
    EXPECT_EQ(pixel(*screen, 0, 0), busy ? 0u : 5u);
    EXPECT_EQ(pixel(*screen, 30, 30), 0u);
  }
  // A new depth forgets requests for the old screen.
  *device2D.GetAndUpdateBlitList() = {};
  set(64, 48, 16, 1);
  EXPECT_EQ(GetNumsBlitOnList(), 0);
}

TEST_F(Modes, ReleaseLeavesNothingAndInitStartsAgain) {
  for (int life = 0; life < 3; ++life) {
    w.set_mode(32);
    EXPECT_EQ(w.host.call("map_new", {9, 9}), 1000);
    EXPECT_EQ(w.host.call("region_define", {60, 1, 1, 1, 1}), 1);
    ORB_mod_graphics2D_release();
    EXPECT_FALSE(screen || ground || gfxsurfaces || pBlitLists2D || image_loaded || regions);
    EXPECT_FALSE(GetMAP(0, 1000) || GetFPG(0) || GetMAPCode(0) || RegionExists(0));
    EXPECT_EQ(w.host.call("mode_exists", {320, 200, 8}), 0);
    EXPECT_FALSE(w.host.device_system.screen || w.host.device_system.ground);
    __ORBSurface2D__ other{};
    w.host.device_system.screen = &other;
    ORB_mod_graphics2D_release(); // a second time: nothing
    EXPECT_EQ(w.host.device_system.screen, &other);
    if (life == 1) {
      setenv("SDL_VIDEODRIVER", "nothing of the kind", 1);
      ORB_mod_graphics2D_init();
      EXPECT_NE(w.reports().find("fatal \"Graphics2D init error\""), std::string::npos);
      const int32_t frames = frame_number;
      w.host.frame(); // a host that goes on all the same comes to no harm
      EXPECT_EQ(frame_number, frames);
      setenv("SDL_VIDEODRIVER", "dummy", 1);
    }
    ORB_mod_graphics2D_init();
    EXPECT_EQ(mode.width * 100 + mode.bpp, 32008);
    EXPECT_EQ(w.host.call("graphiclib_get_regionsdefined"), 0);
    EXPECT_EQ(w.reports(), "");
  }
}

TEST_F(Modes, CountsOfStreamsStayWithinTheRequest) {
  static int32_t reply, asked;
  w.host.file_services.read = [](void *, int32_t, int32_t count, int32_t, void *) {
    return asked = count, reply;
  };
  w.host.file_services.write = [](const void *, int32_t, int32_t count, int32_t, void *) {
    return asked = count, reply;
  };
  char buffer[8];
  for (const auto &[given, kept] : {std::pair{8, 8}, {3, 3}, {-1, 0}, {9, 8}, {INT32_MIN, 0}}) {
    reply = given;
    EXPECT_EQ(rt_file_read(buffer, 8, 0, buffer), kept);
    EXPECT_EQ(rt_file_write(buffer, 8, 0, buffer), kept);
  }
  for (const int32_t count : {0, INT32_MIN})
    EXPECT_EQ(rt_file_read(buffer, count, 0, buffer) + rt_file_write(buffer, count, 0, buffer), 0);
  EXPECT_EQ(asked, 8) << "no host is asked for nothing";
}

} // namespace
