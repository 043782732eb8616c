// A small module for the host's own tests: it registers a few functions of every kind and records
// the calls it gets, so that the host is tested without the real module.
#pragma once

#include "orb/graphics2d.h"

#include <cstdint>
#include <string>
#include <vector>

namespace fake {

std::int32_t entry(const orb_registration *registration);

struct State {
  orb_runtime *runtime = nullptr;
  int inits = 0, frames = 0, releases = 0;
  // Ids drawn in the last frame hook (status 2 or above 3), in list order.
  std::vector<std::int32_t> drawn;
  std::string last_text;
  std::vector<std::int32_t> last_array;
  orb_process *caller = nullptr; // proc_current in the last script call
};
State &state();
void reset();

} // namespace fake
