#include "failing_allocator.h"

#include <atomic>
#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <new>

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

/// Whether this request must fail.
bool fails(bool of_library) {
  if (fault.countdown == 0 || (of_library && !fault.everybody)) return false;
  if (--fault.countdown > 0) return false;
  fault.reached = true;
  if (fault.onwards) fault.countdown = 1;
  errno = ENOMEM;
  return true;
}

/// Counts a block returned to a linked object, unless it is null.
void *count_module(void *block) {
  if (block) ++module_blocks;
  return block;
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

int32_t outstanding_blocks(fault_scope scope) {
  return scope == fault_scope::module ? module_blocks : all_blocks;
}

// ---- The underlying heap ------------------------------------------------------------------------

// The linked objects' requests go straight to the real allocator: through this program's own malloc
// each would count twice.

#if ORB_OWN_MALLOC
extern "C" {
void *__libc_malloc(size_t size);
void *__libc_calloc(size_t count, size_t size);
void *__libc_realloc(void *block, size_t size);
void *__libc_memalign(size_t alignment, size_t size);
void __libc_free(void *block);
}

namespace {

void *count_all(void *block) {
  if (block) ++all_blocks;
  return block;
}
void *real_malloc(size_t size) {
  return count_all(__libc_malloc(size));
}
void *real_calloc(size_t count, size_t size) {
  return count_all(__libc_calloc(count, size));
}
void *real_realloc(void *block, size_t size) {
  void *const moved = __libc_realloc(block, size);
  if (!block)
    count_all(moved);
  else if (!moved && size == 0)
    --all_blocks; // realloc freed it
  return moved;
}
void real_free(void *block) {
  if (block) --all_blocks;
  __libc_free(block);
}

} // namespace
#else
extern "C" {
void *__real_malloc(size_t size);
void *__real_calloc(size_t count, size_t size);
void *__real_realloc(void *block, size_t size);
void __real_free(void *block);
}
#define real_malloc  __real_malloc
#define real_calloc  __real_calloc
#define real_realloc __real_realloc
#define real_free    __real_free
#endif

// ---- Requests of linked objects (-Wl,--wrap) ----------------------------------------------------

namespace {

/// Does what realloc may do, but seldom does: moves the block and overwrites the old one.
void *move(void *block, size_t size) {
  void *const moved = real_malloc(size);
  if (!moved) return nullptr;
  const size_t former_size = malloc_usable_size(block);
  memcpy(moved, block, former_size < size ? former_size : size);
  memset(block, 0xDD, former_size);
  real_free(block);
  return moved;
}

} // namespace

extern "C" {

void *__wrap_malloc(size_t size) {
  return fails(false) ? nullptr : count_module(real_malloc(size));
}

void *__wrap_calloc(size_t count, size_t size) {
  return fails(false) ? nullptr : count_module(real_calloc(count, size));
}

void *__wrap_realloc(void *block, size_t size) {
  const bool watched = fault.countdown > 0;
  if (fails(false)) return nullptr;
  void *const moved = watched && block && size ? move(block, size) : real_realloc(block, size);
  if (!block)
    count_module(moved);
  else if (!moved && size == 0)
    --module_blocks;
  return moved;
}

char *__wrap_strdup(const char *text) {
  const size_t size = strlen(text) + 1;
  void *const copy = __wrap_malloc(size);
  return copy ? static_cast<char *>(memcpy(copy, text, size)) : nullptr;
}

void __wrap_free(void *block) {
  if (block) --module_blocks;
  real_free(block);
}

} // extern "C"

// ---- Requests of libraries ----------------------------------------------------------------------

#if ORB_OWN_MALLOC
extern "C" {

__attribute__((visibility("default"))) void *malloc(size_t size) {
  return fails(true) ? nullptr : real_malloc(size);
}

__attribute__((visibility("default"))) void *calloc(size_t count, size_t size) {
  return fails(true) ? nullptr : real_calloc(count, size);
}

__attribute__((visibility("default"))) void *realloc(void *block, size_t size) {
  return fails(true) ? nullptr : real_realloc(block, size);
}

__attribute__((visibility("default"))) void *memalign(size_t alignment, size_t size) {
  return fails(true) ? nullptr : count_all(__libc_memalign(alignment, size));
}

__attribute__((visibility("default"))) void *aligned_alloc(size_t alignment, size_t size) {
  return memalign(alignment, size);
}

__attribute__((visibility("default"))) int posix_memalign(void **out, size_t alignment,
                                                          size_t size) {
  void *const block = memalign(alignment, size);
  if (!block) return ENOMEM;
  *out = block;
  return 0;
}

__attribute__((visibility("default"))) void free(void *block) {
  real_free(block);
}

} // extern "C"

// C++ objects always get memory.

void *operator new(size_t size) {
  if (void *const block = __libc_malloc(size ? size : 1)) return block;
  throw std::bad_alloc();
}
void *operator new(size_t size, std::align_val_t alignment) {
  if (void *const block = __libc_memalign(size_t(alignment), size ? size : 1)) return block;
  throw std::bad_alloc();
}
void operator delete(void *block) noexcept {
  __libc_free(block);
}
void operator delete(void *block, size_t) noexcept {
  __libc_free(block);
}
void operator delete(void *block, std::align_val_t) noexcept {
  __libc_free(block);
}
void operator delete(void *block, size_t, std::align_val_t) noexcept {
  __libc_free(block);
}
#endif
