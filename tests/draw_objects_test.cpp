// Draw objects: the functions that create and change them, and how a frame draws them.
#include <algorithm>
#include <map>
#include <optional>
#include <random>

#include "blit/blit.h"
#include "blit/blit_list.h"
#include "call_table.h"
#include "frame/draw_frame.h"
#include "frame/draw_objects.h"
#include "frame/process_scan.h"
#include "graphics_fixture.h"
#include "raster/raster.h"
#include "script/handlers.h"
#include "surface/fill.h"
#include "video/restore.h"
#include "video/zones.h"

namespace {

struct DrawObjects : graphics_test {
  std::mt19937 random{43};

  DrawObjects() {
    graphics2D_blitlist = CreateBlitList("GRAPHICS2D", 4, 4);
    _draw_z_ = host.global("draw_z");
    _draw_visible_ = host.global("draw_visible");
    _draw_destination_file_ = host.global("draw_destination_file");
    _draw_destination_graph_ = host.global("draw_destination_graph");
    *_draw_visible_ = 1;
    host.call(ORB_region_define, 3, 5, 6, 40, 30);
  }
  ~DrawObjects() override {
    _draw_z_ = _draw_visible_ = _draw_destination_file_ = _draw_destination_graph_ = nullptr;
    num_framezones = 0;
    complete_frame = 0;
    old_dump_type = dump_type = old_restore_type = restore_type = 1;
    clear_screen = clear_screen_8bits;
  }

