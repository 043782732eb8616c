// Transcripts: text files that say what happens in the module, line by line, for people to read and
// tests to play. docs/testing.md describes their lines.
#pragma once

#include <filesystem>

/// Registers every case of the transcripts in a folder as a test, named after file, case and depth.
void register_transcripts(const std::filesystem::path &folder);
