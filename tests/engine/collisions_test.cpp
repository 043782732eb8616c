// Collision and overlap in random poses: pixel tests against the pictures that a frame draws,
// outlines against those that are worked out exactly, and walks over the processes against a list.
#include <algorithm>
#include <cmath>
#include <map>
#include <vector>

#include <gtest/gtest.h>

#include "blit/blit.h"
#include "blit/blit_list.h"
#include "blit/effects.h"
#include "boundary/records.h"
#include "collision/collision.h"
#include "collision/picture.h"
#include "collision/polygon.h"
#include "frame/process_scan.h"
#include "support/random.h"
#include "support/world.h"
#include "surface/fill.h"
#include "surface/registry.h"
#include "surface/screen.h"

namespace {

struct {
  int32_t scroll, x, y; // the scroll that shows processes with coordinates 1, and its position
} shown_in;

struct Collisions : testing::Test {
  world w{{.prepare = [](orbhost::Host &host) {
    host.scroll_services.offset = [](int32_t, int32_t scroll, int32_t *x, int32_t *y) -> int32_t {
      *x = shown_in.x;
      *y = shown_in.y;
      return scroll == shown_in.scroll;
    };
    host.device_system.scroll = &host.scroll_services;
  }}};
  random_source random{base_seed()};
  Collisions() { w.set_mode(32); }

  static int32_t id(const orb_process *process) { return process_id(process); }
  int32_t call(const char *name, std::vector<orbhost::Argument> arguments) {
    return w.host.call(name, std::move(arguments));
  }
  orb_process *spawn(int32_t graph, int32_t x = 0, int32_t y = 0, int32_t type = 1) {
    orb_process *const process = w.host.spawn(type);
    process->locals->graph = graph;
    process->locals->x = x;
    process->locals->y = y;
    return process;
  }
  int32_t one_of(std::initializer_list<int32_t> values) {
    return values.begin()[random.below(int(values.size()))];
  }

  /// A graph of one pixel value, or with value 0 one with holes, at 32 bits sometimes with alpha.
  int32_t new_graph(int width, int height, uint32_t value = 0) {
    const int32_t code = call("map_new", {width, height});
    __ORBSurface2D__ &s = *GetMAP(0, code)->surface;
    s.alpha_channel = !value && mode.bpp == 32 && random.one_in(2);
    const int holes = random.between(2, 12);
    for (uint32_t i = 0; i < s.pixel_count; ++i)
      set_pixel(s, i % s.width, i / s.width,
                value                 ? value
                : random.below(holes) ? 0
                                      : random.word());
    s.cpoints[0] = uint32_t(random.between(0, width));
    s.cpoints[1] = uint32_t(random.between(0, height));
    return code;
  }
  /// Every other value is a multiple of `step`: corners then fall halfway between two pixels.
  int even(int low, int high, int step) {
    const int any = random.between(low, high);
    return random.one_in(2) ? any : any / step * step;
  }
  void turn(orb_locals &l) {
    l.angle = random.one_in(2) ? even(-400000, 400000, 90000) : 0;
    for (int32_t *size : {&l.size, &l.size_x, &l.size_y})
      *size = random.one_in(3) ? even(50, 300, 50) : 100;
    for (int32_t *shear : {&l.shear_x, &l.shear_y})
      *shear = random.one_in(4) ? even(-150, 150, 50) : 0;
    l.tfmorder = random.below(6);
    l.flags = random.between(0, 12);
  }
};

/// What a frame draws of a process, on a surface with room for all of it.
struct shown_picture {
  __ORBBlit2D__ &request;

