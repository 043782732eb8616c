// Real windows and full screens: the module opens them at each depth, draws a picture, and the
// pixels are read back from the X server. Runs on the screen that DISPLAY names, whatever it is,
// and on small servers of every depth started for it.
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <functional>
#include <map>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include <fcntl.h>
#include <gtest/gtest.h>
#include <signal.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

#include "module/module.h"
#include "support/world.h"
#include "surface/palette.h"
#include "surface/screen.h"
#include "video/mode_state.h"

// Last: their macros (None, Bool, Status) would break the headers above.
#include <SDL.h>
#include <SDL_syswm.h>
#include <X11/Xlib.h>
#include <X11/Xutil.h>

namespace {

/// A server with one virtual screen, such as "640x480x16"; it ends with this program.
struct virtual_server {
  pid_t process;
  std::string name; ///< empty when it couldn't be started

  explicit virtual_server(const char *geometry) {
    int channel[2];
    if (pipe(channel) != 0) return;
    process = fork();
    if (process == 0) {
      prctl(PR_SET_PDEATHSIG, SIGTERM);
      const int null = open("/dev/null", O_WRONLY);
      dup2(null, 1);
      dup2(null, 2);
      execlp("Xvfb", "Xvfb", "-displayfd", std::to_string(channel[1]).c_str(), "-screen", "0",
             geometry, "-nolisten", "tcp", "-noreset", nullptr);
      _exit(127);
    }
    close(channel[1]);
    for (char c; read(channel[0], &c, 1) == 1 && c != '\n';)
      name += name.empty() ? std::string(":") + c : std::string(1, c);
    close(channel[0]);
  }
  ~virtual_server() {
    kill(process, SIGTERM);
    waitpid(process, nullptr, 0);
  }
};

struct colour {
  int r, g, b;
};

using picture = std::function<colour(int x, int y)>;

/// The screen a test runs on: size and depth of its own server, or "" for DISPLAY.
struct RealWindow : testing::TestWithParam<const char *> {
  std::unique_ptr<orbhost::Host> host;
  Display *display = nullptr;
  int depth = 0;
  const std::string given = getenv("DISPLAY") ? getenv("DISPLAY") : "";

  void SetUp() override {
    static std::map<std::string, std::unique_ptr<virtual_server>> servers;
    // One connection per server for the whole program: a server that loses its last client resets,
    // and refuses connections meanwhile.
    static std::map<std::string, Display *> connections;
    std::string name = given;
    if (*GetParam()) {
      auto &server = servers[GetParam()];
      if (!server) server = std::make_unique<virtual_server>(GetParam());
      name = server->name;
    }
    if (name.empty()) GTEST_SKIP() << (*GetParam() ? "no Xvfb" : "no DISPLAY");
    Display *&connection = connections[name];
    display = connection ? connection : connection = XOpenDisplay(name.c_str());
    ASSERT_TRUE(display) << name << " can't be opened";
    depth = DefaultDepth(display, DefaultScreen(display));
    setenv("DISPLAY", name.c_str(), 1);
    setenv("SDL_VIDEODRIVER", "x11", 1);
    SDL_QuitSubSystem(SDL_INIT_VIDEO); // another driver's, of tests before
    host = std::make_unique<orbhost::Host>(orbhost::Options{.headless = false});
    host->on_fatal = [](int32_t, const std::string &text) { ADD_FAILURE() << text; };
    host->on_error = [](const orbhost::ErrorReport &) {};
    host->on_message = [](const std::string &, const std::string &) {};
    host->attach(ORB_mod_graphics2D_MainLibraryExports);
    host->init();
  }
  void TearDown() override {
    host.reset();
    if (display) SDL_QuitSubSystem(SDL_INIT_VIDEO);
    unsetenv("SDL_VIDEODRIVER");
    given.empty() ? unsetenv("DISPLAY") : setenv("DISPLAY", given.c_str(), 1);
  }

  /// The depth at which the display lists full screens.
  int32_t listed_depth() const { return depth == 24 ? 32 : depth; }
  /// The possible loss: a 16-bit display has 5 or 6 bits per channel, and SDL's conversion from
  /// 5-6-5 to 8 bits fills the low ones.
  int slack() const { return depth < 24 || mode.bpp == 16 ? 8 : 0; }

