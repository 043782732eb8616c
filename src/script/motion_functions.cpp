// Script functions that move processes along angles and measure between them.
#include <bit>
#include <cmath>

#include "collision/picture.h"
#include "script/handlers.h"
#include "script/script_call.h"

namespace {

/// Thousandths of a degree in a radian.
constexpr double angle_units = 57295.77951;

/// The optional first argument of these functions, fetched after the others: the process of the id
/// that was given, else the caller. Null for an unknown one, or for one without locals.
orb_process *pop_process(bool given) {
  orb_process *const process = given ? find_process(rt_pop_int()) : calling_process();
  return process && process->locals ? process : nullptr;
}

/// Moves a process. Both steps are cut to whole pixels by themselves.
void step(orb_locals *locals, int32_t angle, int32_t distance) {
  const double radians = angle / angle_units;
  // QUIRK: rounding would look more natural; short steps at shallow angles don't move along one
  // axis at all, intentionally.
  const double dx = std::trunc(distance * std::cos(radians));
  const double dy = std::trunc(distance * std::sin(radians));
  locals->x = int32_t(uint32_t(locals->x) + uint32_t(int64_t(dx)));
  locals->y = int32_t(uint32_t(locals->y) - uint32_t(int64_t(dy)));
}

/// Between two positions: the differences, halved until their sum is small enough, and by how much
/// they were divided.
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

/// (to) or (from, to): calls result(locals, locals); the failure value for an unknown process.
template <typename F> int32_t between(const script_call &call, F &&result) {
  const bool given = rt_param_count() > 1;
  const orb_process *const to = pop_process(true);
  const orb_process *const from = pop_process(given);
  return from && to ? call.done(result(from->locals, to->locals)) : call.fail();
}

} // namespace

/// advance([process,] distance): along its own angle. 1, or the failure value for an unknown
/// process.
int32_t ORB_advance() {
  const script_call call{"ADVANCE"};
  const bool given = rt_param_count() > 1;
  const int32_t distance = rt_pop_int();
  orb_process *const process = pop_process(given);
  if (!process) return call.fail();
  step(process->locals, process->locals->angle, distance);
  return call.done(1);
}

/// xadvance([process,] angle, distance): along any angle.
int32_t ORB_xadvance() {
  const script_call call{"XADVANCE"};
  const bool given = rt_param_count() > 2;
  const auto [angle, distance] = pop_ints<2>();
  orb_process *const process = pop_process(given);
  if (!process) return call.fail();
  step(process->locals, angle, distance);
  return call.done(1);
}

/// get_angle([from,] to): where `to` lies, -180000..180000; 0 for the same place.
int32_t ORB_get_angle() {
  return between(script_call{"GET_ANGLE"}, [](const orb_locals *from, const orb_locals *to) {
    const double dy = double(from->y) - to->y, dx = double(to->x) - from->x;
    return dx == 0 && dy == 0 ? 0 : int32_t(float(std::atan2(dy, dx)) * angle_units);
  });
}

/// get_dist([from,] to): in pixels, cut to whole ones; above 45999 only as exact as the halved
/// differences.
int32_t ORB_get_dist() {
  return between(script_call{"GET_DIST"}, [](const orb_locals *from, const orb_locals *to) {
    const separation s = separate(from, to);
    return int32_t(int64_t(std::sqrt(double(s.dx * s.dx + s.dy * s.dy)) * double(s.factor)));
  });
}

/// get_distsq([from,] to): the square of it.
int32_t ORB_get_distsq() {
  return between(script_call{"GET_DISTSQ"}, [](const orb_locals *from, const orb_locals *to) {
    const separation s = separate(from, to);
    // QUIRK: the factor squared would look more natural; it is applied once, intentionally.
    return int32_t(uint32_t(uint64_t((s.dx * s.dx + s.dy * s.dy) * s.factor)));
  });
}
