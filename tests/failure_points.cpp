#include "failure_points.h"

#include <cstdio>
#include <sstream>

#include <SDL.h>
#include <gtest/gtest.h>

#include "call_table.h"
#include "failing_allocator.h"
#include "script/handlers.h"

namespace {

/// The result of one run of an operation.
struct outcome {
  int32_t result;
  std::vector<std::string> said; // fatal messages and reports
  bool operator==(const outcome &) const = default;
};

outcome take_outcome(failure_world &world, int32_t result) {
  outcome taken{result, world.host.fatals};
  for (const int32_t level : world.host.levels)
    EXPECT_EQ(level, 2);
  for (const fake_error &error : world.host.errors)
    taken.said.push_back(std::to_string(error.code) + " " + error.function);
  world.host.fatals.clear();
  world.host.levels.clear();
  world.host.errors.clear();
  return taken;
}

std::string said_by(const outcome &taken) {
  std::string text;
  for (const std::string &line : taken.said)
    text += (text.empty() ? "" : "; ") + line;
  return text.empty() ? "silent" : text;
}

std::string text_of(const outcome &taken) {
  return "result " + std::to_string(taken.result) + ", " + said_by(taken);
}

/// Compares the state of two worlds; names the lines that differ.
void expect_same(const std::string &expected, const std::string &found, const outcome &after) {
  if (expected == found) return;
  std::istringstream left(expected), right(found);
  std::string text = "after " + text_of(after);
  while (left || right) {
    std::string a = "nothing", b = a;
    std::getline(left, a);
    std::getline(right, b);
    if (a != b) text += "\n  expected " + a + "\n  found    " + b;
  }
  ADD_FAILURE() << text;
}

/// The result of an operation in a world with memory.
struct reference {
  outcome expected;
  std::string before, after, sizes;
  int32_t blocks_kept; // by libraries, in the whole program
};

void begin(failure_world &world, const failure_case &operation) {
  if (operation.depth) world.start(operation.depth);
  if (operation.prepare) operation.prepare(world);
  const outcome prepared = take_outcome(world, 0);
  ASSERT_TRUE(prepared.said.empty()) << text_of(prepared);
}

reference undisturbed(const failure_case &operation) {
  const int32_t blocks = outstanding_blocks(fault_scope::everybody);
  reference made;
  {
    failure_world world;
    begin(world, operation);
    made.before = world.contents();
    made.expected = take_outcome(world, operation.act(world));
    made.after = world.contents();
    made.sizes = world.sizes_and_files();
  }
  made.blocks_kept = outstanding_blocks(fault_scope::everybody) - blocks;
  return made;
}

struct trial {
  uint32_t request;
  fault_scope scope;
  fault_kind kind;
};

class failing_runs {
public:
  failing_runs(const failure_case &operation, failure_count &count)
      : operation_(operation), count_(count), reference_((undisturbed(operation), // warms up
                                                          undisturbed(operation))) {
    EXPECT_TRUE(reference_.expected.said.empty()) << text_of(reference_.expected);
    EXPECT_GE(reference_.expected.result, 0);
  }

  void all() {
    for (const fault_scope scope : {fault_scope::module, fault_scope::everybody}) {
      if (!worthwhile(scope)) continue;
      for (const fault_kind kind : {fault_kind::once, fault_kind::onwards}) {
        constexpr uint32_t too_many = 20000;
        for (uint32_t request = 1; request < too_many; ++request) {
          const trial now{request, scope, kind};
          SCOPED_TRACE((scope == fault_scope::module ? "module's request " : "request ") +
                       std::to_string(request) +
                       (kind == fault_kind::onwards ? " and all after it" : ""));
          if (!once(now)) break;
          ++(scope == fault_scope::module ? count_.module_points : count_.library_points);
          if (testing::Test::HasFatalFailure()) return;
        }
      }
    }
  }

private:
  const failure_case &operation_;
  failure_count &count_;
  const reference reference_;

  bool worthwhile(fault_scope scope) const {
    const bool with_libraries = libraries_can_fail && !operation_.display;
    if (scope == fault_scope::everybody) return with_libraries;
    // The module's requests are a subset of everybody's.
    return operation_.repeat_every == 1 || !with_libraries;
  }

  bool refused_well(const outcome &taken, fault_scope scope) const {
    const auto known = [&](const std::string &text) {
      return operation_.refusals.contains(text) ||
             (scope == fault_scope::everybody && operation_.library_refusals.contains(text));
    };
    if ((operation_.display || operation_.partial) && !taken.said.empty())
      return std::all_of(taken.said.begin(), taken.said.end(), known);
    return known(said_by(taken));
  }

  /// One failure. False when the operation ended before reaching it.
  bool once(const trial &now) {
    const int32_t module_blocks = outstanding_blocks(fault_scope::module);
    const int32_t all_blocks = outstanding_blocks(fault_scope::everybody);
    const bool reached = run(now);
    EXPECT_EQ(outstanding_blocks(fault_scope::module), module_blocks);
    EXPECT_EQ(outstanding_blocks(fault_scope::everybody) - all_blocks, reference_.blocks_kept);
    return reached;
  }

  bool run(const trial &now) {
    failure_world world;
    begin(world, operation_);
    const std::string files = failure_world::written_files();
    outcome taken;
    {
      allocation_fault fault(now.request, now.scope, now.kind);
      const int32_t result = operation_.act(world);
      if (!fault.reached()) return false;
      taken = {result, {}};
    }
    taken = take_outcome(world, taken.result);
    if (taken == reference_.expected) {
      ++count_.unharmed;
      expect_same(reference_.after, world.contents(), taken);
      expect_same(reference_.sizes, world.sizes_and_files(), taken);
      return true;
    }
    ++count_.refused;
    EXPECT_TRUE(refused_well(taken, now.scope)) << text_of(taken);
    EXPECT_FALSE(taken.said.empty() && taken.result == reference_.expected.result);
    // Such a result with a report means that the work was completed.
    const bool done = taken.result == reference_.expected.result;
    if (!operation_.partial && !done) expect_same(reference_.before, world.contents(), taken);
    if (!done) expect_same(files, failure_world::written_files(), taken);
    if (now.request % operation_.repeat_every != 0) return true;
    if (operation_.recover) operation_.recover(world);
    take_outcome(world, 0);
    const outcome repeated = take_outcome(world, operation_.act(world));
    EXPECT_EQ(text_of(repeated), text_of(reference_.expected)) << "after " << text_of(taken);
    expect_same(reference_.after, world.contents(), taken);
    expect_same(reference_.sizes, world.sizes_and_files(), taken);
    return true;
  }
};

} // namespace

failure_count::~failure_count() {
  printf("[ failures ] %u operations, %u requests of the module", cases, module_points);
  if (libraries_can_fail) printf(", %u of everybody", library_points);
  printf(": %u refused, %u made no difference\n", refused, unharmed);
}

void expect_survived(const failure_case &operation, failure_count &count) {
  SCOPED_TRACE(operation.name + " at " + std::to_string(operation.depth) + " bits");
  ++count.cases;
  failing_runs(operation, count).all();
}

void expect_survived(const std::vector<failure_case> &operations) {
  failure_count count;
  for (const failure_case &operation : operations)
    expect_survived(operation, count);
}
