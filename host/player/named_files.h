// The files that a script's text names.
//
// Only the text is looked at: names that are put together as the script runs aren't seen, and a
// name may be that of a file that the script writes. So what is found is good for hints.
#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace orbplay {

struct NamedFile {
  enum Kind {
    whole,
    beginning, // something is joined to it
    module     // for `require`: dots part folders, and no .lua is at the end
  };
  int line; // in the script; counts from 1
  std::string name;
  Kind kind;
};

// The strings of a Lua text, as they come. Those that are joined to what is before them, or have
// escapes for other characters than quotes and backslashes, are left out.
std::vector<NamedFile> strings_of(std::string_view lua);

// Whether a name is that of a file that games come with, by the ending.
bool is_game_file(std::string_view name);

} // namespace orbplay
