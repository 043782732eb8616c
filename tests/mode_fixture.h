// The module on SDL's dummy display, with a host that records requests.
#pragma once

#include <cstdlib>
#include <cstring>
#include <string>
#include <vector>

#include <SDL.h>
#include <gtest/gtest.h>

#include "fake_runtime.h"
#include "module/module.h"
#include "script/handlers.h"
#include "surface/palette.h"
#include "surface/regions.h"
#include "surface/screen.h"
#include "video/mode.h"
#include "video/presentation.h"
#include "video/zones.h"

struct service_log {
  std::vector<std::string> messages;
  int moves, x, y, resets, grabs, rereads, centres, fps, skip;
};
inline service_log asked;

struct Mode : testing::Test {
  fake_runtime host;

  Mode() {
    setenv("SDL_VIDEODRIVER", "dummy", 1);
    asked = {};
    host.window.message_box = [](const char *text, const char *) {
      asked.messages.push_back(text);
    };
    host.window.move_window = [](int32_t x, int32_t y) {
      ++asked.moves;
      asked.x = x;
      asked.y = y;
    };
    host.input.reset = [] { ++asked.resets; };
    host.input.grab_mouse = [](int32_t) { ++asked.grabs; };
    host.input.reread_window = [] { ++asked.rereads; };
    host.input.centre_mouse = [](int32_t) { ++asked.centres; };
    host.timing.set_fps = [](int32_t fps, int32_t skip) {
      asked.fps = fps;
      asked.skip = skip;
    };
    ORB_mod_graphics2D_init();
  }
  ~Mode() override {
    ORB_mod_graphics2D_release();
    full_screen = 0;
    unsetenv("SDL_VIDEODRIVER");
  }

  template <typename... T> int32_t set(T... arguments) {
    return host.call(ORB_mode_set, arguments...);
  }

  /// Everything that a refusal or a failure must leave unchanged.
  struct state {
    std::vector<int32_t> words;
    std::vector<uint8_t> colours, ground_pixels;
    bool operator==(const state &) const = default;
  };
  static state now() {
    state s;
    s.words = {mode.x,
               mode.y,
               mode.width,
               mode.height,
               mode.bpp,
               mode.type,
               mode.bufferbehaviour,
               mode.rate,
               mode.changing,
               cur_mode,
               full_screen,
               filter_w,
               filter_h,
               filterNx_mode,
               filter_scale,
               filter_scanline,
               filter_scanlinepercent,
               filter_scanline_percent,
               filter_fx,
               sdl_w,
               sdl_h,
               sdl_fullscreen,
               mode_x,
               mode_y,
               emulated_mode,
               int32_t(screen->width),
               int32_t(screen->height),
               screen->depth,
               int32_t(ground->width),
               int32_t(ground->height),
               ground->depth,
               ground_puting,
               regions[0].x0,
               regions[0].x1,
               regions[0].y0,
               regions[0].y1,
               int32_t(palette_crc),
               palette_loaded,
               palette_forced,
               buffer->depth,
               int32_t(buffer->width)};
    if (palette) s.colours.assign(&palette->colours[0].r, &palette->colours[0].r + sizeof *palette);
    const auto *pixels = static_cast<const uint8_t *>(ground->pixels);
    s.ground_pixels.assign(pixels, pixels + ground->byte_size);
    return s;
  }

  void expect_opened(int32_t width, int32_t height, int32_t bpp) {
    EXPECT_EQ(mode.width, width);
    EXPECT_EQ(mode.height, height);
    EXPECT_EQ(mode.bpp, bpp);
    EXPECT_EQ(cur_mode, bpp);
    EXPECT_EQ(mode.changing, 0);
    for (const __ORBSurface2D__ *surface : {screen, ground}) {
      EXPECT_EQ(int32_t(surface->width), width);
      EXPECT_EQ(int32_t(surface->height), height);
      EXPECT_EQ(surface->depth, bpp);
    }
    EXPECT_EQ(host.system.screen, screen);
    EXPECT_EQ(host.system.ground, ground);
    EXPECT_EQ(regions[0].x0, 0);
    EXPECT_EQ(regions[0].x1, width - 1);
    EXPECT_EQ(regions[0].y0, 0);
    EXPECT_EQ(regions[0].y1, height - 1);
    EXPECT_EQ(palette != nullptr, bpp == 8);
    EXPECT_EQ(SDL_GetVideoSurface()->format->BitsPerPixel, bpp);
  }

  /// A pixel of SDL's surface, zero-extended.
  static uint32_t pixel_of_display(int32_t x, int32_t y) {
    const SDL_Surface *shown = SDL_GetVideoSurface();
    const uint32_t bytes = shown->format->BytesPerPixel;
    uint32_t pixel = 0;
    memcpy(&pixel,
           static_cast<const uint8_t *>(shown->pixels) + y * shown->pitch + uint32_t(x) * bytes,
           bytes);
    return pixel;
  }

  /// Presents a picture and compares the display, border included, byte by byte.
  void expect_presented() {
    auto *pixels = static_cast<uint8_t *>(screen->pixels);
    for (uint32_t i = 0; i < screen->byte_size; ++i)
      pixels[i] = uint8_t(i * 7 + i / 256 + 1);
    complete_frame = 1;
    VID_DrawFrame();
    const SDL_Surface *shown = SDL_GetVideoSurface();
    const uint32_t bytes = shown->format->BytesPerPixel;
    for (int32_t y = 0; y < shown->h; ++y) {
      const auto *row = static_cast<const uint8_t *>(shown->pixels) + y * shown->pitch;
      std::vector<uint8_t> expected(size_t(shown->w) * bytes, 0);
      if (y >= mode_y && y < mode_y + mode.height)
        memcpy(&expected[size_t(mode_x) * bytes], pixels + uint32_t(y - mode_y) * screen->pitch,
               screen->pitch);
      ASSERT_EQ(memcmp(row, expected.data(), expected.size()), 0) << "row " << y;
    }
  }
};
