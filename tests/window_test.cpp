// A real window: the module opens it at each depth, draws a picture through its hooks, and the
// pixels are read back from the X server. Needs a display (DISPLAY); any visual will do.
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
#include "surface/surface.h"
#include "video/video.h"

// Last: their macros (None, Bool, Status) would break the headers above.
#include <SDL.h>
#include <SDL_syswm.h>
#include <X11/Xutil.h>

namespace {

struct colour {
  int r, g, b;
};

/// One connection for the whole program, null without a display: an X server that loses its last
/// client starts anew, and refuses connections meanwhile.
Display *connection() {
  static Display *const display = XOpenDisplay(nullptr);
  return display;
}

/// The pixels of a window as the X server holds them.
class window_picture {
public:
  explicit window_picture(Window window) {
    XWindowAttributes attributes{};
    XGetWindowAttributes(connection(), window, &attributes);
    width = attributes.width;
    height = attributes.height;
    image_ = XGetImage(connection(), window, 0, 0, unsigned(width), unsigned(height), AllPlanes,
                       ZPixmap);
    visual_ = attributes.visual;
    // SDL may pick a DirectColor visual, whose ramps it leaves straight: its fields mean the same.
    if (visual_->c_class == PseudoColor) {
      colours_.resize(256);
      for (size_t i = 0; i < 256; ++i)
        colours_[i].pixel = i;
      XQueryColors(connection(), attributes.colormap, colours_.data(), 256);
    }
  }
  ~window_picture() {
    if (image_) XDestroyImage(image_);
  }
  window_picture(const window_picture &) = delete;
  window_picture &operator=(const window_picture &) = delete;

  bool good() const { return image_ != nullptr; }
  colour at(int x, int y) const {
    const unsigned long pixel = XGetPixel(image_, x, y);
    if (!colours_.empty()) {
      const XColor &c = colours_[pixel & 255];
      return {c.red >> 8, c.green >> 8, c.blue >> 8};
    }
    return {component(pixel, visual_->red_mask), component(pixel, visual_->green_mask),
            component(pixel, visual_->blue_mask)};
  }
  int width = 0, height = 0;

private:
  /// Top bits of a masked field as 0..255.
  static int component(unsigned long pixel, unsigned long mask) {
    return int(uint64_t(pixel & mask) * 255 / mask);
  }
  XImage *image_ = nullptr;
  Visual *visual_ = nullptr;
  std::vector<XColor> colours_;
};

struct RealWindow : testing::Test {
  std::unique_ptr<fake_runtime> host;

  void SetUp() override {
    const char *const name = getenv("DISPLAY");
    if (!name || !*name) GTEST_SKIP() << "no DISPLAY";
    Display *const display = connection();
    ASSERT_TRUE(display) << "DISPLAY is set but can't be opened";
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
  }

  static Window shown_window() {
    SDL_SysWMinfo info{};
    SDL_VERSION(&info.version);
    EXPECT_EQ(SDL_GetWMInfo(&info), 1);
    return info.info.x11.window;
  }

  /// A colour that the mode and the display can both hold exactly enough to compare.
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

  /// Compares the window with `expected(x, y)`; `slack` for bits that the display's format lacks.
  template <typename F> void expect_window(F &&expected, int slack) {
    const window_picture picture(shown_window());
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

  /// What may be lost: a display of 16 bits has 5 or 6 bits of each, and SDL's own way from 5-6-5
  /// to 8 bits fills the low ones.
  int slack() const { return depth_ < 24 || mode.bpp == 16 ? 8 : 0; }
  int depth_ = 0;
};

TEST_F(RealWindow, ShowsThePictureAtEveryDepth) {
  for (const int32_t bpp : {8, 16, 32}) {
    if (depth_ == 8 && bpp != 8) continue; // 256 colours can't show it
    SCOPED_TRACE(std::to_string(bpp) + " bits");
    ASSERT_EQ(host->call(ORB_mode_set, 197, 151, bpp), 1);
    draw_ground_picture();
    expect_window([](int x, int y) { return meant(pattern(x, y)); }, slack());
  }
  EXPECT_TRUE(host->fatals.empty());
}

TEST_F(RealWindow, PartialDumpsReachTheWindow) {
  ASSERT_EQ(host->call(ORB_mode_set, 160, 120, 8), 1);
  draw_ground_picture();
  *host->global("dump_type") = 0;
  *host->global("restore_type") = 0;
  ORB_mod_graphics2D_frame();
  ORB_mod_graphics2D_frame();
  expect_window([](int x, int y) { return meant(pattern(x, y)); }, slack());
}

TEST_F(RealWindow, PaletteChangesAndFadesReachAnEightBitWindow) {
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

TEST_F(RealWindow, FullScreenEndsInTheModeBeforeOrInOneWithRoom) {
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

} // namespace
