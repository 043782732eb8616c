// Games as files to give away.
#pragma once

#include <cstdint>
#include <filesystem>
#include <map>
#include <string>

namespace orbplay {

// A game's folder, looked through to be packed.
struct PackedGame {
  std::string name;                         // the folder's
  std::filesystem::path folder;             // canonical; what is packed is put beside it
  std::map<std::string, std::string> files; // paths by their names in an archive, which begin NAME/
};

// Looks through a game's folder. All files are packed but hidden ones and those that no game needs,
// such as an editor's backups. Says what is left out, and warns of files that scripts name and that
// aren't packed. Throws PlayError.
PackedGame look_through(const std::string &folder);

// How much there is, in words: "12 KB".
std::string size_in_words(std::uintmax_t bytes);

// Packs a game's folder NAME into NAME.zip, which this player plays, and, together with the player,
// into NAME-linux.tar.xz; both beside the folder. The second is made if this player runs from a
// portable folder, which is found from `program`, argv[0].
//
// Says what was made. The same folder gives the same bytes. Throws PlayError, of files that no player
// could unpack too.
void pack_game(const std::string &folder, const std::string &program);

} // namespace orbplay
