// A host that takes its replies from bytes: null pointers, missing texts, streams that lie, invalid
// processes and positions, calls in the middle of others.
#pragma once

#include <cstdint>
#include <span>
#include <string>

namespace fuzz {

/// Runs the module in such a host, from init to release. The first half of the input, read forward,
/// chooses the program's actions; the second half, read backward, the host's replies, which are
/// honest after its last byte. Returns what the module did wrong, or an empty text: it used a
/// stream that isn't open, left one open, kept reading one that has ended, passed a null text,
/// reported a fatal condition, or kept something after release.
std::string play_odd_host(std::span<const uint8_t> input);

} // namespace fuzz
