#include "host/save_folder.h"

#include "host/host.h"

#include <cstdlib>
#include <filesystem>
#include <utility>

namespace orbhost {
namespace {

namespace fs = std::filesystem;

fs::path data_folder() {
  const char *const data = std::getenv("XDG_DATA_HOME");
  if (data && *data == '/') return data;
  const char *const home = std::getenv("HOME");
  if (home && *home == '/') return fs::path(home) / ".local/share";
  throw HostError("save_folder: there is no home folder; HOME or XDG_DATA_HOME must name one");
}

} // namespace

SaveFolder::SaveFolder(std::string game, bool temporary)
    : game_(std::move(game)), temporary_(temporary) {
  // What leads out of the folder of all games is nobody's name.
  if (game_.empty() || game_ == "." || game_ == ".." || game_.find('/') != std::string::npos)
    game_ = "game";
}

std::string SaveFolder::path() {
  if (temporary_) {
    if (!made_) made_.emplace();
    return made_->path();
  }
  const fs::path folder = data_folder() / "orb" / game_;
  std::error_code error;
  fs::create_directories(folder, error);
  if (error)
    throw HostError("save_folder: " + folder.string() + " can't be made: " + error.message());
  return folder.string();
}

} // namespace orbhost
