// Where benchmarks write files.
#pragma once

#include <string>

namespace orbbench {

/// A folder that goes when the program ends; throws when it can't be made.
const std::string &scratch_folder();

} // namespace orbbench
