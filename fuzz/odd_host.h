// A host whose replies are given as bytes: pointers that are null, texts that aren't there, streams
// that lie, processes and places that no host should have, calls in the middle of others.
#pragma once

#include <cstdint>
#include <span>
#include <string>

namespace fuzz {

/// Runs the module in such a host, from init to release. The first half of the input, from its
/// beginning, is what the program does; the second half, from its end, what the host replies. Where
/// there are no more bytes, replies are honest. What the module did wrong, or nothing: it used a
/// stream that isn't open or left one open, didn't stop reading from one that has ended, handed
/// over a null text, reported a fatal condition, or kept something after release.
std::string play_odd_host(std::span<const uint8_t> input);

} // namespace fuzz
