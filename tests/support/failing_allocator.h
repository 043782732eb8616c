// A heap that fails on demand and counts the blocks in use.
//
//   {
//     allocation_fault fault(3, fault_scope::module, fault_kind::once);
//     result = act();            // its third request gets a null pointer
//     reached = fault.reached(); // else it makes fewer
//   }
//
// Two kinds of requests are distinguished. Those of objects linked into this program, the module's
// among them, reach the wrappers that the linker puts before malloc and its relatives. Those of
// libraries (libpng, libjpeg, LittleCMS, zlib, SDL, the C library itself) reach them because
// the program's malloc precedes the C library's; sanitizers need that place for themselves, so
// their builds see the first kind only. `operator new`, and so every container of the tests and
// their host, bypasses both: it never fails and is never counted.
#pragma once

#include <cstdint>

enum class fault_scope {
  module,    ///< requests of linked objects
  everybody, ///< requests of libraries too
};

/// Whether fault_scope::everybody covers more than fault_scope::module.
extern const bool libraries_can_fail;

enum class fault_kind {
  once,   ///< one request fails, the next succeeds
  onwards ///< every request fails from then on
};

/// During its lifetime one request of this thread fails; until then each realloc of a linked object
/// moves its block. Only one may exist at a time.
class allocation_fault {
public:
  /// `request` counts from 1.
  allocation_fault(uint32_t request, fault_scope scope, fault_kind kind);
  ~allocation_fault();
  allocation_fault(const allocation_fault &) = delete;
  allocation_fault &operator=(const allocation_fault &) = delete;

  bool reached() const;
};

/// During its lifetime new and freed memory of everybody is filled with a byte, except where
/// sanitizers have the heap. Only one may exist at a time.
class filled_heap {
public:
  explicit filled_heap(uint8_t byte);
  ~filled_heap();
  filled_heap(const filled_heap &) = delete;
  filled_heap &operator=(const filled_heap &) = delete;
};

/// Blocks allocated and not yet freed, over all threads.
int32_t outstanding_blocks(fault_scope scope);
