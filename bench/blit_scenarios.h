// The blit scenarios that are measured, and whether all contenders draw the same in them.
#pragma once

#include <map>
#include <string>
#include <vector>

#include "scenario.h"

namespace orbbench {

/// Every operation at its depths, sizes and sprites. A sparse sprite isn't sampled: from places
/// that lie half a pixel apart it gives two different pictures.
std::vector<scenario> all_blit_scenarios();

/// Draws a scenario once with every contender that can, on a target of a handier size, and compares
/// the pictures with ours: who draws something else, and how it differs.
std::map<std::string, std::string> picture_differences(scenario s);

} // namespace orbbench
