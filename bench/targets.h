// What the rows of the tables must reach.
#pragma once

#include <string>

namespace orbbench {

/// A target is a ratio within one run, so that it says the same on every machine: our rate over
/// that of the best peer.
struct target {
  double ratio = 0;                   // 0: none stated
  const char *beyond_reach = nullptr; // the makers of CPUs on which it can't be reached, "AMD"
};

/// The target of "subject/row", with AVX2.
target target_of(const std::string &row);

} // namespace orbbench
