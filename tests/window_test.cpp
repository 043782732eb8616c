// Real windows and full screens: the module opens them at each depth, draws a picture through its
// hooks, and the pixels are read back from the X server. Runs on the screen that DISPLAY names,
// whatever it is, and on small servers of every depth started for it.
#include <cstdlib>
#include <cstring>
#include <memory>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "fake_runtime.h"
#include "module/module.h"
#include "script/handlers.h"
#include "surface/palette.h"
#include "surface/screen.h"
#include "video/mode_state.h"

// Last: their macros (None, Bool, Status) would break the headers above.
#include <SDL.h>
#include <SDL_syswm.h>

#include "x_display.h"

namespace {

/// The screen a test runs on: size and depth of its own server, or "" for DISPLAY.
struct RealWindow : testing::TestWithParam<const char *> {
  std::unique_ptr<fake_runtime> host;
  Display *display = nullptr;

  void SetUp() override {
    const char *const given = getenv("DISPLAY");
    given_ = given ? given : "";
    const std::string &name = *GetParam() ? server_of(GetParam()) : given_;
    if (name.empty()) GTEST_SKIP() << (*GetParam() ? "no Xvfb" : "no DISPLAY");
    display = connection_to(name);
    ASSERT_TRUE(display) << name << " can't be opened";
    setenv("DISPLAY", name.c_str(), 1);
    setenv("SDL_VIDEODRIVER", "x11", 1);
    host = std::make_unique<fake_runtime>();
    host->system.desktop_width = DisplayWidth(display, DefaultScreen(display));
    host->system.desktop_height = DisplayHeight(display, DefaultScreen(display));
    depth_ = DefaultDepth(display, DefaultScreen(display));
    ORB_mod_graphics2D_init();
    ASSERT_TRUE(host->fatals.empty()) << host->fatals[0];
  }
  void TearDown() override {
    if (host) ORB_mod_graphics2D_release();
    unsetenv("SDL_VIDEODRIVER");
    if (given_.empty())
      unsetenv("DISPLAY");
    else
      setenv("DISPLAY", given_.c_str(), 1);
  }

  static const std::string &server_of(const std::string &screen) {
    static std::map<std::string, std::unique_ptr<virtual_server>> servers;
    auto &server = servers[screen];
    if (!server) server = std::make_unique<virtual_server>(screen.c_str());
    return server->name();
  }
  /// One connection per server for the whole program: a server that loses its last client resets,
  /// and refuses connections meanwhile.
  static Display *connection_to(const std::string &name) {
    static std::map<std::string, Display *> connections;
    auto &found = connections[name];
    if (!found) found = XOpenDisplay(name.c_str());
    return found;
  }

  static Window shown_window() {
    SDL_SysWMinfo info{};
    SDL_VERSION(&info.version);
    EXPECT_EQ(SDL_GetWMInfo(&info), 1);
    return info.info.x11.window;
  }

  /// A colour that both the mode and the display represent closely enough to compare.
  static uint32_t pattern(int x, int y) {
    if (mode.bpp == 8) return uint32_t(x * 5 + y * 11) & 255;
    const uint32_t r = uint32_t(x * 8) & 0xF8, g = uint32_t(y * 4) & 0xFC,
                   b = uint32_t((x ^ y) * 8) & 0xF8;
    return mode.bpp == 16 ? r << 8 | g << 3 | b >> 3 : r << 16 | g << 8 | b;
  }
  static colour meant(uint32_t pixel) {
    if (mode.bpp == 8) {
      const orb_rgb &c = palette->colours[pixel];
      return {c.r, c.g, c.b};
    }
    if (mode.bpp == 16)
      return {int(pixel >> 11) * 8, int(pixel >> 5 & 63) * 4, int(pixel & 31) * 8};
    return {int(pixel >> 16 & 255), int(pixel >> 8 & 255), int(pixel & 255)};
  }

  void draw_ground_picture() {
    for (int y = 0; y < mode.height; ++y)
      for (int x = 0; x < mode.width; ++x)
        host->call(ORB_ground_put_pixel, x, y, pattern(x, y));
    for (int frame = 0; frame < 10; ++frame)
      ORB_mod_graphics2D_frame();
  }

  /// Compares the window with `expected(x, y)`; `slack` allows for bits the display's format lacks.
  template <typename F> void expect_window(F &&expected, int slack) {
    const window_picture picture(display, shown_window());
    ASSERT_TRUE(picture.good());
    ASSERT_EQ(picture.width, sdl_w);
    ASSERT_EQ(picture.height, sdl_h);
    int wrong = 0;
    for (int y = 0; y < picture.height; ++y)
      for (int x = 0; x < picture.width; ++x) {
        const colour want = expected(x, y), got = picture.at(x, y);
        const bool same = abs(want.r - got.r) <= slack && abs(want.g - got.g) <= slack &&
                          abs(want.b - got.b) <= slack;
        if (!same && ++wrong <= 3)
          ADD_FAILURE() << x << "," << y << ": " << got.r << " " << got.g << " " << got.b
                        << " instead of " << want.r << " " << want.g << " " << want.b;
      }
    EXPECT_EQ(wrong, 0);
  }

