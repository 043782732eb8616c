// Safe reads from addresses that scripts or the host supply.
#pragma once

#include <cstddef>

/// Copies `bytes`, at most 4096, from an address that may be invalid. False when not all of them
/// can be read or the process is out of file descriptors; `to` may then be partly written.
bool copy_if_readable(void *to, const void *from, size_t bytes);
