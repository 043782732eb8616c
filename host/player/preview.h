// A picture of a game, taken from a play of its first two seconds.
#pragma once

#include "host/player/options.h"

#include <string>

namespace orbplay {

// Plays a packed game headless, in a process of its own with what it prints thrown away, and saves
// its 120th frame, or its last one before that, as a PNG file. The module is the settings'. Returns an
// empty text, or why there is no picture: nothing that a game does ends this program.
std::string take_preview(const std::string &zip, const Settings &settings, const std::string &png);

} // namespace orbplay
