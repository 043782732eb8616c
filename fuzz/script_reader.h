// The bytes of a random script, and the values that they encode.
#pragma once

#include <array>
#include <cstdint>
#include <cstring>
#include <span>

namespace fuzz {

/// Reads a script's bytes in order. Zeros follow its end.
class script_reader {
public:
  explicit script_reader(std::span<const uint8_t> bytes) : rest_(bytes) {}

  bool at_end() const { return rest_.empty(); }
  uint8_t byte() { return take<uint8_t>(); }
  uint16_t word() { return take<uint16_t>(); }
  int32_t number() { return take<int32_t>(); }
  /// A number below `count`, from one byte.
  size_t below(size_t count) { return byte() % count; }
  /// One of a few.
  template <typename T, size_t count> T one_of(const T (&values)[count]) {
    return values[below(count)];
  }

private:
  template <typename T> T take() {
    T value = 0;
    const size_t size = rest_.size() < sizeof value ? rest_.size() : sizeof value;
    memcpy(&value, rest_.data(), size);
    rest_ = rest_.subspan(size);
    return value;
  }

  std::span<const uint8_t> rest_;
};

/// The last results of calls, and the ids of processes: values that later calls may use, valid or
/// stale.
struct script_handles {
  std::array<int32_t, 16> results{};
  std::array<int32_t, 16> processes{};
  size_t next_result = 0;

  void add_result(int32_t value) { results[next_result++ % results.size()] = value; }
};

/// An int argument. `kind` is a letter for its meaning:
///   f library, g graph, d draw object, y type of one, r region, p process, s side of a graph,
///   w side of a screen, b depth, m packed mode, k flags of a mode, q scale and j scan lines of a
///   filter, c colour, l alpha, a angle, n flags, e effect, z size in percent, h shear, o order of
///   the transformations, t target of a collision, v percent of a fade, u switch, i format of a
///   picture;
/// any other letter: unknown. Three in four values suit the kind; the others are extreme or
/// arbitrary.
int32_t read_value(script_reader &script, const script_handles &handles, char kind);

/// The kinds of a function's arguments, by its signature; shorter than its arguments if nothing is
/// known about the last ones.
const char *argument_kinds(const char *signature);

} // namespace fuzz
