// collision and overlap: their targets, and the walk over candidate processes.
//
// Target -1 is the mouse pointer, the id of a living process that process, anything else a process
// type, 0 any type. For a type, candidates are walked in the order of the host's process list. When
// the same process repeats a query in the same frame the walk continues, so that repeated calls
// return each hit once and then 0. Queries are the same if function, type, point and alpha
// threshold are; a different query about a type starts a new walk. Queries about one process or the
// pointer do not affect the walk.
//
// The walk is kept in the record of the calling process, as a digest of the query and the id of the
// next candidate. It thus ends with the process and needs no memory and no lookup.
#include "collision/collision.h"
#include "collision/picture.h"
#include "script/checks.h"
#include "script/handlers.h"
#include "script/script_call.h"

namespace {

constexpr int32_t mouse_target = -1;
/// Special candidates of a walk: it starts; its last hit ended the process list.
constexpr int32_t from_the_start = 0, at_the_end = -1;

/// The tests of a collision or an overlap; at_point tests a point of the screen.
struct test_kind {
  bool of_outlines;
  int32_t (*with_process)();
  int32_t (*with_pointer)();
  int32_t (*at_point)(int32_t x, int32_t y);
};

/// One call: the query and the calling process.
struct question {
  const test_kind &test;
  orb_process *asking;
  int32_t target;
  bool of_point;
  int32_t x, y;
  __ORBRegion__ box; // of the asking picture or the point
};

/// Tests a candidate; one without a picture is no hit.
bool hits(const question &q, const orb_process *candidate) {
  if (!process_picture_near(q.box, candidate, scan)) return false;
  return q.of_point ? q.test.at_point(q.x, q.y) != 0 : q.test.with_process() != 0;
}

bool takes_part(const question &q, const orb_process *candidate) {
  if (!candidate || (q.target != 0 && candidate->type != q.target)) return false;
  if (candidate == q.asking || candidate->coordinates > 1) return false;
  return candidate->status == 2 || candidate->status >= 4;
}

/// Steps through the host's list without waiting for each link to arrive from memory. Nodes that
/// were made one after the other mostly lie evenly spaced, so the next one is guessed from the two
/// before; the CPU reads on from there while it still checks the guess against the link.
struct list_walk {
  const orb_process_node *node;
  uintptr_t spacing = 0;

