// Random scripts: bytes that become script calls, frames, processes and mode changes.
//
// Every script is played in a host of its own, so that the same bytes do the same everywhere: in
// the fuzz target and in the tests, which replay what the target has found.
#pragma once

#include <cstdint>
#include <span>
#include <string>

namespace fuzz {

struct played {
  /// The mistake that ended the script, or empty: the module reported a fatal condition (other than
  /// a display that can't be opened), didn't fetch its arguments, left a stream open, or miscounted
  /// what it holds.
  std::string mistake;
  /// A checksum over all results and pictures: the same for the same script, whatever uninitialised
  /// memory contains.
  uint32_t checksum;
};

/// Whether calls and frames are printed on stderr, each with the checksum so far.
extern bool trace_steps;

/// Plays one script in a module that is initialised for it and released after it.
played play_script(std::span<const uint8_t> script);

} // namespace fuzz
