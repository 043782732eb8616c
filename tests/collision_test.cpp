// Collision and overlap: pixel tests against the frames drawn, the walk over the processes, and its
// candidates.
#include <algorithm>
#include <random>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "blit/blit.h"
#include "blit/blit_list.h"
#include "blit/effects.h"
#include "collision/collision.h"
#include "collision/picture.h"
#include "collision/polygon.h"
#include "frame/process_scan.h"
#include "graphics_fixture.h"
#include "mode_fixture.h"
#include "script/handlers.h"
#include "surface/fill.h"

namespace {

script_mouse pointer;
struct {
  int32_t scroll, x, y; // the scroll that shows every process, and its position
} shown_in;

struct Collision : graphics_test {
  std::mt19937 random{4711};

  Collision() {
    frame_number = 1;
    collision_alphathreshold = 0;
    alphathreshold = 0;
    pointer = {};
    _mouse_graphics2D_ = &pointer;
    create_collision_surfaces();
    host.scroll.offset = [](int32_t, int32_t scroll, int32_t *x, int32_t *y) -> int32_t {
      if (scroll != shown_in.scroll) return 0;
      *x = shown_in.x;
      *y = shown_in.y;
      return 1;
    };
    shown_in = {-1, 0, 0};
  }
  ~Collision() override {
    delete_collision_surfaces();
    _mouse_graphics2D_ = nullptr;
  }

  int pick(int low, int high) { return std::uniform_int_distribution<int>(low, high)(random); }

  /// A graph of library 0, all of one pixel value.
  int32_t add_graph(int width, int height, uint32_t value, bool alpha = false) {
    const int32_t code = GetMAPCode(0);
    __ORBSurface2D__ *const surface = ORBGI2D_CreateGFXSurface(width, height, mode.bpp, 1);
    ORBGI2D_BlitFill(surface, value, 0);
    surface->alpha_channel = alpha;
    slot(code).surface = surface;
    slot(code).code = code;
    ++fpg[0].map_count;
    return code;
  }
  /// A graph with holes, of a random size, and at 32 bits sometimes with alpha.
  int32_t add_random_graph() {
    const int32_t code = add_graph(pick(1, 40), pick(1, 40), 0);
    __ORBSurface2D__ &s = *slot(code).surface;
    s.alpha_channel = mode.bpp == 32 && pick(0, 1);
    auto *bytes = static_cast<uint8_t *>(s.pixels);
    const uint32_t size = uint32_t(mode.bpp / 8);
    const int holes = pick(2, 12);
    for (uint32_t i = 0; i < s.byte_size; i += size)
      for (uint32_t b = 0; b < size; ++b)
        bytes[i + b] = pick(0, holes) ? 0 : uint8_t(pick(1, 255));
    s.cpoints[0] = uint32_t(pick(0, int(s.width)));
    s.cpoints[1] = uint32_t(pick(0, int(s.height)));
    return code;
  }
  orb_process &at(int32_t x, int32_t y, int32_t graph, int32_t type = 1) {
    orb_process &process = host.spawn();
    process.type = type;
    process.locals->x = x;
    process.locals->y = y;
    process.locals->graph = graph;
    return process;
  }
  /// Every other value is a multiple of `step`: corners then fall halfway between two pixels.
  int pick_even(int low, int high, int step) {
    const int any = pick(low, high);
    return pick(0, 1) ? any : any / step * step;
  }
  void turn_at_random(orb_process &process) {
    orb_locals &l = *process.locals;
    l.angle = pick(0, 1) ? pick_even(-400000, 400000, 90000) : 0;
    l.size = pick(0, 2) ? 100 : pick_even(50, 300, 50);
    l.size_x = pick(0, 2) ? 100 : pick_even(50, 300, 50);
    l.size_y = pick(0, 2) ? 100 : pick_even(50, 300, 50);
    l.shear_x = pick(0, 2) ? 0 : pick_even(-150, 150, 50);
    l.shear_y = pick(0, 4) ? 0 : pick_even(-150, 150, 50);
    l.tfmorder = pick(0, 5);
    l.flags = pick(0, 12);
  }
  /// None of these changes affects a pixel test.
  void look_at_random(orb_process &process) {
    orb_locals &l = *process.locals;
    l.alpha = pick(0, 255);
    l.fxmode = pick(0, 300);
    l.region = pick(0, 30);
    l.visible = pick(0, 1);
  }
  int32_t id(const orb_process &process) { return process_id(&process); }
  template <typename... T> int32_t collide(const orb_process &asking, T... arguments) {
    return host.call(ORB_collision, id(asking), arguments...);
  }

