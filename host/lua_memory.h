// The memory of a Lua state, such that `pairs` goes through a table in the same order in every run.
//
// Lua places a table's keys by numbers: those of texts come from a seed that it makes of the time
// and of addresses, those of tables, functions and processes are their addresses. Here the seed is
// a constant, and small objects lie in memory whose address is.
#pragma once

#include "host/fixed_memory.h"

#include <lua.hpp>

#include <array>
#include <cstddef>

namespace orbhost {

class LuaMemory {
public:
  // A new state, without libraries, that is closed before this memory ends. Throws std::bad_alloc.
  lua_State *new_state();

private:
  // Objects up to 512 bytes, by the 16 bytes; larger ones are arrays, whose address no key is.
  static constexpr std::size_t step = 16, classes = 32;
  struct FreeBlock {
    FreeBlock *next;
  };

  static void *reallocate(void *memory, void *block, std::size_t old_size, std::size_t size);
  void *allocate(std::size_t size);
  void free(void *block, std::size_t size);
  void fix_seed();

  FixedMemory memory_{0x10000000, 0x0F000000}; // AddressSanitizer's own lies behind it
  std::array<FreeBlock *, classes> free_{};
  void *first_ = nullptr; // the first block that Lua asked for: its state
  std::size_t first_size_ = 0;
  bool seeded_ = false;
  bool warnings_ = false; // are shown
};

} // namespace orbhost