  void step() {
    const orb_process_node *const next = node->next;
    const auto here = std::bit_cast<uintptr_t>(node);
    uintptr_t guess = here + spacing;
    if (std::bit_cast<uintptr_t>(next) == guess) {
      // Without this the compiler, rightly, takes the two for the same and waits for `next`.
      __asm__("" : "+r"(guess));
      node = std::bit_cast<const orb_process_node *>(guess);
    } else {
      spacing = std::bit_cast<uintptr_t>(next) - here;
      node = next;
    }
  }
};

const orb_process_node *first_node() {
  const orb_process_services *const services = orbre->rt_processes;
  return services && services->proc_first ? services->proc_first(0) : nullptr;
}

/// The node where a walk continues; the first one when the candidate process has ended.
const orb_process_node *resume(int32_t candidate) {
  const orb_process_node *const first = first_node();
  if (candidate == from_the_start) return first;
  for (list_walk at{first}; at.node; at.step())
    if (at.node->process && process_id(at.node->process) == candidate) return at.node;
  return first;
}

/// A bijective mix of all bits: the finaliser of SplitMix (Steele, Lea, Flood, "Fast Splittable
/// Pseudorandom Number Generators", 2014).
uint64_t mix(uint64_t word) {
  word = (word ^ word >> 30) * 0xBF58476D1CE4E5B9;
  word = (word ^ word >> 27) * 0x94D049BB133111EB;
  return word ^ word >> 31;
}

uint64_t pair(int32_t high, int32_t low) { return uint64_t(uint32_t(high)) << 32 | uint32_t(low); }

/// Digests a query to the 64 bits that a process record has for it. Two queries of one frame
/// collide with probability 2^-64; the second then continues the walk of the first.
uint64_t digest(const question &q) {
  const int32_t form = collision_alphathreshold << 2 | q.of_point << 1 | q.test.of_outlines;
  return mix(mix(mix(pair(q.x, q.y)) ^ pair(q.target, frame_number)) ^ uint64_t(form));
}

int32_t walk(const question &q) {
  orb_process &memory = *q.asking;
  const uint64_t asked = digest(q);
  const auto low = uint32_t(asked), high = uint32_t(asked >> 32);
  const bool goes_on = memory.walk_question[0] == low && memory.walk_question[1] == high;
  const int32_t candidate = goes_on ? memory.walk_candidate : from_the_start;
  memory.walk_question[0] = low;
  memory.walk_question[1] = high;
  memory.walk_candidate = from_the_start;
  if (candidate == at_the_end) return 0;
  for (list_walk at{resume(candidate)}; at.node; at.step()) {
    const orb_process_node *const node = at.node;
    if (!takes_part(q, node->process) || !hits(q, node->process)) continue;
    const orb_process_node *next = node->next;
    while (next && !next->process)
      next = next->next;
    memory.walk_candidate = next ? process_id(next->process) : at_the_end;
    return process_id(node->process);
  }
  return 0;
}

int32_t answer(const question &q) {
  if (q.target == mouse_target) {
    if (!pointer_picture_near(q.box, scan)) return 0;
    const int32_t hit = q.of_point ? q.test.at_point(q.x, q.y) : q.test.with_pointer();
    return hit ? process_id(q.asking) : 0;
  }
  if (const orb_process *const one = find_process(q.target)) {
    // A process may test itself against a point.
    if (one == q.asking && !q.of_point) return 0;
    if (one->coordinates > 1 || (one->status != 2 && one->status < 4)) return 0;
    return hits(q, one) ? q.target : 0;
  }
  return walk(q);
}

/// Fetches (target), (process, target) or (x, y, target), and answers.
int32_t run(const script_call &call, const test_kind &test) {
  question q{test, nullptr, 0, false, 0, 0, {}};
  switch (rt_param_count()) {
  case 3:
    pop_into(q.x, q.y, q.target);
    q.of_point = true;
    q.asking = calling_process();
    break;
  case 2: {
    const auto [id, target] = pop_ints<2>();
    q.target = target;
    q.asking = find_process(id);
    break;
  }
  default:
    q.target = rt_pop_int();
    q.asking = calling_process();
    break;
  }
  if (!q.asking) return call.done(0);
  if (!q.of_point) {
    if (!check_process_picture(call, q.asking, proc)) return call.done(0);
    int32_t x, y;
    if (scroll_offset(q.asking, x, y)) move_picture(proc, x, y);
    proc_box = picture_box(proc);
  }
  q.box = q.of_point ? box_of_point(q.x, q.y) : proc_box;
  return call.done(answer(q));
}

constexpr test_kind collisions{false, check_process_collision, check_mouse_collision,
                               check_hittest_collision};
constexpr test_kind overlaps{true, check_process_overlap, check_mouse_overlap,
                             check_hittest_overlap};

} // namespace

/// collision(target), (process, target): the id of a process whose visible pixels touch those of
/// the calling (or given) process, or that process's own id when they touch the mouse pointer's;
/// else 0. collision(x, y, target): a process whose visible pixels cover that point of the screen.
int32_t ORB_collision() { return run(script_call{"COLLISION"}, collisions); }

/// overlap(...): the same with the outlines of the pictures, transparent parts included.
int32_t ORB_overlap() {
  // QUIRK: overlap reports errors under the name "COLLISION".
  return run(script_call{"COLLISION"}, overlaps);
}

int32_t ORB_collision_get_alphathreshold() { return rt_return(collision_alphathreshold); }

/// collision_set_alphathreshold(threshold): 0..254; 1, or the failure value.
int32_t ORB_collision_set_alphathreshold() {
  const script_call call{"COLLISION_SET_ALPHATHRESHOLD"};
  const uint32_t threshold = rt_pop_uint();
  if (threshold >= 255) return call.fail();
  collision_alphathreshold = int32_t(threshold);
  alphathreshold = threshold << 24;
  return call.done(1);
}
