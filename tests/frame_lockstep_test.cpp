// Frames in lockstep with a redraw from scratch: whatever scripts change between two frames, the
// screen holds the background and this frame's requests, faded, and the display shows the screen.
#include "mode_fixture.h"

#include <random>

#include "blit/blit_list.h"
#include "frame/draw_frame.h"
#include "raster/pixels.h"
#include "surface/fill.h"
#include "surface/registry.h"
#include "surface/surface.h"
#include "video/fades.h"
#include "video/presentation.h"

namespace {

struct Lockstep : Mode {
  static constexpr int32_t width = 97, height = 61;
  std::mt19937 random;
  std::vector<int32_t> graphs;
  int32_t canvas; // a graph on which processes draw
  std::vector<int32_t> drawings;

  int32_t between(int32_t low, int32_t high) {
    return low + int32_t(random() % uint32_t(high - low + 1));
  }
  bool one_in(uint32_t n) { return random() % n == 0; }
  template <typename T> const T &any(const std::vector<T> &of) { return of[random() % of.size()]; }
  uint32_t colour() { return random() & (mode.bpp == 32 ? UINT32_MAX : (1u << mode.bpp) - 1); }

  void begin(int32_t bpp) {
    random.seed(uint32_t(bpp));
    ASSERT_EQ(set(width, height, bpp, 64), 1);
    for (const auto &[w, h] : {std::pair{9, 7}, {32, 32}, {60, 11}, {120, 90}, {40, 30}}) {
      const int32_t code = GetMAPCode(0);
      __ORBSurface2D__ *surface = ORBGI2D_CreateGFXSurface(w, h, bpp, 1);
      for (int32_t i = 0; i < w * h; ++i)
        if (!one_in(3)) draw_pixel(surface, i % w, i / w, colour(), 0);
      ASSERT_EQ(RecMAPCode(0, code, surface), 1);
      graphs.push_back(code);
    }
    canvas = graphs.back();
    graphs.pop_back();
    for (int i = 0; i < 9; ++i)
      host.spawn();
    for (int32_t i = 1; i < 3; ++i) {
      regions[i] = {5 * i, 60 + i, 3, 20 * i};
      regions_def[i] = 1;
    }
  }

  void change_process(orb_locals &l) {
    const bool transformed = one_in(3);
    l.visible = !one_in(5);
    l.graph = any(graphs);
    l.x = between(-20, width + 20);
    l.y = between(-20, height + 20);
    l.z = between(-3, 3);
    l.region = between(0, 2);
    l.flags = between(0, 11);
    l.alpha = one_in(3) ? between(0, 255) : 255;
    l.fxmode = one_in(4) ? between(0, 12) : 0;
    l.angle = transformed ? between(0, 359999) : 0;
    l.size = transformed ? between(20, 300) : 100;
    l.shear_x = transformed && one_in(2) ? between(-90, 90) : 0;
    l.destination_graph = one_in(9) ? canvas : 0;
  }

  void change_drawings() {
    const auto x = [&] { return between(-9, width + 9); };
    if (drawings.size() < 4) {
      drawings.push_back(host.call(ORB_draw_new, between(1, 5), colour(),
                                   between(0, mode.bpp == 8 ? 15 : 255), between(0, 2), x(), x(),
                                   x(), x()));
    } else if (one_in(2)) {
      host.call(ORB_draw_delete, drawings.back());
      drawings.pop_back();
    } else {
      host.call(ORB_draw_move, any(drawings), x(), x(), x(), x());
    }
    *host.global("draw_visible") = !one_in(5);
  }

  void change_ground() {
    const int32_t x = between(0, width), y = between(0, height);
    switch (between(0, 8)) {
    case 0: host.call(ORB_ground_put, 0, any(graphs), x, y); break;
    case 1: host.call(ORB_ground_put_pixel, x, y, colour()); break;
    case 2: host.call(ORB_ground_put_line, x, y, y, x, colour()); break;
    case 3: host.call(ORB_ground_put_csellipse, x, y, 9, 5, colour(), 1); break;
    case 4: host.call(ORB_ground_put_screen, 0, any(graphs)); break;
    case 5: host.call(ORB_ground_put_tile, 0, any(graphs), x, y); break;
    case 6: host.call(ORB_ground_xput, 0, any(graphs), x, y, 1000 * x, 150, 0, 0); break;
    case 7: host.call(ORB_screen_clear); break;
    default: host.call(ORB_screen_set_color, colour()); break;
    }
  }

  void change_fade() {
    const auto level = [&] { return between(0, 200); };
    switch (between(0, 4)) {
    case 0: host.call(ORB_screen_fade_out); break;
    case 1: host.call(ORB_screen_fade, level(), level(), level(), between(1, 70)); break;
    default: host.call(ORB_screen_fade_in); break;
    }
  }

