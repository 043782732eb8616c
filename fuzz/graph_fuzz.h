// Also needed by the targets of the engine's own formats: host streams over the input. A compressed
// stream is the file after the host's eight bytes; the cipher inverts every bit.
#pragma once

#include <cstring>

#include "picture_fuzz.h"

namespace fuzz {

struct stream {
  size_t position;
};
inline const uint8_t *input;
inline size_t input_size;
inline int open_streams;

inline void serve_streams() {
  auto &files = const_cast<orb_file_services &>(*deviceSystem_graphics2D->file);
  files.open = [](const char *, int32_t open_mode, int32_t, const char *) -> void * {
    open_streams++;
    return new stream{open_mode == ORB_OPEN_READ_COMPRESSED ? 8u : 0u};
  };
  files.read = [](void *to, int32_t size, int32_t count, int32_t cipher, void *handle) {
    auto *in = static_cast<stream *>(handle);
    const size_t left = input_size - (in->position < input_size ? in->position : input_size);
    const size_t wanted = size_t(size) * size_t(count), read = wanted < left ? wanted : left;
    if (read) memcpy(to, input + in->position, read);
    in->position += read;
    for (size_t i = 0; cipher && i < read; i++)
      static_cast<uint8_t *>(to)[i] ^= 0xFF;
    return int32_t(read);
  };
  files.seek = [](void *handle, int32_t offset, int32_t whence) -> int32_t {
    auto *in = static_cast<stream *>(handle);
    in->position = size_t(offset) + (whence == SEEK_CUR ? in->position : 0);
    return 0;
  };
  files.at_end = [](void *handle) -> int32_t {
    return static_cast<stream *>(handle)->position >= input_size;
  };
  files.close = [](void *handle) {
    open_streams--;
    delete static_cast<stream *>(handle);
  };
}

/// Sets the input, which every file name opens.
inline void put_streams(const uint8_t *data, size_t size) {
  input = data;
  input_size = size;
}

/// Every stream that was opened must have been closed.
inline void check_streams() {
  if (open_streams != 0) abort();
}

} // namespace fuzz
