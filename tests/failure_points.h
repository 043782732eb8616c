// Fails every allocation of an operation in turn.
//
// A failure_case names an operation of the module, the state it starts from, and the reports it may
// make when memory runs out. expect_survived runs it in a fresh world without a failure, records
// the result, and then repeats it once for each allocation it makes, with that one failing and with
// that one and all later ones failing. Each time
// - the operation gives the same result as with memory, or refuses in a way the case lists;
// - after a refusal everything is as before;
// - the same operation, repeated with memory, gives the same result as without a failure;
// - when the world has ended, no block has leaked.
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
  memory_files disk; ///< the files that the host's streams see

  failure_world();
  ~failure_world();
  failure_world(const failure_world &) = delete;
  failure_world &operator=(const failure_world &) = delete;

  /// Runs the init hook and sets a mode of 64 x 48 without fades.
  void start(int32_t depth);

  /// Runs the handler registered under a name with this argument count.
  template <typename... T> int32_t call(const char *name, T... arguments) {
    return host.call(handler(name, sizeof...(T)), arguments...);
  }
  /// Makes a graph in library 0 with a pattern and a control point; returns its code.
  int32_t make_graph(int32_t width, int32_t height);
  /// Copies a file of tests/data to the disk of the host's streams; returns its name as data_name
  /// does.
  const char *data(const std::string &name);
  const char *data_name(const std::string &name) const;
  /// The name of a file in the output folder, which is kept from world to world.
  static std::string written(const std::string &name);

  /// The module's state as text, line by line: counters, libraries and graphs, regions, draws,
  /// palette, mode, fades and pixels.
  std::string contents() const;
  /// The files in the output folder and their contents.
  static std::string written_files();
  /// The sizes of lists that only grow, and the written files.
  std::string sizes_and_files() const;

private:
  static int32_t (*handler(const char *name, size_t arguments))();
};

/// Ends the running fade.
void finish_fades();

struct failure_case {
  std::string name;
  int32_t depth; ///< of the mode in force; 0: the init hook has not run
  std::function<void(failure_world &)> prepare;
  std::function<int32_t(failure_world &)> act;
  /// The allowed reports of a refusal: a fatal message, "code FUNCTION" of a report, or "silent";
  /// several are separated by "; ", fatal ones first.
  std::set<std::string> refusals;
  /// Further reports allowed when a library's request fails.
  std::set<std::string> library_refusals = {};
  /// It opens a display. SDL 1.2 does not check its allocations, so its requests cannot fail.
  bool display = false;
  /// A refusal may leave work behind that its repetition completes. Such a refusal, and one that
  /// restores a display, may make any number of these reports.
  bool partial = false;
  /// For long operations with many allocations, only one refusal in this many is repeated.
  uint32_t repeat_every = 1;
  /// Runs between a refusal and the repetition.
  std::function<void(failure_world &)> recover = nullptr;
};

/// Counts what one test tried; printed on destruction.
class failure_count {
public:
  uint32_t cases = 0, module_points = 0, library_points = 0, refused = 0, unharmed = 0;
  ~failure_count();
};

void expect_survived(const failure_case &operation, failure_count &count);
void expect_survived(const std::vector<failure_case> &operations);
