// A heap that fails on demand, and that knows how many blocks are out.
//
//   {
//     allocation_fault fault(3, fault_scope::module, fault_kind::once);
//     result = act();            // its third request gets a null pointer
//     reached = fault.reached(); // else it makes fewer
//   }
//
// Two kinds of requests are told apart. Those of the objects that are linked into this program, the
// module's among them, reach the wrappers that the linker puts before malloc and its relatives.
// Those of the shared libraries (libpng, libjpeg, LittleCMS, zlib, SDL, the C library itself) reach
// them because the program's malloc comes before the C library's; sanitizers need that place for
// themselves, so their builds see the first kind only. `operator new`, and with it everything that
// the tests and their host keep in containers, passes both by: it never fails and never counts.
#pragma once

#include <cstdint>

enum class fault_scope {
  module,    ///< requests of linked objects
  everybody, ///< and those of libraries
};

/// Whether fault_scope::everybody is more than fault_scope::module.
extern const bool libraries_can_fail;

enum class fault_kind {
  once,   ///< one request fails, the next one doesn't
  onwards ///< every request fails from then on
};

/// While it lives, a request of this thread fails; until then each realloc of a linked object moves
/// its block. One at a time.
class allocation_fault {
public:
  /// `request` counts from 1.
  allocation_fault(uint32_t request, fault_scope scope, fault_kind kind);
  ~allocation_fault();
  allocation_fault(const allocation_fault &) = delete;
  allocation_fault &operator=(const allocation_fault &) = delete;

  bool reached() const;
};

/// Blocks that were taken and not given back, by all threads.
int32_t outstanding_blocks(fault_scope scope);
