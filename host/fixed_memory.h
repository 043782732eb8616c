// Memory at an address that is the same in every run, for what scripts can see the addresses of.
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory_resource>

namespace orbhost {

// Hands out one piece of address space from its start on, and takes nothing back before it ends.
// Where that piece is taken it lies elsewhere; what doesn't fit comes from the heap.
class FixedMemory : public std::pmr::memory_resource {
public:
  FixedMemory(std::uintptr_t address, std::size_t size);
  FixedMemory(const FixedMemory &) = delete;
  FixedMemory &operator=(const FixedMemory &) = delete;
  ~FixedMemory() override;

  [[nodiscard]] bool contains(const void *block) const {
    return block >= start_ && block < start_ + size_;
  }

private:
  void *do_allocate(std::size_t size, std::size_t alignment) override;
  void do_deallocate(void *block, std::size_t size, std::size_t alignment) override;
  [[nodiscard]] bool do_is_equal(const memory_resource &other) const noexcept override {
    return this == &other;
  }

  std::byte *start_ = nullptr;
  std::size_t size_ = 0, used_ = 0;
};

} // namespace orbhost
