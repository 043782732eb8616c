// The site: static pages that work from a folder.
#pragma once

#include "host/reference.h"

#include <filesystem>
#include <string>
#include <vector>

namespace orbdocs {

// Writes the pages of the project at `root` to `out`, which has the examples' scripts and pictures
// in its folder `made` (play_examples). `play`: the folder of the player for pages, which comes along
// as out/play, so that the examples are played and changed on their pages; empty: pictures only.
// Returns what is wrong with the texts: links that lead nowhere, pictures that aren't there, pages
// that are too large; a line each.
std::vector<std::string> make_site(const orbhost::Reference &reference,
                                   const std::filesystem::path &root,
                                   const std::filesystem::path &out,
                                   const std::filesystem::path &play);

} // namespace orbdocs
