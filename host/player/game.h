// A game as it lies on the disk: a script, a folder with a main.lua, or a zip file of one.
#pragma once

#include "host/temporary_folder.h"

#include <memory>
#include <string>

namespace orbplay {

struct Game {
  std::string script; // the path of what is played
  std::string folder; // the script's; "." without one
  std::string name;   // the folder's if the script is main.lua, else the script's or zip file's
  std::unique_ptr<orbhost::TemporaryFolder> unpacked; // of a zip file; goes with the game
};

// The game at a path. Throws PlayError.
Game open_game(const std::string &path);

} // namespace orbplay