  /// What a frame draws of a process, on a surface with room for all of it.
  struct shown_picture {
    __ORBBlit2D__ &request;

    /// The request that the scan makes as its `number`th.
    explicit shown_picture(int32_t number) : request(*GetNumBlitOnList(number)) {
      request.fxmode = fx_src;
      if ((request.flags & 12) == 4) request.flags -= 4; // ghosts draw their pixels paler
      ORBGI2D_BlitFill(request.dst, 0, 0);
      request.blit_op(&request);
    }
    /// A picture that is only scaled may show the next source pixel when it is clipped elsewhere.
    void clip_if_scaled(const __ORBRegion__ &to) {
      if (request.blit_op != ORBGI2D_BlitScale) return;
      __ORBBlit2D__ clipped = request;
      clipped.region = 0;
      clipped.own_region = 1;
      clipped.own_region_x0 = to.x0;
      clipped.own_region_x1 = to.x1;
      clipped.own_region_y0 = to.y0;
      clipped.own_region_y1 = to.y1;
      ORBGI2D_BlitFill(request.dst, 0, 0);
      clipped.blit_op(&clipped);
    }
    /// Whether a pixel can be hit.
    bool at(int32_t x, int32_t y) const {
      const uint32_t value = pixel(*request.dst, uint32_t(x), uint32_t(y));
      return request.src->alpha_channel ? value >> 24 > uint32_t(collision_alphathreshold)
                                        : value != 0;
    }
  };
};

TEST_F(Collision, PixelsTouchExactlyWhereTheFrameShowsThem) {
  int hits = 0, misses = 0;
  UseBlitList(CreateBlitList("shown", 4, 4));
  for (const int32_t bpp : {8, 16, 32}) {
    set_depth(bpp);
    create_collision_surfaces();
    const int32_t onto[] = {add_graph(600, 600, 0), add_graph(600, 600, 0)};
    for (int round = 0; round < 800; ++round) {
      SCOPED_TRACE(std::to_string(bpp) + " bits, round " + std::to_string(round));
      host.processes.clear();
      // Every other pair lies across the corner of the screen, where less is drawn than can be hit;
      // point tests show the difference.
      const bool whole = round % 2;
      const auto near = [&] { return (whole ? 300 : 10) + pick(-20, 20); };
      orb_process &a = at(near(), near(), add_random_graph());
      orb_process &b = at(near(), near(), add_random_graph());
      turn_at_random(a);
      turn_at_random(b);
      a.locals->region = b.locals->region = -1;
      a.locals->destination_graph = onto[0];
      b.locals->destination_graph = onto[1];
      ASSERT_EQ(host.call(ORB_collision_set_alphathreshold, pick(0, 254)), 1);
      ResetBlitList();
      do_processes();
      shown_picture of_a(0), of_b(1);
      const __ORBBlit2D__ &ra = of_a.request, &rb = of_b.request;
      const int32_t px = abs(near()), py = abs(near());
      bool touch = false;
      of_b.clip_if_scaled({px, px, py, py});
      const bool covered = of_b.at(px, py);
      if (ra.drawn && rb.drawn) {
        const __ORBRegion__ both{
            std::max(ra.drawn_x0, rb.drawn_x0), std::min(ra.drawn_x1, rb.drawn_x1),
            std::max(ra.drawn_y0, rb.drawn_y0), std::min(ra.drawn_y1, rb.drawn_y1)};
        of_a.clip_if_scaled(both);
        of_b.clip_if_scaled(both);
        for (int32_t y = both.y0; y <= both.y1 && !touch; ++y)
          for (int32_t x = both.x0; x <= both.x1 && !touch; ++x)
            touch = of_a.at(x, y) && of_b.at(x, y);
      }
      (touch ? hits : misses) += 1;
      look_at_random(a);
      look_at_random(b);
      if (whole) {
        EXPECT_EQ(collide(a, id(b)), touch ? id(b) : 0);
      }
      host.current_process = &a;
      EXPECT_EQ(host.call(ORB_collision, px, py, id(b)), covered ? id(b) : 0);
      for (orb_process *process : {&a, &b}) {
        ORBGI2D_DeleteGFXSurface(slot(process->locals->graph).surface);
        slot(process->locals->graph) = {};
      }
    }
  }
  EXPECT_GT(hits, 300);
  EXPECT_GT(misses, 300);
  EXPECT_TRUE(host.errors.empty());
}

/// Poses far from those of games, and pictures that meet in one pixel or miss by one.
TEST_F(Collision, NoPictureThatTouchesIsPassedOver) {
  int touching = 0, passed_over = 0;
  const auto any = [&](int32_t usual) {
    static constexpr int32_t extremes[] = {INT32_MIN, INT32_MAX, -(1 << 30), 1 << 30, 1 << 24, -1};
    if (pick(0, 9)) return pick(-usual, usual);
    return pick(0, 1) ? extremes[pick(0, 5)] : int32_t(random());
  };
  orb_process &a = at(0, 0, add_graph(1, 1, 1)), &b = at(0, 0, 0);
  host.current_process = &a;
  std::vector<int32_t> directions(2);
  for (int round = 0; round < 30000; ++round) {
    SCOPED_TRACE(round);
    const int32_t graph = round % 2 ? add_graph(pick(1, 300), pick(1, 9), 1) : add_random_graph();
    __ORBSurface2D__ &picture = *slot(graph).surface;
    orb_locals &l = *b.locals;
    l = {};
    l.graph = graph;
    turn_at_random(b);
    l.x = any(500);
    l.y = any(500);
    l.flags = pick(0, 15);
    if (pick(0, 1)) l.resolution = any(100);
    if (pick(0, 3) == 0) l.size = any(400);
    if (pick(0, 3) == 0) l.size_y = any(400);
    if (pick(0, 3) == 0) l.shear_x = any(400);
    if (pick(0, 3) == 0) picture.cpoints[pick(0, 1)] = uint32_t(any(70000));
    if (pick(0, 3) == 0) {
      picture.pivot_override = 1;
      picture.pivot_x = uint32_t(any(500));
      picture.pivot_y = uint32_t(any(500));
    }
    directions = {1, pick(0, 1) ? graph : -graph};
    if (pick(0, 3) == 0) l.xgraph = directions.data();
    b.coordinates = pick(0, 1);
    shown_in = {pick(0, 9), any(500), any(500)};

    __ORBBlit2D__ exact;
    ASSERT_TRUE(process_picture(&b, exact, nullptr));
    int32_t x, y;
    if (scroll_offset(&b, x, y)) move_picture(exact, x, y);
    __FPoint__ corners[4];
    picture_corners(exact, corners);
    const __ORBRegion__ box = picture_box(exact);
    // A dot beside a corner of its outline or on an edge of its box, or somewhere else.
    const __FPoint__ &corner = corners[pick(0, 3)];
    const auto near = [&](double place) {
      return int32_t(std::clamp(place, -2e9, 2e9)) + pick(-1, 1);
    };
    a.locals->x = round % 3 ? near(corner.x) : pick(0, 1) ? box.x0 : box.x1;
    a.locals->y = round % 3 ? near(corner.y) : pick(box.y0, box.y1);
    if (round % 5 == 0) a.locals->y = any(2000);
    __ORBBlit2D__ asking;
    ASSERT_TRUE(process_picture(&a, asking, nullptr));
    __FPoint__ point[4];
    picture_corners(asking, point);
    const __ORBRegion__ asking_box = picture_box(asking);
    const bool boxes_meet = asking_box.x0 <= box.x1 && asking_box.x1 >= box.x0 &&
                            asking_box.y0 <= box.y1 && asking_box.y1 >= box.y0;
    const bool outlines_meet =
        exact.size_x != 0 && exact.size_y != 0 && convex_polygon_intersection(point, corners);
    const bool near_it = process_picture_near(asking_box, &b, scan);
    if (boxes_meet || outlines_meet) {
      EXPECT_TRUE(near_it);
    }
    EXPECT_EQ(host.call(ORB_overlap, id(a), id(b)), outlines_meet ? id(b) : 0);
    const bool covered = exact.size_x != 0 && exact.size_y != 0 &&
                         inside_quadrilateral(corners, float(asking.x), float(asking.y));
    EXPECT_EQ(host.call(ORB_overlap, asking.x, asking.y, id(b)), covered ? id(b) : 0);
    touching += boxes_meet || outlines_meet;
    passed_over += !near_it;
    ORBGI2D_DeleteGFXSurface(&picture);
    slot(graph) = {};
  }
  EXPECT_GT(touching, 5000);
  EXPECT_GT(passed_over, 2000);
}

TEST_F(Collision, MemoryGrowsAndIsThenKept) {
  orb_process &a = at(0, 0, add_graph(64, 64, 1)), &b = at(0, 0, add_graph(64, 64, 1));
  EXPECT_EQ(collide(a, id(b)), id(b));
  const void *const pixels = proc_surface->pixels;
  const uint32_t surfaces = gfxsurfaces->count;
  for (int i = -70; i < 70; ++i) {
    b.locals->x = i;
    EXPECT_EQ(collide(a, id(b)), abs(i) < 64 ? id(b) : 0) << i;
  }
  EXPECT_EQ(proc_surface->pixels, pixels);
  EXPECT_EQ(gfxsurfaces->count, surfaces);
}

TEST_F(Collision, TransparentPixelsDontTouchButOverlap) {
  const int32_t empty = add_graph(10, 10, 0), full = add_graph(10, 10, 0x10808080, true);
  orb_process &a = at(0, 0, empty), &b = at(5, 5, full), &c = at(2, 2, full);
  EXPECT_EQ(collide(a, id(b)), 0);
  EXPECT_EQ(host.call(ORB_overlap, id(a), id(b)), id(b));
  EXPECT_EQ(collide(b, id(c)), id(c));
  EXPECT_EQ(host.call(ORB_collision_set_alphathreshold, 16), 1) << "alpha 16 everywhere";
  EXPECT_EQ(collide(b, id(c)), 0);
  EXPECT_EQ(host.call(ORB_collision_set_alphathreshold, 15), 1);
  EXPECT_EQ(collide(b, id(c)), id(c));
  for (const int32_t wrong : {255, 256, -1, INT32_MIN})
    EXPECT_EQ(host.call(ORB_collision_set_alphathreshold, wrong), INT32_MIN);
  EXPECT_EQ(host.call(ORB_collision_get_alphathreshold), 15);
}

TEST_F(Collision, AWalkGivesEveryHitOnceAndStartsOver) {
  const int32_t graph = add_graph(10, 10, 1);
  orb_process &asking = at(0, 0, graph, 7);
  std::vector<orb_process *> touching;
  for (int i = 0; i < 12; ++i) {
    orb_process &p = at(i % 2 ? 500 : 3, 0, graph, i % 3 ? 7 : 8);
    if (i % 2 == 0) touching.push_back(&p);
  }
  const auto all = [&](int32_t target) {
    std::vector<int32_t> ids;
    while (const int32_t found = collide(asking, target))
      ids.push_back(found);
    return ids;
  };
  const auto ids_of = [&](int32_t type) {
    std::vector<int32_t> ids;
    for (orb_process *p : touching)
      if (type == 0 || p->type == type) ids.push_back(id(*p));
    return ids;
  };
  EXPECT_EQ(all(7), ids_of(7));
  EXPECT_EQ(all(7), ids_of(7)) << "after a 0 it starts over";
  EXPECT_EQ(all(8), ids_of(8));
  EXPECT_EQ(all(0), ids_of(0));
  EXPECT_EQ(all(9), ids_of(9));

  EXPECT_EQ(collide(asking, 0), id(*touching[0]));
  EXPECT_EQ(collide(asking, 0), id(*touching[1]));
  EXPECT_EQ(collide(asking, 7), ids_of(7)[0]) << "another target";
  EXPECT_EQ(collide(asking, 7), ids_of(7)[1]);

  // Killed between calls: later candidates are skipped; killing the very next one restarts the
  // walk.
  EXPECT_EQ(collide(asking, 0), id(*touching[0]));
  touching[1]->status = 0;
  EXPECT_EQ(collide(asking, 0), id(*touching[2]));
  EXPECT_EQ(collide(asking, 9), 0);
  EXPECT_EQ(collide(asking, 0), id(*touching[0]));
  EXPECT_EQ(asking.walk_candidate, id(host.processes[2])) << "an id, not a place in the list";
  asking.walk_candidate = 0x1234560;
  EXPECT_EQ(collide(asking, 0), id(*touching[0]));
  // A hit on the last candidate: the next call ends the walk.
  host.processes.erase(host.processes.begin() + 12, host.processes.end());
  EXPECT_EQ(all(8).size(), ids_of(8).size());
}

TEST_F(Collision, AWalkBelongsToOneQuestion) {
  const int32_t graph = add_graph(10, 10, 0xFF808080, true), everywhere = add_graph(200, 200, 1);
  orb_process &asking = at(50, 50, everywhere, 5);
  orb_process &a = at(0, 0, graph, 7), &b = at(80, 80, graph, 7), &c = at(80, 20, graph, 7);
  host.current_process = &asking;
  const auto ask = [&](int32_t (*function)(), auto... arguments) {
    return host.call(function, arguments...);
  };
  // Each call differs from the one before in its arguments, and starts a new walk.
  EXPECT_EQ(ask(ORB_collision, 80, 80, 7), id(b));
  EXPECT_EQ(ask(ORB_collision, 0, 0, 7), id(a)) << "point";
  EXPECT_EQ(ask(ORB_collision, 80, 20, 7), id(c));
  EXPECT_EQ(ask(ORB_collision, 80, 80, 7), id(b));
  EXPECT_EQ(ask(ORB_collision, 7), id(a)) << "form";
  EXPECT_EQ(ask(ORB_collision, 7), id(b));
  EXPECT_EQ(ask(ORB_collision, 0, 0, 7), id(a)) << "form";
  EXPECT_EQ(ask(ORB_collision, 7), id(a));
  EXPECT_EQ(ask(ORB_overlap, 7), id(a)) << "function";
  EXPECT_EQ(ask(ORB_collision, 7), id(a));
  EXPECT_EQ(ask(ORB_collision, 0), id(a)) << "target";
  EXPECT_EQ(ask(ORB_collision_set_alphathreshold, 99), 1);
  EXPECT_EQ(ask(ORB_collision, 0), id(a)) << "threshold";
  // Tests of one process and of the pointer do not touch the walk, and may name the caller.
  EXPECT_EQ(ask(ORB_collision, id(b)), id(b));
  EXPECT_EQ(ask(ORB_overlap, -1), 0);
  EXPECT_EQ(ask(ORB_collision, id(asking), 0), id(b));
  EXPECT_EQ(ask(ORB_collision, 0), id(c));
  EXPECT_EQ(ask(ORB_collision, 0), 0);
}

struct CollisionFrames : Mode {};

TEST_F(CollisionFrames, AWalkStartsOverWithEveryFrame) {
  const int32_t graph = host.call(ORB_map_new, 10, 10, 5, 5, 55);
  orb_process *const processes[] = {&host.spawn(), &host.spawn(), &host.spawn()};
  for (orb_process *process : processes)
    process->locals->graph = graph;
  host.current_process = processes[0];
  for (int frame = 0; frame < 3; ++frame) {
    ORB_mod_graphics2D_frame();
    EXPECT_EQ(host.call(ORB_collision, 0), process_id(processes[1])) << frame;
  }
  EXPECT_EQ(host.call(ORB_collision, 0), process_id(processes[2]));
}

TEST_F(Collision, WhatIsNeverDrawnTouchesNothing) {
  const int32_t graph = add_graph(10, 10, 1);
  orb_process &a = at(0, 0, graph), &b = at(0, 0, graph);
  host.current_process = &a;
  pointer = {0, graph, 0, 0, 0, 0, 0};
  EXPECT_EQ(host.call(ORB_overlap, -1), 0) << "a pointer of size 0";
  struct {
    int32_t flags, size, size_x, size_y;
    bool collides, overlaps;
  } const rows[] = {{11, 100, 100, 100, true, true},  {12, 100, 100, 100, false, true},
                    {13, 100, 100, 100, false, true}, {15, 100, 100, 100, false, true},
                    {-4, 100, 100, 100, false, true}, {7 + 16, 100, 100, 100, true, true},
                    {0, 0, 100, 100, false, false},   {0, 100, 0, 100, false, false},
                    {0, 100, 100, 0, false, false},   {0, 100, 50, 200, true, true}};
  for (const auto &row : rows)
    for (const int32_t angle : {0, 30000}) {
      SCOPED_TRACE(testing::Message() << row.flags << ", " << row.size << ", " << row.size_x << ", "
                                      << row.size_y << ", angle " << angle);
      orb_locals &l = *b.locals;
      l.flags = row.flags;
      l.size = row.size;
      l.size_x = row.size_x;
      l.size_y = row.size_y;
      l.angle = angle;
      EXPECT_EQ(collide(a, id(b)), row.collides ? id(b) : 0);
      EXPECT_EQ(collide(b, id(a)), row.collides ? id(a) : 0);
      EXPECT_EQ(host.call(ORB_overlap, id(a), id(b)), row.overlaps ? id(b) : 0);
      EXPECT_EQ(host.call(ORB_overlap, id(b), id(a)), row.overlaps ? id(a) : 0);
      int32_t collided = 0, overlapped = 0;
      for (int32_t y = -2; y <= 2; ++y)
        for (int32_t x = -2; x <= 2; ++x) {
          collided |= host.call(ORB_collision, x, y, id(b));
          overlapped |= host.call(ORB_overlap, x, y, id(b));
        }
      EXPECT_EQ(collided, row.collides ? id(b) : 0);
      EXPECT_EQ(overlapped, row.overlaps ? id(b) : 0);
    }
}

TEST_F(Collision, WhoTakesPart) {
  const int32_t graph = add_graph(10, 10, 1);
  orb_process &a = at(0, 0, graph, 5), &b = at(5, 5, graph, 6);
  host.current_process = &a;
  EXPECT_EQ(host.call(ORB_collision, 6), id(b));
  EXPECT_EQ(host.call(ORB_collision, 5), 0) << "not oneself";
  EXPECT_EQ(host.call(ORB_collision, id(a)), 0);
  EXPECT_EQ(host.call(ORB_collision, 3, 3, id(a)), id(a)) << "but a point may be on oneself";
  for (const int32_t status : {0, 1, 3}) {
    b.status = status;
    EXPECT_EQ(host.call(ORB_collision, 0), 0) << status;
    EXPECT_EQ(host.call(ORB_collision, id(b)), 0) << status;
  }
  b.status = 4;
  EXPECT_EQ(host.call(ORB_collision, id(b)), id(b));
  b.coordinates = 2;
  EXPECT_EQ(host.call(ORB_collision, id(b)), 0);
  EXPECT_EQ(host.call(ORB_collision, id(b), id(a)), 0) << "nor asks";
  b.coordinates = 0;
  EXPECT_EQ(host.call(ORB_collision, 12345, 0), 0) << "no such process";
  host.current_process = nullptr;
  EXPECT_EQ(host.call(ORB_collision, 0), 0);

  // Shown by scroll 9, offset by it.
  b.locals->x = 1000;
  b.coordinates = 1;
  EXPECT_EQ(collide(a, id(b)), 0);
  shown_in = {9, -995, 3};
  EXPECT_EQ(collide(a, id(b)), id(b));
  EXPECT_EQ(collide(b, id(a)), id(a));
  shown_in.scroll = 10;
  EXPECT_EQ(collide(a, id(b)), 0);
  b.coordinates = 0;
  b.locals->x = 50;
  b.locals->resolution = 10;
  EXPECT_EQ(collide(a, id(b)), id(b));

  // A direction selects the picture and drops the angle; negative entries are mirrored.
  b.locals->resolution = 0;
  b.locals->x = 5;
  const int32_t wide = add_graph(100, 1, 1);
  slot(wide).surface->cpoints[0] = 0;
  std::vector<int32_t> directions{2, wide, -wide};
  b.locals->xgraph = directions.data();
  b.locals->x = 8;
  b.locals->y = 4;
  b.locals->angle = 10000;
  EXPECT_EQ(collide(a, id(b)), 0) << "to the right of it";
  b.locals->x = 60;
  b.locals->angle = 180000;
  EXPECT_EQ(collide(a, id(b)), id(b)) << "mirrored to the left";
  EXPECT_EQ(b.locals->angle, 180000);
  directions[0] = 257;
  EXPECT_EQ(collide(a, id(b)), 0);
  EXPECT_TRUE(host.errors.empty());
}

TEST_F(Collision, ThePointer) {
  const int32_t graph = add_graph(10, 10, 1);
  orb_process &a = at(100, 100, graph);
  host.current_process = &a;
  pointer = {0, 0, 100, 100, 0, 100, 0};
  EXPECT_EQ(host.call(ORB_collision, -1), 0) << "no picture";
  pointer.graph = add_graph(4, 4, 1);
  EXPECT_EQ(host.call(ORB_collision, -1), id(a));
  EXPECT_EQ(host.call(ORB_overlap, -1), id(a));
  pointer.x = 107;
  EXPECT_EQ(host.call(ORB_collision, -1), 0);
  pointer.size = 200;
  EXPECT_EQ(host.call(ORB_collision, -1), id(a));
  EXPECT_EQ(host.call(ORB_collision, 110, 100, -1), id(a)) << "the pointer covers the point";
  EXPECT_EQ(host.call(ORB_collision, 112, 100, -1), 0);
  pointer.file = -1;
  EXPECT_EQ(host.call(ORB_collision, -1), 0);
  EXPECT_TRUE(host.errors.empty());
}

TEST_F(Collision, NumbersOutOfRangeAreReportedForTheAskingProcessAlone) {
  const int32_t graph = add_graph(10, 10, 1);
  orb_process &a = at(0, 0, graph), &b = at(0, 0, graph);
  struct {
    int32_t file, graph, code, position, value;
  } const rows[] = {{-1, 5, 109, 1, -1},     {max_fpg, 5, 109, 1, max_fpg},
                    {0, 0, 110, 2, 0},       {0, max_map, 110, 2, max_map},
                    {1, 1000, 110, 2, 1000}, {0, -3, 110, 2, -3},
                    {0, graph + 1, 0, 0, 0}, {1, 5, 0, 0, 0}};
  for (const auto &row : rows)
    for (const auto handler : {ORB_collision, ORB_overlap}) {
      a.locals->file = row.file;
      a.locals->graph = row.graph;
      host.errors.clear();
      EXPECT_EQ(host.call(handler, id(a), id(b)), 0);
      if (row.code) {
        EXPECT_EQ(host.errors, (std::vector<fake_error>{
                                   {row.code, "COLLISION", 0, row.position, row.value, ""}}));
      } else {
        EXPECT_TRUE(host.errors.empty());
      }
      host.errors.clear();
      EXPECT_EQ(host.call(handler, id(b), id(a)), 0);
      EXPECT_EQ(host.call(handler, id(b), 0), 0);
      EXPECT_TRUE(host.errors.empty()) << "a candidate is passed over";
    }
}

TEST_F(Collision, PicturesOfAnotherDepthOrSizeWithoutEndHitNothing) {
  const int32_t graph = add_graph(10, 10, 1);
  orb_process &a = at(0, 0, graph), &b = at(0, 0, graph);
  for (const int32_t extreme : {INT32_MAX, INT32_MIN, 0, -100}) {
    b.locals->size = extreme;
    collide(a, id(b)); // returns
    b.locals->size = 100;
    b.locals->x = extreme;
    collide(a, id(b));
    collide(b, id(a));
    b.locals->x = 0;
  }
  set_depth(16);
  create_collision_surfaces();
  EXPECT_EQ(collide(a, id(b)), 0);
  delete_collision_surfaces();
  EXPECT_EQ(collide(a, id(b)), 0);
}

} // namespace
