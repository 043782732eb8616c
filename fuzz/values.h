// The bytes of a random script, and the values that they encode.
#pragma once

#include <array>
#include <cstdint>
#include <filesystem>
#include <span>
#include <string>
#include <vector>

#include "host/arguments.h"
#include "host/registration.h"

namespace fuzz {

/// Graphs and screens with more pixels only take time.
inline constexpr int64_t most_pixels = 1 << 17;

/// The lines of a file in this folder, as words; without comments and blank lines.
std::vector<std::vector<std::string>> read_lines(const char *name);

/// Reads bytes as values of values.txt and arguments of arguments.txt.
class script_values {
public:
  explicit script_values(std::span<const uint8_t> bytes);

  bool at_end() const { return rest_.empty(); }
  /// The next byte; zeros follow the last one.
  uint8_t byte();
  size_t below(size_t count);
  template <typename T> const T &one_of(std::span<const T> values) {
    return values[byte() % values.size()];
  }

  /// An int argument. `kind` is a letter for its meaning:
  ///   f library, g graph, d draw object, y type of one, r region, p process, s side of a graph,
  ///   S height of a graph to be made, w side of a screen, H height of a screen to be set, b depth,
  ///   m packed mode, k flags of a mode, q scale and j scan lines of a filter, c colour, l alpha,
  ///   a angle, n flags, e effect, z size in percent, h shear, o order of the transformations,
  ///   t target of a collision, v percent of a fade, u switch, i format of a picture, A address;
  /// any other letter: unknown. Three in four values suit the kind; the others are extreme or
  /// arbitrary. `before` is the argument before it: a height is limited so that `most_pixels` hold
  /// both; sizes that the module refuses stay.
  int32_t value(char kind, int32_t before = 0);

  /// Arguments for a function: ints of the kinds in arguments.txt, texts that mostly suit it, null
  /// or addresses in `memory`.
  std::vector<orbhost::Argument> arguments(const orbhost::Function &function);

  /// Values that later arguments may have, valid or stale: what calls gave, and ids of processes.
  void add_result(int32_t value) { results_[next_result_++ % results_.size()] = value; }
  std::array<int32_t, 16> processes{};

  /// What pointers lead to: more words than any function reads or writes.
  std::vector<int32_t> memory;

private:
  template <typename T> T take();
  int32_t arbitrary();
  orbhost::Argument text(const std::string &function);

  std::span<const uint8_t> rest_;
  std::array<int32_t, 16> results_{};
  size_t next_result_ = 0;
};

} // namespace fuzz
