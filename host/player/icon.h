// The picture of a game's window.
#pragma once

#include <string>

namespace orbplay {

// Gives the window that SDL opens next the picture `icon.png` of that folder, or else the player's
// own.
void set_icon(const std::string &folder);

} // namespace orbplay
