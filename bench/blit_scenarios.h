// The blit scenarios that are measured and compared.
#pragma once

#include <vector>

#include "scenario.h"

namespace orbbench {

/// Every operation at its depths and sizes.
std::vector<scenario> all_blit_scenarios();

} // namespace orbbench