  void change_mode_settings() {
    switch (between(0, 3)) {
    case 0: host.call(ORB_mode_set_filter, between(0, 2), 1 | 16 << between(0, 3)); break;
    case 1: host.call(ORB_virtualresolution_set, 150, 100, between(0, 1), between(0, 1)); break;
    case 2: host.call(ORB_virtualresolution_set, 0, 0, 0, 0); break;
    default: set(width, height, mode.bpp, one_in(2) ? 64 : 128, 0, 0); break;
    }
  }

  void change_something() {
    for (orb_process &process : host.processes)
      if (one_in(4)) change_process(*process.locals);
    if (one_in(40)) // occasionally an empty frame
      for (orb_process &process : host.processes)
        process.locals->visible = 0;
    if (one_in(6)) change_drawings();
    if (one_in(8)) change_ground();
    if (one_in(30)) change_fade();
    if (one_in(60)) change_mode_settings();
    if (one_in(6))
      host.call(ORB_screen_draw_graphic, 0, any(graphs), between(0, width), between(0, height), 0,
                0);
    if (one_in(12)) *host.global("dump_type") = between(-1, 2);
    if (one_in(12)) *host.global("restore_type") = between(-2, 2);
    host.renderer_busy = one_in(30);
  }

  static std::vector<uint8_t> bytes(const void *from, size_t size) {
    const auto *first = static_cast<const uint8_t *>(from);
    return {first, first + size};
  }

  void expect_redrawn() {
    const auto drawn = bytes(screen->pixels, screen->byte_size);
    if (ground_puting)
      memcpy(screen->pixels, ground->pixels, screen->byte_size);
    else
      ORBGI2D_BlitFill(screen, screen_color, 0);
    for (int32_t i = 0; i < num_blits2D; ++i) {
      __ORBBlit2D__ *request = pBlitList2D->order[i];
      if (request->dst == screen) request->blit_op(request);
    }
    if (mode.bpp > 8 && fade_pos != fade_levels{100, 100, 100}) do_fading(nullptr);
    const auto redrawn = bytes(screen->pixels, screen->byte_size);
    memcpy(screen->pixels, drawn.data(), drawn.size());
    ASSERT_TRUE(drawn == redrawn) << "the screen differs from a redraw";
  }

  void expect_shown() {
    const SDL_Surface *const display = SDL_GetVideoSurface();
    const size_t size = size_t(display->pitch) * size_t(display->h);
    const auto shown = bytes(display->pixels, size);
    filter_status = filter_status_stale;
    VID_DrawFrame();
    ASSERT_TRUE(shown == bytes(display->pixels, size)) << "the display doesn't show the screen";
  }
};

TEST_F(Lockstep, FramesEqualARedrawAndTheDisplayShowsThem) {
  for (const int32_t bpp : {8, 16, 32}) {
    begin(bpp);
    for (int frame = 0; frame < 2000; ++frame) {
      SCOPED_TRACE(testing::Message() << "frame " << frame << " at " << bpp << " bits, dump "
                                      << dump_type << ", restore " << restore_type);
      change_something();
      ORB_mod_graphics2D_frame();
      if (!host.renderer_busy && restore_type != -1) expect_redrawn();
      expect_shown();
      if (HasFatalFailure()) return;
    }
    // The next depth inherits a resting fade.
    host.call(ORB_screen_fade, 50, 60, 70, 64);
    ORB_mod_graphics2D_frame();
    ORB_mod_graphics2D_frame();
    host.processes.clear();
    host.call(ORB_draw_delete, -1);
    drawings.clear();
    graphs.clear();
  }
}

TEST_F(Lockstep, AMovingSpriteCostsItsZonesAlone) {
  begin(32);
  host.processes.resize(1);
  orb_locals &l = *host.processes[0].locals;
  l.graph = graphs[1];
  l.y = 30;
  host.call(ORB_ground_put, 0, graphs[3], 50, 30);
  host.call(ORB_screen_fade_in);
  *host.global("dump_type") = 0;
  for (const int32_t restore : {0, 1}) {
    *host.global("restore_type") = restore;
    for (l.x = 20; l.x < 40; ++l.x) {
      // Pixels outside the zones are neither restored nor presented.
      auto *corner = static_cast<uint32_t *>(screen->pixels) + screen->pixel_count - 1;
      *corner = 0xABCDEF;
      ORB_mod_graphics2D_frame();
      if (l.x < 36) continue; // the fade in, and the first frame with these types
      EXPECT_EQ(*corner == 0xABCDEF, restore == 0);
      EXPECT_NE(pixel_of_display(width - 1, height - 1), 0xABCDEFu);
    }
  }
}

} // namespace
