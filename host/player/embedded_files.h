// Files that are part of the program; CMakeLists.txt makes them so.
#pragma once

#include <cstddef>
#include <string_view>

namespace orbplay {

// share/orb.png
extern const std::string_view own_icon;

// One of a new game.
struct TemplateFile {
  std::string_view name; // in the game's folder
  std::string_view bytes;
};

extern const TemplateFile template_files[];
extern const std::size_t template_file_count;

} // namespace orbplay
