// The module's state as text, line by line, so that two worlds can be compared.
#pragma once

#include <filesystem>
#include <string>

/// Counters, libraries and graphs, regions, draws, requests, palette, fades, mode, display, pixels,
/// and the files in a folder.
std::string digest_of(const std::filesystem::path &folder);

/// The lines in which two digests differ.
std::string difference(const std::string &expected, const std::string &found);
