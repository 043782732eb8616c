// Finds the graphics module, and what comes with it.
#pragma once

#include <initializer_list>
#include <string>

namespace orbhost {

// The module's path for a program started as `program` (argv[0]): in ../lib beside it, or else the
// bare name, which the loader looks up in its own folders.
std::string find_module(const char *program);

// The absolute path of a file or folder that is installed with the module, or made in the tree that it
// is built in: the first of some relative paths that exists in one of the folders above the module,
// from the nearest up. Empty: there is none.
std::string find_above_module(const char *program, std::initializer_list<const char *> paths);

} // namespace orbhost
