// Finds the graphics module.
#pragma once

#include <string>

namespace orbhost {

// The module's path for a program started as `program` (argv[0]): in ../lib beside it, or else the
// bare name, which the loader looks up in its own folders.
std::string find_module(const char *program);

} // namespace orbhost
