// What a file is, with the failures of a tool.
#pragma once

#include "host/container.h"
#include "tools/orbgfx/tool.h"

#include <string>

namespace orbgfx {

using orbhost::Container;
using Kind = orbhost::FileKind;

// Throws ToolError if the file doesn't exist or can't be read.
Container examine(orbhost::Files &files, const std::string &path, const Common &common);

// Throws ToolError if examine() found the key missing or wrong.
void check_key(const Container &container, const std::string &path, const Common &common);

} // namespace orbgfx
