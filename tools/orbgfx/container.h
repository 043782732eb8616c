// The kind of a file, from its first bytes: enough to choose a depth and to report what is wrong.
#pragma once

#include "host/files.h"
#include "tools/orbgfx/tool.h"

#include <string>

namespace orbgfx {

enum class Kind { map, fpg, other };

struct Container {
  Kind kind = Kind::other;
  int depth = 0;           // of MAP and FPG files: 8, 16 or 32
  bool old_layout = false; // texts of 32 bytes; 8 bits only
  bool compressed = false, enciphered = false;
  bool key_fits = true; // false if enciphered and the key is missing or wrong
};

// Throws ToolError if the file doesn't exist or can't be read.
Container examine(orbhost::Files &files, const std::string &path, const Common &common);

// Throws ToolError if examine() found the key missing or wrong.
void check_key(const Container &container, const std::string &path, const Common &common);

// The uncompressed size of a MAP or FPG file in bytes, without its markers and its magic.
std::uint64_t content_size(orbhost::Files &files, const std::string &path,
                           const Container &container);

} // namespace orbgfx