  /// The possible loss: a 16-bit display has 5 or 6 bits per channel, and SDL's conversion from
  /// 5-6-5 to 8 bits fills the low ones.
  int slack() const { return depth_ < 24 || mode.bpp == 16 ? 8 : 0; }
  int depth_ = 0;
  std::string given_;
};

TEST_P(RealWindow, ShowsThePictureAtEveryDepth) {
  for (const int32_t bpp : {8, 16, 32}) {
    if (depth_ == 8 && bpp != 8) continue; // 256 colours cannot show it
    SCOPED_TRACE(std::to_string(bpp) + " bits");
    ASSERT_EQ(host->call(ORB_mode_set, 197, 151, bpp), 1);
    draw_ground_picture();
    expect_window([](int x, int y) { return meant(pattern(x, y)); }, slack());
  }
  EXPECT_TRUE(host->fatals.empty());
}

TEST_P(RealWindow, PartialDumpsReachTheWindow) {
  ASSERT_EQ(host->call(ORB_mode_set, 160, 120, 8), 1);
  draw_ground_picture();
  *host->global("dump_type") = 0;
  *host->global("restore_type") = 0;
  ORB_mod_graphics2D_frame();
  ORB_mod_graphics2D_frame();
  expect_window([](int x, int y) { return meant(pattern(x, y)); }, slack());
}

TEST_P(RealWindow, PaletteChangesAndFadesReachAnEightBitWindow) {
  ASSERT_EQ(host->call(ORB_mode_set, 160, 120, 8), 1);
  draw_ground_picture();
  *host->global("dump_type") = 0;
  for (int i = 1; i < 255; ++i)
    set_color(uint8_t(i), i / 4, 63 - i / 4, i % 64);
  ORB_mod_graphics2D_frame();
  ORB_mod_graphics2D_frame();
  expect_window([](int x, int y) { return meant(pattern(x, y)); }, slack());
  EXPECT_EQ(host->call(ORB_screen_fade_out), 1);
  expect_window([](int, int) { return colour{0, 0, 0}; }, slack());
}

TEST_P(RealWindow, FullScreenEndsInTheModeBeforeOrInOneWithRoom) {
  ASSERT_EQ(host->call(ORB_mode_set, 200, 150, 32), 1);
  const int32_t opened = host->call(ORB_mode_set, 300, 180, 32, 2);
  if (opened == 1) {
    EXPECT_GE(sdl_w, 300);
    EXPECT_GE(sdl_h, 180);
    EXPECT_EQ(mode_x, (sdl_w - 300) / 2);
    EXPECT_EQ(mode_y, (sdl_h - 180) / 2);
    if (depth_ == 8) return;
    const auto bordered = [](int x, int y) {
      const int px = x - mode_x, py = y - mode_y;
      const bool inside = px >= 0 && py >= 0 && px < mode.width && py < mode.height;
      return inside ? meant(pattern(px, py)) : colour{0, 0, 0};
    };
    draw_ground_picture();
    expect_window(bordered, slack());
    // A smaller picture on the same display: its border must not show the former one.
    ASSERT_EQ(host->call(ORB_mode_set, 250, 130, 32), 1);
    draw_ground_picture();
    expect_window(bordered, slack());
  } else {
    EXPECT_EQ(opened, 0);
    EXPECT_EQ(mode.width, 200);
    EXPECT_EQ(sdl_w, 200);
  }
}

TEST_P(RealWindow, FiltersReachTheWindow) {
  const auto darkened = [](colour c) { return colour{c.r / 2, c.g / 2, c.b / 2}; };
  for (const int32_t bpp : {8, 16, 32}) {
    if (depth_ == 8 && bpp != 8) continue;
    SCOPED_TRACE(std::to_string(bpp) + " bits");
    ASSERT_EQ(host->call(ORB_mode_set, 101, 75, bpp, 0, 1, 0), 1); // 2x
    draw_ground_picture();
    expect_window([](int x, int y) { return meant(pattern(x / 2, y / 2)); }, slack());
    ASSERT_EQ(host->call(ORB_mode_set_filter, 1, 1 | 32), 1); // and 50 % scan lines
    ORB_mod_graphics2D_frame();
    const auto lined = [&](int x, int y) {
      const colour c = meant(pattern(x / 2, y / 2));
      return y % 2 == 0 ? c : bpp == 8 ? colour{0, 0, 0} : darkened(c);
    };
    expect_window(lined, slack());
    ASSERT_EQ(host->call(ORB_mode_set_filter, 0, 0), 1);
    ASSERT_EQ(host->call(ORB_virtualresolution_set, 303, 200, 1, 1), 1); // 269 1/3 x 200
    draw_ground_picture();
    const auto stretched = [](int x, int y) {
      const bool inside = x >= 16 && x < 16 + 270;
      return inside ? meant(pattern((x - 16) * 75 / 200, y * 75 / 200)) : colour{0, 0, 0};
    };
    expect_window(stretched, slack());
    ASSERT_EQ(host->call(ORB_virtualresolution_set, 0, 0, 0, 1), 1);
  }
}

struct SmallScreen : RealWindow {
  /// The depth at which the display lists full screens.
  int32_t listed_depth() const { return depth_ == 24 ? 32 : depth_; }
};

TEST_P(SmallScreen, FullScreensHaveBordersOrFillIt) {
  const int32_t bpp = listed_depth();
  ASSERT_EQ(host->call(ORB_mode_exists, 640, 480, bpp), 1);
  ASSERT_EQ(host->call(ORB_mode_exists, 320, 200, bpp), 0);
  ASSERT_EQ(host->call(ORB_mode_set, 320, 200, bpp, 2 | 2048), 1);
  EXPECT_EQ(emulated_mode, 1);
  EXPECT_EQ(emulated_w, 640);
  EXPECT_EQ(emulated_h, 480);
  EXPECT_EQ(mode_x, 160);
  EXPECT_EQ(mode_y, 140);
  EXPECT_EQ(mode.bufferbehaviour, 1024) << "a picture with borders can't be flipped";
  draw_ground_picture();
  const auto bordered = [](int x, int y) {
    const int px = x - 160, py = y - 140;
    const bool inside = px >= 0 && py >= 0 && px < 320 && py < 200;
    return inside ? meant(pattern(px, py)) : colour{0, 0, 0};
  };
  expect_window(bordered, slack());

  // 2x makes it fit: only the height is emulated.
  ASSERT_EQ(host->call(ORB_mode_set_filter, 1), 1);
  EXPECT_EQ(mode_x, 0);
  EXPECT_EQ(mode_y, 40);
  ORB_mod_graphics2D_frame();
  expect_window(
      [](int x, int y) {
        const int py = (y - 40) >> 1;
        return py >= 0 && py < 200 ? meant(pattern(x / 2, py)) : colour{0, 0, 0};
      },
      slack());

  ASSERT_EQ(host->call(ORB_mode_set, 640, 480, bpp, 2048, 0, 0, 0), 1);
  EXPECT_EQ(emulated_mode, 0);
  EXPECT_EQ(mode_bufferflipping, 1);
  draw_ground_picture();
  expect_window([](int x, int y) { return meant(pattern(x, y)); }, slack());

  // Back to a window through a change that keeps the picture.
  ASSERT_EQ(host->call(ORB_mode_change, 1), 1);
  EXPECT_EQ(sdl_fullscreen, 0);
  ORB_mod_graphics2D_frame();
  expect_window([](int x, int y) { return meant(pattern(x, y)); }, slack());
  EXPECT_TRUE(host->fatals.empty());
}

TEST_P(SmallScreen, WhatItHasNoModeForIsRefused) {
  ASSERT_EQ(host->call(ORB_mode_set, 200, 150, listed_depth(), 1), 1);
  const int32_t other = listed_depth() == 16 ? 32 : 16;
  EXPECT_EQ(host->call(ORB_mode_exists, 640, 480, other), 0);
  EXPECT_EQ(host->call(ORB_mode_set, 200, 150, other, 2), 0);
  EXPECT_EQ(host->call(ORB_mode_set, 641, 480, listed_depth(), 2), 0) << "too large";
  EXPECT_EQ(mode.bpp, listed_depth());
  EXPECT_EQ(mode.type, 1);
  draw_ground_picture();
  expect_window([](int x, int y) { return meant(pattern(x, y)); }, slack());
}

INSTANTIATE_TEST_SUITE_P(Given, RealWindow, testing::Values(""));
const auto small_screens = testing::Values("640x480x8", "640x480x16", "640x480x24");
const auto screen_name = [](const testing::TestParamInfo<const char *> &screen) {
  return "Of" + std::string(strrchr(screen.param, 'x') + 1) + "Bits";
};
INSTANTIATE_TEST_SUITE_P(Small, RealWindow, small_screens, screen_name);
INSTANTIATE_TEST_SUITE_P(Small, SmallScreen, small_screens, screen_name);

} // namespace
