// What the figures were measured on.
#pragma once

#include <string>

namespace orbbench {

/// "AMD", "Intel", or as the CPU says.
std::string cpu_maker();
/// Its name, the threads that may run, and those of its instruction sets that somebody here uses.
std::string cpu_description();

} // namespace orbbench