  /// A colour that both the mode and the display represent closely enough to compare.
  static uint32_t pattern(int x, int y) {
    if (mode.bpp == 8) return uint32_t(x * 5 + y * 11) & 255;
    const uint32_t r = uint32_t(x * 8) & 0xF8, g = uint32_t(y * 4) & 0xFC,
                   b = uint32_t((x ^ y) * 8) & 0xF8;
    return mode.bpp == 16 ? r << 8 | g << 3 | b >> 3 : r << 16 | g << 8 | b;
  }
  /// What the display shows of the pattern at a pixel of the script's screen.
  static colour meant(int x, int y) {
    const uint32_t p = pattern(x, y);
    if (mode.bpp == 8) return {palette->colours[p].r, palette->colours[p].g, palette->colours[p].b};
    if (mode.bpp == 16) return {int(p >> 11) * 8, int(p >> 5 & 63) * 4, int(p & 31) * 8};
    return {int(p >> 16), int(p >> 8 & 255), int(p & 255)};
  }

  void draw_ground_picture() {
    for (int y = 0; y < mode.height; ++y)
      for (int x = 0; x < mode.width; ++x)
        set_pixel(*ground, uint32_t(x), uint32_t(y), pattern(x, y));
    host->call("ground_put_pixel", {0, 0, int32_t(pattern(0, 0))}); // so that all of it is shown
    show(10);
  }
  void show(int frames) {
    for (int i = 0; i < frames; ++i)
      host->frame();
  }

  /// Compares the window, as the server holds it, with what is expected at each of its pixels.
  void expect_window(const picture &expected) {
    SDL_SysWMinfo info{};
    SDL_VERSION(&info.version);
    ASSERT_EQ(SDL_GetWMInfo(&info), 1);
    XWindowAttributes seen{};
    XGetWindowAttributes(display, info.info.x11.window, &seen);
    ASSERT_EQ(seen.width, sdl_w);
    ASSERT_EQ(seen.height, sdl_h);
    XImage *const image = XGetImage(display, info.info.x11.window, 0, 0, unsigned(seen.width),
                                    unsigned(seen.height), AllPlanes, ZPixmap);
    ASSERT_TRUE(image);
    // SDL may pick a DirectColor visual and leaves its ramps linear, so its fields mean the same.
    std::vector<XColor> colours(256);
    for (size_t i = 0; i < 256; ++i)
      colours[i].pixel = i;
    const bool indexed = seen.visual->c_class == PseudoColor;
    if (indexed) XQueryColors(display, seen.colormap, colours.data(), 256);
    const auto at = [&](int x, int y) -> colour {
      const unsigned long p = XGetPixel(image, x, y);
      const XColor &c = colours[p & 255];
      if (indexed) return {c.red >> 8, c.green >> 8, c.blue >> 8};
      const auto part = [p](unsigned long mask) { return int(uint64_t(p & mask) * 255 / mask); };
      return {part(seen.visual->red_mask), part(seen.visual->green_mask),
              part(seen.visual->blue_mask)};
    };
    int wrong = 0;
    for (int y = 0; y < seen.height; ++y)
      for (int x = 0; x < seen.width; ++x) {
        const colour want = expected(x, y), got = at(x, y);
        const auto near = [this](int a, int b) { return abs(a - b) <= slack(); };
        if (near(want.r, got.r) && near(want.g, got.g) && near(want.b, got.b)) continue;
        if (++wrong <= 3)
          ADD_FAILURE() << x << "," << y << ": " << got.r << " " << got.g << " " << got.b
                        << " instead of " << want.r << " " << want.g << " " << want.b;
      }
    EXPECT_EQ(wrong, 0);
    XDestroyImage(image);
  }
  /// The picture in the middle of a display, with black around it.
  static colour bordered(int x, int y) {
    const int px = x - mode_x, py = y - mode_y;
    const bool inside = px >= 0 && py >= 0 && px < mode.width && py < mode.height;
    return inside ? meant(px, py) : colour{0, 0, 0};
  }
};

} // namespace

TEST_P(RealWindow, ShowsThePictureAndItsFiltersAtEveryDepth) {
  for (const int32_t bpp : {8, 16, 32}) {
    if (depth == 8 && bpp != 8) continue; // 256 colours cannot show it
    SCOPED_TRACE(std::to_string(bpp) + " bits");
    ASSERT_EQ(host->call("mode_set", {197, 151, bpp}), 1);
    draw_ground_picture();
    expect_window(meant);
    ASSERT_EQ(host->call("mode_set", {101, 75, bpp, 0, 1, 0}), 1); // 2x
    draw_ground_picture();
    expect_window([](int x, int y) { return meant(x / 2, y / 2); });
    ASSERT_EQ(host->call("mode_set_filter", {1, 1 | 32}), 1); // and 50 % scan lines
    show(1);
    expect_window([&](int x, int y) {
      const colour c = meant(x / 2, y / 2);
      return y % 2 == 0 ? c : bpp == 8 ? colour{0, 0, 0} : colour{c.r / 2, c.g / 2, c.b / 2};
    });
    ASSERT_EQ(host->call("mode_set_filter", {0, 0}), 1);
    ASSERT_EQ(host->call("virtualresolution_set", {303, 200, 1, 1}), 1); // 269 1/3 x 200
    draw_ground_picture();
    expect_window([](int x, int y) {
      return x >= 16 && x < 16 + 270 ? meant((x - 16) * 75 / 200, y * 75 / 200) : colour{0, 0, 0};
    });
    ASSERT_EQ(host->call("virtualresolution_set", {0, 0, 0, 1}), 1);
  }
}

