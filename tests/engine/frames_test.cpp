// Whole frames in lockstep with a redraw from scratch, frame zones with their rules, and restores
// pixel by pixel.
#include <algorithm>
#include <array>
#include <cstring>
#include <map>
#include <vector>

#include <SDL.h>
#include <gtest/gtest.h>

#include "blit/blit_list.h"
#include "frame/draw_frame.h"
#include "frame/draw_objects.h"
#include "support/random.h"
#include "support/world.h"
#include "surface/fill.h"
#include "surface/screen.h"
#include "video/fades.h"
#include "video/presentation.h"
#include "video/restore.h"
#include "video/zones.h"

namespace {

std::vector<uint8_t> bytes(const void *from, size_t size) {
  const auto *first = static_cast<const uint8_t *>(from);
  return {first, first + size};
}

struct Frames : testing::Test {
  world w;
  random_source random{base_seed()};
  static constexpr int width = 97, height = 61;
  std::vector<int32_t> graphs, drawings;
  std::vector<orb_process *> sprites, specks;
  int32_t canvas = 0; // a graph on which processes draw

  int between(int low, int high) { return random.between(low, high); }
  bool one_in(int n) { return random.one_in(n); }
  int32_t any_graph() { return graphs[size_t(random.below(int(graphs.size())))]; }
  int32_t colour() { return mode.bpp == 32 ? int32_t(random.word()) : random.below(1 << mode.bpp); }
  int32_t call(const char *name, std::vector<orbhost::Argument> arguments = {}) {
    return w.host.call(name, std::move(arguments));
  }

  void begin(int32_t bpp) {
    call("mode_set", {width, height, bpp, 64});
    for (const auto &[gw, gh] :
         {std::pair{9, 7}, {32, 32}, {60, 11}, {120, 90}, {1, 1}, {40, 30}}) {
      canvas = call("map_new", {gw, gh});
      auto *const surface =
          const_cast<__ORBSurface2D__ *>(surface_of({"graph", "0", std::to_string(canvas)}));
      for (uint32_t i = 0; i < surface->pixel_count; ++i)
        if (!one_in(3))
          set_pixel(*surface, i % surface->width, i / surface->width, uint32_t(colour()));
      graphs.push_back(canvas);
    }
    graphs.pop_back();
    for (int i = 0; i < 9; ++i)
      sprites.push_back(w.host.spawn());
    for (int i = 0; i < 140; ++i) { // more than there are zones
      orb_locals &l = *specks.emplace_back(w.host.spawn())->locals;
      l.graph = graphs.back();
      l.visible = 0;
      l.x = i % 32 * 3;
      l.y = i / 32 * 4;
    }
    call("region_define", {1, 5, 3, 57, 18});
    call("region_define", {2, 10, 3, 53, 38});
  }

