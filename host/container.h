// The kind of a file, from its first bytes: enough to choose a depth and to tell what is wrong.
#pragma once

#include "host/files.h"

#include <cstdint>
#include <optional>
#include <string>

namespace orbhost {

enum class FileKind { map, fpg, other };

struct Container {
  FileKind kind = FileKind::other;
  int depth = 0;           // of MAP and FPG files: 8, 16 or 32
  bool old_layout = false; // texts of 32 bytes; 8 bits only
  bool compressed = false, enciphered = false;
  bool key_fits = true; // false if enciphered and the key is missing or wrong
};

// Nothing if the file can't be opened, or its compression is damaged. `key` may be null.
std::optional<Container> examine(Files &files, const std::string &path, const char *key);

// The uncompressed size of a MAP or FPG file in bytes, without its markers and its magic; 0 if it
// can't be opened.
std::uint64_t content_size(Files &files, const std::string &path, const Container &container);

} // namespace orbhost
