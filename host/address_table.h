// Numbers by address.
#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

namespace orbhost {

// A hash table with open addressing, for look-ups that are made millions of times a second: one
// multiplication and, mostly, one line of the cache.
class AddressTable {
public:
  static constexpr std::int32_t none = INT32_MIN;

  // The number of an address; `none` for one that isn't here, and for null.
  [[nodiscard]] std::int32_t find(const void *address) const {
    return slots_[place(address)].number;
  }
  // Adds an address, or gives it another number. Neither null nor `none` is allowed.
  void set(const void *address, std::int32_t number);
  // Does nothing where the address isn't here.
  void erase(const void *address);

private:
  struct Slot {
    const void *address = nullptr; // null: free
    std::int32_t number = none;
  };

  [[nodiscard]] std::size_t home(const void *address) const {
    constexpr std::uint32_t factor = 0x9E3779B1; // 2^32 by the golden ratio
    return static_cast<std::uint32_t>(reinterpret_cast<std::uintptr_t>(address)) * factor >> shift_;
  }
  [[nodiscard]] std::size_t after(std::size_t at) const { return (at + 1) & (slots_.size() - 1); }
  // Where the address is, or the free slot where it would go.
  [[nodiscard]] std::size_t place(const void *address) const {
    std::size_t at = home(address);
    while (slots_[at].address != address && slots_[at].address)
      at = after(at);
    return at;
  }
  void grow();

  static constexpr unsigned first_bits = 7;
  std::vector<Slot> slots_{std::size_t{1} << first_bits}; // at most half taken
  unsigned shift_ = 32 - first_bits;
  std::size_t taken_ = 0;
};

} // namespace orbhost
