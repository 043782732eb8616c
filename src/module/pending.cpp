#include "module/pending.h"

#include "module/runtime.h"
#include "script/handlers.h"

#define ORB_PENDING(handler)                                                                       \
  int32_t handler() {                                                                              \
    return rt_return(script_failure);                                                              \
  }
#include "module/pending.inc"
#undef ORB_PENDING

namespace {

int32_t (*const pending_handlers[])() = {
#define ORB_PENDING(handler) handler,
#include "module/pending.inc"
#undef ORB_PENDING
    nullptr,
};

} // namespace

bool is_pending(int32_t (*handler)()) {
  for (auto *pending : pending_handlers)
    if (pending == handler) return true;
  return false;
}

int32_t pending_functions() {
  int32_t count = 0;
  for (const orb_function *row = functions_table; row->signature; ++row)
    count += is_pending(row->handler);
  return count;
}
