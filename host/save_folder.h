// The folder in which a game keeps what it saves.
#pragma once

#include "host/temporary_folder.h"

#include <optional>
#include <string>

namespace orbhost {

class SaveFolder {
public:
  // Of the game with that name. A temporary one begins empty and goes with this object.
  SaveFolder(std::string game, bool temporary);

  // The absolute path of the folder, which is made when it isn't there:
  // $XDG_DATA_HOME/orb/GAME, by default ~/.local/share/orb/GAME. Throws HostError.
  std::string path();

private:
  std::string game_;
  bool temporary_;
  std::optional<TemporaryFolder> made_; // the temporary one
};

} // namespace orbhost
