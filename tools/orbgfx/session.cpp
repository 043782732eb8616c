#include "tools/orbgfx/session.h"

#include "host/module_file.h"
#include "host/output_file.h"
#include "tools/orbgfx/names.h"

#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <unistd.h>

namespace orbgfx {
namespace {

// Codes of script errors that get other texts here.
enum : std::int32_t {
  no_palette = 103,
  not_an_fpg = 106,
  not_saved = 123,
  not_opened = 143,
  no_picture = 144,
};

std::string depth_name(int depth) {
  return std::to_string(depth) + " bits";
}

// An empty file in the system's folder for temporary files.
class TemporaryFile {
public:
  TemporaryFile() : name((std::filesystem::temp_directory_path() / "orbgfx-XXXXXX").string()) {
    const int descriptor = ::mkstemp(name.data());
    if (descriptor < 0) throw ToolError(name + ": can't be created: " + std::strerror(errno));
    ::close(descriptor);
  }
  ~TemporaryFile() { ::unlink(name.c_str()); }
  TemporaryFile(const TemporaryFile &) = delete;
  TemporaryFile &operator=(const TemporaryFile &) = delete;
  std::string name;
};

// ": " and why a file can't be saved, which the module doesn't report; empty if it can.
std::string why_not_saved(const std::string &path) {
  return orbhost::OutputFile::create(path) ? "" : std::string(": ") + std::strerror(errno);
}

orbhost::Options host_options() {
  orbhost::Options options;
  options.title = "orbgfx";
  return options;
}

} // namespace

Session::Session(const Common &common) : common_(common), host_(host_options()) {
  try {
    host_.load(common.module);
  } catch (const orbhost::HostError &error) {
    throw ToolError(std::string("the module can't be loaded: ") + error.what());
  }
  host_.init();
}

void Session::set_depth(int depth) {
  if (depth == depth_) return;
  call(depth_name(depth), "mode_set", {320, 200, depth, constant("mode_window")});
  depth_ = depth;
}

std::int32_t Session::call(const std::string &path, std::string_view name,
                           std::vector<orbhost::Argument> arguments) {
  const std::size_t losses = files().losses();
  try {
    return orbhost::checked_call(host_, name, std::move(arguments));
  } catch (const orbhost::CallError &error) {
    if (error.reports.empty()) throw ToolError(path + ": " + error.what());
    switch (error.code()) {
    case not_an_fpg: throw ToolError(path + ": damaged: it ends too early");
    case no_picture: throw ToolError(path + ": not a picture of a known format, or damaged");
    case not_opened: throw ToolError(path + ": can't be opened");
    case not_saved:
      throw ToolError(path + ": can't be written" +
                      (losses == files().losses() ? why_not_saved(path) : ": " + files().loss()));
    default: throw ToolError(path + ": " + orbhost::message_text(error.code()));
    }
  }
}

Container Session::check_readable(const std::string &path) {
  const Container container = examine(files(), path, common_);
  check_key(container, path, common_);
  return container;
}

int Session::load_library(const std::string &path, int depth) {
  const Container container = check_readable(path);
  if (container.kind != Kind::fpg) throw ToolError(path + ": not an FPG file");
  if (depth != 0 && depth < container.depth) {
    throw ToolError(path + ": " + depth_name(container.depth) + ", which is deeper than " +
                    depth_name(depth));
  }
  set_depth(depth != 0 ? depth : container.depth);
  if (!common_.key) return call(path, "fpg_load", {path});
  return call(path, "fpg_load", {path, *common_.key});
}

int Session::load_picture(const std::string &path) {
  const Container container = check_readable(path);
  if (container.kind == Kind::fpg) throw ToolError(path + ": a library, not a picture");
  if (container.depth > depth_) {
    throw ToolError(path + ": " + depth_name(container.depth) + ", which is deeper than " +
                    depth_name(depth_));
  }
  if (!common_.key) return call(path, "image_load", {path});
  return call(path, "image_load", {path, *common_.key});
}

int Session::new_library() {
  // Library 0 also holds the loose pictures.
  int library = 0;
  while (library == 0)
    library = call("new library", "fpg_new");
  return library;
}

const orb_map_slot *Session::graph(int library, int code) const {
  const orb_map_slot *slot = host_.device()->GetMAP(library, code);
  return slot && slot->surface ? slot : nullptr;
}

void Session::set_id(int library, int code, std::uint32_t id) {
  // No script function does this.
  host_.device()->GetMAP(library, code)->id = id;
}

std::vector<int> Session::codes(int library) const {
  std::vector<int> codes;
  for (int code = first_code; code <= last_code; ++code) {
    if (graph(library, code)) codes.push_back(code);
  }
  return codes;
}

int Session::natural_depth(const std::string &path) {
  const Container container = check_readable(path);
  if (container.depth != 0) return container.depth;
  return load_palette(path) && !has_alpha_channel(path) ? 8 : 32;
}

bool Session::has_alpha_channel(const std::string &path) {
  set_depth(32);
  try {
    const int code = load_picture(path);
    const bool alpha = graph(0, code)->surface->alpha_channel != 0;
    call(path, "image_unload", {code});
    return alpha;
  } catch (const ToolError &) {
    return false; // loading the picture itself will report the error
  }
}

bool Session::load_palette(const std::string &path) {
  const Container container = check_readable(path);
  set_depth(8);
  if (container.kind == Kind::other) {
    try {
      orbhost::checked_call(host_, "palette_load", {path});
      return true;
    } catch (const orbhost::CallError &error) {
      if (error.code() == no_palette) return false;
      throw;
    }
  }
  if (container.depth != 8) return false;
  // palette_load reads only plain files, and finds the colours of a MAP file in the wrong place.
  // But a graph file that is loaded first brings its palette along.
  if (container.kind == Kind::fpg)
    call(path, "fpg_unload", {load_library(path, 8)});
  else
    call(path, "map_unload", {load_picture(path)});
  return true;
}

bool Session::force_palette(const std::string &path) {
  if (!load_palette(path)) return false;
  const Container container = examine(files(), path, common_);
  if (container.kind == Kind::other) {
    call(path, "palette_force", {path});
  } else {
    const TemporaryFile file;
    save_palette(file.name);
    call(path, "palette_force", {file.name});
  }
  return true;
}

__ORBPalette2D__ Session::palette() const {
  __ORBPalette2D__ palette{};
  host_.device()->get_palette(&palette);
  return palette;
}

void Session::save_library(int library, const Output &output) {
  if (call(output.path, "fpg_save", {library, output.path, output.compress ? 1 : 0, output.key}) ==
      0) {
    throw ToolError(output.path + ": not written: there are no graphs");
  }
}

void Session::save_picture(int library, int code, const Output &output) {
  const auto format = format_of(output.path);
  if (!format) throw ToolError(output.path + ": not the extension of a picture format", exit_usage);
  if (*format == "img_format_map") {
    call(output.path, "map_save",
         {library, code, output.path, output.compress ? 1 : 0, output.key});
    return;
  }
  // Default compression for PNG, default quality for JPEG; the other formats take 0 or 1.
  const bool own = *format == "img_format_png" || *format == "img_format_jpeg";
  const int parameter = own ? -1 : output.compress ? 1 : 0;
  call(output.path, "image_save", {library, code, output.path, constant(*format), parameter});
}

void Session::save_palette(const std::string &path) {
  call(path, "palette_save", {path});
}

} // namespace orbgfx
