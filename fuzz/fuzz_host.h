// Needed by every fuzz target: the module with a host whose files are stdio, and a file that holds
// the input. Include it in one source file of a program.
#pragma once

#include <sys/mman.h>
#include <unistd.h>

#include <cstdint>
#include <cstdio>
#include <cstdlib>

#include "boundary/runtime.h"
#include "surface/screen.h"
#include "video/mode_tables.h"

namespace fuzz {

inline char input_path[32];
inline int input_descriptor;

/// Starts the module at 8 bits, with the palette of that depth.
inline void start_module() {
  static orb_file_services files;
  static orb_device_system device_system;
  static orb_runtime runtime;
  input_descriptor = memfd_create("input", 0);
  snprintf(input_path, sizeof input_path, "/proc/self/fd/%d", input_descriptor);
  files.path = [](const char *name, int32_t) { return name; };
  files.open = [](const char *name, int32_t, int32_t, const char *) -> void * {
    return fopen(name, "rb");
  };
  files.read = [](void *to, int32_t size, int32_t count, int32_t, void *file) {
    return int32_t(fread(to, size_t(size), size_t(count), static_cast<FILE *>(file)));
  };
  files.close = [](void *file) { fclose(static_cast<FILE *>(file)); };
  device_system.file = &files;
  runtime.rt_device_system = deviceSystem_graphics2D = &device_system;
  runtime.rt_fatal = [](int32_t, const char *) { abort(); };
  orbre = &runtime;
  mode.bpp = 8;
  do_tables(8);
}

/// Writes the input to a file and returns its path.
inline const char *put_input(const uint8_t *data, size_t size) {
  if (ftruncate(input_descriptor, 0) != 0 ||
      pwrite(input_descriptor, data, size, 0) != ssize_t(size))
    abort();
  return input_path;
}

} // namespace fuzz
