#include "host/player/game.h"

#include "host/player/archive.h"
#include "host/player/options.h"

#include <filesystem>
#include <vector>

namespace orbplay {
namespace {

namespace fs = std::filesystem;

constexpr const char *main_script = "main.lua";

bool has_main(const fs::path &folder) {
  std::error_code ignored;
  return fs::is_regular_file(folder / main_script, ignored);
}

Game game_of(const fs::path &script) {
  std::error_code ignored;
  Game game;
  game.script = script.string();
  game.folder = script.has_parent_path() ? script.parent_path().string() : ".";
  game.name = script.stem().string();
  if (script.filename() == main_script) // whichever way the folder was named
    game.name = fs::weakly_canonical(game.folder, ignored).filename().string();
  return game;
}

// The game's own folder in an archive: all of it, or the one folder with a main.lua.
fs::path find_folder(const fs::path &unpacked, const std::string &archive) {
  if (has_main(unpacked)) return unpacked;
  std::vector<fs::path> folders;
  for (const fs::directory_entry &entry : fs::directory_iterator(unpacked))
    if (has_main(entry.path())) folders.push_back(entry.path());
  if (folders.empty())
    throw PlayError(exit_not_found,
                    archive + ": there is no main.lua in it, which play begins with");
  if (folders.size() > 1)
    throw PlayError(exit_script, archive + ": several folders in it have a main.lua; which one is "
                                           "the game?");
  return folders[0];
}

Game open_archive(const std::string &archive) {
  auto folder = std::make_unique<orbhost::TemporaryFolder>();
  // In a folder of its own: scripts look for modules in a folder beside theirs.
  const fs::path inside = fs::path(folder->path()) / "game";
  fs::create_directory(inside);
  unpack(archive, inside.string());
  const fs::path found = find_folder(inside, archive);
  Game game = game_of(found / main_script);
  if (found == inside) game.name = fs::path(archive).stem().string();
  game.unpacked = std::move(folder);
  return game;
}

} // namespace

Game open_game(const std::string &path) {
  std::error_code ignored;
  if (fs::is_directory(path, ignored)) {
    if (has_main(path)) return game_of(fs::path(path) / main_script);
    throw PlayError(exit_not_found, path + ": there is no main.lua in this folder; name a script, "
                                           "or begin a game with --new");
  }
  if (!fs::is_regular_file(path, ignored))
    throw PlayError(exit_not_found, path + ": no such script or game");
  return is_archive(path) ? open_archive(path) : game_of(path);
}

} // namespace orbplay
