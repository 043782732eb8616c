#include "host/player/new_game.h"

#include "host/module_file.h"
#include "host/output_file.h"
#include "host/player/options.h"
#include "host/player/embedded_files.h"

#include <cstdio>
#include <cstring>
#include <filesystem>
#include <span>

namespace orbplay {
namespace {

namespace fs = std::filesystem;

// Where the editor's types are installed or, in a tree, made. As a text of JSON; empty if they aren't
// there.
std::string types_folder(const std::string &program) {
  const fs::path types = orbhost::find_above_module(
      program.c_str(), {"share/orb/types/orb.lua", "docs/types/orb.lua"});
  if (types.empty()) return {};
  std::string text = "\"";
  for (const char c : types.parent_path().string())
    text += c == '"' || c == '\\' ? std::string{'\\', c} : std::string{c};
  return text + '"';
}

void fill_in(std::string &text, std::string_view place, const std::string &with) {
  for (std::size_t at = 0; (at = text.find(place, at)) != text.npos; at += with.size())
    text.replace(at, place.size(), with);
}

} // namespace

void make_new_game(const std::string &folder, const std::string &program) {
  std::error_code error;
  if (fs::exists(fs::symlink_status(folder, error)) && !fs::is_empty(folder, error))
    throw PlayError(exit_usage, folder + ": is there already, and isn't empty; name a new folder");
  fs::create_directories(folder, error);
  if (error) throw PlayError(exit_script, folder + ": can't be made: " + error.message());
  const fs::path place = fs::canonical(folder);
  const std::string types = types_folder(program);
  for (const TemplateFile &file : std::span(template_files, template_file_count)) {
    const fs::path path = place / file.name;
    std::string text(file.bytes);
    if (path.extension() != ".png") {
      fill_in(text, "@NAME@", place.filename().string());
      fill_in(text, "@TYPES@", types);
    }
    fs::create_directories(path.parent_path(), error); // or saving fails
    if (const int reason = orbhost::save_file(path.string(), text.data(), text.size()))
      throw PlayError(exit_script, path.string() + ": can't be written: " + std::strerror(reason));
  }
  std::printf("%s is a game now. To play it: orbplay %s\n", folder.c_str(), folder.c_str());
}

} // namespace orbplay
