// A sum of 64 bits that tells texts and pictures apart. It guards against accidents, not intent.
#pragma once

#include <bit>
#include <cstddef>
#include <cstdint>
#include <cstring>

namespace orbhost {

class Sum {
public:
  void add(const void *data, std::size_t size) {
    const auto *bytes = static_cast<const std::uint8_t *>(data);
    for (; size >= sizeof(std::uint64_t); size -= sizeof(std::uint64_t)) {
      std::uint64_t word;
      std::memcpy(&word, bytes, sizeof word);
      bytes += sizeof word;
      add(word);
    }
    std::uint64_t rest = size; // "a" and "a\0" differ
    std::memcpy(reinterpret_cast<std::uint8_t *>(&rest) + 1, bytes, size);
    add(rest);
  }
  // Each step can be undone, so that two words that differ never give the same state.
  void add(std::uint64_t word) { state_ = std::rotl((state_ ^ word) * 0x9E3779B97F4A7C15, 29); }
  [[nodiscard]] std::uint64_t value() const { return state_ ^ state_ >> 32; }

private:
  std::uint64_t state_ = 0xCBF29CE484222325;
};

} // namespace orbhost