  int32_t any(int32_t low, int32_t high) {
    return low + int32_t(random() % uint32_t(high - low + 1));
  }
  static file_bytes pixels_of(const __ORBSurface2D__ *surface) {
    const auto *bytes = static_cast<const uint8_t *>(surface->pixels);
    return {bytes, bytes + surface->byte_size};
  }
  void frame() {
    UseBlitList(graphics2D_blitlist);
    do_processes();
    do_drawings();
    draw_frame();
    old_dump_type = dump_type;
    old_restore_type = restore_type;
  }
  int32_t make(int32_t type, uint32_t colour, int32_t alpha, int32_t x0, int32_t y0, int32_t x1,
               int32_t y1) {
    return host.call(ORB_draw_new, type, colour, alpha, 0, x0, y0, x1, y1);
  }
};

// ---- Arguments ----------------------------------------------------------------------------------

TEST_F(DrawObjects, CheckArgumentsInOrder) {
  expect_calls(host, R"(
draw_delete 1 -> 0
draw_move 1 0 0 5 5 -> 0
draw_new 0 0 256 5 0 0 9 9 -> 173 DRAW_NEW 1 0
draw_new 6 0 255 0 0 0 9 9 -> 173 DRAW_NEW 1 6
draw -1 0 255 0 0 0 9 9 -> 173 DRAW_NEW 1 -1
draw_new 1 4294967295 256 0 0 0 9 9 -> silent
draw_new 1 0 -1 5 0 0 9 9 -> silent
draw_new 1 0 255 5 0 0 9 9 -> 108 DRAW_NEW 4 5
draw_new 1 0 255 -1 0 0 9 9 -> 108 DRAW_NEW 4 -1
draw_new 1 0 255 32 0 0 9 9 -> 108 DRAW_NEW 4 32
draw_new 1 4294967295 0 3 0 0 9 9 -> 1
draw 5 7 255 0 0 0 9 9 -> 3
graphiclib_get_drawspainted -> 2
draw_delete 0 -> 175 DRAW_DELETE 1 0
draw_delete -2 -> 175 DRAW_DELETE 1 -2
delete_draw -3 -> 175 DRAW_DELETE 1 -3
draw_delete 2 -> 175 DRAW_DELETE 1 2
draw_delete 33 -> 175 DRAW_DELETE 1 33
draw_delete 2147483647 -> 175 DRAW_DELETE 1 2147483647
draw_delete 31 -> 175 DRAW_DELETE 1 15
draw_fix 4 9 -> 175 DRAW_FIX 1 4
draw_fix 1 2 -> silent
draw_fix 31 -1 -> silent
draw_fix 31 1 -> 175 DRAW_FIX 1 15
draw_lock 6 -> 175 DRAW_LOCK 1 6
draw_lock 5 -> 175 DRAW_LOCK 1 2
draw_unlock 6 -> 175 DRAW_UNLOCK 1 6
draw_unlock 5 -> 175 DRAW_UNLOCK 1 2
draw_move -1 0 0 5 5 -> 175 DRAW_MOVE 1 -1
move_draw 4 0 0 0 0 5 5 -> 175 DRAW_MOVE 1 4
draw_move 5 0 0 5 5 -> 175 MOVE_DRAW 1 2
draw_move 5 0 256 0 0 5 5 -> silent
draw_move 3 0 255 0 0 5 5 -> 1
draw_exists -1 -> 0
draw_exists 2 -> 0
draw_exists 3 -> 1
draw_exists 5 -> 0
draw_exists 99 -> 0
draw_get_x0 -1 -> 175 DRAW_GET_X0 1 -1
draw_get_y0 0 -> 175 DRAW_GET_Y0 1 0
draw_get_x1 5 -> 175 DRAW_GET_X1 1 2
draw_get_y1 33 -> 175 DRAW_GET_Y1 1 33
draw_get_type 5 -> 175 DRAW_GET_TYPE 1 2
draw_get_color 5 -> 175 DRAW_GET_COLOR 1 2
draw_get_alpha 5 -> 175 DRAW_GET_ALPHA 1 2
draw_get_region 5 -> 175 DRAW_GET_REGION 1 2
draw_get_z 5 -> 175 DRAW_GET_Z 1 2
draw_get_visible 5 -> 175 DRAW_GET_VISIBLE 1 2
draw_is_fixed 5 -> 175 DRAW_IS_FIXED 1 2
draw_is_locked 5 -> 175 DRAW_IS_LOCKED 1 2
draw_get_width 5 -> 175 DRAW_GET_WIDTH 1 2
draw_get_height 5 -> 175 DRAW_GET_HEIGHT 1 2
draw_get_box 5 0 0 0 0 -> 175 DRAW_GET_BOX 1 2
draw_get_box -1 0 0 0 0 -> 175 DRAW_GET_BOX 1 -1
draw_get_box 3 0 0 0 0 -> 1
draw_set_z 2 5 -> 175 DRAW_SET_Z 1 2
draw_set_z 5 5 -> 175 DRAW_SET_Z 1 2
draw_set_region 2 5 -> 175 DRAW_SET_REGION 1 2
draw_set_region 5 5 -> 108 DRAW_SET_REGION 2 5
draw_set_region 5 3 -> 175 DRAW_SET_REGION 1 2
draw_set_alpha 3 256 -> silent
draw_set_alpha 3 -1 -> silent
draw_set_visible 0 1 -> 175 DRAW_SET_VISIBLE 1 0
draw_set_destination 0 1 1 -> 175 DRAW_SET_DESTINATION 1 0
draw_set_destination 3 -1 1 -> 109 DRAW_SET_DESTINATION 2 -1
draw_set_destination 3 4 1 -> 109 DRAW_SET_DESTINATION 2 4
draw_set_destination 3 1 0 -> 110 DRAW_SET_DESTINATION 3 0
draw_set_destination 3 0 -1 -> 110 DRAW_SET_DESTINATION 3 -1
draw_set_destination 3 1 5 -> 111 DRAW_SET_DESTINATION 2 1
draw_set_destination 3 0 1000 -> 121 DRAW_SET_DESTINATION 3 1000
draw_set_destination 3 0 0 -> 0
draw_delete -1 -> 2
graphiclib_get_drawslocked -> -2
graphiclib_get_drawsfixed -> -2
)");
  set_depth(16);
  expect_calls(host, R"(
draw_new 1 65536 300 5 0 0 9 9 -> silent
draw_new 1 65535 300 5 0 0 9 9 -> silent
draw_new 1 65535 255 0 0 0 9 9 -> 1
draw_move 1 65536 255 0 0 9 9 -> silent
draw_set_color 1 65536 -> silent
draw_set_color 1 65535 -> 0
)");
  set_depth(8);
  expect_calls(host, R"(
draw_new 1 256 16 5 0 0 9 9 -> 154 DRAW_NEW 2 256
draw_new 1 15 16 0 0 0 10 10 -> 174 DRAW_NEW 3 16
draw_new 1 15 300 5 0 0 10 10 -> 174 DRAW_NEW 3 300
draw_new 1 15 -1 5 0 0 10 10 -> 174 DRAW_NEW 3 -1
draw_new 1 255 15 0 0 0 9 9 -> 3
draw_move 1 0 0 9 9 -> 174 MOVE_DRAW 3 255
draw_move 3 256 16 0 0 9 9 -> 154 DRAW_MOVE 2 256
draw_move 3 255 16 0 0 9 9 -> 174 MOVE_DRAW 3 16
draw_move 3 255 14 0 0 9 9 -> 1
draw_move 1 1 2 3 4 -> 1
draw_get_alpha 1 -> 255
draw_get_alpha 3 -> 14
draw_set_alpha 1 16 -> 174 DRAW_SET_ALPHA 2 16
draw_set_color 1 256 -> 154 DRAW_SET_COLOR 2 256
)");
}

TEST_F(DrawObjects, TheListGrowsToItsLimit) {
  for (int32_t i = 0; i < 65536; i++)
    ASSERT_EQ(make(1, 0, 255, 0, 0, 1, 1), 2 * i + 1);
  expect_calls(host, R"(
draw_new 3 0 255 0 0 0 1 1 -> 172 DRAW_NEW 1 3
draw_delete 131071 -> 1
draw_delete 7001 -> 1
draw_new 3 0 255 0 0 0 1 1 -> 7001
draw_new 3 0 255 0 0 0 1 1 -> 131071
draw_delete -1 -> 65536
draw_new 3 0 255 0 0 0 1 1 -> 1
)");
}

TEST_F(DrawObjects, AnswerWithWhatTheyWereGiven) {
  *_draw_z_ = -7;
  *_draw_visible_ = 0;
  *_draw_destination_graph_ = 1100;
  expect_calls(host, R"(
draw_new 2 4278190335 9 3 2147483647 5 -2147483648 -5 -> 1
draw_get_type 1 -> 2
draw_get_color 1 -> -16776961
draw_get_alpha 1 -> 9
draw_get_region 1 -> 3
draw_get_z 1 -> -7
draw_get_visible 1 -> 0
draw_get_x0 1 -> 2147483647
draw_get_y0 1 -> 5
draw_get_x1 1 -> -2147483648
draw_get_y1 1 -> -5
draw_get_width 1 -> 2147483647
draw_get_height 1 -> 11
)");
  EXPECT_EQ(draws[0].destination, screen);
  EXPECT_EQ(draws[0].destination_graph, 1100);
  int32_t box[4];
  EXPECT_EQ(host.call(ORB_draw_get_box, 1, &box[0], &box[1], &box[2], &box[3]), 1);
  EXPECT_EQ(std::to_array(box), std::to_array<int32_t>({INT32_MAX, 5, INT32_MIN, -5}));
}

// ---- A model of the objects ---------------------------------------------------------------------

/// A model of the objects, compared with the module's after every call.
struct model {
  struct object {
    bool locked = false, fixed = false;
    std::vector<int32_t> values; // by setter: z, region, alpha, colour, visible
    std::vector<int32_t> corners;
  };
  std::vector<std::optional<object>> objects;
  int32_t painted = 0, fixed = 0, locked = 0;

