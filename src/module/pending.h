// What is registered but not built yet: the handlers of module/pending.inc.
#pragma once

#include <cstdint>

/// Whether `handler` is one that only fails.
bool is_pending(int32_t (*handler)());
/// How many of the 310 registered functions have such a handler.
int32_t pending_functions();
