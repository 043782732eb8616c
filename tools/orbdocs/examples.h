// Plays the reference's examples.
#pragma once

#include "host/reference.h"

#include <filesystem>
#include <string>
#include <vector>

namespace orbdocs {

// An example with the name of its files: map_put, or map_put_2 for an entry's second one.
struct Example {
  std::string name;
  const std::string *text;
  std::size_t line; // of the entry
};

// Those of a family's introduction and of its entries, in their order.
std::vector<Example> examples_of(const orbhost::ReferenceFamily &family);

// Plays an example without a window, under strict rules, for at most two seconds of the script's
// time; leaves it as FOLDER/NAME.lua and its last picture as FOLDER/NAME.png. The folder `assets`
// is found beside them. Returns what went wrong; empty: nothing.
std::string play_example(const Example &example, const std::string &module,
                         const std::filesystem::path &folder);

} // namespace orbdocs
