// Frame zones against a literal transcription, restores checked in pixels, and the order of a
// frame.
#include <cstring>
#include <random>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "blit/blit_list.h"
#include "frame/draw_frame.h"
#include "graphics_fixture.h"
#include "video/presentation.h"
#include "video/restore.h"
#include "video/zones.h"

namespace {

/// The trace of a frame, in order.
std::vector<std::string> *events;
/// Zones and the complete flag as the presentation sees them.
std::vector<orb_frame_zone> presented;
int32_t presented_complete;

void log_event(const std::string &text) {
  if (events) events->push_back(text);
}

struct FrameZones : graphics_test {
  static constexpr int32_t W = screen_width, H = screen_height;
  std::vector<std::string> logged;

  FrameZones() {
    events = &logged;
    CreateBlitList("GRAPHICS2D", 16, 512);
    num_framezones = 0;
    complete_frame = 0;
    fading_run = 0;
    *fading = 0;
    dump_type = restore_type = old_dump_type = old_restore_type = 0;
    fade_pos = {100, 100, 100};
    palette_update = 0;
    VID_DrawFrame = [] {
      log_event("present");
      presented.assign(framezones, framezones + num_framezones);
      presented_complete = complete_frame;
    };
    clear_screen = [](int32_t type) { log_event("clear " + std::to_string(type)); };
    draw_ground = [](int32_t type) { log_event("ground " + std::to_string(type)); };
  }
  ~FrameZones() override {
    events = nullptr;
    VID_DrawFrame = nullptr;
    clear_screen = clear_screen_8bits;
    draw_ground = draw_ground_8bits;
    num_framezones = 0;
    complete_frame = fading_run = 0;
    dump_type = restore_type = old_dump_type = old_restore_type = 1;
  }

  /// A request that draws the box `x`, `y`, `size_x`, `size_y` (inclusive corners).
  static __ORBBlit2D__ *add(int32_t x0, int32_t y0, int32_t x1, int32_t y1, int32_t z = 0) {
    __ORBBlit2D__ *r = GetAndUpdateBlitList();
    r->x = x0, r->y = y0, r->size_x = x1, r->size_y = y1, r->z = z;
    r->dst = screen;
    r->drawn = 0;
    r->blit_op = [](__ORBBlit2D__ *q) {
      log_event("draw " + std::to_string(q->x));
      q->drawn = 1;
      q->drawn_x0 = q->x, q->drawn_x1 = q->size_x, q->drawn_y0 = q->y, q->drawn_y1 = q->size_y;
      return 1;
    };
    return r;
  }
};

std::string text(const orb_frame_zone &z) {
  std::string out;
  for (const int32_t value : {z.x0, z.y0, z.x1, z.y1, z.w, z.h})
    out += std::to_string(value) + " ";
  return out;
}

/// The accumulation as documented, in wide integers and separate storage.
struct reference_zones {
  struct zone {
    int64_t x0, y0, x1, y1, w, h;
  };
  std::vector<zone> zones;
  bool complete = false;

