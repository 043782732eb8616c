// The module brought up in a headless host, once for all benchmarks: only one host can be active.
#pragma once

#include "host/host.h"

namespace orbbench {

inline constexpr int host_width = 640, host_height = 480;

/// The host with a window of 640x480 at a depth; sets the mode when the depth is another.
orbhost::Host &host_at_depth(int depth);

/// A script function's form, "collision(I,I)"; throws HostError when there is none.
const orbhost::Function &function_form(const orbhost::Host &host, const std::string &signature);

/// The palette index that the module takes for two at half opacity, at 8 bits.
uint8_t ghost_mix(uint8_t sprite, uint8_t background);

} // namespace orbbench
