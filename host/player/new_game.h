// A small game to begin with.
#pragma once

#include <string>

namespace orbplay {

// Makes a folder with a game that plays, and says what to do next. `program` is argv[0], from which
// the editor's types are found. Throws PlayError if the folder holds anything already or can't be
// made.
void make_new_game(const std::string &folder, const std::string &program);

} // namespace orbplay