  void change_sprite(orb_locals &l) {
    const bool transformed = one_in(3);
    l.visible = !one_in(5);
    l.graph = any_graph();
    l.x = between(-20, width + 20);
    l.y = between(-20, height + 20);
    l.z = between(-3, 3);
    l.region = between(0, 2);
    l.flags = between(0, 11);
    l.alpha = one_in(3) ? between(0, 255) : 255;
    l.fxmode = one_in(4) ? between(0, 12) : 0;
    l.angle = transformed ? between(0, 359999) : 0;
    l.size = transformed ? between(20, 300) : 100;
    l.destination_graph = one_in(9) ? canvas : 0;
  }
  /// What scripts do between two frames besides moving sprites.
  void change_anything() {
    const int x = between(-9, width + 9), y = between(-9, height + 9);
    const auto level = [&] { return between(0, 200); };
    switch (between(0, 35)) {
    case 0: call("ground_put", {0, any_graph(), x, y}); break;
    case 1: call("ground_put_pixel", {x, y, colour()}); break;
    case 2: call("ground_put_csellipse", {x, y, 9, 5, colour(), 1}); break;
    case 3: call("ground_put_screen", {0, any_graph()}); break;
    case 4: call("screen_clear"); break;
    case 5: call("screen_set_color", {colour()}); break;
    case 6: call(one_in(3) ? "screen_fade_out" : "screen_fade_in"); break;
    case 7:
      if (one_in(3)) call("screen_fade", {level(), level(), level(), between(1, 70)});
      break;
    case 8:
      if (one_in(2)) call("mode_set_filter", {between(0, 2), 1 | 16 << between(0, 3)});
      break;
    case 9: {
      const int32_t stretched = one_in(2);
      call("virtualresolution_set", {150 * stretched, 100 * stretched, stretched, stretched});
      break;
    }
    case 10: call("mode_set", {width, height, mode.bpp, one_in(2) ? 64 : 128}); break;
    case 11: // an empty frame, or one of more zones than there are
      for (orb_process *each : one_in(2) ? sprites : specks)
        each->locals->visible = each->locals->graph == graphs.back() && one_in(2);
      break;
    case 12:
    case 13: w.host.global("dump_type") = between(-1, 2); break;
    case 14:
    case 15: w.host.global("restore_type") = between(-2, 2); break;
    case 16: w.host.global("draw_visible") = !one_in(5); break;
    case 17:
    case 18: call("screen_draw_graphic", {0, any_graph(), x, y, 0, 0}); break;
    case 19:
      if (drawings.size() < 4)
        drawings.push_back(
            call("draw_new", {between(1, 5), colour(), between(0, mode.bpp == 8 ? 15 : 255),
                              between(0, 2), x, y, y, x}));
      break;
    case 20:
      if (drawings.empty()) break;
      call("draw_delete", {drawings.back()});
      drawings.pop_back();
      break;
    case 21:
    case 22:
      if (!drawings.empty()) call("draw_move", {drawings[0], x, y, y, x});
    }
  }

