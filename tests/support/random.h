// Seeded random input: the same on every machine, with many values where arithmetic breaks.
#pragma once

#include <cstdint>
#include <cstdlib>
#include <random>

class random_source {
public:
  explicit random_source(uint32_t seed) : engine_(seed) {}

  uint32_t word() { return uint32_t(engine_()); }
  /// 0 .. n - 1
  int below(int n) { return int(word() % uint32_t(n)); }
  /// low .. high
  int between(int low, int high) {
    return int(low + int64_t(word() % (uint64_t(int64_t(high) - low) + 1)));
  }
  bool one_in(int n) { return below(n) == 0; }
  template <typename T, size_t n> T any_of(const T (&values)[n]) { return values[below(int(n))]; }

  /// 0..255; half of the values are near one of the ends.
  int byte() {
    static constexpr int edges[] = {0, 0, 1, 2, 3, 127, 128, 252, 253, 254, 255, 255};
    return one_in(2) ? any_of(edges) : below(256);
  }
  /// A pixel of a depth with channels from byte(); one in `zeros` is 0.
  uint32_t pixel(int depth, int zeros) {
    if (one_in(zeros)) return 0;
    if (depth == 8) return uint32_t(byte());
    const int r = byte(), g = byte(), b = byte();
    if (depth == 16) return uint32_t(r >> 3 << 11 | g >> 2 << 5 | b >> 3);
    return uint32_t(byte()) << 24 | uint32_t(r << 16 | g << 8 | b);
  }

private:
  std::mt19937 engine_;
};

/// The base of a test's seeds: ORB_TEST_SEED, or a constant.
inline uint32_t base_seed() {
  const char *given = std::getenv("ORB_TEST_SEED");
  return given ? uint32_t(std::strtoul(given, nullptr, 0)) : 1;
}
