#include "host/diagnosis.h"

#include "host/container.h"
#include "host/host.h"
#include "host/output_file.h"

#include <strings.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <filesystem>
#include <string_view>

namespace orbhost {
namespace {

namespace fs = std::filesystem;

// Codes of reports about files.
enum : std::int32_t {
  no_palette = 103,
  library_not_opened = 105,
  no_library = 106,
  not_saved = 123,
  not_opened = 143,
  no_graph = 144,
  library_key = 193,
  graph_key = 194,
};

bool about_reading(std::int32_t code) {
  switch (code) {
  case no_palette:
  case library_not_opened:
  case no_library:
  case not_opened:
  case no_graph:
  case library_key:
  case graph_key: return true;
  default: return false;
  }
}

int mode_depth(const Host &host) {
  return host.screen() ? host.screen()->depth : 0;
}

// "; there is Ball.png" where only capitals differ.
std::string other_capitals(const fs::path &path) {
  std::error_code ignored;
  const fs::path folder = path.has_parent_path() ? path.parent_path() : fs::path(".");
  for (const auto &entry : fs::directory_iterator(folder, ignored)) {
    const std::string name = entry.path().filename().string();
    if (strcasecmp(name.c_str(), path.filename().c_str()) == 0) return "; there is " + name;
  }
  return {};
}

// What a graph file is that the function can't take.
std::string wrong_file(const Host &host, const ErrorReport &report, const Container &file) {
  const std::string_view function = report.function;
  const bool library = function.starts_with("FPG_") || function == "LOAD_FPG";
  const bool graph = function == "MAP_LOAD";
  if (report.code == library_key || report.code == graph_key)
    return "the file is enciphered, and the key is missing or wrong";
  if (function == "LOAD_PCX") return "not a PCX picture that can be read; image_load reads others";
  if (report.code == no_palette) return "no palette can be read from this file";
  if (file.kind == FileKind::fpg && !library) return "a graph library; fpg_load reads it";
  if (file.kind == FileKind::map && library) return "a single graph; map_load reads it";
  if (file.kind == FileKind::other) {
    if (library) return "not a graph library (FPG file)";
    if (graph) return "not a graph (MAP file); image_load reads other pictures";
    return "not a picture that can be read (PNG, JPEG, BMP, PCX, TGA or MAP)";
  }
  if (mode_depth(host) == 0) return "no mode is set; call mode_set first";
  if (file.depth > mode_depth(host))
    return "a file of " + std::to_string(file.depth) + " bits, deeper than the mode, which has " +
           std::to_string(mode_depth(host));
  return "damaged: it ends too early";
}

std::string unreadable(Host &host, const ErrorReport &report) {
  const std::string &name = report.text;
  if (name.empty()) return "the name is empty";
  const std::string path = host.files().resolve(name.c_str(), false).value_or(name);
  std::error_code error;
  const fs::file_status status = fs::status(path, error);
  if (status.type() == fs::file_type::not_found) return missing_file(host, name);
  if (error) return error.message();
  if (fs::is_directory(status)) return "a folder, not a file";
  if (!fs::is_regular_file(status)) return "not a regular file";
  if (::access(path.c_str(), R_OK) != 0) return std::string("can't be read: ") + strerror(errno);
  const std::optional<Container> file = examine(host.files(), path, nullptr);
  return file ? wrong_file(host, report, *file) : "its compressed stream is damaged";
}

// The graph that a call with (file, graph, path ...) saves has another depth than the mode.
std::string wrong_depth(Host &host, const ErrorReport &report) {
  const auto words = host.call_frame().words();
  if (report.position != 3 || words.size() < 3 || !host.device()) return {};
  const orb_map_slot *slot = host.device()->GetMAP(words[0].word, words[1].word);
  const int depth = slot && slot->surface ? slot->surface->depth : mode_depth(host);
  if (depth == mode_depth(host)) return {};
  return "the graph has " + std::to_string(depth) + " bits, the mode " +
         std::to_string(mode_depth(host));
}

std::string unwritable(Host &host, const ErrorReport &report) {
  if (report.text.empty()) return "the name is empty";
  if (const std::string depth = wrong_depth(host, report); !depth.empty()) return depth;
  const std::string path = host.files().resolve(report.text.c_str(), true).value_or(report.text);
  if (!OutputFile::create(path)) return std::string("can't be written: ") + strerror(errno);
  const std::string &loss = host.files().loss();
  return "can't be written" + (loss.empty() ? "; the disk may be full" : ": " + loss);
}

} // namespace

std::string missing_file(const Host &host, const std::string &name) {
  std::error_code ignored;
  fs::path folder = host.files().folder().lexically_normal();
  if (!folder.has_filename()) folder = folder.parent_path(); // "/game/." becomes "/game/"
  const fs::path current = fs::current_path(ignored);
  const std::string beside = folder.empty() ? "" : other_capitals(folder / name);
  std::string text = "no such file";
  if (fs::path(name).is_relative()) {
    text += " in " + (folder.empty() ? current : folder).string();
    if (!folder.empty() && !fs::equivalent(folder, current, ignored))
      text += " or " + current.string();
  }
  return text + (beside.empty() ? other_capitals(name) : beside);
}

std::string diagnose(Host &host, const ErrorReport &report) {
  if (report.kind != ORB_VALUE_STRING) return describe(report);
  ErrorReport told = report;
  if (report.code == library_key) told.position = 1; // the report counts the key, and has the name
  if (report.code == not_saved) return describe(told, unwritable(host, report));
  return about_reading(report.code) ? describe(told, unreadable(host, report)) : describe(told);
}

} // namespace orbhost
