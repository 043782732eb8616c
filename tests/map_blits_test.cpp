// What map blits draw, and where real points lie, against hand-made blit requests.
#include <cmath>
#include <numbers>

#include "blit/blit.h"
#include "map_fixture.h"
#include "script/blit_arguments.h"
#include "script/handlers.h"
#include "surface/fill.h"

namespace {

struct MapBlits : map_test {};

const std::string orders[] = {"hsr", "hrs", "shr", "srh", "rhs", "rsh"};

/// The operation for a transform: rotated, scaled, sheared.
orb_blit_operation *operation_for(bool turned, bool scaled, bool sheared) {
  if (turned && sheared) return ORBGI2D_BlitRotScaleShear;
  if (turned) return scaled ? ORBGI2D_BlitRotScale : ORBGI2D_BlitRotate;
  if (sheared) return ORBGI2D_BlitScaleShear;
  return scaled ? ORBGI2D_BlitScale : ORBGI2D_Blit;
}

/// Whether scaling comes last. Then geometry subtracts the far pixel before scaling, and the
/// picture is drawn smaller than the points say, by up to one graph pixel.
bool scaled_last(const orb_locals &l) {
  const std::string &order = orders[l.tfmorder];
  const bool turned = l.angle % 360000 != 0, sheared = l.shear_x || l.shear_y;
  if (!turned && !sheared) return false; // not a case for that routine
  const bool turned_later = turned && order.find('r') > order.find('s');
  return !turned_later && !(sheared && order.find('h') > order.find('s'));
}

/// Where a point lands, transform by transform in letter order.
std::pair<double, double> transformed(double u, double v, const orb_locals &l) {
  const double turn = -l.angle * std::numbers::pi / 180000;
  const double sx = (l.size != 100 ? l.size : l.size_x) / 100.0;
  const double sy = (l.size != 100 ? l.size : l.size_y) / 100.0;
  for (const char letter : orders[l.tfmorder]) {
    const double x = u, y = v;
    if (letter == 's') u = x * sx, v = y * sy;
    if (letter == 'h') u = x - l.shear_x / 100.0 * y, v = y - l.shear_y / 100.0 * x;
    if (letter == 'r') {
      u = x * std::cos(turn) - y * std::sin(turn);
      v = x * std::sin(turn) + y * std::cos(turn);
    }
  }
  return {l.flags & 1 ? -u : u, l.flags & 2 ? -v : v};
}

TEST_F(MapBlits, RealPointsLieWhereTheFrameDrawsThem) {
  constexpr uint32_t marked = 0xFF0000;
  orb_process &process = host.spawn();
  host.current_process = &process;
  orb_locals &l = *process.locals;
  int seen = 0;
  for (int round = 0; round < 600; round++) {
    SCOPED_TRACE(round);
    // A graph of one colour with one marked pixel between control points 1 and 2.
    __ORBSurface2D__ *graph = ORBGI2D_CreateGFXSurface(9, 8, 32, 1);
    ORBGI2D_BlitFill(graph, 0x00FF00, 0);
    const int32_t px = between(0, 8), py = between(0, 7);
    draw_pixel(graph, px, py, marked, 0);
    put(0, 1000, graph);
    host.call(ORB_map_set_center, 0, 1000, between(0, 8), between(0, 7));
    host.call(ORB_map_new_cpoint, 0, 1000, 1, px, py);
    host.call(ORB_map_new_cpoint, 0, 1000, 2, px + 1, py + 1);

    l.graph = 1000;
    l.resolution = round % 3 ? 0 : 10;
    l.x = between(10, 54) * (l.resolution ? 10 : 1);
    l.y = between(10, 38) * (l.resolution ? 10 : 1);
    l.angle = random() % 3 ? between(-720000, 720000) : 0;
    l.size = round % 2 ? 100 : between(500, 900);
    l.size_x = between(500, 900);
    l.size_y = between(500, 900);
    l.shear_x = random() % 2 ? between(-60, 60) : 0;
    l.shear_y = l.shear_x && random() % 2 ? between(-20, 20) : 0;
    l.tfmorder = between(0, 5);
    l.flags = between(0, 3);
    const orb_locals before = l;

    const int32_t width = l.resolution ? 10 : 1;
    const auto expect_near = [&](int32_t got, double wanted) {
      EXPECT_LE(std::abs(got - wanted), 0.501) << got << ' ' << wanted;
    };
    int32_t x[3], y[3];
    for (int32_t point = 0; point < 3; point++) {
      ASSERT_EQ(host.call(ORB_map_get_realcpoint, point, &x[point], &y[point]), 1);
      const auto [u, v] =
          transformed(int32_t(graph->cpoints[3 * point] - graph->cpoints[0]),
                      int32_t(graph->cpoints[3 * point + 1] - graph->cpoints[1]), l);
      expect_near(x[point], l.x / width + u);
      expect_near(y[point], l.y / width + v);
    }
    EXPECT_EQ(memcmp(&before, &l, sizeof l), 0);

    // The marked pixel, now several pixels wide, is drawn between them.
    ORBGI2D_BlitFill(ground, 0, 0);
    __ORBBlit2D__ request{};
    request.src = graph;
    request.dst = ground;
    request.region = 0;
    request.x = l.x / width;
    request.y = l.y / width;
    request.angle = l.angle % 360000;
    request.size = l.size;
    request.size_x = l.size_x;
    request.size_y = l.size_y;
    request.shear_x = l.shear_x;
    request.shear_y = l.shear_y;
    request.tfmorder = l.tfmorder;
    request.flags = l.flags;
    request.alpha = 255;
    operation_for(request.angle != 0, true, l.shear_x || l.shear_y)(&request);
    const int32_t mx = (x[1] + x[2]) / 2, my = (y[1] + y[2]) / 2;
    if (mx < 0 || mx >= screen_width || my < 0 || my >= screen_height || scaled_last(l)) continue;
    EXPECT_EQ(pixel(*ground, uint32_t(mx), uint32_t(my)), marked);
    seen++;
  }
  EXPECT_GT(seen, 150);
}

TEST_F(MapBlits, RealPointsFollowDirectionGraphs) {
  put(0, 1000, ORBGI2D_CreateGFXSurface(4, 4, 32, 1));
  put(0, 1001, ORBGI2D_CreateGFXSurface(8, 6, 32, 1));
  host.call(ORB_map_new_cpoint, 0, 1001, 1, 7, 1);
  orb_process &process = host.spawn();
  int32_t directions[] = {4, 1000, -1001, 1000, 1000};
  process.locals->xgraph = directions;
  process.locals->angle = 90000;
  process.locals->x = 100;
  const orb_locals before = *process.locals;
  int32_t x = 0, y = 0;
  ASSERT_EQ(host.call(ORB_map_get_realcpoint, std::bit_cast<int32_t>(&process), 1, &x, &y), 1);
  EXPECT_EQ(x, 100 - (7 - 4)); // mirrored, but not rotated
  EXPECT_EQ(y, 1 - 3);
  EXPECT_EQ(memcmp(&before, process.locals, sizeof before), 0);
}

// ---- Blits --------------------------------------------------------------------------------------

enum function_under_test { put_, xput_, xxput_, block_, tile_, apply_fx_ };

// Every form of every function against its equivalent request.
TEST_F(MapBlits, BlitsAreTheRequestsTheyStandFor) {
  int drawn = 0;
  for (int32_t round = 0; round < 3000; round++) {
    SCOPED_TRACE(round);
    if (round % 1000 == 0) set_depth(round / 1000 == 0 ? 8 : round / 1000 == 1 ? 16 : 32);
    const bool own_library = random() % 2, same = random() % 8 == 0 && !own_library;
    put(0, 1000, noise(between(10, 40), between(10, 40)));
    put(0, 1001, noise(between(1, 20), between(1, 20)));
    put(1, 5, noise(between(1, 20), between(1, 20)));
    __ORBSurface2D__ *onto = slot(1000).surface;
    __ORBSurface2D__ *from =
        own_library ? fpg[1].slots[5].surface : slot(same ? 1000 : 1001).surface;

    __ORBBlit2D__ r{};
    r.region = -1;
    r.alpha = 255;
    r.size = r.size_x = r.size_y = 100;
    r.x = between(-10, 30);
    r.y = between(-10, 30);
    const auto function = function_under_test(random() % 6);
    const int32_t tail = int32_t(random() % 3);
    std::vector<int32_t> a = {0, 1000};
    if (function == block_) a.insert(a.end(), {r.x, r.y});
    if (own_library) a.push_back(1);
    a.push_back(own_library ? 5 : same ? 1000 : 1001);
    if (function != block_ && function != apply_fx_) a.insert(a.end(), {r.x, r.y});

    const auto flags = [&] {
      r.flags = function == tile_ ? int32_t(random() % 2) * 8 : int32_t(random() % 12);
      a.push_back(r.flags);
    };
    const auto effect = [&](bool with_parameters) {
      r.alpha = between(0, 255);
      r.fxmode = random() % 2 ? 0 : mode.bpp == 8 ? between(1, 12) : between(1000, 1016);
      a.insert(a.end(), {r.alpha, r.fxmode});
      if (!with_parameters) return;
      r.fxcolor = random() & colour_mask();
      r.fxintensity = between(0, 255);
      a.insert(a.end(), {int32_t(r.fxcolor), r.fxintensity});
    };
    const auto sizes = [&] { return random() % 3 ? between(20, 300) : 100; };
    // State that map_put and map_xput leave unchanged must not matter.
    bltGraphics2D.fxcolor = 0x1234;
    bltGraphics2D.fxintensity = 77;
    int32_t (*handler)() = nullptr;
    orb_blit_operation *operation = ORBGI2D_Blit;
    switch (function) {
    case put_: handler = ORB_map_put; break;
    case xput_:
      handler = ORB_map_xput;
      r.angle = random() % 3 ? between(-800000, 800000) : between(-1, 1) * 360000;
      r.size = sizes();
      a.insert(a.end(), {r.angle, r.size});
      flags();
      operation = operation_for(r.angle % 360000 != 0, r.size != 100, false);
      break;
    case xxput_:
      handler = ORB_map_xxput;
      r.angle = random() % 3 ? between(-800000, 800000) : 0;
      r.size_x = sizes();
      r.size_y = sizes();
      r.shear_x = random() % 2 ? between(-90, 90) : 0;
      r.shear_y = random() % 4 ? 0 : between(-90, 90);
      r.tfmorder = between(-1, 6);
      a.insert(a.end(), {r.angle, r.size_x, r.size_y, r.shear_x, r.shear_y, r.tfmorder});
      flags();
      effect(tail == 2);
      operation = operation_for(r.angle % 360000 != 0, r.size_x != 100 || r.size_y != 100,
                                r.shear_x != 0 || r.shear_y != 0);
      break;
    case block_:
    case tile_:
      handler = function == block_ ? ORB_map_block_copy : ORB_map_put_tile;
      operation = function == block_ ? ORBGI2D_BlitBlock : ORBGI2D_BlitTile;
      if (function == block_) {
        r.block_x = between(-5, 20);
        r.block_y = between(-5, 20);
        r.block_w = between(0, 25);
        r.block_h = between(0, 25);
        a.insert(a.end(), {r.block_x, r.block_y, r.block_w, r.block_h});
      }
      if (tail > 0) {
        flags();
        effect(tail == 2);
      }
      break;
    case apply_fx_:
      handler = ORB_map_apply_fx;
      effect(tail == 2);
      r.x = r.y = 0;
      r.block_w = int32_t(from->width);
      r.block_h = int32_t(from->height);
      operation = ORBGI2D_BlitBlock;
    }
    r.angle %= 360000;

    __ORBSurface2D__ *expected =
        ORBGI2D_CreateGFXSurface(int32_t(onto->width), int32_t(onto->height), mode.bpp, 0);
    expected->alpha_channel = onto->alpha_channel;
    memcpy(expected->cpoints, onto->cpoints, 12);
    memcpy(expected->pixels, onto->pixels, onto->byte_size);
    r.src = same ? expected : from;
    r.dst = expected;
    const int32_t wanted = operation(&r);
    ASSERT_EQ(host.call(handler, a), wanted);
    ASSERT_EQ(pixels(*onto), pixels(*expected));
    ASSERT_TRUE(host.errors.empty());
    ASSERT_EQ(host.left_over(), 0u);
    if (wanted) {
      ASSERT_EQ(bltGraphics2D.drawn_x0, r.drawn_x0);
      ASSERT_EQ(bltGraphics2D.drawn_y1, r.drawn_y1);
    }
    if (function == put_ || function == xput_) {
      ASSERT_EQ(bltGraphics2D.fxcolor, 0x1234u);
      ASSERT_EQ(bltGraphics2D.fxintensity, 77);
    }
    drawn += wanted;
    ORBGI2D_DeleteGFXSurface(expected);
  }
  EXPECT_GT(drawn, 1500);
}

// Only the device record's operation for the transform is called.
TEST_F(MapBlits, TransformsChooseTheirOperation) {
  put(0, 1000, noise(10, 10));
  put(0, 1001, noise(5, 5));
  const auto number = []<int32_t which>() -> orb_blit_operation * {
    return [](__ORBBlit2D__ *) -> int32_t { return which; };
  };
  device2D.ORBGI2D_Blit = number.operator()<10>();
  device2D.ORBGI2D_BlitScale = number.operator()<11>();
  device2D.ORBGI2D_BlitRotate = number.operator()<12>();
  device2D.ORBGI2D_BlitRotScale = number.operator()<13>();
  device2D.ORBGI2D_BlitScaleShear = number.operator()<14>();
  device2D.ORBGI2D_BlitRotScaleShear = number.operator()<15>();
  const struct {
    int32_t angle, size, expected;
  } plain[] = {{0, 100, 10},      {360000, 100, 10}, {-720000, 100, 10}, {0, 99, 11},
               {360000, 101, 11}, {1, 100, 12},      {-359999, 100, 12}, {5, 50, 13}};
  for (const auto &[angle, size, expected] : plain)
    EXPECT_EQ(host.call(ORB_map_xput, 0, 1000, 1001, 1, 1, angle, size, 0), expected);
  const struct {
    int32_t angle, size_x, size_y, shear_x, shear_y, expected;
  } all[] = {{0, 100, 100, 0, 0, 10},      {360000, 100, 100, 0, 0, 10}, {0, 100, 99, 0, 0, 11},
             {0, 100, 100, 1, 0, 14},      {0, 100, 100, 0, -1, 14},     {0, 50, 100, 1, 0, 14},
             {90000, 100, 100, 0, 0, 12},  {90000, 101, 100, 0, 0, 13},  {1, 100, 100, 0, 1, 15},
             {-360001, 200, 100, 3, 0, 15}};
  for (const auto &c : all)
    EXPECT_EQ(host.call(ORB_map_xxput, 0, 1000, 1001, 1, 1, c.angle, c.size_x, c.size_y, c.shear_x,
                        c.shear_y, 0, 0, 255, 0),
              c.expected);
}

} // namespace