  /// False: a new zone is needed and all are in use.
  bool add(const zone &b, int64_t screen_w, int64_t screen_h) {
    if (b.w < 1 || b.h < 1) return true;
    if (zones.empty()) {
      zones.push_back(b);
      return true;
    }
    zone *found = nullptr;
    for (size_t i = zones.size(); i-- > 0 && !found;) {
      zone &z = zones[i];
      const bool x = (z.x0 <= b.x0 && b.x0 <= z.x1 + 1) || (z.x0 - 1 <= b.x1 && b.x1 <= z.x1);
      const bool y = (z.y0 <= b.y0 && b.y0 <= z.y1 + 1) || (z.y0 - 1 <= b.y1 && b.y1 <= z.y1);
      if (x && y) found = &z;
    }
    if (found) {
      zone &z = *found;
      z = {std::min(z.x0, b.x0),
           std::min(z.y0, b.y0),
           std::max(z.x1, b.x1),
           std::max(z.y1, b.y1),
           0,
           0};
      z.w = z.x1 - z.x0 + 1;
      z.h = z.y1 - z.y0 + 1;
    } else {
      if (zones.size() == 128) return false;
      zones.push_back(b);
      found = &zones.back();
    }
    if (found->w > screen_w) found->w = screen_w;
    if (found->h > screen_h) found->h = screen_h;
    if (found->w >= screen_w && found->h >= screen_h) complete = true;
    return true;
  }
};

TEST_F(FrameZones, AccumulationLikeTheReference) {
  std::mt19937 random(4);
  int32_t full = 0, completed = 0;
  for (int32_t round = 0; round < 400; ++round) {
    num_framezones = 0;
    complete_frame = 0;
    reference_zones reference;
    // Small boxes fill the table, large ones merge and make the frame complete.
    const int32_t largest = 1 + int32_t(random() % (round % 4 ? 3 : 70));
    const int32_t area = round % 4 ? 1000 : W + 10;
    for (int32_t i = 0; i < 300; ++i) {
      const int32_t x = int32_t(random() % uint32_t(area)), y = int32_t(random() % uint32_t(area));
      const int32_t w = int32_t(random() % uint32_t(largest + 1));
      const int32_t h = int32_t(random() % uint32_t(largest + 1));
      const orb_frame_zone box = {x, y, x + w - 1, y + h - 1, w, h};
      const bool fits = reference.add({box.x0, box.y0, box.x1, box.y1, box.w, box.h}, W, H);
      ASSERT_EQ(accumulate_zone(box), fits);
      full += !fits;
      ASSERT_EQ(num_framezones, int32_t(reference.zones.size()));
      ASSERT_EQ(complete_frame != 0, reference.complete);
    }
    completed += reference.complete;
    for (size_t i = 0; i < reference.zones.size(); ++i) {
      const auto &z = reference.zones[i];
      const orb_frame_zone want = {int32_t(z.x0), int32_t(z.y0), int32_t(z.x1),
                                   int32_t(z.y1), int32_t(z.w),  int32_t(z.h)};
      ASSERT_EQ(text(framezones[i]), text(want)) << "round " << round << " zone " << i;
    }
  }
  EXPECT_GT(full, 1000);
  EXPECT_GT(completed, 10);
}

TEST_F(FrameZones, OddBoxes) {
  const auto box = [](int32_t x0, int32_t y0, int32_t x1, int32_t y1) {
    return orb_frame_zone{x0, y0, x1, y1, x1 - x0 + 1, y1 - y0 + 1};
  };
  accumulate_zone(box(10, 10, 19, 19));
  accumulate_zone(box(20, 12, 22, 14)); // adjacent: merges
  EXPECT_EQ(num_framezones, 1);
  EXPECT_EQ(text(framezones[0]), text(box(10, 10, 22, 19)));
  accumulate_zone(box(24, 12, 25, 14)); // a gap of one pixel: a separate zone
  EXPECT_EQ(num_framezones, 2);
  accumulate_zone(box(5, 5, 40, 40)); // contains both: a separate zone as well
  EXPECT_EQ(num_framezones, 3);

  __ORBBlit2D__ request{};
  request.drawn_x0 = -7, request.drawn_x1 = -3, request.drawn_y0 = 2, request.drawn_y1 = -9;
  EXPECT_EQ(text(zone_of(&request)), text(orb_frame_zone{7, 2, 3, 9, -3, 8}));
  // The largest values must not overflow.
  request.drawn_x0 = 0, request.drawn_x1 = INT32_MIN;
  request.drawn_y0 = INT32_MAX, request.drawn_y1 = 0;
  const orb_frame_zone extreme = zone_of(&request);
  EXPECT_GT(extreme.w, 0x7FFFFFF0);
  EXPECT_LT(extreme.h, -0x7FFFFFF0);
  request.drawn_y0 = 0, request.drawn_y1 = INT32_MIN;
  accumulate_zone(zone_of(&request));
  accumulate_zone(zone_of(&request));
  for (int32_t i = 0; i < num_framezones; ++i)
    EXPECT_GT(framezones[i].w, 0);
}

/// Every restore routine, complete and by zones, in pixels and beyond the surface's edges.
TEST_F(FrameZones, RestoreInPixels) {
  restore_routine *const routines[3][3] = {
      {clear_screen_8bits, clear_screen_color_8bits, draw_ground_8bits},
      {clear_screen_16bits, clear_screen_color_16bits, draw_ground_16bits},
      {clear_screen_32bits, clear_screen_color_32bits, draw_ground_32bits}};
  const uint32_t former_colour = screen_color;
  std::mt19937 random(5);
  for (int32_t depth = 8, row = 0; depth <= 32; depth *= 2, ++row) {
    set_depth(depth);
    const uint32_t mask = depth == 32 ? ~0u : (1u << depth) - 1;
    screen_color = 0xA1B2C3D4;
    auto *ground_bytes = static_cast<uint8_t *>(ground->pixels);
    for (uint32_t i = 0; i < ground->byte_size; ++i)
      ground_bytes[i] = uint8_t(random());
    for (int32_t kind = 0; kind < 3; ++kind) {
      for (int32_t round = 0; round < 60; ++round) {
        std::vector<uint8_t> marks(W * H);
        num_framezones = int32_t(random() % 5);
        for (int32_t i = 0; i < num_framezones; ++i) {
          orb_frame_zone &z = framezones[i];
          const auto corner = [&] { return int32_t(random() % 80) - (round % 8 ? 0 : 5); };
          z = {corner(), corner(), 0, 0, corner(), corner()};
          if (round % 16 == 1) z.w = INT32_MAX;
          if (round % 16 == 2) z.y0 = INT32_MAX, z.h = INT32_MAX;
          if (z.x0 < 0 || z.y0 < 0) continue;
          for (int64_t y = z.y0; y < std::min<int64_t>(H, int64_t(z.y0) + z.h); ++y)
            for (int64_t x = z.x0; x < std::min<int64_t>(W, int64_t(z.x0) + z.w); ++x)
              marks[size_t(y * W + x)] = 1;
        }
        const int32_t type = round % 10 == 3;
        complete_frame = round % 10 == 4;
        fading_run = round % 10 == 5;
        const bool all = type || complete_frame || fading_run;
        memset(screen->pixels, 0x5A, screen->byte_size);
        routines[row][kind](type);
        size_t wrong = 0;
        for (uint32_t y = 0; y < uint32_t(H); ++y) {
          for (uint32_t x = 0; x < uint32_t(W); ++x) {
            const uint32_t want = !(all || marks[y * W + x]) ? 0x5A5A5A5A & mask
                                  : kind == 0                ? 0
                                  : kind == 1                ? 0xA1B2C3D4 & mask
                                                             : pixel(*ground, x, y);
            wrong += pixel(*screen, x, y) != want;
          }
        }
        ASSERT_EQ(wrong, 0u) << depth << " bits, kind " << kind << ", round " << round;
      }
      // A surface of another depth, or none, is left alone.
      routines[(row + 1) % 3][kind](1);
      __ORBSurface2D__ *const former = screen;
      screen = nullptr;
      routines[row][kind](1);
      screen = former;
    }
  }
  screen_color = former_colour;
}

TEST_F(FrameZones, FrameInOrder) {
  old_restore_type = 7; // not this frame's
  restore_type = 1;
  add(30, 1, 31, 2, 1);
  add(10, 1, 11, 2, 5);
  add(20, 1, 21, 2, 5);
  add(40, 1, 41, 2, 9)->blit_op = nullptr;
  draw_frame();
  EXPECT_EQ(logged,
            (std::vector<std::string>{"clear 7", "draw 10", "draw 20", "draw 30", "present"}));
  EXPECT_EQ(GetNumsBlitOnList(), 0);
  EXPECT_EQ(num_blits2D, 4);
  EXPECT_EQ(num_framezones, 3);

  // Nothing to draw: the zones stay; a ground picture is shown instead of the colour.
  logged.clear();
  ground_puting = 1;
  draw_frame();
  EXPECT_EQ(logged, (std::vector<std::string>{"ground 7", "present"}));
  EXPECT_EQ(num_framezones, 3);
  EXPECT_EQ(presented.size(), 3u);

  // No restore: nothing is restored.
  logged.clear();
  restore_type = -1;
  draw_frame();
  EXPECT_EQ(logged, (std::vector<std::string>{"present"}));

  // Without a presentation and a screen the frame is dropped silently.
  VID_DrawFrame = nullptr;
  add(1, 1, 2, 2);
  draw_frame();
  EXPECT_EQ(GetNumsBlitOnList(), 0);
  __ORBSurface2D__ *const former = screen;
  screen = nullptr;
  add(1, 1, 2, 2);
  draw_frame();
  EXPECT_EQ(GetNumsBlitOnList(), 0);
  screen = former;
}

/// A partial dump presents last frame's zones, to erase them, and this frame's.
TEST_F(FrameZones, PartialDump) {
  add(2, 2, 5, 5);
  draw_frame();
  EXPECT_EQ(presented.size(), 1u);
  add(3, 2, 6, 5); // one pixel further: still one zone
  draw_frame();
  ASSERT_EQ(presented.size(), 1u);
  EXPECT_EQ(text(presented[0]), text(orb_frame_zone{2, 2, 6, 5, 5, 4}));
  EXPECT_EQ(text(framezones[0]), text(orb_frame_zone{3, 2, 6, 5, 4, 4})) << "for the next restore";
  add(30, 2, 33, 5);
  draw_frame();
  EXPECT_EQ(presented.size(), 2u);
  EXPECT_EQ(num_framezones, 1);

  // A request that drew nothing, or on another surface, needs no zone.
  add(40, 40, 41, 41)->dst = ground;
  add(50, 40, 51, 41)->blit_op = [](__ORBBlit2D__ *q) { return q->drawn = 0; };
  draw_frame();
  EXPECT_EQ(num_framezones, 0);

  // As large as the screen: complete, for this presentation and the next restore.
  add(0, 0, W - 1, H - 1);
  draw_frame();
  EXPECT_EQ(presented_complete, 1);
  EXPECT_EQ(complete_frame, 1);
  draw_frame();
  EXPECT_EQ(presented_complete, 1) << "what filled the screen is gone from all of it";
  EXPECT_EQ(complete_frame, 0);
  draw_frame();
  EXPECT_EQ(presented_complete, 0);

  // A complete dump without restore by zones keeps none.
  num_framezones = 0;
  dump_type = restore_type = 1;
  add(2, 2, 5, 5);
  old_dump_type = 1;
  draw_frame();
  EXPECT_EQ(num_framezones, 0);
  dump_type = 0;
  add(2, 2, 5, 5);
  draw_frame();
  EXPECT_EQ(num_framezones, 1);
}

/// The table has 128 entries; a box that finds none free makes the frame complete.
TEST_F(FrameZones, Overflow) {
  const auto boxes = [](int32_t count) {
    for (int32_t i = 0; i < count; ++i) {
      const int32_t x = i % 16 * 3, y = i / 16 * 3;
      add(x, y, x, y);
    }
  };
  boxes(127);
  draw_frame();
  EXPECT_EQ(num_framezones, 127);
  EXPECT_EQ(complete_frame, 0);
  num_framezones = 0;
  boxes(128);
  draw_frame();
  EXPECT_EQ(presented_complete, 1) << "a full table is presented completely";

  ResetBlitList();
  boxes(129);
  SortBlitList();
  for (uint32_t i = 0; i < 129; ++i)
    pBlitList2D->requests[i].blit_op(&pBlitList2D->requests[i]);
  complete_frame = 0;
  update_frame_zones();
  EXPECT_EQ(num_framezones, 128);
  EXPECT_EQ(complete_frame, 1);
}

/// An operation may take requests of its own while the list is drawn; the frame discards them, and
/// the list may move.
TEST_F(FrameZones, ListGrowsWhileDrawn) {
  for (int32_t i = 0; i < 10; ++i)
    add(i * 4, 0, i * 4 + 1, 1);
  pBlitList2D->requests[2].blit_op = [](__ORBBlit2D__ *) {
    for (int32_t i = 0; i < 5000; ++i)
      GetAndUpdateBlitList();
    return 0;
  };
  draw_frame();
  EXPECT_EQ(logged.size(), 1u + 9 + 1);
  EXPECT_EQ(num_framezones, 9);
  EXPECT_EQ(GetNumsBlitOnList(), 0);
}

TEST_F(FrameZones, FadesAndPalette) {
  static int32_t applied;
  applied = 0;
  const auto former = do_fading;
  do_fading = [](const __FadeFX__ *) { ++applied; };
  fading_run = 1;
  draw_frame();
  EXPECT_EQ(applied, 0);
  EXPECT_EQ(fading_run, 0) << "the picture is normal: no fade";
  fade_pos = {100, 100, 99};
  draw_frame();
  EXPECT_EQ(applied, 1) << "levels stay applied after the fade has ended";

  // In 8-bit modes the display holds the fade levels; only a new palette is passed on.
  set_depth(8);
  do_fading = [](const __FadeFX__ *) { ++applied; };
  applied = 0;
  palette_update = 0;
  draw_frame();
  EXPECT_EQ(applied, 0);
  set_color(9, 63, 0, 0);
  draw_frame();
  draw_frame();
  EXPECT_EQ(applied, 1);
  EXPECT_EQ(palette_update, 0);
  do_fading = former;
  fade_pos = {100, 100, 100};
}

} // namespace
