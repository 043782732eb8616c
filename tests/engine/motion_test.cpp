// Steps, angles and distances beside double arithmetic.
#include <cmath>

#include <gtest/gtest.h>

#include "support/random.h"
#include "support/world.h"

TEST(Motion, AgreesWithDoubleArithmetic) {
  world w;
  orb_process &a = *w.host.spawn(), &b = *w.host.spawn();
  constexpr double pi = 3.14159265358979323846;
  random_source random(base_seed());
  for (int round = 0; round < 5000; ++round) {
    SCOPED_TRACE(round);
    const int32_t reach = round % 2 ? 300 : 20000;
    const int32_t x = random.between(-reach, reach), y = random.between(-reach, reach);
    const int32_t angle = random.between(-800000, 800000), distance = random.between(-reach, reach);
    a.locals->x = x;
    a.locals->y = y;
    ASSERT_EQ(w.host.call("xadvance", {&a, angle, distance}), 1);
    const double dx = distance * std::cos(angle * pi / 180000);
    const double dy = -distance * std::sin(angle * pi / 180000);
    // Whatever lies next to a whole number may fall to either side.
    if (std::abs(dx - std::round(dx)) > 1e-3) ASSERT_EQ(a.locals->x, x + int32_t(dx));
    if (std::abs(dy - std::round(dy)) > 1e-3) ASSERT_EQ(a.locals->y, y + int32_t(dy));
    b.locals->x = random.between(-reach / 2, reach / 2);
    b.locals->y = random.between(-reach / 2, reach / 2);
    const double across = b.locals->x - a.locals->x, up = a.locals->y - b.locals->y;
    const double square = across * across + up * up;
    ASSERT_NEAR(w.host.call("get_angle", {&a, &b}), std::atan2(up, across) * 180000 / pi, 1.02);
    if (std::abs(across) + std::abs(up) > 45999) continue; // else they are halved
    ASSERT_EQ(w.host.call("get_dist", {&a, &b}), int32_t(std::sqrt(square)));
    ASSERT_EQ(w.host.call("get_distsq", {&a, &b}), int32_t(square));
  }
}
