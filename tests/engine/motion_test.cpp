// Steps, angles and distances beside double arithmetic; pictures in scrolls.
#include <cmath>
#include <random>

#include <gtest/gtest.h>

#include "support/world.h"

namespace {

TEST(Motion, AgreesWithDoubleArithmetic) {
  world w;
  orb_process &a = *w.host.spawn(), &b = *w.host.spawn();
  constexpr double pi = 3.14159265358979323846;
  std::mt19937 random(31);
  const auto between = [&](int32_t low, int32_t high) {
    return std::uniform_int_distribution<int32_t>(low, high)(random);
  };
  for (int round = 0; round < 5000; ++round) {
    SCOPED_TRACE(round);
    const int32_t reach = round % 2 ? 300 : 20000;
    const int32_t x = between(-reach, reach), y = between(-reach, reach);
    const int32_t angle = between(-800000, 800000), distance = between(-reach, reach);
    a.locals->x = x;
    a.locals->y = y;
    ASSERT_EQ(w.host.call("xadvance", {&a, angle, distance}), 1);
    const double dx = distance * std::cos(angle * pi / 180000);
    const double dy = -distance * std::sin(angle * pi / 180000);
    // Whatever lies next to a whole number may fall to either side.
    if (std::abs(dx - std::round(dx)) > 1e-3) ASSERT_EQ(a.locals->x, x + int32_t(dx));
    if (std::abs(dy - std::round(dy)) > 1e-3) ASSERT_EQ(a.locals->y, y + int32_t(dy));
    b.locals->x = between(-reach / 2, reach / 2);
    b.locals->y = between(-reach / 2, reach / 2);
    const double across = b.locals->x - a.locals->x, up = a.locals->y - b.locals->y;
    const double square = across * across + up * up;
    ASSERT_NEAR(w.host.call("get_angle", {&a, &b}), std::atan2(up, across) * 180000 / pi, 1.02);
    if (std::abs(across) + std::abs(up) > 45999) continue; // else they are halved
    ASSERT_EQ(w.host.call("get_dist", {&a, &b}), int32_t(std::sqrt(square)));
    ASSERT_EQ(w.host.call("get_distsq", {&a, &b}), int32_t(square));
  }
}

TEST(Motion, InAScrollAPictureIsWhereTheScrollShowsIt) {
  world w({.prepare = [](orbhost::Host &host) {
    host.scroll_services.offset = [](int32_t, int32_t scroll, int32_t *x, int32_t *y) -> int32_t {
      *x = 1000;
      *y = 0;
      return scroll == 4;
    };
    host.device_system.scroll = &host.scroll_services;
  }});
  orb_process &p = *w.host.spawn();
  p.locals->graph = w.host.call("map_new", {11, 11});
  p.locals->x = -950;
  p.locals->y = 50;
  w.host.call("region_define", {3, 0, 0, 101, 101});
  EXPECT_EQ(w.host.call("region_is_out", {&p, 3}), 1);
  p.coordinates = 1;
  EXPECT_EQ(w.host.call("region_is_out", {&p, 3}), 0);
}

} // namespace