  explicit shown_picture(int32_t number) : request(*GetNumBlitOnList(number)) {
    request.fxmode = fx_src;
    if ((request.flags & 12) == 4) request.flags -= 4; // ghosts draw their pixels paler
    draw(request);
  }
  static void draw(__ORBBlit2D__ &drawn) {
    ORBGI2D_BlitFill(drawn.dst, 0, 0);
    drawn.blit_op(&drawn);
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
    draw(clipped);
  }
  bool at(int32_t x, int32_t y) const {
    const uint32_t value = pixel(*request.dst, uint32_t(x), uint32_t(y));
    return request.src->alpha_channel ? value >> 24 > uint32_t(collision_alphathreshold)
                                      : value != 0;
  }
};

TEST_F(Collisions, PixelsTouchWhereTheFrameShowsThem) {
  int hits = 0, misses = 0;
  for (const int32_t bpp : {8, 16, 32}) {
    w.set_mode(bpp);
    const int32_t onto[] = {new_graph(600, 600), new_graph(600, 600)};
    for (int round = 0; round < 800; ++round) {
      SCOPED_TRACE(testing::Message() << bpp << " bits, round " << round);
      // Every other pair lies across the corner of the screen, where less is drawn than can be hit;
      // point tests show the difference.
      const bool whole = round % 2;
      const auto near = [&] { return (whole ? 300 : 10) + random.between(-20, 20); };
      orb_process *pair[2];
      for (int i = 0; i < 2; ++i) {
        pair[i] = spawn(new_graph(random.between(1, 40), random.between(1, 40)), near(), near());
        turn(*pair[i]->locals);
        pair[i]->locals->region = -1;
        pair[i]->locals->destination_graph = onto[i];
      }
      const auto [a, b] = pair;
      ASSERT_EQ(call("collision_set_alphathreshold", {random.below(255)}), 1);
      ResetBlitList();
      do_processes();
      shown_picture of_a(0), of_b(1);
      const __ORBBlit2D__ &ra = of_a.request, &rb = of_b.request;
      const int32_t px = std::abs(near()), py = std::abs(near());
      of_b.clip_if_scaled({px, px, py, py});
      const bool covered = of_b.at(px, py);
      bool touch = false;
      if (ra.drawn && rb.drawn) {
        const __ORBRegion__ both{
            std::max(ra.drawn_x0, rb.drawn_x0), std::min(ra.drawn_x1, rb.drawn_x1),
            std::max(ra.drawn_y0, rb.drawn_y0), std::min(ra.drawn_y1, rb.drawn_y1)};
        of_a.clip_if_scaled(both);
        of_b.clip_if_scaled(both);
        for (int32_t y = both.y0; y <= both.y1; ++y)
          for (int32_t x = both.x0; x <= both.x1; ++x)
            touch |= of_a.at(x, y) && of_b.at(x, y);
      }
      (touch ? hits : misses) += 1;
      for (orb_process *each : pair) { // nothing that matters to a pixel test
        each->locals->alpha = random.below(256);
        each->locals->fxmode = random.below(300);
        each->locals->region = random.below(30);
        each->locals->visible = random.below(2);
      }
      if (whole) EXPECT_EQ(call("collision", {id(a), id(b)}), touch ? id(b) : 0);
      w.host.processes().current = a;
      if (random.one_in(9)) delete_collision_surfaces(); // as if there had been no memory for them
      EXPECT_EQ(call("collision", {px, py, id(b)}), covered ? id(b) : 0);
      for (orb_process *each : pair) {
        call("map_unload", {each->locals->graph});
        w.host.kill(each);
      }
    }
  }
  EXPECT_GT(std::min(hits, misses), 300);
  EXPECT_EQ(w.reports(), "");
}

/// Poses far from those of games, and pictures that meet in one pixel or miss by one. Candidates
/// are passed over by a quick bound; it may never miss one that touches.
TEST_F(Collisions, OutlinesTouchWhereTheyAreAndNoneIsPassedOver) {
  int touching = 0, passed_over = 0;
  const auto any = [&](int32_t usual) {
    if (!random.one_in(10)) return random.between(-usual, usual);
    return one_of({INT32_MIN, INT32_MAX, -(1 << 30), 1 << 30, 1 << 24, -1, int32_t(random.word())});
  };
  orb_process *const a = spawn(new_graph(1, 1, 1)), *const b = spawn(0);
  const orb_locals untouched = *b->locals;
  w.host.processes().current = a;
  for (int round = 0; round < 20000; ++round) {
    SCOPED_TRACE(round);
    const int32_t graph =
        new_graph(random.between(1, random.one_in(2) ? 300 : 40), random.between(1, 20), 1);
    __ORBSurface2D__ &picture = *GetMAP(0, graph)->surface;
    orb_locals &l = *b->locals;
    l = untouched;
    l.graph = graph;
    turn(l);
    l.x = any(500);
    l.y = any(500);
    l.flags = random.below(16);
    if (random.one_in(2)) l.resolution = any(100);
    for (int32_t *word : {&l.size, &l.size_y, &l.shear_x})
      if (random.one_in(4)) *word = any(400);
    if (random.one_in(4)) picture.cpoints[random.below(2)] = uint32_t(any(70000));
    if (random.one_in(4)) {
      picture.pivot_override = 1;
      picture.pivot_x = uint32_t(any(500));
      picture.pivot_y = uint32_t(any(500));
    }
    std::vector<int32_t> directions{1, random.one_in(2) ? graph : -graph};
    if (random.one_in(4)) l.xgraph = directions.data();
    b->coordinates = random.below(2);
    shown_in = {random.below(10), any(500), any(500)};

    __ORBBlit2D__ exact, asking;
    ASSERT_TRUE(process_picture(b, exact, nullptr));
    int32_t x, y;
    if (scroll_offset(b, x, y)) move_picture(exact, x, y);
    __FPoint__ corners[4], point[4];
    picture_corners(exact, corners);
    const __ORBRegion__ box = picture_box(exact);
    // A dot beside a corner of its outline or on an edge of its box, or somewhere else.
    const __FPoint__ &corner = corners[random.below(4)];
    const auto near = [&](double place) {
      return int32_t(std::clamp(place, -2e9, 2e9)) + random.between(-1, 1);
    };
    a->locals->x = round % 3 ? near(corner.x) : one_of({box.x0, box.x1});
    a->locals->y = round % 5 == 0 ? any(2000)
                   : round % 3    ? near(corner.y)
                                  : random.between(box.y0, box.y1);
    ASSERT_TRUE(process_picture(a, asking, nullptr));
    picture_corners(asking, point);
    const __ORBRegion__ dot = picture_box(asking);
    const bool boxes_meet =
        dot.x0 <= box.x1 && dot.x1 >= box.x0 && dot.y0 <= box.y1 && dot.y1 >= box.y0;
    const bool sized = exact.size_x != 0 && exact.size_y != 0;
    const bool outlines_meet = sized && convex_polygon_intersection(point, corners);
    const bool near_it = process_picture_near(dot, b, scan);
    EXPECT_TRUE(near_it || !(boxes_meet || outlines_meet));
    EXPECT_EQ(call("overlap", {id(a), id(b)}), outlines_meet ? id(b) : 0);
    const bool covered = sized && inside_quadrilateral(corners, float(asking.x), float(asking.y));
    EXPECT_EQ(call("overlap", {asking.x, asking.y, id(b)}), covered ? id(b) : 0);
    touching += boxes_meet || outlines_meet;
    passed_over += !near_it;
    l.xgraph = nullptr;
    call("map_unload", {graph});
  }
  EXPECT_GT(touching, 4000);
  EXPECT_GT(passed_over, 1300);
}

// ---- Parallelograms ----------------------------------------------------------------------------

struct parallelogram {
  __FPoint__ corners[4];

