// A host's file services over files in memory, with the guarantees a host gives for compressed and
// enciphered streams, and with faults on demand.
//
// A compressed file holds "HOST8..." (eight bytes of the host's own), the first eight bytes as
// written, and the rest with every byte inverted. The cipher adds to each byte a value derived from
// its key and its position in the uncompressed stream.
#pragma once

#include <algorithm>
#include <climits>
#include <cstring>
#include <map>
#include <set>
#include <string>
#include <vector>

#include "fake_runtime.h"
#include "graphics_fixture.h"

class memory_files {
public:
  std::map<std::string, file_bytes> files;
  /// Every call from this one on fails: opening gives null, reading and writing 0, seeking -1.
  int failing_call = INT_MAX;
  int calls = 0;                     ///< calls that may fail
  int32_t largest_piece = INT32_MAX; ///< the most bytes a read or write transfers
  bool seekable = true;
  bool tells_end = true;      ///< else at_end is always 0
  bool endless = false;       ///< reading past the end returns zeros forever
  int32_t largest_read = 0;   ///< the longest read requested
  std::vector<int32_t> modes; ///< of all opened streams

  void serve(fake_runtime &host) {
    current = this;
    host.file.open = [](const char *name, int32_t mode, int32_t, const char *key) -> void * {
      return current->open(name, mode, key);
    };
    host.file.read = [](void *to, int32_t size, int32_t count, int32_t cipher, void *handle) {
      return current->read(static_cast<uint8_t *>(to), size * count, cipher, handle);
    };
    host.file.write = [](const void *from, int32_t size, int32_t count, int32_t cipher,
                         void *handle) {
      return current->write(static_cast<const uint8_t *>(from), size * count, cipher, handle);
    };
    host.file.seek = [](void *handle, int32_t offset, int32_t whence) {
      return current->seek(handle, offset, whence);
    };
    host.file.at_end = [](void *handle) -> int32_t {
      const stream &in = *static_cast<stream *>(handle);
      return current->tells_end && in.position >= in.bytes.size();
    };
    host.file.close = [](void *handle) { current->close(static_cast<stream *>(handle)); };
  }
  size_t open_streams() const { return streams_.size(); }

  /// The uncompressed content of a file written through the compressor.
  static file_bytes unpacked(const file_bytes &file) {
    file_bytes bytes(file.begin() + std::min<ptrdiff_t>(8, ptrdiff_t(file.size())), file.end());
    for (size_t i = 8; i < bytes.size(); ++i)
      bytes[i] ^= 0xFF;
    return bytes;
  }
  static file_bytes packed(const file_bytes &bytes) {
    file_bytes file{'H', 'O', 'S', 'T', '8', '.', '.', '.'};
    for (size_t i = 0; i < bytes.size(); ++i)
      file.push_back(i < 8 ? bytes[i] : bytes[i] ^ 0xFF);
    return file;
  }
  /// The value the cipher adds to the byte at `position`.
  static uint8_t cipher_byte(const std::string &key, size_t position) {
    if (key.empty()) return 0;
    uint32_t sum = 2166136261u;
    for (const char c : key)
      sum = (sum ^ uint8_t(c)) * 16777619u;
    return uint8_t((sum ^ uint32_t(position)) * 0x9E3779B1u >> 24);
  }

private:
  struct stream {
    std::string name, key;
    int32_t mode;
    file_bytes bytes;
    size_t position;
  };
  inline static memory_files *current = nullptr;
  std::set<stream *> streams_;

  bool fails() { return ++calls >= failing_call; }

  void *open(const char *name, int32_t open_mode, const char *key) {
    modes.push_back(open_mode);
    if (fails() || !*name) return nullptr;
    stream opened{name, key ? key : "", open_mode, {}, 0};
    if (open_mode == ORB_OPEN_READ || open_mode == ORB_OPEN_READ_COMPRESSED) {
      if (!files.contains(name)) return nullptr;
      opened.bytes = open_mode == ORB_OPEN_READ ? files[name] : unpacked(files[name]);
    }
    return *streams_.insert(new stream(opened)).first;
  }
  int32_t read(uint8_t *to, int32_t count, int32_t cipher, void *handle) {
    largest_read = std::max(largest_read, count);
    if (fails()) return 0;
    stream &in = *static_cast<stream *>(handle);
    count = std::min(count, largest_piece);
    const size_t left = in.bytes.size() - std::min(in.bytes.size(), in.position);
    const auto delivered = endless ? count : int32_t(std::min(size_t(count), left));
    const size_t real = std::min(left, size_t(delivered));
    std::copy_n(in.bytes.end() - ptrdiff_t(left), real, to);
    memset(to + real, 0, size_t(delivered) - real);
    for (int32_t i = 0; cipher && i < delivered; ++i)
      to[i] = uint8_t(to[i] - cipher_byte(in.key, in.position + size_t(i)));
    in.position += size_t(delivered);
    return delivered;
  }
  int32_t write(const uint8_t *from, int32_t count, int32_t cipher, void *handle) {
    if (fails()) return 0;
    stream &out = *static_cast<stream *>(handle);
    count = std::min(count, largest_piece);
    for (int32_t i = 0; i < count; ++i)
      out.bytes.push_back(uint8_t(from[i] + (cipher ? cipher_byte(out.key, out.bytes.size()) : 0)));
    return count;
  }
  int32_t seek(void *handle, int32_t offset, int32_t whence) {
    stream &in = *static_cast<stream *>(handle);
    const int64_t to = whence == SEEK_CUR ? int64_t(in.position) + offset : offset;
    if (fails() || to < 0 || whence == SEEK_END) return -1;
    if (!seekable && to != 0) return -1;
    in.position = size_t(to);
    return 0;
  }
  void close(stream *closed) {
    if (closed->mode == ORB_OPEN_WRITE) files[closed->name] = closed->bytes;
    if (closed->mode == ORB_OPEN_WRITE_COMPRESSED) files[closed->name] = packed(closed->bytes);
    streams_.erase(closed);
    delete closed;
  }
};