TEST_P(RealWindow, PartialDumpsPaletteChangesAndFadesReachAnEightBitWindow) {
  ASSERT_EQ(host->call("mode_set", {160, 120, 8}), 1);
  draw_ground_picture();
  host->global("dump_type") = host->global("restore_type") = 0;
  show(2);
  expect_window(meant);
  for (int i = 1; i < 255; ++i)
    set_color(uint8_t(i), i / 4, 63 - i / 4, i % 64);
  show(2);
  expect_window(meant);
  EXPECT_EQ(host->call("screen_fade_out"), 1);
  expect_window([](int, int) { return colour{0, 0, 0}; });
}

TEST_P(RealWindow, FullScreensHaveBordersOrFillIt) {
  if (!*GetParam()) return; // its modes are unknown
  const int32_t bpp = listed_depth();
  ASSERT_EQ(host->call("mode_exists", {640, 480, bpp}), 1);
  ASSERT_EQ(host->call("mode_exists", {320, 200, bpp}), 0);
  ASSERT_EQ(host->call("mode_set", {320, 200, bpp, 2 | 2048}), 1);
  EXPECT_EQ(emulated_mode, 1);
  EXPECT_EQ(emulated_w, 640);
  EXPECT_EQ(emulated_h, 480);
  EXPECT_EQ(mode_x, 160);
  EXPECT_EQ(mode_y, 140);
  EXPECT_EQ(mode.bufferbehaviour, 1024) << "a picture with borders can't be flipped";
  draw_ground_picture();
  expect_window(bordered);
  // A smaller picture on the same display: its border must not show the former one.
  ASSERT_EQ(host->call("mode_set", {250, 130, bpp}), 1);
  draw_ground_picture();
  expect_window(bordered);
  ASSERT_EQ(host->call("mode_set", {320, 200, bpp}), 1);
  draw_ground_picture();
  // 2x makes it fit: only the height is emulated.
  ASSERT_EQ(host->call("mode_set_filter", {1}), 1);
  EXPECT_EQ(mode_x, 0);
  EXPECT_EQ(mode_y, 40);
  show(1);
  expect_window([](int x, int y) {
    const int py = (y - 40) >> 1;
    return py >= 0 && py < 200 ? meant(x / 2, py) : colour{0, 0, 0};
  });
  ASSERT_EQ(host->call("mode_set", {640, 480, bpp, 2048, 0, 0, 0}), 1);
  EXPECT_EQ(emulated_mode, 0);
  EXPECT_EQ(mode_bufferflipping, 1);
  draw_ground_picture();
  expect_window(meant);
  // Back to a window through a change that keeps the picture.
  ASSERT_EQ(host->call("mode_change", {1}), 1);
  EXPECT_EQ(sdl_fullscreen, 0);
  show(1);
  expect_window(meant);
}

TEST_P(RealWindow, WhatItHasNoModeForIsRefused) {
  if (!*GetParam()) return; // its modes are unknown
  ASSERT_EQ(host->call("mode_set", {200, 150, listed_depth(), 1}), 1);
  const int32_t other = listed_depth() == 16 ? 32 : 16;
  EXPECT_EQ(host->call("mode_exists", {640, 480, other}), 0);
  EXPECT_EQ(host->call("mode_set", {200, 150, other, 2}), 0);
  EXPECT_EQ(host->call("mode_set", {641, 480, listed_depth(), 2}), 0) << "too large";
  EXPECT_EQ(mode.bpp, listed_depth());
  EXPECT_EQ(mode.type, 1);
  EXPECT_EQ(sdl_w, 200);
  draw_ground_picture();
  expect_window(meant);
}