  template <typename Change> int32_t change(int32_t id, Change change) {
    int32_t changed = 0;
    for (size_t i = 0; i < objects.size(); i++)
      if (objects[i] && (id == -1 || id == int32_t(2 * i + 1))) changed += change(objects[i]);
    return changed;
  }
};

TEST_F(DrawObjects, BehaveAsTheirModel) {
  model known;
  const auto setters =
      std::to_array<int32_t (*)()>({ORB_draw_set_z, ORB_draw_set_region, ORB_draw_set_alpha,
                                    ORB_draw_set_color, ORB_draw_set_visible});
  const auto getters =
      std::to_array<int32_t (*)()>({ORB_draw_get_z, ORB_draw_get_region, ORB_draw_get_alpha,
                                    ORB_draw_get_color, ORB_draw_get_visible});
  const auto corner_getters = std::to_array<int32_t (*)()>(
      {ORB_draw_get_x0, ORB_draw_get_y0, ORB_draw_get_x1, ORB_draw_get_y1});
  const auto any_values = [&] {
    return std::vector<int32_t>{any(-9, 9), any(0, 1) * 3, any(0, 255), any(0, 99), any(0, 1)};
  };
  const auto any_corners = [&] {
    return std::vector<int32_t>{any(-99, 99), any(-99, 99), any(-99, 99), any(-99, 99)};
  };
  for (int step = 0; step < 4000; step++) {
    // An existing object, or all.
    int32_t id = -1;
    if (known.painted && random() % 8) {
      do {
        id = 2 * any(0, int32_t(known.objects.size()) - 1) + 1;
      } while (!known.objects[size_t(id) / 2]);
    }
    SCOPED_TRACE(testing::Message() << "step " << step << ", id " << id);
    using object = std::optional<model::object>;
    const uint32_t action = random() % 16;
    int32_t result = 0, wanted = 0;
    if (action < 5 && (known.painted < 40 || action == 0)) {
      const auto v = any_values();
      const auto c = any_corners();
      *_draw_z_ = v[0];
      *_draw_visible_ = v[4];
      result = host.call(ORB_draw_new, any(1, 5), v[3], v[2], v[1], c[0], c[1], c[2], c[3]);
      const auto free = std::find(known.objects.begin(), known.objects.end(), std::nullopt);
      wanted = 2 * int32_t(free - known.objects.begin()) + 1;
      if (free == known.objects.end()) known.objects.emplace_back();
      known.objects[size_t(wanted) / 2] = {false, false, v, c};
      known.painted++;
    } else if (action < 7 && (id != -1 || random() % 4 == 0)) {
      result = host.call(ORB_draw_delete, id);
      wanted = known.change(id, [](object &each) {
        if (each->fixed) return false;
        each.reset();
        return true;
      });
      known.painted -= wanted;
      known.fixed -= wanted;
      known.locked -= wanted;
    } else if (action < 9) {
      const bool on = random() % 3 == 0;
      result = host.call(ORB_draw_fix, id, on);
      wanted = known.change(id, [=](object &each) { return std::exchange(each->fixed, on) != on; });
      known.fixed += on ? wanted : -wanted;
    } else if (action < 11) {
      const bool on = random() % 2;
      result = host.call(on ? ORB_draw_lock : ORB_draw_unlock, id);
      wanted = known.change(id, [=](object &each) {
        each->locked = on;
        return true;
      });
      known.locked += on ? wanted : -wanted;
    } else if (action < 13 && id != -1) {
      const auto c = any_corners();
      model::object &moved = *known.objects[size_t(id) / 2];
      moved.corners = c;
      if (random() % 2) {
        result = host.call(ORB_draw_move, id, c[0], c[1], c[2], c[3]);
      } else {
        const auto v = any_values();
        moved.values[2] = v[2];
        moved.values[3] = v[3];
        result = host.call(ORB_draw_move, id, v[3], v[2], c[0], c[1], c[2], c[3]);
      }
      wanted = 1;
    } else {
      const size_t which = random() % setters.size();
      const int32_t value = any_values()[which];
      result = host.call(setters[which], id, value);
      wanted = known.change(id, [=](object &each) {
        if (each->locked) each->values[which] = value;
        return each->locked;
      });
    }
    ASSERT_EQ(result, wanted);
    ASSERT_TRUE(host.errors.empty());
    ASSERT_EQ(draws_painted, known.painted);
    ASSERT_EQ(draws_fixed, known.fixed);
    ASSERT_EQ(draws_locked, known.locked);
    for (size_t i = 0; i < known.objects.size(); i++) {
      const auto each = int32_t(2 * i + 1);
      ASSERT_EQ(host.call(ORB_draw_exists, each), known.objects[i].has_value());
      if (!known.objects[i]) continue;
      ASSERT_EQ(host.call(ORB_draw_is_locked, each), known.objects[i]->locked);
      ASSERT_EQ(host.call(ORB_draw_is_fixed, each), known.objects[i]->fixed);
      for (size_t k = 0; k < getters.size(); k++)
        ASSERT_EQ(host.call(getters[k], each), known.objects[i]->values[k]) << each << ": " << k;
      for (size_t k = 0; k < 4; k++)
        ASSERT_EQ(host.call(corner_getters[k], each), known.objects[i]->corners[k]);
    }
  }
  EXPECT_GT(known.objects.size(), 16u);
}

// ---- Frames -------------------------------------------------------------------------------------

/// Draws one object directly, with the clip rectangle that it should get.
void draw_directly(const orb_draw &draw, __ORBSurface2D__ *on) {
  const __ORBRegion__ &region = regions[draw.region];
  draw_clipx0 = std::max(region.x0, 0);
  draw_clipy0 = std::max(region.y0, 0);
  draw_clipx1 = std::min(region.x1, int32_t(on->width) - 1);
  draw_clipy1 = std::min(region.y1, int32_t(on->height) - 1);
  // Ellipses left of the surface extend one pixel beyond their box, which must not show.
  if (draw_clipx0 > std::max(draw.x0, draw.x1) || draw_clipx1 < std::min(draw.x0, draw.x1)) return;
  if (draw_clipy0 > std::max(draw.y0, draw.y1) || draw_clipy1 < std::min(draw.y0, draw.y1)) return;
  colorfx = draw.colour;
  alphafx = draw.alpha;
  const bool solid = draw.alpha == (mode.bpp == 8 ? 15 : 255);
  const auto [x0, y0, x1, y1] = std::tie(draw.x0, draw.y0, draw.x1, draw.y1);
  switch (draw.type) {
  case 1: return (solid ? drawing_line : drawing_line_alpha)(on, x0, y0, x1, y1);
  case 2: return (solid ? drawing_rect : drawing_rect_alpha)(on, x0, y0, x1, y1, 0);
  case 3: return (solid ? drawing_rect : drawing_rect_alpha)(on, x0, y0, x1, y1, 1);
  case 4: return (solid ? drawing_ellipse : drawing_ellipse_alpha)(on, x0, y0, x1, y1, 0);
  default: return (solid ? drawing_ellipse : drawing_ellipse_alpha)(on, x0, y0, x1, y1, 1);
  }
}

// Processes and objects at random depths, on the screen and on two graphs, locked and not.
TEST_F(DrawObjects, AreDrawnByDepthAmongTheProcesses) {
  for (int32_t depth : {8, 16, 32}) {
    set_depth(depth);
    const int32_t sprite = host.call(ORB_map_new, 15, 12, 7, 6, 55);
    const int32_t canvases[] = {host.call(ORB_map_new, 50, 70), host.call(ORB_map_new, 90, 20)};
    const auto surface_of = [&](int32_t graph) { return graph ? slot(graph).surface : screen; };
    const auto any_target = [&] { return random() % 2 ? 0 : canvases[random() % 2]; };
    for (int32_t round = 0; round < 60; round++) {
      host.processes.clear();
      host.call(ORB_draw_delete, -1);
      for (int32_t i = any(0, 6); i > 0; i--) {
        orb_locals &locals = *host.spawn().locals;
        locals.graph = sprite;
        locals.x = any(0, 63);
        locals.y = any(0, 47);
        locals.z = any(-3, 3);
        locals.flags = any(0, 1) * 4;
        locals.destination_graph = any_target();
      }
      std::map<int32_t, int32_t> places; // of objects with a place
      for (int32_t i = any(1, 20); i > 0; i--) {
        *_draw_z_ = any(-3, 3);
        *_draw_visible_ = random() % 4 != 0;
        *_draw_destination_graph_ = any_target();
        const int32_t alpha =
            random() % 2 ? (depth == 8 ? 15 : 255) : any(0, depth == 8 ? 15 : 255);
        const int32_t id = host.call(ORB_draw_new, any(1, 5), any(1, 255), alpha, any(0, 1) * 3,
                                     any(-20, 80), any(-20, 60), any(-20, 80), any(-20, 60));
        ASSERT_GT(id, 0);
        const bool locked = random() % 2, placed = random() % 4 == 0;
        const int32_t place = any_target();
        if (locked) host.call(ORB_draw_lock, id);
        if (placed) host.call(ORB_draw_set_destination, id, 0, place);
        if (locked) places[id] = placed ? place : 0; // the screen, whatever the globals are
      }
      *_draw_z_ = any(-3, 3);
      *_draw_visible_ = round % 4 != 0;
      *_draw_destination_graph_ = any_target();

      // The expected result: everything to draw, by depth.
      struct item {
        int32_t z;
        const orb_locals *locals;
        const orb_draw *draw;
        int32_t target;
      };
      std::vector<item> items;
      for (const orb_process &process : host.processes)
        items.push_back(
            {process.locals->z, process.locals, nullptr, process.locals->destination_graph});
      for (int32_t i = 0; i < max_draw; i++) {
        const orb_draw &draw = draws[i];
        if (!draw.in_use) continue;
        if (draw.locked ? draw.visible : *_draw_visible_)
          items.push_back({draw.locked ? draw.z : *_draw_z_, nullptr, &draw,
                           draw.locked ? places.at(2 * i + 1) : *_draw_destination_graph_});
      }
      std::stable_sort(items.begin(), items.end(),
                       [](const item &a, const item &b) { return a.z > b.z; });
      const auto clear_all = [&] {
        for (int32_t target : {0, canvases[0], canvases[1]})
          ORBGI2D_BlitFill(surface_of(target), 77, 0);
      };
      clear_all();
      for (const item &each : items) {
        if (each.draw) {
          draw_directly(*each.draw, surface_of(each.target));
          continue;
        }
        __ORBBlit2D__ request{};
        request.x = each.locals->x;
        request.y = each.locals->y;
        request.flags = each.locals->flags;
        request.alpha = 255;
        request.src = slot(sprite).surface;
        request.dst = surface_of(each.target);
        ORBGI2D_Blit(&request);
      }
      std::vector<file_bytes> wanted;
      for (int32_t target : {0, canvases[0], canvases[1]})
        wanted.push_back(pixels_of(surface_of(target)));
      clear_all();
      restore_type = -1;
      frame();
      for (size_t i = 0; i < 3; i++)
        ASSERT_EQ(pixels_of(surface_of(i ? canvases[i - 1] : 0)), wanted[i])
            << depth << " bits, round " << round << ", surface " << i;
    }
  }
}

// Objects that move, change or vanish leave nothing behind: restoring the zones equals restoring
// everything.
TEST_F(DrawObjects, ZonesTellWhereTheyWere) {
  clear_screen = clear_screen_32bits;
  const int32_t canvas = host.call(ORB_map_new, 64, 48);
  complete_frame = 1;
  dump_type = old_dump_type = restore_type = old_restore_type = 0;
  for (int32_t round = 0; round < 300; round++) {
    host.call(ORB_draw_delete, -1);
    for (int32_t i = any(0, 4); i > 0; i--) {
      const int32_t id =
          host.call(ORB_draw_new, any(1, 5), any(1, 255), any(0, 1) * 127 + 128, any(0, 1) * 3,
                    any(-70, 120), any(-50, 90), any(-70, 120), any(-50, 90));
      if (random() % 8 == 0) {
        host.call(ORB_draw_lock, id);
        host.call(ORB_draw_set_destination, id, 0, canvas);
      }
    }
    frame();
    const file_bytes seen = pixels_of(screen);
    const auto zones = std::to_array(framezones);
    for (int32_t i = 0; i < num_framezones; i++) {
      ASSERT_GE(std::min(zones[size_t(i)].x0, zones[size_t(i)].y0), 0);
      ASSERT_LT(zones[size_t(i)].x1, screen_width);
      ASSERT_LT(zones[size_t(i)].y1, screen_height);
    }
    ORBGI2D_BlitFill(screen, 0, 0);
    for (int32_t i = 0; i < max_draw; i++)
      if (draws[i].in_use && !draws[i].locked) draw_directly(draws[i], screen);
    ASSERT_EQ(seen, pixels_of(screen)) << round;
  }
  // An object on a graph marks no zone.
  host.call(ORB_draw_delete, -1);
  frame();
  frame();
  num_framezones = 0;
  *_draw_destination_graph_ = canvas;
  make(3, 9, 255, 0, 0, 9, 9);
  frame();
  EXPECT_EQ(num_framezones, 0);
  EXPECT_EQ(pixel(*slot(canvas).surface, 9, 9), 9u);
}

TEST_F(DrawObjects, ThatCannotBeDrawnAreLeftOut) {
  const int32_t canvas = host.call(ORB_map_new, 20, 20);
  const int32_t locked = make(3, 9, 255, 0, 0, 30, 30);
  host.call(ORB_draw_lock, locked);
  ASSERT_EQ(host.call(ORB_draw_set_destination, locked, 0, canvas), 1);
  make(3, 8, 255, 10, 10, 30, 30); // follows the globals
  const auto requests = [&](int32_t file, int32_t graph) {
    *_draw_destination_file_ = file;
    *_draw_destination_graph_ = graph;
    ResetBlitList();
    do_drawings();
    return GetNumsBlitOnList();
  };
  EXPECT_EQ(requests(0, 0), 2);
  EXPECT_EQ(requests(0, canvas), 2);
  EXPECT_EQ(requests(0, canvas + 1), 1);
  EXPECT_EQ(requests(0, -1), 1);
  EXPECT_EQ(requests(0, max_map), 1);
  EXPECT_EQ(requests(-1, 0), 1);
  EXPECT_EQ(requests(max_fpg, 1), 1);
  EXPECT_EQ(requests(1, 0), 1);
  EXPECT_EQ(requests(1, 1100), 1); // in range by the bound of library 0
  EXPECT_EQ(requests(0, 0), 2);
  host.call(ORB_map_unload, canvas);
  EXPECT_EQ(requests(0, 0), 1);
  EXPECT_EQ(requests(0, canvas), 0);
  frame();
  // Another graph under the same code replaces it.
  ASSERT_EQ(host.call(ORB_map_new, 4, 4), canvas);
  EXPECT_EQ(requests(0, 0), 2);
  frame();
  EXPECT_EQ(pixel(*slot(canvas).surface, 3, 3), 9u);

  host.call(ORB_draw_delete, -1);
  *_draw_destination_graph_ = 0;
  host.call(ORB_region_define, 7, 10, 10, 5, 5);
  const struct {
    int32_t x0, y0, x1, y1, requests;
  } rows[] = {
      {14, 14, 60, 60, 1},
      {15, 10, 20, 20, 0},
      {0, 0, 10, 10, 1},
      {0, 0, 9, 20, 0},
      {20, 9, 0, 0, 0},
      {20, 20, 0, 0, 1},
      {0, 14, 60, 14, 1},
      {0, 15, 60, 90, 0},
      {INT32_MIN, INT32_MIN, INT32_MAX, INT32_MAX, 1},
      {INT32_MAX, 12, INT32_MIN, 12, 1},
      {INT32_MAX, 12, INT32_MAX, 12, 0},
  };
  for (const auto &row : rows)
    for (int32_t type = 1; type <= 5; type++) {
      host.call(ORB_draw_new, type, 5, 100, 7, row.x0, row.y0, row.x1, row.y1);
      EXPECT_EQ(requests(0, 0), row.requests) << row.x0 << ", " << row.y0;
      frame(); // any corners, in the same frame
      host.call(ORB_draw_delete, -1);
    }
  make(3, 5, 255, 0, 0, 9, 9);
  draws[0].region = 7;
  host.call(ORB_region_undefine, 7);
  EXPECT_EQ(requests(0, 0), 0);
  draws[0].x0 = -5; // across the corner of an undefined region's box
  draws[0].y0 = -5;
  EXPECT_EQ(requests(0, 0), 0);
}

TEST_F(DrawObjects, TheirRequestsAreWhole) {
  *_draw_z_ = 4;
  make(3, 9, 200, 70, 20, -5, 11);
  UseBlitList(graphics2D_blitlist);
  __ORBBlit2D__ *request = GetAndUpdateBlitList();
  memset(request, 0x55, sizeof *request); // as an earlier frame may have left it
  ResetBlitList();
  do_drawings();
  ASSERT_EQ(request, GetNumBlitOnList(0));
  EXPECT_EQ(request->link, 0);
  EXPECT_EQ(request->owner, nullptr);
  EXPECT_EQ(request->z, 4);
  EXPECT_EQ(request->region, 0);
  EXPECT_EQ(request->alpha, 200);
  EXPECT_EQ(request->own_region, 0);
  EXPECT_EQ(request->src, nullptr);
  EXPECT_EQ(request->dst, screen);
  EXPECT_EQ(request->drawn_x0, 70);
  EXPECT_EQ(request->drawn_x1, -5);
  EXPECT_EQ(request->drawn_y0, 20);
  EXPECT_EQ(request->drawn_y1, 11);
  ASSERT_EQ(request->blit_op, BlitDrawing);
  EXPECT_EQ(BlitDrawing(request), 1);
  EXPECT_EQ(request->drawn, 1);
  EXPECT_EQ(request->drawn_x0, 0);
  EXPECT_EQ(request->drawn_x1, 63);
  EXPECT_EQ(request->drawn_y0, 11);
  EXPECT_EQ(request->drawn_y1, 20);
  draws[0].type = 6;
  EXPECT_EQ(BlitDrawing(request), 1);
  EXPECT_EQ(request->drawn, 0);
  for (int32_t link : {-1, 1, 16, INT32_MAX}) {
    request->link = link;
    EXPECT_EQ(BlitDrawing(request), 0);
  }
}

} // namespace
