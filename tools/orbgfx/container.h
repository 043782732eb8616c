// What kind of file it is, from its first bytes: enough to choose a depth and to say what is wrong.
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
  bool key_fits = true; // false when enciphered, and there is no key or another one
};

// Throws ToolError when the file isn't there or can't be read.
Container examine(orbhost::Files &files, const std::string &path, const Common &common);

// Throws ToolError where examine() found the key missing or wrong.
void check_key(const Container &container, const std::string &path, const Common &common);

// The bytes of a MAP or FPG file, uncompressed, behind its markers and its magic.
std::uint64_t content_size(orbhost::Files &files, const std::string &path,
                           const Container &container);

} // namespace orbgfx
