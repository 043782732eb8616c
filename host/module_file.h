// Where programs find the graphics module.
#pragma once

#include <string>

namespace orbhost {

// The module's file for a program started as `program` (argv[0]): beside it in ../lib, or its bare
// name, for which the loader looks in its own folders.
std::string find_module(const char *program);

} // namespace orbhost