  parallelogram(random_source &random, int place, int reach) {
    const auto any = [&](int most) { return float(random.between(-most, most)); };
    const __FPoint__ p{any(place), any(place)}, u{any(reach), any(reach)},
        v{any(reach), any(reach)};
    corners[0] = p;
    corners[1] = {p.x + u.x, p.y + u.y};
    corners[2] = {p.x + u.x + v.x, p.y + u.y + v.y};
    corners[3] = {p.x + v.x, p.y + v.y};
  }
};

/// Whether an axis separates two of them: one of the few that edges of small whole numbers have.
bool separated(const parallelogram &a, const parallelogram &b, int reach) {
  for (int x = 0; x <= reach; ++x)
    for (int y = -reach; y <= reach; ++y) {
      const auto along = [=](const __FPoint__ &p) { return p.x * float(x) + p.y * float(y); };
      const auto [a0, a1] = std::ranges::minmax(a.corners, {}, along);
      const auto [b0, b1] = std::ranges::minmax(b.corners, {}, along);
      if (along(a1) < along(b0) || along(b1) < along(a0)) return true;
    }
  return false;
}

TEST_F(Collisions, OutlinesThatShareAPointMeet) {
  for (int round = 0; round < 100000; ++round) {
    // Small, so that touching ones, lines and points are frequent.
    const parallelogram a(random, 3, 3), b(random, 3, 3);
    ASSERT_EQ(convex_polygon_intersection(a.corners, b.corners), !separated(a, b, 3)) << round;
  }
  // A point on the left or the upper border is inside, one on the others isn't.
  const __FPoint__ square[4] = {{1, 1}, {4, 1}, {4, 4}, {1, 4}};
  for (int y = 0; y < 6; ++y)
    for (int x = 0; x < 6; ++x)
      EXPECT_EQ(inside_quadrilateral(square, float(x), float(y)),
                x >= 1 && x < 4 && y >= 1 && y < 4);
}

TEST_F(Collisions, PercentagesOutsideABoxAreThoseOfManyPoints) {
  const __FPoint__ box[4] = {{-50, -50}, {50, -50}, {50, 50}, {-50, 50}};
  for (int round = 0; round < 300; ++round) {
    const parallelogram q(random, 100, 90);
    if (get_convex_polygon_area(4, q.corners) < 500) continue;
    const auto &[p, u, corner, v] = q.corners;
    int out = 0;
    for (int i = 0; i < 10000; ++i) {
      const float s = (float(i / 100) + 0.5f) / 100, t = (float(i % 100) + 0.5f) / 100;
      out += std::abs(p.x + s * (u.x - p.x) + t * (v.x - p.x)) > 50 ||
             std::abs(p.y + s * (u.y - p.y) + t * (v.y - p.y)) > 50;
    }
    EXPECT_NEAR(get_xout_region_percent(q.corners, box), out / 100.0, 1.5) << round;
  }
  EXPECT_EQ(get_convex_polygon_area(4, box) + get_convex_polygon_area(3, box), 15000);
  // In a scroll a picture is where the scroll shows it.
  orb_process *const p = spawn(new_graph(11, 11), -950, 50);
  call("region_define", {3, 0, 0, 101, 101});
  EXPECT_EQ(call("region_is_out", {p, 3}), 1);
  p->coordinates = 1;
  for (const int32_t scroll : {0, 9, 10}) { // there are ten
    shown_in = {scroll, 1000, 0};
    EXPECT_EQ(call("region_is_out", {p, 3}), scroll == 10);
  }
}

/// A walk goes on as long as a process asks the same question in the same frame, from the process
/// after the last hit, or from the start if that one has ended; after the last hit it gives 0 once.
TEST_F(Collisions, AWalkGivesEachHitOnceAndStartsOver) {
  struct question {
    bool overlap, of_point;
    int32_t x, y, target, threshold = 0, frame = 0;
    auto operator<=>(const question &) const = default;
  } now{};
  struct memory {
    question asked{};
    int32_t next = 0; // an id; 0 is the start, -1 the end
  };
  std::map<orb_process *, memory> memories;
  std::vector<orb_process *> all;
  const auto any = [&]() -> orb_process *& { return all[size_t(random.below(int(all.size())))]; };
  const int32_t graph = new_graph(10, 10, 0x80808080);
  GetMAP(0, graph)->surface->alpha_channel = 1;
  int found = 0, ends = 0, restarts = 0;
  orb_process *asking = nullptr;
  std::pair<void *, void *> memory_kept; // it has grown to the size of the pictures by then
  for (int step = 0; step < 20000; ++step) {
    SCOPED_TRACE(step);
    if (all.size() < 4 || (all.size() < 12 && random.one_in(30)))
      all.push_back(spawn(graph, random.below(30), random.below(30), random.between(7, 9)));
    if (random.one_in(60)) {
      orb_process *const ends_here = any();
      memories.erase(ends_here);
      if (ends_here == asking) asking = nullptr;
      w.host.kill(ends_here);
      std::erase(all, ends_here);
    }
    if (random.one_in(40)) any()->status = random.between(1, 4);
    if (random.one_in(50)) w.host.frame();
    if (random.one_in(80)) call("collision_set_alphathreshold", {one_of({99, 100, 200})});
    if (!asking || random.one_in(4)) { // mostly the question before
      asking = any();
      now = {random.one_in(2), random.one_in(2), one_of({0, 15}), one_of({0, 15}),
             one_of({0, 7, 8, 9, 9})};
    }
    now.threshold = collision_alphathreshold;
    now.frame = frame_number;
    const auto ask = [&](int32_t target) {
      const char *const function = now.overlap ? "overlap" : "collision";
      return now.of_point ? call(function, {now.x, now.y, target}) : call(function, {target});
    };
    memory &m = memories[asking];
    if (!now.of_point) now.x = now.y = 0;
    if (m.asked != now) m = {now, 0};
    w.host.processes().current = asking;
    int32_t expected = 0;
    if (m.next == -1) {
      m.next = 0;
      ++ends;
    } else {
      auto at = std::find_if(all.begin(), all.end(), [&](auto *p) { return id(p) == m.next; });
      restarts += m.next != 0 && at == all.end();
      if (at == all.end()) at = all.begin();
      m.next = 0;
      for (; at != all.end() && !expected; ++at) {
        if (*at == asking || (now.target && (*at)->type != now.target)) continue;
        expected = ask(id(*at)); // which doesn't touch the walk
        if (expected) m.next = at + 1 == all.end() ? -1 : id(at[1]);
      }
    }
    ASSERT_EQ(ask(now.target), expected);
    found += expected != 0;
    if (step == 5000) memory_kept = {proc_surface->pixels, scan_surface->pixels};
  }
  EXPECT_EQ(memory_kept, std::pair(proc_surface->pixels, scan_surface->pixels));
  EXPECT_GT(found, 2000);
  EXPECT_GT(ends, 100);
  EXPECT_GT(restarts, 2);
}

} // namespace
