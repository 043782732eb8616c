// Holds the reference against the module and the player.
#pragma once

#include "host/reference.h"

#include <string>
#include <vector>

namespace orbdocs {

// What is missing from the reference, or wrong in it: lines that begin with "graphs.md:12: ".
// `module` is the module's file. Throws orbhost::HostError where that can't be loaded.
std::vector<std::string> check_reference(const orbhost::Reference &reference,
                                         const std::string &module);

} // namespace orbdocs
