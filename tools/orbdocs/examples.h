// Plays the reference's examples.
#pragma once

#include "host/reference.h"

#include <filesystem>
#include <string>
#include <vector>

namespace orbdocs {

// The name of an entry's example: map_put, map_put_2 for its second one.
std::string example_name(const orbhost::ReferenceEntry &entry, std::size_t number);

// Plays the entry's examples without a window, under strict rules, for at most two seconds of the
// script's time; leaves each as FOLDER/NAME.lua and its last picture as FOLDER/NAME.png. The folder
// `assets` is found beside them. Returns what went wrong, a line each.
std::vector<std::string> play_examples(const orbhost::ReferenceFamily &family,
                                       const orbhost::ReferenceEntry &entry,
                                       const std::string &module,
                                       const std::filesystem::path &folder);

} // namespace orbdocs
