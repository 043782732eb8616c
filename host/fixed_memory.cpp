#include "host/fixed_memory.h"

#include <sys/mman.h>

namespace orbhost {

#ifdef __EMSCRIPTEN__
// The heap does: it begins at the same address in every run, and nothing else takes of it. Its memory
// is all taken or none; an address alone can't be reserved.
FixedMemory::FixedMemory(std::uintptr_t, std::size_t) {}
#else
FixedMemory::FixedMemory(std::uintptr_t address, std::size_t size) {
  // Pages that are never written take no memory.
  void *const memory = mmap(reinterpret_cast<void *>(address), size, PROT_READ | PROT_WRITE,
                            MAP_PRIVATE | MAP_ANONYMOUS | MAP_NORESERVE, -1, 0);
  if (memory == MAP_FAILED) return;
  start_ = static_cast<std::byte *>(memory);
  size_ = size;
}
#endif

FixedMemory::~FixedMemory() {
  if (start_) munmap(start_, size_);
}

void *FixedMemory::do_allocate(std::size_t size, std::size_t alignment) {
  const std::size_t at = (used_ + alignment - 1) / alignment * alignment;
  if (at > size_ || size_ - at < size)
    return std::pmr::new_delete_resource()->allocate(size, alignment);
  used_ = at + size;
  return start_ + at;
}

void FixedMemory::do_deallocate(void *block, std::size_t size, std::size_t alignment) {
  if (!contains(block)) std::pmr::new_delete_resource()->deallocate(block, size, alignment);
}

} // namespace orbhost
