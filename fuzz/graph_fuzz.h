// What the targets of the engine's own formats need besides: streams as a host has them. A file is
// its own compressed form behind the host's eight bytes, the cipher turns every bit over.
#pragma once

#include "formats/map_file.h"
#include "picture_fuzz.h"

namespace fuzz {

inline void serve_streams() {
  auto &files = const_cast<orb_file_services &>(*deviceSystem_graphics2D->file);
  files.open = [](const char *name, int32_t open_mode, int32_t, const char *) -> void * {
    FILE *file = fopen(name, "rb");
    if (file && open_mode == ORB_OPEN_READ_COMPRESSED) fseek(file, 8, SEEK_SET);
    return file;
  };
  files.read = [](void *to, int32_t size, int32_t count, int32_t cipher, void *file) {
    auto *bytes = static_cast<uint8_t *>(to);
    const auto read = int32_t(fread(to, size_t(size), size_t(count), static_cast<FILE *>(file)));
    for (int32_t i = 0; cipher && i < read; i++)
      bytes[i] = uint8_t(~bytes[i]);
    return read;
  };
  files.seek = [](void *file, int32_t offset, int32_t whence) -> int32_t {
    return fseek(static_cast<FILE *>(file), offset, whence);
  };
  files.at_end = [](void *handle) -> int32_t {
    auto *file = static_cast<FILE *>(handle);
    const int next = getc(file);
    ungetc(next, file);
    return next == EOF;
  };
}

} // namespace fuzz
