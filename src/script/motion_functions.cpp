// Script functions that move processes, and measure angles and distances between them.
#include <bit>
#include <cmath>

#include "collision/picture.h"
#include "script/handlers.h"
#include "script/script_call.h"

namespace {

/// Thousandths of a degree in a radian.
constexpr double angle_units = 57295.77951;

/// Fetches the optional process argument, which comes first and defaults to the calling process.
/// Null for an unknown process or one without locals.
orb_process *pop_process(bool given) {
  orb_process *const process = given ? find_process(rt_pop_int()) : calling_process();
  return process && process->locals ? process : nullptr;
}

/// Moves a process. The step along each axis is truncated to whole pixels.
void step(orb_locals *locals, int32_t angle, int32_t distance) {
  const double radians = angle / angle_units;
  // QUIRK: not rounded: short steps at shallow angles do not move along one axis at all.
  const double dx = std::trunc(distance * std::cos(radians));
  const double dy = std::trunc(distance * std::sin(radians));
  locals->x = int32_t(uint32_t(locals->x) + uint32_t(int64_t(dx)));
  locals->y = int32_t(uint32_t(locals->y) - uint32_t(int64_t(dy)));
}

/// The differences of two positions, halved until their sum is small enough, and the divisor.
struct separation {
  int64_t dx, dy, factor;
};

separation separate(const orb_locals *from, const orb_locals *to) {
  constexpr int64_t largest_sum = 45999;
  separation s{std::abs(int64_t(to->x) - from->x), std::abs(int64_t(from->y) - to->y), 1};
  while (s.dx + s.dy > largest_sum) {
    s.dx >>= 1;
    s.dy >>= 1;
    s.factor *= 2;
  }
  return s;
}

/// Fetches (to) or (from, to) and returns result(from, to); the failure value for an unknown
/// process.
template <typename F> int32_t between(const script_call &call, F &&result) {
  const bool given = rt_param_count() > 1;
  const orb_process *const to = pop_process(true);
  const orb_process *const from = pop_process(given);
  return from && to ? call.done(result(from->locals, to->locals)) : call.fail();
}

} // namespace

/// advance([process,] distance): moves along the process's own angle. 1, or the failure value for
/// an unknown process.
int32_t ORB_advance() {
  const script_call call{"ADVANCE"};
  const bool given = rt_param_count() > 1;
  const int32_t distance = rt_pop_int();
  orb_process *const process = pop_process(given);
  if (!process) return call.fail();
  step(process->locals, process->locals->angle, distance);
  return call.done(1);
}

/// xadvance([process,] angle, distance): moves along a given angle.
int32_t ORB_xadvance() {
  const script_call call{"XADVANCE"};
  const bool given = rt_param_count() > 2;
  const auto [angle, distance] = pop_ints<2>();
  orb_process *const process = pop_process(given);
  if (!process) return call.fail();
  step(process->locals, angle, distance);
  return call.done(1);
}

/// get_angle([from,] to): the angle towards `to`, -180000..180000; 0 for the same position.
int32_t ORB_get_angle() {
  return between(script_call{"GET_ANGLE"}, [](const orb_locals *from, const orb_locals *to) {
    const double dy = double(from->y) - to->y, dx = double(to->x) - from->x;
    return dx == 0 && dy == 0 ? 0 : int32_t(float(std::atan2(dy, dx)) * angle_units);
  });
}

/// get_dist([from,] to): the distance in whole pixels, truncated. Above 45999 it is as inexact as
/// the halved differences.
int32_t ORB_get_dist() {
  return between(script_call{"GET_DIST"}, [](const orb_locals *from, const orb_locals *to) {
    const separation s = separate(from, to);
    return int32_t(int64_t(std::sqrt(double(s.dx * s.dx + s.dy * s.dy)) * double(s.factor)));
  });
}

/// get_distsq([from,] to): the square of the distance.
int32_t ORB_get_distsq() {
  return between(script_call{"GET_DISTSQ"}, [](const orb_locals *from, const orb_locals *to) {
    const separation s = separate(from, to);
    // QUIRK: multiplied by the factor once, not by its square.
    return int32_t(uint32_t(uint64_t((s.dx * s.dx + s.dy * s.dy) * s.factor)));
  });
}
