// convert and palette: one file into another.
#include "tools/orbgfx/commands.h"
#include "tools/orbgfx/graph_notes.h"
#include "tools/orbgfx/names.h"
#include "tools/orbgfx/session.h"
#include "tools/orbgfx/text.h"

#include <cstdio>
#include <filesystem>

namespace orbgfx {
namespace {

bool is_map_name(const std::string &path) {
  return format_of(path) == "img_format_map";
}

// Sets depth and palette for the input; --palette implies 8 bits.
void prepare(Session &session, const ConvertOptions &options) {
  if (!options.palette.empty()) {
    if (options.depth != 0 && options.depth != 8) {
      throw ToolError("--palette needs --depth 8", exit_usage);
    }
    if (!session.force_palette(options.palette)) {
      throw ToolError(options.palette + ": no palette can be read from this file");
    }
    return;
  }
  session.set_depth(options.depth ? options.depth : session.natural_depth(options.input));
}

void convert_picture(Session &session, const ConvertOptions &options, const Output &output) {
  prepare(session, options);
  const int code = session.load_picture(options.input);
  const orb_map_slot *slot = session.graph(0, code);
  if (!slot) throw ToolError(options.input + ": can't be loaded");
  if (options.side_file.empty()) {
    session.save_picture(0, code, output);
    return;
  }
  // A MAP file stores the notes itself; every other picture needs a side file.
  if (is_map_name(options.output)) {
    const SideFile notes = load_side_file(options.side_file);
    if (notes.graphs.size() != 1) {
      throw ToolError(options.side_file + ": must describe one graph");
    }
    const auto &[id, graph] = *notes.graphs.begin();
    apply_notes(session, options.input, 0, code, graph);
    session.set_id(0, code, id);
    session.save_picture(0, code, output);
  } else {
    session.save_picture(0, code, output);
    SideFile notes;
    notes.graphs[slot->id] = read_notes(*slot);
    save_side_file(options.side_file, notes,
                   std::filesystem::path(options.input).filename().string());
  }
}

void convert_library(Session &session, const ConvertOptions &options, const Output &output) {
  if (!options.side_file.empty() || !options.palette.empty()) {
    throw ToolError("--side-file and --palette are for single pictures", exit_usage);
  }
  session.save_library(session.load_library(options.input, options.depth), output);
}

} // namespace

int convert(const ConvertOptions &options, const Common &common) {
  if (!is_library_name(options.output) && !format_of(options.output)) {
    throw ToolError(options.output +
                        ": its extension must be .map, .bmp, .jpg, .pcx, .png, .tga or .fpg",
                    exit_usage);
  }
  Session session(common);
  const Container container = examine(session.files(), options.input, common);
  if (is_library_name(options.output) && container.kind != Kind::fpg) {
    throw ToolError(options.input + ": a picture, not a library; \"orbgfx pack -o " +
                        options.output + " " + options.input + "\" makes a library of it",
                    exit_usage);
  }
  check_overwrite(options.output, common);
  if (!options.side_file.empty() && !is_map_name(options.output)) {
    check_overwrite(options.side_file, common);
  }
  const Output output{options.output, options.compress, options.output_key};
  if (is_library_name(options.output))
    convert_library(session, options, output);
  else
    convert_picture(session, options, output);
  return exit_ok;
}

int palette(const PaletteOptions &options, const Common &common) {
  Session session(common);
  if (!options.output.empty()) check_overwrite(options.output, common);
  if (!session.load_palette(options.input)) {
    throw ToolError(options.input + ": no palette can be read from this file");
  }
  if (!options.output.empty()) {
    session.save_palette(options.output);
    return exit_ok;
  }
  const __ORBPalette2D__ palette = session.palette();
  Json colours = Json::array();
  int index = 0;
  for (const orb_rgb &colour : palette.colours) {
    if (!common.json) {
      std::printf("%3d  %3d %3d %3d  #%02x%02x%02x\n", index++, colour.r, colour.g, colour.b,
                  colour.r, colour.g, colour.b);
    }
    colours.add(Json::array({colour.r, colour.g, colour.b}));
  }
  if (common.json) {
    const Json result(Json::Members{{"file", options.input}, {"colours", colours}});
    std::printf("%s\n", result.dump().c_str());
  }
  return exit_ok;
}

} // namespace orbgfx
