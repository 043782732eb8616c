// Games as files to give away.
#pragma once

#include <string>

namespace orbplay {

// Packs a game's folder NAME into NAME.zip, which this player plays, and, together with the player,
// into NAME-linux.tar.xz; both beside the folder. The second is made if this player runs from a
// portable folder, which is found from `program`, argv[0].
//
// All files are packed but hidden ones and those that no game needs, such as an editor's backups.
// Says what was made and left out, and warns of files that scripts name and that aren't packed. The
// same folder gives the same bytes. Throws PlayError, of files that no player could unpack too.
void pack_game(const std::string &folder, const std::string &program);

} // namespace orbplay
