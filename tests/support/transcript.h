// Transcripts: text files that say what happens in the module, line by line, for people to read and
// tests to play. docs/testing.md describes their lines.
#pragma once

#include <cstdint>
#include <filesystem>
#include <string>
#include <vector>

#include "support/world.h"

/// Registers every case of the transcripts in a folder as a test, named after file, case and depth.
void register_transcripts(const std::filesystem::path &folder);

/// What each line of one case shows in a host that has been changed, line by line; nothing is compared.
std::vector<std::string> trace_of(const std::filesystem::path &file, const std::string &title,
                                  int32_t depth, const host_change &change);
