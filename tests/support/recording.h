// Recorded sums: `./orb test --record` writes the sums of the present pictures over the recorded
// ones. Recording goes with nothing else into a commit, after a look at the pictures.
#pragma once

#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <string>

/// Whether this run records.
bool recording();

uint32_t sum_of(const void *bytes, size_t size);

/// Replaces what stands after the arrow in a line (counted from 1) of a file, and says so.
void record_outcome(const std::filesystem::path &file, int line, const std::string &outcome);
