// Random scripts: bytes that become script calls, frames, processes and mode changes.
//
// A script is played from beginning to end by a host of its own, so that the same bytes do the same
// everywhere: in the fuzz target and in the tests, which replay what the target has found.
#pragma once

#include <cstdint>
#include <span>
#include <string>

namespace fuzz {

struct played {
  /// What went wrong, the script ending there: the module reported a fatal condition (other than
  /// for a display that couldn't be had), didn't fetch what it was given, left a stream open, or
  /// miscounted what it holds. Empty when nothing did.
  std::string mistake;
  /// A sum over all results and pictures: the same for the same script, whatever is in memory that
  /// nobody has written.
  uint32_t checksum;
};

/// Whether calls and frames are told on stderr, each with the sum so far.
extern bool tells_steps;

/// Plays one script in a module that is brought up for it and taken down after it.
played play_script(std::span<const uint8_t> script);

} // namespace fuzz
