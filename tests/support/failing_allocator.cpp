#include "support/failing_allocator.h"

#include <atomic>
#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <new>
#include <utility>

#include <malloc.h>

#ifndef __has_feature
#define __has_feature(feature) 0 // not clang
#endif
#if defined(__SANITIZE_ADDRESS__) || __has_feature(address_sanitizer)
#define ORB_OWN_MALLOC 0
#else
#define ORB_OWN_MALLOC 1
#endif

const bool libraries_can_fail = ORB_OWN_MALLOC;

namespace {

/// What is to fail, per thread: libraries have threads of their own.
struct armed_fault {
  uint32_t countdown; // requests up to the failing one; 0: none fails
  bool everybody, onwards, reached;
};
thread_local armed_fault fault;

std::atomic<int32_t> module_blocks, all_blocks;
std::atomic<int> filling = -1; // negative: none

/// Whether this request must fail.
bool fails(bool of_library) {
  if (fault.countdown == 0 || (of_library && !fault.everybody)) return false;
  if (--fault.countdown > 0) return false;
  fault.reached = true;
  if (fault.onwards) fault.countdown = 1;
  errno = ENOMEM;
  return true;
}

/// Counts a new block, unless it is null.
void *counted(void *block, std::atomic<int32_t> &blocks) {
  blocks += block != nullptr;
  return block;
}

/// Fills memory, unless it is null.
[[maybe_unused]] void *filled(void *at, size_t size) {
  if (at && filling >= 0) memset(at, filling, size);
  return at;
}

} // namespace

allocation_fault::allocation_fault(uint32_t request, fault_scope scope, fault_kind kind) {
  fault = {request, scope == fault_scope::everybody, kind == fault_kind::onwards, false};
}
allocation_fault::~allocation_fault() {
  fault = {};
}
bool allocation_fault::reached() const {
  return fault.reached;
}

filled_heap::filled_heap(uint8_t byte) {
  filling = byte;
}
filled_heap::~filled_heap() {
  filling = -1;
}

int32_t outstanding_blocks(fault_scope scope) {
  return scope == fault_scope::module ? module_blocks : all_blocks;
}

#if ORB_OWN_MALLOC
// ---- Requests of libraries: this program's malloc precedes the C library's ----------------------

extern "C" {
void *__libc_malloc(size_t size);
void *__libc_calloc(size_t count, size_t size);
void *__libc_realloc(void *block, size_t size);
void *__libc_memalign(size_t alignment, size_t size);
void __libc_free(void *block);

#pragma GCC visibility push(default)
void *malloc(size_t size) {
  return fails(true) ? nullptr : counted(filled(__libc_malloc(size), size), all_blocks);
}
void *calloc(size_t count, size_t size) {
  return fails(true) ? nullptr : counted(__libc_calloc(count, size), all_blocks);
}
void *realloc(void *block, size_t size) {
  if (fails(true)) return nullptr;
  const size_t former_size = malloc_usable_size(block);
  void *const moved = __libc_realloc(block, size);
  if (moved && size > former_size) filled(static_cast<char *>(moved) + former_size, size - former_size);
  all_blocks += (moved != nullptr) - (block && (moved || size == 0)); // size 0 frees
  return moved;
}
void *aligned_alloc(size_t alignment, size_t size) {
  return fails(true) ? nullptr : counted(__libc_memalign(alignment, size), all_blocks);
}
void free(void *block) {
  all_blocks -= block != nullptr;
  filled(block, malloc_usable_size(block));
  __libc_free(block);
}
#pragma GCC visibility pop
}

// C++ objects always get memory, and aren't counted.
void *operator new(size_t size) {
  if (void *const block = __libc_malloc(size ? size : 1)) return block;
  throw std::bad_alloc();
}
void operator delete(void *block) noexcept {
  __libc_free(block);
}
void operator delete(void *block, size_t) noexcept {
  __libc_free(block);
}
#endif

// ---- Requests of linked objects (-Wl,--wrap), whose chance to fail comes first ------------------

extern "C" {
void *__real_malloc(size_t size);
void *__real_calloc(size_t count, size_t size);
void *__real_realloc(void *block, size_t size);
void __real_free(void *block);
}

namespace {

/// Does what a linked object asks with no fault armed, or the request would count twice.
template <typename Act> void *undisturbed(Act act) {
  const armed_fault armed = std::exchange(fault, {});
  void *const block = act();
  fault = armed;
  return block;
}

/// Does what realloc may do, but seldom does: moves the block and overwrites the old one.
void *move(void *block, size_t size) {
  void *const moved = __real_malloc(size);
  if (!moved) return nullptr;
  const size_t former_size = malloc_usable_size(block);
  memcpy(moved, block, former_size < size ? former_size : size);
  memset(block, 0xDD, former_size);
  __real_free(block);
  return moved;
}

} // namespace

extern "C" {

void *__wrap_malloc(size_t size) {
  if (fails(false)) return nullptr;
  return counted(undisturbed([=] { return __real_malloc(size); }), module_blocks);
}

void *__wrap_calloc(size_t count, size_t size) {
  if (fails(false)) return nullptr;
  return counted(undisturbed([=] { return __real_calloc(count, size); }), module_blocks);
}

void *__wrap_realloc(void *block, size_t size) {
  const bool moves = fault.countdown > 0 && block && size;
  if (fails(false)) return nullptr;
  void *const moved =
      undisturbed([=] { return moves ? move(block, size) : __real_realloc(block, size); });
  module_blocks += (moved != nullptr) - (block && (moved || size == 0));
  return moved;
}

char *__wrap_strdup(const char *text) {
  const size_t size = strlen(text) + 1;
  void *const copy = __wrap_malloc(size);
  return copy ? static_cast<char *>(memcpy(copy, text, size)) : nullptr;
}

void __wrap_free(void *block) {
  module_blocks -= block != nullptr;
  __real_free(block);
}

} // extern "C"
