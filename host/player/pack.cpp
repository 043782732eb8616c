#include "host/player/pack.h"

#include "host/module_file.h"
#include "host/player/archive.h"
#include "host/player/game.h"
#include "host/player/named_files.h"
#include "host/player/options.h"
#include "host/temporary_folder.h"

#include <fnmatch.h>
#include <spawn.h>
#include <sys/wait.h>

#include <algorithm>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <map>
#include <set>
#include <vector>

namespace orbplay {
namespace {

namespace fs = std::filesystem;

// Names of what no game needs: an editor's backups, what compilers and desktops leave behind,
// moving pictures of play (the module doesn't read GIF files), packed games.
constexpr const char *leftovers[] = {"*~",        "#*#",         "*.bak", "*.orig", "*.rej",
                                     "*.tmp",     "*.o",         "*.pyc", "*.gif",  "__pycache__",
                                     "Thumbs.db", "desktop.ini", "*.zip", "*.orb",  "*.tar.xz"};

// What the paths of a folder's files begin with is cut off: names have slashes on any system.
struct Folder {
  fs::path path;                         // canonical
  std::map<std::string, fs::path> files; // to be packed, by their names
  std::map<std::string, fs::path> left;  // not needed, unless a script names them
  std::vector<std::string> left_folders; // likewise, and hidden ones
};

// Recordings and sums of play begin so.
bool is_of_play(const fs::path &file) {
  std::string start(18, '\0');
  std::ifstream(file, std::ios::binary).read(start.data(), 18);
  return start.starts_with("orbplay recording ") || start.starts_with("orbplay hashes ");
}

bool is_leftover(const std::string &name) {
  return name.starts_with('.') || std::ranges::any_of(leftovers, [&](const char *pattern) {
           return fnmatch(pattern, name.c_str(), 0) == 0;
         });
}

void warn(const std::string &text) {
  std::fprintf(stderr, "orbplay: %s\n", text.c_str());
}

// Links are followed: what they lead to is packed.
Folder look_at(const fs::path &path) {
  Folder folder{path, {}, {}, {}};
  std::error_code error;
  fs::recursive_directory_iterator entry(path, fs::directory_options::follow_directory_symlink,
                                         error);
  for (; !error && entry != fs::recursive_directory_iterator(); entry.increment(error)) {
    std::error_code ignored;
    const std::string name = entry->path().lexically_relative(path).generic_string();
    const bool leftover = is_leftover(entry->path().filename().string());
    if (entry->is_directory(ignored)) {
      if (leftover) {
        folder.left_folders.push_back(name + "/");
        entry.disable_recursion_pending();
      } else if (const char *problem = name_problem(name)) { // a link that leads back ends here
        throw PlayError(exit_script, entry->path().string() + ": " + problem);
      }
    } else if (!entry->is_regular_file(ignored)) {
      warn(name + ": is no file, or a link that leads nowhere; it isn't packed");
    } else {
      (leftover || is_of_play(entry->path()) ? folder.left : folder.files)[name] = entry->path();
    }
  }
  if (error) throw PlayError(exit_script, path.string() + ": can't be read: " + error.message());
  return folder;
}

std::string text_of(const fs::path &file) {
  std::ifstream in(file, std::ios::binary);
  return {std::istreambuf_iterator<char>(in), {}};
}

// What follows from a name in a script: nothing, a file that is packed after all, or a warning.
std::string check_name(Folder &folder, const NamedFile &named) {
  const bool module = named.kind == NamedFile::module;
  std::string text = named.name;
  if (module) {
    std::ranges::replace(text, '.', '/');
    text += ".lua";
  }
  const fs::path path = (folder.path / text).lexically_normal();
  const std::string name = path.lexically_relative(folder.path).generic_string();
  const bool upwards = (name + "/").starts_with("../");
  const bool outside = upwards || fs::path(text).is_absolute();
  if (!outside && folder.files.contains(name)) return {};
  if (const auto file = folder.left.find(name);
      file != folder.left.end() && !path.filename().native().starts_with('.')) {
    folder.files.insert(folder.left.extract(file));
    return {};
  }
  if (named.kind == NamedFile::beginning ? !upwards : !module && !is_game_file(text)) return {};
  std::error_code ignored;
  if (outside)
    return named.name + " is outside of the game's folder and isn't packed; copy what is needed "
                        "into the folder, and change the name here";
  if (module && !fs::exists(path, ignored) && fs::exists(folder.path / "../lib" / text, ignored))
    return "the module " + named.name + " is in ../lib and isn't packed; copy it into the folder";
  if (fs::exists(path, ignored)) return named.name + " is hidden and isn't packed; rename it";
  return (module ? "the module " : "") + named.name + " isn't in the game's folder";
}

void check_scripts(Folder &folder) {
  std::map<std::string, fs::path> scripts;
  for (const auto &file : folder.files)
    if (file.first.ends_with(".lua")) scripts.insert(file);
  std::set<std::string> told;
  for (const auto &[script, path] : scripts) {
    for (const NamedFile &named : strings_of(text_of(path))) {
      const std::string problem = check_name(folder, named);
      if (!problem.empty() && told.insert(problem).second)
        warn(script + ":" + std::to_string(named.line) + ": " + problem);
    }
  }
}

void tell_what_is_left_out(const Folder &folder) {
  std::vector<std::string> names = folder.left_folders;
  for (const auto &file : folder.left)
    names.push_back(file.first);
  std::ranges::sort(names);
  constexpr std::size_t most = 10;
  std::string text;
  for (std::size_t i = 0; i < std::min(names.size(), most); ++i)
    text += (i == 0 ? "" : ", ") + names[i];
  if (names.size() > most) text += " and " + std::to_string(names.size() - most) + " more";
  if (!names.empty()) std::printf("Left out: %s\n", text.c_str());
}

std::string size_of(const fs::path &file) {
  return size_in_words(fs::file_size(file));
}

// What packs the player, in the portable folder that this one runs from. Empty: there is none.
fs::path find_packer(const std::string &program) {
  std::error_code ignored;
  const fs::path module = fs::absolute(orbhost::find_module(program.c_str()), ignored);
  const fs::path packer = module.parent_path() / "orb/pack_game";
  return fs::exists(packer, ignored) ? packer : fs::path();
}

// Whether a script of the shell ends well.
bool run(const std::vector<std::string> &command) {
  std::vector<char *> arguments;
  for (const std::string &argument : command)
    arguments.push_back(const_cast<char *>(argument.c_str()));
  arguments.push_back(nullptr);
  pid_t child = 0;
  int status = 0;
  if (posix_spawn(&child, arguments[0], nullptr, nullptr, arguments.data(), environ) != 0)
    return false;
  return waitpid(child, &status, 0) == child && WIFEXITED(status) && WEXITSTATUS(status) == 0;
}

// NAME-linux.tar.xz, from what is unpacked from the zip file.
void add_player(const fs::path &packer, const std::string &name, const std::string &zip,
                const std::string &archive) {
  const orbhost::TemporaryFolder work;
  const fs::path top = fs::path(work.path()) / name;
  const fs::path game = top / (name + "-files") / "game";
  fs::create_directories(game);
  unpack(zip, game.string());
  if (!run({"/bin/sh", packer.string(), top.string(), archive}))
    throw PlayError(exit_script, archive + ": can't be made: see above");
  std::printf("%s: %s, for any Linux: unpack it and start %s/%s\n", archive.c_str(),
              size_of(archive).c_str(), name.c_str(), name.c_str());
}

} // namespace

PackedGame look_through(const std::string &path) {
  std::error_code ignored;
  if (fs::exists(path, ignored) && !fs::is_directory(path, ignored))
    throw PlayError(exit_usage, path + ": is no folder; name the folder of a game with a main.lua");
  const Game game = open_game(path);
  Folder folder = look_at(fs::canonical(game.folder));
  check_scripts(folder);
  tell_what_is_left_out(folder);
  // In a folder NAME: the game keeps its name whatever the archive's becomes.
  PackedGame packed{game.name, folder.path, {}};
  for (const auto &[file, from] : folder.files)
    packed.files.emplace(game.name + "/" + file, from.string());
  return packed;
}

std::string size_in_words(std::uintmax_t bytes) {
  char text[32];
  if (bytes < 1'000'000)
    std::snprintf(text, sizeof text, "%ju KB", (bytes + 999) / 1000);
  else
    std::snprintf(text, sizeof text, "%.1f MB", static_cast<double>(bytes) / 1e6);
  return text;
}

void pack_game(const std::string &path, const std::string &program) {
  const PackedGame game = look_through(path);
  const fs::path beside = game.folder.parent_path();
  const std::string zip = (beside / (game.name + ".zip")).string();
  pack(game.files, zip);
  std::printf("%s: %zu file%s, %s, for all who have orbplay\n", zip.c_str(), game.files.size(),
              game.files.size() == 1 ? "" : "s", size_of(zip).c_str());
  if (const fs::path packer = find_packer(program); !packer.empty())
    add_player(packer, game.name, zip, (beside / (game.name + "-linux.tar.xz")).string());
  else
    warn("to have " + game.name +
         "-linux.tar.xz too, with the player in it, pack with the orbplay of the "
         "portable folder");
}

} // namespace orbplay
