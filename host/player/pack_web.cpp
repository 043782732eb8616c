#include "host/player/pack_web.h"

#include "host/html.h"
#include "host/module_file.h"
#include "host/output_file.h"
#include "host/player/archive.h"
#include "host/player/embedded_files.h"
#include "host/player/pack.h"
#include "host/player/preview.h"
#include "host/temporary_folder.h"

#include <png.h>
#include <sodium.h>

#include <algorithm>
#include <cctype>
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <map>
#include <string_view>

namespace orbplay {
namespace {

namespace fs = std::filesystem;

// Browsers read the single file as a whole, and keep it as text and as bytes.
constexpr std::uintmax_t most_bytes_in_a_page = 64'000'000;

// What the template has, and thereby all pages that are made of it.
constexpr std::string_view mark = "name=\"generator\" content=\"orbplay\"";

// The files of the player for pages that a server has to have.
constexpr const char *player_files[] = {"orb.js", "orb.wasm", "player.js", "player.css",
                                        "licences.txt"};

using Texts = std::map<std::string, std::string, std::less<>>; // by the names of their places

void warn(const std::string &text) {
  std::fprintf(stderr, "orbplay: %s\n", text.c_str());
}

// ---- Files -------------------------------------------------------------------------------------

fs::path find_player(const std::string &program) {
  const std::string page = orbhost::find_above_module(
      program.c_str(), {"share/orb/web/packed.html", "build/wasm/play/packed.html"});
  if (page.empty())
    throw PlayError(
        exit_not_found,
        "the player for pages isn't here: the portable folder has it, and in the source "
        "tree ./orb web makes it");
  return fs::path(page).parent_path();
}

std::string read(const fs::path &file) {
  std::ifstream in(file, std::ios::binary);
  std::string bytes{std::istreambuf_iterator<char>(in), {}};
  if (!in.is_open() || in.bad()) throw PlayError(exit_script, file.string() + ": can't be read");
  return bytes;
}

void save(const fs::path &file, std::string_view bytes) {
  if (const int reason = orbhost::save_file(file.string(), bytes.data(), bytes.size()))
    throw PlayError(exit_script, file.string() + ": can't be written: " + std::strerror(reason));
}

bool is_page_of_ours(const fs::path &file) {
  std::error_code ignored;
  if (!fs::is_regular_file(file, ignored)) return false;
  std::string start(4096, '\0');
  std::ifstream(file, std::ios::binary).read(start.data(), 4096);
  return start.find(mark) != start.npos;
}

// Throws if what is to be replaced there isn't `page`, made by an earlier packing.
void check_place(const fs::path &place, const fs::path &page) {
  std::error_code ignored;
  const bool nothing = fs::is_directory(place, ignored)
                           ? fs::is_empty(place, ignored)
                           : !fs::exists(fs::symlink_status(place, ignored));
  if (!nothing && !is_page_of_ours(page))
    throw PlayError(exit_script, place.string() + ": is there already, and isn't from --pack; "
                                                  "rename or remove it");
}

bool is_png(const fs::path &file) {
  png_image image{};
  image.version = PNG_IMAGE_VERSION;
  const bool begun = png_image_begin_read_from_file(&image, file.c_str()) != 0;
  png_image_free(&image);
  return begun;
}

// A picture in the game's folder; empty if there is none that browsers could show.
std::string own_picture(const PackedGame &game, const char *name) {
  const auto file = game.files.find(game.name + "/" + name);
  if (file == game.files.end()) return {};
  if (is_png(file->second)) return read(file->second);
  warn(std::string(name) + ": is no PNG file; it isn't used");
  return {};
}

// The picture that links are shown with: the game's own, one of a play, or the icon.
std::string preview_of(const PackedGame &game, const fs::path &zip, const Settings &settings,
                       const std::string &icon) {
  if (std::string own = own_picture(game, "preview.png"); !own.empty()) return own;
  const fs::path png = zip.parent_path() / "preview.png";
  const std::string problem = take_preview(zip.string(), settings, png.string());
  if (problem.empty()) return read(png);
  warn("there is no picture of the game, since " + problem +
       "; a preview.png in its folder takes that place");
  return icon;
}

// ---- Texts -------------------------------------------------------------------------------------

bool is_of_word(char c) {
  return std::isalnum(static_cast<unsigned char>(c)) || static_cast<unsigned char>(c) >= 0x80;
}

// The first line with a word in it of the comment that a script begins with.
std::string first_comment(std::string_view lua) {
  constexpr const char *blanks = " \t\r\v\f";
  if (lua.starts_with("\xEF\xBB\xBF")) lua.remove_prefix(3);
  bool in_block = false;
  while (!lua.empty()) {
    std::string_view line = lua.substr(0, lua.find('\n'));
    lua.remove_prefix(std::min(line.size() + 1, lua.size()));
    line.remove_prefix(std::min(line.find_first_not_of(blanks), line.size()));
    if (line.empty() || line.starts_with("#!") || line.starts_with("---@"))
      continue; // or for an editor
    if (!in_block) {
      if (!line.starts_with("--")) return {};
      line.remove_prefix(std::min(line.find_first_not_of('-'), line.size()));
      const std::size_t level = line.find_first_not_of('=', 1);
      in_block = line.starts_with('[') && level != line.npos && line[level] == '[';
      if (in_block) line.remove_prefix(level + 1);
    }
    if (const std::size_t end = std::min(line.find("]]"), line.find("]="));
        in_block && end != line.npos) {
      line = line.substr(0, end);
      in_block = false;
    }
    if (std::ranges::none_of(line, is_of_word)) continue;
    line.remove_prefix(line.find_first_not_of(blanks));
    return std::string(line.substr(0, line.find_last_not_of(blanks) + 1));
  }
  return {};
}

// A string of JavaScript that no tag can end. Names of folders that are packed have no control
// characters.
std::string as_script(std::string_view text) {
  std::string script = "\"";
  for (const char c : text) {
    if (c == '"' || c == '\\') script += '\\';
    script += c == '<' ? std::string("\\x3C") : std::string(1, c);
  }
  return script + '"';
}

std::string replace_all(std::string text, std::string_view part, std::string_view with) {
  for (std::size_t at = 0; (at = text.find(part, at)) != text.npos; at += with.size())
    text.replace(at, part.size(), with);
  return text;
}

// A script, in whose strings nothing can end it or begin a comment of HTML.
std::string inlined_script(std::string text) {
  text = replace_all(std::move(text), "</s", "<\\/s");
  text = replace_all(std::move(text), "</S", "<\\/S");
  return "<script>\n" + replace_all(std::move(text), "<!--", "<\\!--") + "</script>\n";
}

std::string base64(std::string_view bytes) {
  std::string text(sodium_base64_encoded_len(bytes.size(), sodium_base64_VARIANT_ORIGINAL), '\0');
  sodium_bin2base64(text.data(), text.size(), reinterpret_cast<const unsigned char *>(bytes.data()),
                    bytes.size(), sodium_base64_VARIANT_ORIGINAL);
  text.pop_back(); // the zero at its end
  return text;
}

std::string data_address(const char *type, std::string_view bytes) {
  return std::string("data:") + type + ";base64," + base64(bytes);
}

// The template with a text in each place, which is a name in capital letters between two @. What is
// filled in isn't looked at.
std::string filled_in(std::string_view page, const Texts &texts) {
  std::string result;
  while (!page.empty()) {
    const std::size_t at = std::min(page.find('@'), page.size());
    result += page.substr(0, at);
    page.remove_prefix(at);
    const std::size_t end = page.find('@', 1);
    const auto text = end == page.npos ? texts.end() : texts.find(page.substr(1, end - 1));
    const bool found = text != texts.end();
    result += found ? std::string_view(text->second) : page.substr(0, 1);
    page.remove_prefix(found ? end + 1 : std::min<std::size_t>(1, page.size()));
  }
  return result;
}

// ---- Pages -------------------------------------------------------------------------------------

// What is made of a game, and of what.
struct Made {
  fs::path player; // the folder of the player for pages
  fs::path zip;
  std::string picture, icon; // as PNG files
  Texts texts;               // of both pages
};

Texts with(Texts texts, Texts more) {
  texts.merge(more);
  return texts;
}

void make_folder(const Made &made, const fs::path &folder) {
  std::error_code error;
  fs::create_directory(folder, error);
  if (error) throw PlayError(exit_script, folder.string() + ": can't be made: " + error.message());
  // The page comes first: it marks the folder as one that may be written to again.
  Texts files{{"index.html",
               filled_in(read(made.player / "packed.html"),
                         with(made.texts,
                              {{"PREVIEW", "<meta property=\"og:image\" content=\"picture.png\">"},
                               {"ICON", "icon.png"},
                               {"PICTURE", "picture.png"},
                               {"STYLE", "<link rel=\"stylesheet\" href=\"player.css\">"},
                               {"PLAYER", "<script src=\"player.js\"></script>"},
                               {"LICENCES", "See licences.txt."},
                               {"GAME", "'game.zip'"}}))}};
  save(folder / "index.html", files["index.html"]);
  files["picture.png"] = made.picture;
  files["icon.png"] = made.icon;
  files["game.zip"] = read(made.zip);
  for (const char *name : player_files)
    files[name] = read(made.player / name);
  std::uintmax_t bytes = 0;
  for (const auto &[name, text] : files) {
    save(folder / name, text);
    bytes += text.size();
  }
  for (const fs::directory_entry &entry : fs::directory_iterator(folder))
    if (const std::string name = entry.path().filename().string(); !files.contains(name))
      warn(name + " in " + folder.filename().string() + " isn't from --pack; it stays there");
  std::printf("%s: %zu files, %s, for any web server\n", folder.c_str(), files.size(),
              size_in_words(bytes).c_str());
}

void make_file(const Made &made, const fs::path &file) {
  const auto script = [&](const char *name) { return inlined_script(read(made.player / name)); };
  const std::string program =
      "<script>orbPlayer.program = '" + base64(read(made.player / "orb.wasm")) + "';</script>";
  const std::string page = filled_in(
      read(made.player / "packed.html"),
      with(made.texts, {{"PREVIEW", ""},
                        {"ICON", data_address("image/png", made.icon)},
                        {"PICTURE", data_address("image/png", made.picture)},
                        {"STYLE", "<style>\n" + read(made.player / "player.css") + "</style>"},
                        {"PLAYER", script("orb.js") + script("player.js") + program},
                        {"LICENCES", orbhost::escaped(read(made.player / "licences.txt"))},
                        {"GAME", "bytesOf('" + base64(read(made.zip)) + "')"}}));
  save(file, page);
  std::printf("%s: %s, for any browser, from a disk too\n", file.c_str(),
              size_in_words(page.size()).c_str());
}

} // namespace

void pack_for_web(const Settings &settings) {
  const fs::path player = find_player(settings.program);
  const PackedGame game = look_through(settings.pack);
  const fs::path beside = game.folder.parent_path();
  const fs::path folder = beside / (game.name + "-web"), file = beside / (game.name + ".html");
  check_place(folder, folder / "index.html");
  check_place(file, file);

  const orbhost::TemporaryFolder work;
  const fs::path zip = fs::path(work.path()) / "game.zip";
  pack(game.files, zip.string());
  std::string icon = own_picture(game, "icon.png");
  if (icon.empty()) icon = own_icon;
  const Made made{player,
                  zip,
                  preview_of(game, zip, settings, icon),
                  icon,
                  {{"TITLE", orbhost::escaped(game.name)},
                   {"DESCRIPTION", orbhost::escaped(first_comment(read(game.folder / "main.lua")))},
                   {"NAME", as_script(game.name)}}};
  make_folder(made, folder);
  if (const std::uintmax_t bytes = fs::file_size(zip); bytes <= most_bytes_in_a_page) {
    make_file(made, file);
  } else {
    fs::remove(file); // which would be an older game's
    warn(file.filename().string() + " isn't made: the game's files take " + size_in_words(bytes) +
         ", and a single page has room for " + size_in_words(most_bytes_in_a_page) + "; " +
         folder.filename().string() + " plays it");
  }
}

} // namespace orbplay
