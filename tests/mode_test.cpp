// Modes: what mode_set accepts and refuses, the state after a set-mode, how a failed one is
// reverted, full screens with borders, and the mode lists. All on SDL's dummy display.
#include <algorithm>
#include <string>
#include <vector>

#include "blit/blit_list.h"
#include "mode_fixture.h"
#include "surface/fill.h"
#include "surface/surface.h"
#include "video/display.h"
#include "video/fades.h"
#include "video/mode_lists.h"
#include "video/presentation.h"
#include "video/virtual_resolution.h"

namespace {

TEST_F(Mode, StartsInASmallWindowInTheMiddleOfTheDesktop) {
  expect_opened(320, 200, 8);
  EXPECT_EQ(mode.x, (1024 - 320) / 2);
  EXPECT_EQ(mode.y, (768 - 200) / 2);
  EXPECT_EQ(asked.moves, 1);
  EXPECT_EQ(asked.x, mode.x);
  EXPECT_EQ(sdl_w, 320);
  EXPECT_EQ(sdl_h, 200);
  EXPECT_TRUE(host.signals.empty()) << "not before the first frame";
  EXPECT_TRUE(host.fatals.empty());
}

TEST_F(Mode, EveryFormOfModeSet) {
  EXPECT_EQ(set(400, 300), 1);
  expect_opened(400, 300, 8);
  EXPECT_EQ(set(400, 300, 32), 1);
  expect_opened(400, 300, 32);
  EXPECT_EQ(set(333, 77), 1) << "the depth stays";
  expect_opened(333, 77, 32);
  // Window, window not centred, fade off, copy, wait; and their opposites in the next call.
  EXPECT_EQ(set(320, 240, 16, 1 | 4 | 32 | 64 | 1024 | 8192), 1);
  expect_opened(320, 240, 16);
  EXPECT_EQ(mode_centerwindow, 0);
  EXPECT_EQ(mode_centermouse, 1);
  EXPECT_EQ(mode_fade, 0);
  EXPECT_EQ(vsync, 1);
  EXPECT_EQ(host.vsync, 1);
  EXPECT_EQ(*host.global("vsync"), 1) << "else the next frame would take it back";
  EXPECT_EQ(asked.centres, 1);
  EXPECT_EQ(set(320, 240, 16, 8 | 16 | 128 | 2048 | 4096, 75), 1);
  EXPECT_EQ(mode_centerwindow, 1);
  EXPECT_EQ(mode_centermouse, 0);
  EXPECT_EQ(mode_fade, 1);
  EXPECT_EQ(mode.bufferbehaviour, 2048);
  EXPECT_EQ(mode.rate, 75);
  EXPECT_EQ(host.vsync, 0);
  // In each pair the first bit takes precedence.
  EXPECT_EQ(set(320, 240, 16, 1 | 2 | 4 | 8 | 16 | 32 | 64 | 128 | 1024 | 2048 | 4096 | 8192), 1);
  EXPECT_EQ(mode.type, 1);
  EXPECT_EQ(mode_centerwindow, 0);
  EXPECT_EQ(mode_centermouse, 0);
  EXPECT_EQ(mode_fade, 0);
  EXPECT_EQ(mode.bufferbehaviour, 1024);
  EXPECT_EQ(vsync, 0);
  EXPECT_EQ(set(640, 480, 8, 0, 0, 0), 1) << "scale and scan lines without a rate";
  EXPECT_EQ(mode.rate, 75);
  EXPECT_EQ(set(640, 480, 8, 0, 60, 0, 0), 1);
  EXPECT_EQ(mode.rate, 60);
  EXPECT_EQ(host.call(ORB_mode_set, 640, 480, 32, 0, 70, 0, 0, 9), 1);
  EXPECT_EQ(filter_fx, 9);
  EXPECT_EQ(host.call(ORB_mode_get_filter, 3), 9);
  EXPECT_EQ(host.left_over(), 0u);
  EXPECT_TRUE(host.fatals.empty());
  EXPECT_TRUE(host.errors.empty());
}

TEST_F(Mode, PackedCodes) {
  struct {
    int32_t code, width, height;
  } const rows[] = {{320200, 320, 200},  {1280960, 1280, 960}, {12801024, 1280, 1024},
                    {1600900, 160, 900}, {640480, 640, 480},   {1280961, 128, 961}};
  for (const auto &row : rows) {
    ASSERT_EQ(set(640, 480, 32), 1);
    EXPECT_EQ(set(row.code), 1) << row.code;
    expect_opened(row.width, row.height, 8);
  }
}

TEST_F(Mode, ArgumentsOutOfRangeChangeNothing) {
  ASSERT_EQ(set(333, 222, 8, 2048), 1);
  set_color(7, 1, 2, 3);
  static_cast<uint8_t *>(ground->pixels)[5] = 99;
  const state before = now();
  const __ORBSurface2D__ *const kept = screen;
  struct {
    std::vector<int32_t> a;
    const char *why;
  } const rows[] = {
      {{31, 200, 8, 0, 0, 0, 0, 0}, "narrow"},     {{200, 31, 8, 0, 0, 0, 0, 0}, "low"},
      {{65536, 200, 8, 0, 0, 0, 0, 0}, "wide"},    {{200, 65536, 8, 0, 0, 0, 0, 0}, "high"},
      {{-320, 200, 8, 0, 0, 0, 0, 0}, "negative"}, {{320, 200, 24, 1, 0, 0, 0, 0}, "24 bits"},
      {{320, 200, 0, 1, 0, 0, 0, 0}, "0 bits"},    {{320, 200, 8, 1, -1, 0, 0, 0}, "negative rate"},
      {{320, 200, 8, 1, 0, 3, 0, 0}, "scale 3"},   {{320, 200, 8, 1, 0, -1, 0, 0}, "scale -1"},
      {{320, 200, 8, 1, 0, 0, 0, 16}, "fx 16"},    {{320, 200, 8, 1, 0, 0, 0, -1}, "fx -1"},
  };
  for (const auto &row : rows) {
    const auto &a = row.a;
    EXPECT_EQ(set(a[0], a[1], a[2], a[3], a[4], a[5], a[6], a[7]), INT32_MIN) << row.why;
    EXPECT_EQ(now(), before) << row.why;
    EXPECT_EQ(screen, kept);
  }
  EXPECT_EQ(set(31200), INT32_MIN) << "31x200";
  EXPECT_EQ(set(-640480), INT32_MIN);
  EXPECT_EQ(set(0), INT32_MIN);
  EXPECT_EQ(now(), before);
  EXPECT_TRUE(host.fatals.empty());
}

TEST_F(Mode, ScanLineArgumentsAndTheirIndex) {
  struct {
    int32_t argument, on, percent, index;
  } const rows[] = {{1 | 16, 1, 16, 1}, {1 | 32, 1, 32, 2},   {1 | 64, 1, 64, 3},
                    {1, 1, 128, 4},     {1 | 128, 1, 128, 4}, {1 | 16 | 64, 1, 16, 1},
                    {0, 0, 0, 0},       {32, 0, 32, 2}};
  for (const auto &row : rows) {
    set_scanline_filter(row.argument);
    EXPECT_EQ(filter_scanline, row.on) << row.argument;
    EXPECT_EQ(filter_scanlinepercent, row.percent) << row.argument;
    EXPECT_EQ(filter_scanline_percent, row.index) << row.argument;
  }
  set_scanline_filter(0);
}

TEST_F(Mode, SurfacesOfANewSizeKeepTheirIdentityAndStartBlank) {
  __ORBSurface2D__ *const old_ground = ground, *const old_screen = screen;
  ORBGI2D_BlitFill(ground, 9, 0);
  ground_puting = 1;
  ASSERT_EQ(set(500, 401, 8), 1);
  expect_opened(500, 401, 8);
  EXPECT_EQ(ground, old_ground);
  EXPECT_EQ(screen, old_screen);
  EXPECT_EQ(ground_puting, 0);
  EXPECT_EQ(ground->cpoints[0], 250u);
  EXPECT_EQ(ground->cpoints[1], 200u);
  const auto blank = [](const __ORBSurface2D__ *s) {
    const auto *p = static_cast<const uint8_t *>(s->pixels);
    return std::all_of(p, p + s->byte_size, [](uint8_t b) { return b == 0; });
  };
  EXPECT_TRUE(blank(ground));
  EXPECT_TRUE(blank(screen));
  EXPECT_EQ(gfxsurfaces->count, 5u) << "ground, screen, the display, two of the collision tests";
  ASSERT_EQ(set(500, 401, 32), 1);
  EXPECT_EQ(gfxsurfaces->count, 5u);
}

TEST_F(Mode, TheDisplayShowsTheScreenAtEveryDepthAndWidth) {
  for (const int32_t bpp : {8, 16, 32})
    for (const int32_t width : {32, 33, 35, 67, 320, 641}) {
      SCOPED_TRACE(std::to_string(width) + " at " + std::to_string(bpp));
      ASSERT_EQ(set(width, 41, bpp), 1);
      expect_presented();
    }
}

TEST_F(Mode, ZonesOfALargerModeDontReachIntoTheNext) {
  ASSERT_EQ(set(640, 480, 32), 1);
  framezones[0] = {600, 400, 639, 479, 40, 80};
  num_framezones = 1;
  dump_type = old_dump_type = 0;
  ASSERT_EQ(set(40, 40, 32), 1);
  EXPECT_EQ(num_framezones, 0);
  EXPECT_EQ(complete_frame, 1) << "the next restore is complete";
  expect_presented();
}

TEST_F(Mode, PartialDumpsPresentOnlyZonesUnlessThisOrTheLastFrameWasComplete) {
  ASSERT_EQ(set(64, 48, 32), 1);
  expect_presented();
  complete_frame = fading_run = 0;
  num_framezones = 0;
  const auto shown = [] {
    *static_cast<uint32_t *>(screen->pixels) ^= 0xFF;
    VID_DrawFrame();
    return *static_cast<uint32_t *>(SDL_GetVideoSurface()->pixels) ==
           *static_cast<uint32_t *>(screen->pixels);
  };
  dump_type = old_dump_type = 0;
  EXPECT_FALSE(shown());
  dump_type = 1;
  EXPECT_TRUE(shown());
  dump_type = 0;
  old_dump_type = 1;
  EXPECT_TRUE(shown());
}

TEST_F(Mode, AModeThatCantBeOpenedIsTakenBack) {
  for (const int32_t wanted : {8, 16, 32})
    for (const int32_t had : {8, 16, 32}) {
      SCOPED_TRACE(std::to_string(had) + " to " + std::to_string(wanted));
      ASSERT_EQ(set(123, 77, had, 128), 1);
      set_color(33, 10, 20, 30);
      if (palette) {
        palette_loaded = 1;
        palette_crc = 4711;
      }
      static_cast<uint8_t *>(ground->pixels)[10] = 42;
      ground_puting = 1;
      host.fatals.clear();
      const state before = now();
      EXPECT_EQ(set(65535, 65535, wanted), 0);
      EXPECT_EQ(host.fatals,
                std::vector<std::string>{"SetVideoMode (WINDOWED: FRAMEBUFFER - SYSTEMMEMORY)"});
      EXPECT_EQ(now(), before);
      EXPECT_EQ(host.mode_changes.back(), 0);
      EXPECT_EQ(*fading, 1) << "the picture comes back";
      expect_presented();
    }
}

TEST_F(Mode, ADisplayThatCantBeReopenedIsNotDrawnOn) {
  ASSERT_EQ(set(100, 80, 32), 1);
  SDL_QuitSubSystem(SDL_INIT_VIDEO);
  setenv("SDL_VIDEODRIVER", "there is no such driver", 1);
  EXPECT_EQ(set(200, 80, 32), 0);
  EXPECT_FALSE(host.fatals.empty());
  EXPECT_EQ(mode.width, 100);
  EXPECT_EQ(screen->width, 100u);
  VID_DrawFrame(); // must not crash
  EXPECT_EQ(ORB_mod_graphics2D_frame(), 1);
  setenv("SDL_VIDEODRIVER", "dummy", 1);
  ASSERT_EQ(SDL_InitSubSystem(SDL_INIT_VIDEO), 0);
  EXPECT_EQ(set(200, 80, 32), 1);
  expect_presented();
}

TEST_F(Mode, FullScreenOfAListedSize) {
  EXPECT_EQ(set(640, 480, 32, 2), 1);
  expect_opened(640, 480, 32);
  EXPECT_EQ(mode.type, 2);
  EXPECT_EQ(host.full_screen, 1);
  EXPECT_EQ(sdl_fullscreen, 1);
  EXPECT_EQ(emulated_mode, 0);
  EXPECT_EQ(host.mode_changes, (std::vector<int32_t>{0, 1, 0})) << "init's window, then this";
  EXPECT_EQ(asked.resets, 1);
  EXPECT_EQ(asked.grabs, 1);
  expect_presented();
  EXPECT_EQ(set(640, 480, 32, 1), 1);
  EXPECT_EQ(host.full_screen, 0);
  EXPECT_EQ(sdl_fullscreen, 0);
}

TEST_F(Mode, FullScreenWithBorders) {
  EXPECT_EQ(set(300, 181, 32, 2 | 2048), 1);
  expect_opened(300, 181, 32);
  EXPECT_EQ(emulated_mode, 1);
  EXPECT_EQ(GetEmulatedWidth(), 320);
  EXPECT_EQ(GetEmulatedHeight(), 200);
  EXPECT_EQ(mode_x, 10);
  EXPECT_EQ(mode_y, 9);
  EXPECT_EQ(GetEmulatedXOffset(), 10);
  EXPECT_EQ(GetEmulatedYOffset(), 9);
  EXPECT_EQ(mode.bufferbehaviour, 1024) << "a picture with borders can't be flipped";
  EXPECT_EQ(host.call(ORB_mode_is_emulated), 1);
  EXPECT_EQ(host.call(ORB_mode_get_realwidth), 320);
  expect_presented();
  // The display is reused for another size; its border must not show the former picture.
  EXPECT_EQ(set(260, 150, 32), 1);
  EXPECT_EQ(emulated_mode, 1);
  expect_presented();
  EXPECT_EQ(set(260, 150, 8), 1);
  expect_presented();
}

TEST_F(Mode, AFullScreenThatTheDisplayLacksLeavesTheModeBefore) {
  ASSERT_EQ(set(400, 300, 8), 1);
  const state before = now();
  EXPECT_EQ(set(1100, 700, 16, 2), 0) << "the desktop is 1024 wide";
  EXPECT_EQ(now(), before);
  EXPECT_EQ(host.full_screen, 0);
  EXPECT_EQ(asked.messages, std::vector<std::string>{"SetMode (FULLSCREEN)"});
  EXPECT_TRUE(host.fatals.empty());
  expect_presented();
}

TEST_F(Mode, ListsAreSortedByCodeAndThenRateAndGrow) {
  ASSERT_TRUE(create_mode_lists());
  const int32_t bits[] = {8, 16, 24, 32};
  for (int32_t i = 0; i < 300; ++i)
    ASSERT_TRUE(add_video_mode(320 + (i * 37) % 50 * 8, 200, bits[i % 4], (i * 13) % 7 * 10));
  ASSERT_TRUE(finish_mode_lists());
  EXPECT_EQ(num_video_modes, 300);
  EXPECT_EQ(num_video_modes8 + num_video_modes16 + num_video_modes32, 225) << "no 24-bit list";
  const orb_video_mode *const lists[] = {video_modes8, video_modes16, video_modes32};
  for (const orb_video_mode *list : lists)
    for (int32_t i = 1; i < 75; ++i) {
      const auto &a = list[i - 1], &b = list[i];
      EXPECT_TRUE(a.code < b.code || (a.code == b.code && a.rate <= b.rate));
      EXPECT_EQ(a.bpp, b.bpp);
      EXPECT_TRUE(find_video_mode(b.width, b.height, b.bpp, b.rate));
      EXPECT_TRUE(find_video_mode(b.width, b.height, b.bpp, 0));
    }
  EXPECT_FALSE(find_video_mode(320, 200, 24, 0)) << "looked up among the 8-bit ones";
  EXPECT_FALSE(find_video_mode(321, 200, 8, 0));
  EXPECT_FALSE(find_video_mode(320, 200, 8, 65));
}

TEST_F(Mode, CodesOfTallSizesHaveFourDigitsOfHeight) {
  EXPECT_EQ(mode_code(640, 480), 640480);
  EXPECT_EQ(mode_code(1280, 999), 1280999);
  EXPECT_EQ(mode_code(1280, 1024), 12801024);
}

TEST_F(Mode, EmulationTakesTheFirstListedModeWithRoomAndRate) {
  ASSERT_TRUE(create_mode_lists());
  for (const int32_t rate : {60, 75, 85}) {
    add_video_mode(640, 480, 8, rate);
    add_video_mode(320, 400, 8, rate);
    add_video_mode(800, 600, 8, rate);
  }
  ASSERT_TRUE(finish_mode_lists());
  struct {
    int32_t w, h, rate, found, got_w, got_h, got_rate;
  } const rows[] = {
      {320, 200, 0, 1, 320, 400, 0},   {321, 200, 0, 1, 640, 480, 0},
      {321, 481, 0, 1, 800, 600, 0},   {801, 100, 0, 0, 801, 100, 0},
      {640, 480, 70, 1, 640, 480, 75}, {640, 480, 90, 0, 640, 480, 90},
  };
  for (const auto &row : rows) {
    mode.width = filter_w = row.w;
    mode.height = filter_h = row.h;
    mode.bpp = 8;
    mode.rate = row.rate;
    EXPECT_EQ(FindEmulatedMode(), row.found) << row.w << "x" << row.h << "@" << row.rate;
    EXPECT_EQ(emulated_mode, row.found);
    EXPECT_EQ(emulated_w, row.got_w);
    EXPECT_EQ(emulated_h, row.got_h);
    EXPECT_EQ(mode.rate, row.got_rate);
  }
}

TEST_F(Mode, ScriptArraysHoldEachModeOnceAndStopAtTheirEnd) {
  script_video_mode modes[65] = {};
  int32_t rates[33] = {}, bits[4] = {};
  modes[64].mode = rates[32] = bits[3] = -77;
  _video_modes_ = modes;
  _video_rates_ = rates;
  _video_bits_ = bits;
  ASSERT_TRUE(create_mode_lists());
  for (const int32_t rate : {60, 75})
    for (const int32_t width : {640, 320})
      add_video_mode(width, 480, 8, rate);
  add_video_mode(2000, 1000, 32, 200);
  ASSERT_TRUE(finish_mode_lists());
  update_video_structs();
  EXPECT_EQ(*host.global("num_video_modes"), 2);
  EXPECT_EQ(modes[0].mode, 320480);
  EXPECT_EQ(modes[0].wide, 320);
  EXPECT_EQ(modes[0].width, 320);
  EXPECT_EQ(modes[0].height, 480);
  EXPECT_EQ(modes[1].mode, 640480);
  EXPECT_EQ(*host.global("num_video_rates"), 2);
  EXPECT_EQ(rates[0], 60);
  EXPECT_EQ(rates[1], 75);
  EXPECT_EQ(*host.global("num_video_bits"), 2);
  EXPECT_EQ(bits[0], 8);
  EXPECT_EQ(bits[1], 32);

  ASSERT_TRUE(create_mode_lists());
  for (int32_t i = 0; i < 100; ++i)
    add_video_mode(320 + i, 200, 8, 50 + i);
  add_video_mode(320, 200, 16, 0);
  add_video_mode(320, 200, 32, 0);
  ASSERT_TRUE(finish_mode_lists());
  update_video_structs();
  EXPECT_EQ(*host.global("num_video_modes"), 64);
  EXPECT_EQ(*host.global("num_video_rates"), 32);
  EXPECT_EQ(*host.global("num_video_bits"), 3);
  EXPECT_EQ(modes[63].mode, 383200);
  EXPECT_EQ(rates[31], 81);
  EXPECT_EQ(modes[64].mode, -77);
  EXPECT_EQ(rates[32], -77);
  EXPECT_EQ(bits[3], -77);
}

TEST_F(Mode, ADisplayOfAnySizeOffersTheNamedModesThatFitTheDesktop) {
  // SDL's dummy driver answers "any size"; the desktop is 1024x768.
  EXPECT_TRUE(find_video_mode(320, 200, 8, 0));
  EXPECT_TRUE(find_video_mode(1024, 768, 32, 0));
  EXPECT_FALSE(find_video_mode(1152, 864, 16, 0));
  EXPECT_EQ(num_video_modes, 4 * 14);
}

TEST_F(Mode, GettersAnswerWhatIsSet) {
  ASSERT_EQ(set(400, 300, 16, 0, 60), 1);
  EXPECT_EQ(host.call(ORB_mode_get_width), 400);
  EXPECT_EQ(host.call(ORB_mode_get_height), 300);
  EXPECT_EQ(host.call(ORB_mode_get_bpp), 16);
  EXPECT_EQ(host.call(ORB_mode_get_rate), 60);
  EXPECT_EQ(host.call(ORB_mode_get_type), 1);
  EXPECT_EQ(host.call(ORB_mode_get_bufferbehaviour), 1024);
  EXPECT_EQ(host.call(ORB_mode_get_realwidth), 400);
  EXPECT_EQ(host.call(ORB_mode_get_realheight), 300);
  EXPECT_EQ(host.call(ORB_mode_get_render, 0), 1);
  EXPECT_EQ(host.call(ORB_mode_get_render, 1), 0);
  for (const int32_t wrong : {-1, 2})
    EXPECT_EQ(host.call(ORB_mode_get_render, wrong), INT32_MIN);
  for (const int32_t wrong : {-1, 4})
    EXPECT_EQ(host.call(ORB_mode_get_filter, wrong), INT32_MIN);
}

TEST_F(Mode, FrameRatesAreClamped) {
  struct {
    int32_t fps, skip, got_fps, got_skip;
  } const rows[] = {{0, 0, 0, 0},
                    {-1, -1, 1, 0},
                    {60, 3, 60, 3},
                    {1001, 101, 1000, 100},
                    {INT32_MIN, INT32_MAX, 1, 100}};
  for (const auto &row : rows) {
    EXPECT_EQ(host.call(ORB_set_fps, row.fps, row.skip), 1);
    EXPECT_EQ(asked.fps, row.got_fps);
    EXPECT_EQ(asked.skip, row.got_skip);
  }
  host.timing.set_fps = nullptr;
  EXPECT_EQ(host.call(ORB_set_fps, 30, 0), 1);
}

TEST_F(Mode, RequestsForTheOldScreenAreForgottenWhenTheDepthChanges) {
  __ORBBlit2D__ *const request = device2D.GetAndUpdateBlitList();
  *request = {};
  request->dst = screen;
  ASSERT_EQ(set(64, 48, 16), 1);
  EXPECT_EQ(GetNumsBlitOnList(), 0);
}

TEST_F(Mode, ADisplayThatSomebodyElseEndedIsLeftAlone) {
  ASSERT_EQ(set(64, 48, 8), 1);
  SDL_QuitSubSystem(SDL_INIT_VIDEO);
  VID_DrawFrame();
  EXPECT_EQ(VID_UpdatePalette(&fadepalette), 0);
  ASSERT_EQ(SDL_InitSubSystem(SDL_INIT_VIDEO), 0);
  EXPECT_EQ(set(64, 48, 8), 1);
  expect_presented();
}

TEST_F(Mode, ASecondReleaseDoesNothing) {
  ASSERT_EQ(set(64, 48, 32), 1);
  ORB_mod_graphics2D_release();
  EXPECT_EQ(host.system.screen, nullptr);
  EXPECT_EQ(host.system.ground, nullptr);
  __ORBSurface2D__ others{};
  host.system.screen = host.system.ground = &others;
  ORB_mod_graphics2D_release();
  EXPECT_EQ(host.system.screen, &others);
  ORB_mod_graphics2D_init();
  expect_opened(320, 200, 8);
}

TEST_F(Mode, AfterTheFirstFrameTheHostHearsOfEveryChange) {
  ORB_mod_graphics2D_frame();
  ASSERT_EQ(set(400, 300, 32), 1);
  EXPECT_EQ(host.signals, std::vector<int32_t>{3});
}

TEST_F(Mode, TheDisplayPaletteFadesInAndFollowsChanges) {
  ASSERT_EQ(set(64, 48, 8, 128), 1);
  const SDL_Palette *const shown = SDL_GetVideoSurface()->format->palette;
  EXPECT_EQ(shown->colors[15].r, 0) << "black when opened with a fade";
  for (int frame = 0; frame < 9; ++frame)
    ORB_mod_graphics2D_frame();
  EXPECT_EQ(*fading, 0);
  const auto expect_shown = [&] {
    for (int i = 0; i < 256; ++i) {
      EXPECT_EQ(shown->colors[i].r, palette->colours[i].r) << i;
      EXPECT_EQ(shown->colors[i].g, palette->colours[i].g) << i;
      EXPECT_EQ(shown->colors[i].b, palette->colours[i].b) << i;
    }
  };
  expect_shown();
  set_color(200, 63, 1, 2);
  ORB_mod_graphics2D_frame();
  expect_shown();
}

TEST(VirtualResolution, TablesSampleTheScreenEvenlyAndCentreIt) {
  fake_runtime host;
  struct {
    int32_t sw, sh, vw, vh, aspect, ratio_w, ratio_h, x, y;
  } const rows[] = {
      {320, 200, 640, 400, 0, 640, 400, 0, 0},   {320, 200, 333, 777, 0, 333, 777, 0, 0},
      {320, 200, 640, 480, 1, 640, 400, 0, 40},  {200, 320, 640, 480, 1, 300, 480, 170, 0},
      {640, 480, 480, 640, 1, 480, 360, 0, 140}, {100, 300, 200, 240, 1, 80, 240, 60, 0},
  };
  for (const auto &row : rows) {
    SCOPED_TRACE(std::to_string(row.vw) + "x" + std::to_string(row.vh));
    virtual_resolution_w = row.vw;
    virtual_resolution_h = row.vh;
    virtual_resolution_aspectratio = row.aspect;
    ASSERT_EQ(make_virtual_resolution(row.sw, row.sh), 1);
    EXPECT_EQ(virtual_resolution_ratiow, row.ratio_w);
    EXPECT_EQ(virtual_resolution_ratioh, row.ratio_h);
    EXPECT_EQ(virtual_resolution_xoffset, row.x);
    EXPECT_EQ(virtual_resolution_yoffset, row.y);
    const auto check = [](const int32_t *table, int32_t count, int32_t first, int32_t used,
                          int32_t size, int32_t multiplier) {
      for (int32_t i = 0; i < count; ++i) {
        if (i < first || i >= first + used)
          ASSERT_EQ(table[i], -1) << i;
        else
          ASSERT_EQ(table[i] / multiplier, (i - first) * size / used) << i;
        ASSERT_EQ(table[i] < 0 ? 0 : table[i] % multiplier, 0);
        ASSERT_LT(table[i], size * multiplier);
      }
    };
    check(virtual_buffer_w, row.vw, row.x, row.ratio_w, row.sw, 1);
    check(virtual_buffer_h, row.vh, row.y, row.ratio_h, row.sh, row.sw);
  }
  delete_virtual_resolution();
  virtual_resolution_w = virtual_resolution_h = virtual_resolution_aspectratio = 0;
}

} // namespace
