#include "host/lua_memory.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <new>
#include <string_view>
#include <utility>

namespace orbhost {
namespace {

// How Lua 5.4 begins the part of a state that its coroutines share. Lua has no function that sets
// the seed, and keeps its texts in tables by it from the start.
static_assert(LUA_VERSION_NUM == 504);
struct SharedState {
  struct Value {
    union {
      void *pointer;
      lua_Integer integer;
      lua_Number number;
    } value;
    unsigned char type;
  };

  lua_Alloc reallocate;
  void *memory;
  std::ptrdiff_t bytes, debt;
  std::size_t estimate, last_atomic;
  void *texts;
  int text_count, text_places;
  Value registry, nil;
  unsigned seed;
};

constexpr unsigned fixed_seed = 20'000'101;

int panic(lua_State *L) {
  const char *message = lua_tostring(L, -1);
  std::fprintf(stderr, "Lua failed outside of a protected call: %s\n", message ? message : "");
  return 0; // Lua aborts
}

// Lua's own: warnings are shown from warn("@on") to warn("@off").
void warn(void *shown, const char *text, int continues) {
  auto &on = *static_cast<bool *>(shown);
  if (std::string_view(text) == "@on")
    on = true;
  else if (std::string_view(text) == "@off")
    on = false;
  else if (on)
    std::fprintf(stderr, "%s%s", text, continues ? "" : "\n");
}

} // namespace

lua_State *LuaMemory::new_state() {
  lua_State *const L = lua_newstate(reallocate, this);
  if (!L) throw std::bad_alloc();
  lua_atpanic(L, panic);
  lua_setwarnf(L, warn, &warnings_);
  return L;
}

// Called with Lua's second request: the shared state is filled in, and there are no texts yet. What
// doesn't look as expected is left alone.
void LuaMemory::fix_seed() {
  auto *const words = static_cast<std::byte *>(first_);
  for (std::size_t at = 0; at + sizeof(SharedState) <= first_size_; at += sizeof(void *)) {
    SharedState shared;
    std::memcpy(&shared, words + at, sizeof shared);
    if (shared.reallocate != reallocate || shared.memory != this) continue;
    if (shared.bytes != static_cast<std::ptrdiff_t>(first_size_) || shared.debt != 0 ||
        shared.texts || shared.text_count || shared.text_places)
      return;
    std::memcpy(words + at + offsetof(SharedState, seed), &fixed_seed, sizeof fixed_seed);
  }
}

void *LuaMemory::allocate(std::size_t size) {
  const std::size_t of_class = (size - 1) / step;
  if (of_class >= classes) return std::malloc(size);
  if (FreeBlock *const block = free_[of_class]) {
    free_[of_class] = block->next;
    return block;
  }
  try {
    return memory_.allocate((of_class + 1) * step, step);
  } catch (const std::bad_alloc &) {
    return nullptr;
  }
}

void LuaMemory::free(void *block, std::size_t size) {
  const std::size_t of_class = (size - 1) / step;
  if (of_class >= classes)
    std::free(block);
  else
    free_[of_class] = new (block) FreeBlock{free_[of_class]};
}

void *LuaMemory::reallocate(void *memory, void *block, std::size_t old_size, std::size_t size) {
  LuaMemory &self = *static_cast<LuaMemory *>(memory);
  if (!block) old_size = 0; // Lua tells the kind of object there
  if (size == 0) {
    if (block) self.free(block, old_size);
    return nullptr;
  }
  if (self.first_ && !std::exchange(self.seeded_, true)) self.fix_seed();
  constexpr std::size_t largest = classes * step;
  if (block && old_size > largest && size > largest) return std::realloc(block, size);
  if (block && old_size <= largest && (old_size - 1) / step == (size - 1) / step) return block;
  void *const fresh = self.allocate(size);
  if (fresh && block) {
    std::memcpy(fresh, block, std::min(old_size, size));
    self.free(block, old_size);
  }
  if (!self.first_) {
    self.first_ = fresh;
    self.first_size_ = size;
  }
  return fresh;
}

} // namespace orbhost
