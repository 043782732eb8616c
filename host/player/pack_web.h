// Games as pages.
#pragma once

#include "host/player/options.h"

namespace orbplay {

// Packs the game in the folder `settings.pack`, NAME, as pages that play it in a browser, both beside
// it: a folder NAME-web for a web server, and NAME.html, a single file, unless it were too large to be
// opened. The player in them is that of the portable folder, of an installation or of the tree.
//
// Says what was made. What this function has made before is replaced; nothing else is, and other
// files in NAME-web stay. Throws PlayError.
void pack_for_web(const Settings &settings);

} // namespace orbplay
