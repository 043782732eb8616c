// Memory behind an address that came as a number, or from a host: it may be any.
#pragma once

#include <cstddef>

/// Copies `bytes`, 4096 at most, from an address that need not exist. False when not all of them
/// can be read (null among others), or the program has no file descriptor left; `to` may then hold
/// some.
bool copy_if_readable(void *to, const void *from, size_t bytes);