  /// The screen holds the background and this frame's requests, by depth and age, faded.
  void expect_redrawn() {
    const auto drawn = bytes(screen->pixels, screen->byte_size);
    if (ground_puting)
      memcpy(screen->pixels, ground->pixels, screen->byte_size);
    else
      ORBGI2D_BlitFill(screen, screen_color, 0);
    std::multimap<int32_t, __ORBBlit2D__ *, std::greater<>> by_depth;
    for (int32_t i = 0; i < num_blits2D; ++i)
      by_depth.emplace(pBlitList2D->requests[i].z, &pBlitList2D->requests[i]);
    for (const auto &[z, request] : by_depth)
      if (request->dst == screen) request->blit_op(request);
    if (mode.bpp > 8 && fade_pos != fade_levels{100, 100, 100}) do_fading(nullptr);
    const auto redrawn = bytes(screen->pixels, screen->byte_size);
    memcpy(screen->pixels, drawn.data(), drawn.size());
    ASSERT_TRUE(drawn == redrawn) << "the screen differs from a redraw";
  }
  static void expect_shown() {
    const SDL_Surface *const display = SDL_GetVideoSurface();
    const size_t size = size_t(display->pitch) * size_t(display->h);
    const auto shown = bytes(display->pixels, size);
    filter_status = filter_status_stale;
    VID_DrawFrame();
    ASSERT_TRUE(shown == bytes(display->pixels, size)) << "the display doesn't show the screen";
  }
};

TEST_F(Frames, EqualARedrawAndTheDisplayShowsThem) {
  for (const int32_t bpp : {8, 16, 32}) {
    begin(bpp);
    for (int frame = 0; frame < 2000; ++frame) {
      SCOPED_TRACE(testing::Message() << "frame " << frame << " at " << bpp << " bits, dump "
                                      << dump_type << ", restore " << restore_type);
      for (orb_process *sprite : sprites)
        if (one_in(4)) change_sprite(*sprite->locals);
      change_anything();
      const bool skipped = w.host.renderer_busy = one_in(30); // the host is late
      w.host.frame();
      if (!skipped && restore_type != -1) expect_redrawn();
      expect_shown();
      if (HasFatalFailure()) return;
    }
    // The next depth inherits a resting fade.
    call("screen_fade", {50, 60, 70, 64});
    w.host.frame();
    w.host.frame();
    w.host.processes().kill_all();
    call("draw_delete", {-1});
    drawings.clear(), graphs.clear(), sprites.clear(), specks.clear();
  }
}

TEST_F(Frames, AMovingSpriteCostsItsZonesAlone) {
  begin(32);
  orb_locals &l = *sprites[0]->locals;
  for (orb_process *sprite : sprites)
    sprite->locals->visible = sprite == sprites[0];
  l.graph = graphs[1];
  l.y = 30;
  call("ground_put", {0, graphs[3], 50, 30});
  call("screen_fade_in");
  w.host.global("dump_type") = 0;
  for (const int32_t restore : {0, 1}) {
    w.host.global("restore_type") = restore;
    for (l.x = 20; l.x < 40; ++l.x) {
      // Pixels outside the zones are neither restored nor presented.
      set_pixel(*screen, width - 1, height - 1, 0xABCDEF);
      w.host.frame();
      const bool first = restore == 1 && l.x == 20; // restored by the type of the frame before
      if (l.x < 36 && !first) continue;             // the fade in
      EXPECT_EQ(pixel(*screen, width - 1, height - 1) == 0xABCDEF, restore == 0 || first);
      EXPECT_EQ(num_framezones * 10 + complete_frame, 10);
      EXPECT_NE(pixel(*buffer, width - 1, height - 1), 0xABCDEFu);
    }
  }
  call("map_put_pixel", {0, graphs.back(), 0, 0, 5});
  for (orb_process *speck : specks) // without zones for the last ones
    speck->locals->visible = 1;
  w.host.frame();
  expect_shown();
}

/// An operation may take requests of its own while the frame is drawn, and the list may move.
TEST_F(Frames, DrawEveryRequestOfAListThatMoves) {
  begin(32);
  static int drawn;
  drawn = 0;
  for (int i = 0; i < 10; ++i) {
    __ORBBlit2D__ *const request = GetAndUpdateBlitList();
    request->dst = screen;
    request->z = 500 - i;
    request->blit_op = [](__ORBBlit2D__ *r) {
      for (int left = r->z == 498 ? 5000 : 0; left > 0; --left)
        GetAndUpdateBlitList();
      return ++drawn;
    };
  }
  w.host.frame();
  EXPECT_EQ(drawn, 10);
  EXPECT_EQ(GetNumsBlitOnList(), 0);
  __ORBBlit2D__ gone{}; // of a drawing that doesn't exist any more
  gone.drawn = 1, gone.link = -1;
  EXPECT_EQ(BlitDrawing(&gone) + gone.drawn, 0);
}

/// A box joins the last zone that has an end of it inside or beside it, across and down. One that
/// reaches over a zone on both sides doesn't, and zones that grow together stay two.
TEST_F(Frames, ZonesGatherBoxesByTheirRules) {
  w.set_mode(32);
  num_framezones = complete_frame = 0;
  using box = std::array<int32_t, 4>; // x0, y0, x1, y1
  const struct {
    box added;
    int32_t zone;
    box grown;
  } rows[] = {
      {{10, 10, 14, 14}, 0, {10, 10, 14, 14}},
      {{15, 13, 16, 13}, 0, {10, 10, 16, 14}}, // beside it
      {{12, 15, 12, 16}, 0, {10, 10, 16, 16}},
      {{8, 9, 9, 9}, 0, {8, 9, 16, 16}},
      {{18, 12, 19, 13}, 1, {18, 12, 19, 13}}, // a pixel away
      {{9, 18, 9, 18}, 2, {9, 18, 9, 18}},
      {{6, 12, 6, 12}, 3, {6, 12, 6, 12}},
      {{12, 7, 12, 7}, 4, {12, 7, 12, 7}},
      {{17, 12, 17, 12}, 1, {17, 12, 19, 13}}, // beside two
      {{0, 14, 63, 15}, 5, {0, 14, 63, 15}},   // over most of them
      {{30, 0, 31, 47}, 6, {30, 0, 31, 47}},
      {{0, 0, 30, 0}, 6, {0, 0, 31, 47}},
      {{32, 47, 90, 80}, 6, {0, 0, 90, 80}}, // all of the screen, and no larger
  };
  const auto add = [](const box &b) {
    return accumulate_zone({b[0], b[1], b[2], b[3], b[2] - b[0] + 1, b[3] - b[1] + 1});
  };
  EXPECT_TRUE(add({5, 5, 4, 5}) && add({5, 5, 5, 4})) << "nothing to add";
  int32_t count = 0;
  for (const auto &[added, number, grown] : rows) {
    EXPECT_FALSE(complete_frame);
    EXPECT_TRUE(add(added));
    count = std::max(count, number + 1);
    EXPECT_EQ(num_framezones, count);
    const orb_frame_zone &z = framezones[number];
    EXPECT_EQ((box{z.x0, z.y0, z.x1, z.y1}), grown);
    EXPECT_EQ(z.w, std::min(grown[2] - grown[0] + 1, 64));
    EXPECT_EQ(z.h, std::min(grown[3] - grown[1] + 1, 48));
  }
  EXPECT_TRUE(complete_frame);
  for (int32_t i = count; i < 140; ++i)
    EXPECT_EQ(add({200, 3 * i + 200, 200, 3 * i + 200}), i < 128);
  EXPECT_TRUE(add({200, 3 * 127 + 201, 200, 3 * 127 + 201}));
  // What was drawn left of the screen counts on the right of its border.
  __ORBBlit2D__ request{};
  request.drawn_x0 = -7, request.drawn_x1 = -3, request.drawn_y0 = 2, request.drawn_y1 = -9;
  const orb_frame_zone mirrored = zone_of(&request), expected = {7, 2, 3, 9, -3, 8};
  EXPECT_EQ(memcmp(&mirrored, &expected, sizeof expected), 0);
  request.drawn_x0 = 0, request.drawn_x1 = INT32_MIN;
  EXPECT_GT(zone_of(&request).w, 0x7FFFFFF0);
}

/// Zones may hold anything: another module's requests fill them too.
TEST_F(Frames, RestoreEveryPixelOfTheZonesAndNoOther) {
  for (int round = 0; round < 600; ++round) {
    const int depth = random.any_of({8, 16, 32}), kind = random.below(3);
    if (round % 20 == 0) w.set_mode(depth);
    const uint32_t mask = mode.bpp == 32 ? ~0u : (1u << mode.bpp) - 1;
    screen_color = 0xA1B2C3D4;
    memset(ground->pixels, round, ground->byte_size);
    memset(screen->pixels, ~round, screen->byte_size);
    num_framezones = random.below(5);
    for (int i = 0; i < num_framezones; ++i) {
      const auto corner = [&] {
        return one_in(16) ? random.any_of({INT32_MIN, -1, INT32_MAX}) : random.below(80);
      };
      framezones[i] = {corner(), corner(), 0, 0, corner(), corner()};
    }
    const bool all = one_in(10);
    complete_frame = fading_run = 0;
    set_restore_routines(depth, kind == 1);
    // After a mode change that failed, the ground may have another size, or both another depth.
    const uint32_t covered = depth != mode.bpp ? 0 : kind == 2 && one_in(3) ? 40 : 64;
    ground->width = std::max(covered, 40u);
    (kind == 2 ? draw_ground : clear_screen)(all);
    ground->width = 64;
    const uint32_t backgrounds[] = {0, 0xA1B2C3D4, uint8_t(round) * 0x01010101u};
    int wrong = 0;
    for (int y = 0; y < 48; ++y)
      for (int x = 0; x < 64; ++x) {
        const auto holds = [&](const orb_frame_zone &z) {
          return z.x0 >= 0 && z.y0 >= 0 && x >= z.x0 && y >= z.y0 && x < int64_t(z.x0) + z.w &&
                 y < int64_t(z.y0) + z.h;
        };
        const bool restored = x < int(covered) &&
                              (all || std::any_of(framezones, framezones + num_framezones, holds));
        const uint32_t expected = restored ? backgrounds[kind] : uint8_t(~round) * 0x01010101u;
        wrong += pixel(*screen, uint32_t(x), uint32_t(y)) != (expected & mask);
      }
    ASSERT_EQ(wrong, 0) << depth << " bits, kind " << kind << ", round " << round;
    set_restore_routines(mode.bpp, false);
  }
}

} // namespace
