// Changes to a set mode: mode_change, the filters, the renderer and the virtual resolution.
#include "mode_fixture.h"
#include "surface/fill.h"
#include "video/mode_lists.h"
#include "video/virtual_resolution.h"

#include <array>
#include <functional>
#include <utility>

#include "video/fades.h"

namespace {

enum : int32_t { window = 1, full = 2, no_fade = 64, copy = 1024, flip = 2048, waits = 8192 };

TEST_F(Mode, ModeChangeOpensOnlyWhatDiffers) {
  ASSERT_EQ(set(320, 240, 16, window | no_fade | copy, 60), 1);
  *fading = 0; // of the start
  auto *const pixels = static_cast<uint8_t *>(ground->pixels);
  pixels[7] = 99;
  ground_puting = 1;
  const SDL_Surface *const display = SDL_GetVideoSurface();
  struct {
    std::vector<int32_t> arguments;
    int32_t result, type, behaviour, rate;
  } const rows[] = {
      {{0}, 0, 1, 1024, 60},
      {{window | copy}, 0, 1, 1024, 60},
      {{0, 75}, 0, 1, 1024, 60}, // a window has no rate
      {{-1}, INT32_MIN, 1, 1024, 60},
      {{full, -1}, INT32_MIN, 1, 1024, 60},
      {{flip}, 1, 1, 2048, 60},
      {{flip | window}, 0, 1, 2048, 60},
      {{full | copy, 0}, 1, 2, 1024, 0},
      {{full | copy}, 0, 2, 1024, 0},
      {{window | full}, 1, 1, 1024, 0},
      {{waits | 4 | 32}, 0, 1, 1024, 0},
  };
  for (const auto &row : rows) {
    const auto &a = row.arguments;
    SCOPED_TRACE(testing::PrintToString(a));
    const size_t notices = host.mode_changes.size();
    const int32_t result =
        a.size() == 1 ? host.call(ORB_mode_change, a[0]) : host.call(ORB_mode_change, a[0], a[1]);
    EXPECT_EQ(result, row.result);
    EXPECT_EQ(mode.type, row.type);
    EXPECT_EQ(full_screen, row.type == 2);
    EXPECT_EQ(host.full_screen, row.type == 2);
    EXPECT_EQ(mode.bufferbehaviour, row.behaviour);
    EXPECT_EQ(mode.rate, row.rate);
    EXPECT_EQ(host.mode_changes.size(), notices + (row.result == 1 ? 2 : 0));
    EXPECT_EQ(mode.changing + change_mode, 0);
    EXPECT_EQ(*fading, 0);
    EXPECT_EQ(ground->pixels, pixels) << "the screen stays";
    EXPECT_EQ(pixels[7], 99);
    EXPECT_EQ(ground_puting, 1);
  }
  EXPECT_TRUE(SDL_GetVideoSurface() && display);
  EXPECT_EQ(host.vsync, 1);
  EXPECT_EQ(mode_centerwindow, 0);
  EXPECT_EQ(mode_centermouse, 1);
  EXPECT_EQ(host.left_over(), 0u);
}

TEST_F(Mode, AModeChangeThatFailsIsTakenBack) {
  ASSERT_EQ(set(1100, 700, 32), 1);
  const state before = now();
  EXPECT_EQ(host.call(ORB_mode_change, full, 0), 0) << "the desktop is 1024 wide";
  EXPECT_EQ(now(), before);
  EXPECT_EQ(host.full_screen, 0);
  expect_presented();
}

TEST_F(Mode, ModeExistsAnswersFromTheLists) {
  ASSERT_TRUE(create_mode_lists());
  add_video_mode(640, 480, 16, 60);
  add_video_mode(640, 480, 24, 0);
  ASSERT_TRUE(finish_mode_lists());
  struct {
    int32_t w, h, bpp, rate, result;
  } const rows[] = {{640, 480, 16, 0, 1},  {640, 480, 16, 60, 1}, {640, 480, 16, 75, 0},
                    {640, 480, 8, 0, 0},   {640, 480, 24, 0, 0},  {640, 481, 16, 0, 0},
                    {640, 480, 16, -1, 0}, {-1, -1, -1, -1, 0}};
  for (const auto &row : rows) {
    EXPECT_EQ(host.call(ORB_mode_exists, row.w, row.h, row.bpp, row.rate), row.result);
    if (row.rate == 0) {
      EXPECT_EQ(host.call(ORB_mode_exists, row.w, row.h, row.bpp), row.result);
    }
  }
}

TEST_F(Mode, EveryFilterOpensItsWindowAndKeepsThePicture) {
  while (*fading)
    update_fade();
  for (const int32_t bpp : {8, 16, 32})
    for (int32_t scale = 0; scale < 3; ++scale)
      for (const int32_t lines : {0, 1 | 16, 1 | 32, 1 | 64, 1 | 128}) {
        SCOPED_TRACE(testing::Message() << bpp << " bits, scale " << scale << ", lines " << lines);
        ASSERT_EQ(set(67, 49, bpp, no_fade, scale, lines), 1);
        EXPECT_EQ(sdl_w, scale ? 134 : 67);
        EXPECT_EQ(sdl_h, scale ? 98 : 49);
        ORBGI2D_BlitFill(ground, 3, 0);
        ground_puting = 1;
        const void *const pixels = ground->pixels;
        EXPECT_EQ(host.call(ORB_mode_set_filter, 2 - scale), 1);
        EXPECT_EQ(filter_scale, 2 - scale);
        EXPECT_EQ(filter_scanline_percent, scanline_index(lines)) << "left out";
        EXPECT_EQ(sdl_w, scale < 2 ? 134 : 67);
        EXPECT_EQ(ground->pixels, pixels);
        EXPECT_EQ(ground_puting, 1);
        EXPECT_EQ(pixel_of_display(0, 0), 3u) << "redrawn at once";
        EXPECT_EQ(host.call(ORB_mode_set_filter, 0, 0, 7), 1);
        EXPECT_EQ(host.call(ORB_mode_get_filter, 3), 7);
        EXPECT_EQ(host.call(ORB_mode_get_filter, 2), 0);
        EXPECT_EQ(*fading + filtering_mode + mode.changing, 0);
        expect_presented();
      }
  EXPECT_TRUE(host.fatals.empty());
}

TEST_F(Mode, FiltersOutOfRangeOrTooLargeChangeNothing) {
  ASSERT_EQ(set(9000, 40, 8, no_fade, 0, 1 | 32), 1);
  const state before = now();
  for (const int32_t wrong : {-1, 3, INT32_MAX})
    EXPECT_EQ(host.call(ORB_mode_set_filter, wrong), INT32_MIN);
  for (const int32_t wrong : {-1, 16})
    EXPECT_EQ(host.call(ORB_mode_set_filter, 0, 0, wrong), INT32_MIN);
  EXPECT_EQ(now(), before);
  EXPECT_EQ(host.call(ORB_mode_set_filter, 1), 0) << "no display is 18000 wide";
  EXPECT_EQ(now(), before);
  EXPECT_EQ(host.fatals.size(), 1u);
}

TEST_F(Mode, RenderersAreKeptForTheScriptAlone) {
  struct {
    int32_t renderer, type, result, kept;
  } const rows[] = {{0, 2, 1, 2},         {0, 0, 1, 1},         {1, 2, 1, 1},
                    {0, 3, INT32_MIN, 1}, {1, 3, INT32_MIN, 1}, {2, 0, INT32_MIN, 1},
                    {-1, 0, INT32_MIN, 1}};
  for (const auto &row : rows) {
    host.signals.clear();
    EXPECT_EQ(host.call(ORB_mode_set_render, row.renderer, row.type), row.result);
    EXPECT_EQ(host.call(ORB_mode_get_render, 0), row.kept);
    EXPECT_EQ(host.signals.size(), row.renderer == 0 && row.result == 1 ? 1u : 0u);
  }
  EXPECT_EQ(host.call(ORB_mode_set_render, 2), 1);
  EXPECT_EQ(rendering2D_type, 2);
}

TEST_F(Mode, VirtualResolutionIsAppliedNowOrWithTheNextChange) {
  ASSERT_EQ(set(64, 48, 32, no_fade), 1);
  const auto virtual_to = [&](int32_t w, int32_t h, int32_t aspect, int32_t apply) {
    return host.call(ORB_virtualresolution_set, w, h, aspect, apply);
  };
  EXPECT_EQ(virtual_to(200, 100, 1, 0), 1);
  EXPECT_EQ(host.call(ORB_virtualresolution_is_emulated), 1);
  EXPECT_EQ(sdl_w, 64) << "not yet";
  EXPECT_EQ(host.call(ORB_screen_set_color, 5), 1) << "chooses routines anew";
  expect_presented();
  EXPECT_EQ(host.call(ORB_mode_change, flip), 1);
  EXPECT_EQ(sdl_w, 200);
  EXPECT_EQ(sdl_h, 100);
  EXPECT_EQ(mode.width, 64);
  EXPECT_EQ(host.call(ORB_virtualresolution_get_ratiowidth), 133);
  EXPECT_EQ(host.call(ORB_virtualresolution_get_xoffset), 33);

  ORBGI2D_BlitFill(screen, 0x123456, 0);
  VID_DrawFrame();
  EXPECT_EQ(pixel_of_display(32, 50), 0u);
  EXPECT_EQ(pixel_of_display(33, 50) & 0xFFFFFF, 0x123456u);
  // The last column is partial: the screen spans 133 1/3 of them.
  EXPECT_EQ(pixel_of_display(166, 99) & 0xFFFFFF, 0x123456u);
  EXPECT_EQ(pixel_of_display(167, 0), 0u);

  // Another size, not yet applied; the display stays the same.
  EXPECT_EQ(virtual_to(700, 700, 0, 0), 1);
  VID_DrawFrame();
  EXPECT_EQ(pixel_of_display(33, 50) & 0xFFFFFF, 0x123456u);
  EXPECT_EQ(virtual_to(63, 47, 0, 1), 1);
  EXPECT_EQ(sdl_w, 63);
  // 2x has no effect until the virtual resolution ends.
  EXPECT_EQ(host.call(ORB_mode_set_filter, 1), 1);
  EXPECT_EQ(sdl_w, 63);
  EXPECT_EQ(virtual_to(0, 0, 0, 0), 1);
  EXPECT_EQ(sdl_w, 128);
  EXPECT_EQ(virtual_buffer_w, nullptr);
  EXPECT_EQ(host.call(ORB_virtualresolution_is_emulated), 0);
  ORBGI2D_BlitFill(screen, 0x654321, 0);
  VID_DrawFrame();
  EXPECT_EQ(pixel_of_display(127, 95) & 0xFFFFFF, 0x654321u);
  EXPECT_EQ(host.call(ORB_mode_set_filter, 0), 1);
  expect_presented();
  EXPECT_TRUE(host.fatals.empty());
}

TEST_F(Mode, TheSameSizeAndDepthKeepsThePictures) {
  const std::pair<const char *, std::function<int32_t()>> routes[] = {
      {"mode_set", [&] { return set(64, 48); }},
      {"full screen", [&] { return set(64, 48, mode.bpp, 2); }},
      {"virtual on", [&] { return host.call(ORB_virtualresolution_set, 100, 90, 0, 1); }},
      {"virtual off", [&] { return host.call(ORB_virtualresolution_set, 0, 0, 0, 0); }},
      {"a filter", [&] { return host.call(ORB_mode_set_filter, 1); }},
      {"no filter", [&] { return host.call(ORB_mode_set_filter, 0); }},
      {"back to a window", [&] { return host.call(ORB_mode_change, 1); }},
  };
  for (const int32_t bpp : {8, 16, 32})
    for (const bool put : {false, true}) {
      ASSERT_EQ(set(64, 48, bpp, no_fade | 1), 1);
      while (*fading)
        update_fade();
      for (const auto &[name, take] : routes) {
        SCOPED_TRACE(testing::Message() << name << " at " << bpp << " bits, put " << put);
        mode_fade = put; // a screen without restore does not fade either
        *host.global("restore_type") = restore_type = put ? 0 : -1;
        ORBGI2D_BlitFill(ground, 7, 0);
        ground_puting = put;
        ORBGI2D_BlitFill(screen, 9, 0);
        EXPECT_EQ(take(), 1);
        EXPECT_EQ(*static_cast<uint8_t *>(ground->pixels), 7);
        EXPECT_EQ(ground_puting, put);
        if (!put) EXPECT_EQ(*static_cast<uint8_t *>(screen->pixels), 9);
        while (*fading)
          ORB_mod_graphics2D_frame();
        EXPECT_EQ(pixel_of_display(mode_x + 30, mode_y + 30), put ? 7u : 9u);
      }
    }
}

TEST_F(Mode, TheBackgroundIsRedrawnFaded) {
  for (const int32_t bpp : {16, 32}) {
    ASSERT_EQ(set(64, 48, bpp, no_fade), 1);
    ORBGI2D_BlitFill(ground, 0xFFFF, 0);
    ground_puting = 1;
    host.call(ORB_screen_fade_out);
    EXPECT_EQ(host.call(ORB_mode_set_filter, 1), 1);
    EXPECT_EQ(pixel_of_display(1, 1), 0u);
    EXPECT_EQ(host.call(ORB_mode_set_filter, 0), 1);
    host.call(ORB_screen_fade_in);
  }
}

TEST_F(Mode, AFailureTakesItsFlagsBack) {
  ASSERT_EQ(set(64, 48, 32, 4 | 16 | no_fade | 4096), 1);
  *host.global("vsync") = 1; // set by the script since
  const auto choices = [&] {
    return std::array<int32_t, 5>{mode_centerwindow, mode_centermouse, mode_fade, vsync,
                                  *host.global("vsync")};
  };
  const auto before = choices();
  EXPECT_EQ(set(60000, 48, 32, 8 | 32 | 128 | 4096), 0);
  EXPECT_EQ(choices(), before);
  EXPECT_EQ(fade_pos, (fade_levels{0, 0, 0})) << "on its way back from the fade-out";
  EXPECT_EQ(*fading, 1);
}

TEST_F(Mode, VirtualResolutionsOutOfRangeChangeNothing) {
  ASSERT_EQ(set(64, 48, 32, no_fade), 1);
  ASSERT_EQ(host.call(ORB_virtualresolution_set, 80, 60, 0, 1), 1);
  const state before = now();
  const int32_t wrong[][4] = {{-1, 60, 0, 1},    {80, -1, 0, 1}, {80, 60, 2, 1},
                              {80, 60, -1, 1},   {80, 60, 0, 2}, {80, 60, 0, -1},
                              {65536, 60, 0, 1}, {0, 60, 0, 1},  {80, 0, 0, 1}};
  for (const auto &a : wrong)
    EXPECT_EQ(host.call(ORB_virtualresolution_set, a[0], a[1], a[2], a[3]), INT32_MIN);
  EXPECT_EQ(now(), before);
  EXPECT_EQ(virtual_resolution_w, 80);
  EXPECT_EQ(host.call(ORB_virtualresolution_set, 65535, 65535, 0, 1), 0) << "no such display";
  EXPECT_EQ(now(), before);
  EXPECT_EQ(virtual_resolution_w, 80);
  EXPECT_EQ(sdl_w, 80);
  ORBGI2D_BlitFill(screen, 0x654321, 0);
  VID_DrawFrame();
  EXPECT_EQ(pixel_of_display(79, 59) & 0xFFFFFF, 0x654321u);
}

TEST_F(Mode, BordersAreBlackWhateverStoodThere) {
  ASSERT_EQ(set(64, 48, 32, no_fade), 1);
  ASSERT_EQ(host.call(ORB_virtualresolution_set, 200, 100, 0, 1), 1);
  ORBGI2D_BlitFill(screen, 0xFFFFFF, 0);
  VID_DrawFrame();
  EXPECT_NE(pixel_of_display(0, 0), 0u);
  ASSERT_EQ(host.call(ORB_virtualresolution_set, 200, 100, 1, 1), 1);
  EXPECT_EQ(pixel_of_display(0, 0), 0u);
}

} // namespace
