#include "boundary/readable.h"

#ifdef __wasm__

#include <cstdint>
#include <cstring>

// Memory is one piece. Its first 64 KB stay empty (cmake/flags.cmake), as they do on Linux.
bool copy_if_readable(void *to, const void *from, size_t bytes) {
  const auto at = uintptr_t(from);
  const size_t end = __builtin_wasm_memory_size(0) * 65536;
  if (at < 65536 || at > end || bytes > end - at) return false;
  memcpy(to, from, bytes);
  return true;
}

#else

#include <fcntl.h>
#include <unistd.h>

// write() to a pipe fails with EFAULT where a direct read would crash. (process_vm_readv needs one
// call only, but some sandboxes forbid it.)
bool copy_if_readable(void *to, const void *from, size_t bytes) {
  int ends[2];
  if (pipe2(ends, O_CLOEXEC) != 0) return false;
  const auto whole = ssize_t(bytes); // fits: an empty pipe holds at least a page
  const bool copied = write(ends[1], from, bytes) == whole && read(ends[0], to, bytes) == whole;
  close(ends[0]);
  close(ends[1]);
  return copied;
}

#endif
