// pack and unpack: pictures into a library and back.
#include "tools/orbgfx/commands.h"
#include "tools/orbgfx/graph_notes.h"
#include "tools/orbgfx/names.h"
#include "tools/orbgfx/session.h"

#include <filesystem>

namespace orbgfx {
namespace {

namespace fs = std::filesystem;

// The graph of one input file.
struct Input {
  std::string path;
  const GraphNotes *notes = nullptr;
};
using Inputs = std::map<int, Input>; // by code

void add_input(Inputs &inputs, int code, const std::string &path) {
  if (code < first_code || code > last_code) {
    throw ToolError(path + ": code " + std::to_string(code) + " isn't in 1 to 999");
  }
  const auto [place, added] = inputs.try_emplace(code, Input{path});
  if (!added) {
    throw ToolError(path + ": code " + std::to_string(code) + " is taken by " + place->second.path);
  }
}

// Takes codes from the names; other pictures get the lowest free codes, in the order of the command
// line. Side files among the inputs are left out.
Inputs assign_codes(const std::vector<std::string> &paths) {
  Inputs inputs;
  std::vector<std::string> others;
  for (const std::string &path : paths) {
    if (!fs::exists(path)) throw ToolError(path + ": no such file", exit_not_found);
    if (fs::path(path).filename() == side_file_name) continue;
    if (const auto code = code_in_name(path))
      add_input(inputs, *code, path);
    else
      others.push_back(path);
  }
  int code = first_code;
  for (const std::string &path : others) {
    while (inputs.contains(code))
      ++code;
    if (code > last_code) throw ToolError(path + ": a library holds 999 graphs");
    add_input(inputs, code, path);
  }
  if (inputs.empty()) throw ToolError("nothing to pack");
  return inputs;
}

// The side files that apply, by folder; one named by option applies to every folder.
class SideFiles {
public:
  SideFiles(const PackOptions &options, const Inputs &inputs) : common_(options.side_file) {
    if (options.no_side_file) return;
    if (!common_.empty()) {
      files_[""] = load_side_file(common_);
      return;
    }
    for (const auto &[code, input] : inputs) {
      const std::string folder = fs::path(input.path).parent_path().string();
      const std::string path = (fs::path(folder) / side_file_name).string();
      if (!files_.contains(folder) && fs::exists(path)) files_[folder] = load_side_file(path);
    }
  }

  [[nodiscard]] const GraphNotes *find(int code, const std::string &path) const {
    const auto file =
        files_.find(common_.empty() ? fs::path(path).parent_path().string() : std::string());
    if (file == files_.end()) return nullptr;
    const auto notes = file->second.graphs.find(static_cast<std::uint32_t>(code));
    return notes == file->second.graphs.end() ? nullptr : &notes->second;
  }

  // The first depth that one of them gives, or 0.
  [[nodiscard]] int depth() const {
    for (const auto &[folder, file] : files_) {
      if (file.depth) return file.depth;
    }
    return 0;
  }

private:
  const std::string &common_;
  std::map<std::string, SideFile> files_;
};

// Sets the palette of an 8-bit library: that of --palette, that of the first picture with one, or
// the module's own.
void choose_palette(Session &session, const PackOptions &options, const Inputs &inputs) {
  if (!options.palette.empty()) {
    if (!session.force_palette(options.palette)) {
      throw ToolError(options.palette + ": no palette can be read from this file");
    }
    return;
  }
  for (const auto &[code, input] : inputs) {
    if (session.force_palette(input.path)) return;
  }
}

void pack_picture(Session &session, int library, int code, const Input &input) {
  const int loose = session.load_picture(input.path);
  session.call(input.path, "fpg_add_map", {library, code, 0, loose});
  // Each frees only graphs from its own kind of file.
  session.call(input.path, "image_unload", {loose});
  session.call(input.path, "map_unload", {loose});
  if (input.notes) apply_notes(session, input.path, library, code, *input.notes);
}

} // namespace

int pack(const PackOptions &options, const Common &common) {
  Inputs inputs = assign_codes(options.inputs);
  check_overwrite(options.output, common);
  const SideFiles side_files(options, inputs);
  for (auto &[code, input] : inputs)
    input.notes = side_files.find(code, input.path);

  Session session(common);
  const int said = side_files.depth();
  session.set_depth(options.depth ? options.depth : said ? said : 32);
  if (session.depth() == 8) choose_palette(session, options, inputs);
  const int library = session.new_library();
  {
    Progress progress("packing", inputs.size());
    for (const auto &[code, input] : inputs) {
      progress.step(input.path);
      pack_picture(session, library, code, input);
    }
  }
  session.save_library(library, {options.output, options.compress, common.key.value_or("")});
  return exit_ok;
}

int unpack(const UnpackOptions &options, const Common &common) {
  Session session(common);
  const int library = session.load_library(options.input, 0);
  const fs::path folder =
      options.folder.empty() ? fs::path(options.input).stem() : fs::path(options.folder);

  std::map<int, std::string> paths;
  SideFile notes{session.depth(), {}};
  for (const int code : session.codes(library)) {
    const GraphNotes graph = read_notes(*session.graph(library, code));
    paths[code] = (folder / file_name_of(code, *graph.name, options.format)).string();
    notes.graphs[static_cast<std::uint32_t>(code)] = graph;
  }
  const std::string side_file = (folder / side_file_name).string();
  for (const auto &[code, path] : paths)
    check_overwrite(path, common);
  check_overwrite(side_file, common);

  std::error_code error;
  fs::create_directories(folder, error);
  if (error) throw ToolError(folder.string() + ": can't be created: " + error.message());
  Progress progress("unpacking", paths.size());
  for (const auto &[code, path] : paths) {
    progress.step(path);
    session.save_picture(library, code, {path, false, ""});
  }
  save_side_file(side_file, notes, fs::path(options.input).filename().string());
  return exit_ok;
}

} // namespace orbgfx