INSTANTIATE_TEST_SUITE_P(Given, RealWindow, testing::Values(""));
INSTANTIATE_TEST_SUITE_P(Small, RealWindow,
                         testing::Values("640x480x8", "640x480x16", "640x480x24"),
                         [](const testing::TestParamInfo<const char *> &screen) {
                           return "Of" + std::string(strrchr(screen.param, 'x') + 1) + "Bits";
                         });

// ---- The player's window -----------------------------------------------------------------------

namespace {

/// A player on a server of its own, and what the screen of that shows.
struct player {
  virtual_server server{"700x500x24"};
  Display *display = server.name.empty() ? nullptr : XOpenDisplay(server.name.c_str());
  pid_t process = 0;

  explicit player(const std::string &script) {
    if (!display || (process = fork()) != 0) return;
    setenv("DISPLAY", server.name.c_str(), 1);
    unsetenv("SDL_VIDEODRIVER");
    execl(ORB_SOURCE_DIR "/tools/run32", "run32", ORB_BINARY_DIR "/bin/orbplay", "--mute",
          script.c_str(), nullptr);
    _exit(127);
  }
  ~player() {
    if (process > 0) kill(process, SIGKILL), waitpid(process, nullptr, 0);
    if (display) XCloseDisplay(display);
  }

  /// Waits until the screen shows what is expected; the first pixel that doesn't, after some seconds.
  std::string differs(const std::function<uint32_t(int, int)> &expected) {
    std::string wrong;
    for (int tries = 0; tries < 100; ++tries, usleep(50'000)) {
      wrong.clear();
      XImage *const image = XGetImage(display, DefaultRootWindow(display), 0, 0, 700, 500, ~0UL, ZPixmap);
      for (int i = 0; wrong.empty() && i < 700 * 500; ++i)
        if ((XGetPixel(image, i % 700, i / 700) & 0xFFFFFF) != expected(i % 700, i / 700))
          wrong = std::to_string(i % 700) + "," + std::to_string(i / 700);
      XDestroyImage(image);
      if (wrong.empty()) break;
    }
    return wrong;
  }

  /// Presses or releases a key in the window that listens to keys.
  void send(int type, KeySym key, Window window) {
    XWindowAttributes of{};
    XGetWindowAttributes(display, window, &of);
    XEvent event{};
    event.xkey = {type, 0, True, display, window, of.root, None, CurrentTime, 1, 1, 1, 1, 0,
                  XKeysymToKeycode(display, key), True};
    if (of.all_event_masks & KeyPressMask) XSendEvent(display, window, False, KeyPressMask, &event);
    Window root, parent, *children = nullptr;
    unsigned count = 0;
    XQueryTree(display, window, &root, &parent, &children, &count);
    for (unsigned i = 0; i < count; ++i)
      send(type, key, children[i]);
    if (children) XFree(children);
    XFlush(display);
  }
  void press(std::initializer_list<KeySym> keys) {
    for (const KeySym key : keys)
      send(KeyPress, key, DefaultRootWindow(display));
    for (const KeySym key : keys)
      send(KeyRelease, key, DefaultRootWindow(display));
  }
};

} // namespace

TEST(PlayerWindow, EnlargesByWholeNumbersAndFillsTheScreen) {
  const scratch_folder place;
  const std::string script = place.path / "game.lua";
  std::ofstream(script) << "mode_set(100, 60, 32, mode_window | mode_donotfade)\n"
                           "screen_fade(100, 100, 100, 64)\n"
                           "for i = 0, 5999 do\n"
                           "  local x, y = i % 100, i // 100\n"
                           "  ground_put_pixel(x, y, rgb(2 * x, 4 * y, 99))\n"
                           "end\n"
                           "while not key('q') do frame() end\n";
  player played(script);
  if (!played.display) GTEST_SKIP() << "no Xvfb";
  const auto shown = [](int left, int top, int scale) {
    return [=](int x, int y) -> uint32_t {
      const int px = (x - left) / scale, py = (y - top) / scale;
      const bool inside = x >= left && y >= top && px < 100 && py < 60;
      return inside ? uint32_t(px * 2 << 16 | py * 4 << 8 | 99) : 0;
    };
  };
  // 85 % of the screen hold five times the picture; all of it, seven times.
  EXPECT_EQ(played.differs(shown(100, 100, 5)), "");
  played.press({XK_Alt_L, XK_Return});
  EXPECT_EQ(played.differs(shown(0, 40, 7)), "");
  played.press({XK_Alt_L, XK_Return});
  EXPECT_EQ(played.differs(shown(100, 100, 5)), "");
  int status = 0;
  played.press({XK_q});
  EXPECT_EQ(waitpid(std::exchange(played.process, 0), &status, 0) > 0 && status == 0, true);
}
