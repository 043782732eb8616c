// Every allocation of an operation, made to fail in turn.
//
// A failure_case names an operation of the module, the state that it starts from, and what it may
// say when memory runs out. expect_survived runs it in a fresh world without a failure, notes what
// comes of it, and then once for each allocation that it makes, with that one failing and with that
// one and all after it. Each time
//   - the operation gives what it gives with memory, or refuses in a way that the case knows;
//   - after a refusal everything is as it was before;
//   - the same operation, repeated with memory, gives what it gives in a world without a failure;
//   - when the world has ended, no block is missing.
#pragma once

#include <filesystem>
#include <functional>
#include <set>
#include <string>
#include <vector>

#include "memory_files.h"

/// The module on SDL's dummy display, from before the init hook to after the release hook.
class failure_world {
public:
  fake_runtime host;
  memory_files disk; ///< what the host's streams see

  failure_world();
  ~failure_world();
  failure_world(const failure_world &) = delete;
  failure_world &operator=(const failure_world &) = delete;

  /// The init hook, and a mode of 64 x 48 without fades.
  void start(int32_t depth);

  /// Runs the handler registered under a name with so many arguments.
  template <typename... T> int32_t call(const char *name, T... arguments) {
    return host.call(handler(name, sizeof...(T)), arguments...);
  }
  /// A graph of library 0 with a pattern and a control point; its code.
  int32_t make_graph(int32_t width, int32_t height);
  /// Puts a file of tests/data where the host's streams see it too; its name, as data_name gives
  /// it.
  const char *data(const std::string &name);
  const char *data_name(const std::string &name) const;
  /// The name of a file in a folder for what is written; kept from world to world.
  static std::string written(const std::string &name);

  /// What the module holds, line by line: counters, libraries and graphs, regions, draws, palette,
  /// mode, fades and pixels, as text that differs when they do.
  std::string contents() const;
  /// The files in the folder of written ones, and what is in them.
  static std::string written_files();
  /// The sizes of lists that only ever grow, and the written files.
  std::string sizes_and_files() const;

private:
  static int32_t (*handler(const char *name, size_t arguments))();
};

/// Ends the fade that runs.
void finish_fades();

struct failure_case {
  std::string name;
  int32_t depth; ///< of the mode in force; 0: the init hook hasn't run
  std::function<void(failure_world &)> prepare;
  std::function<int32_t(failure_world &)> act;
  /// What a refusal may say: a fatal message, "code FUNCTION" of a report, or "silent"; of several,
  /// fatal ones come first, with "; " between them.
  std::set<std::string> refusals;
  /// The same for failures in libraries, beyond those above.
  std::set<std::string> library_refusals = {};
  /// It opens a display. SDL 1.2 doesn't look at what it is given: its requests can't fail.
  bool display = false;
  /// A refusal may leave work behind that its repetition completes. Such a one, and one that takes
  /// a display back, may say any number of the above.
  bool partial = false;
  /// Of an operation that takes long and asks often, only one refusal in so many is followed by a
  /// repetition.
  uint32_t repeat_every = 1;
  /// Runs between a refusal and the repetition.
  std::function<void(failure_world &)> recover = nullptr;
};

/// What was tried by one test; printed when it goes.
class failure_count {
public:
  uint32_t cases = 0, module_points = 0, library_points = 0, refused = 0, unharmed = 0;
  ~failure_count();
};

void expect_survived(const failure_case &operation, failure_count &count);
void expect_survived(const std::vector<failure_case> &operations);
