// Runs the graphics module without a display, and calls its script functions on files.
#pragma once

#include "host/checked_call.h"
#include "tools/orbgfx/container.h"
#include "tools/orbgfx/tool.h"

#include <array>
#include <string>
#include <string_view>
#include <vector>

namespace orbgfx {

// The file to save, and how.
struct Output {
  std::string path;
  bool compress = false;
  std::string key; // empty: not enciphered
};

// One run of the module. Every method throws ToolError with the file's name in it. A session keeps
// everything that it loads; there is one at a time.
class Session {
public:
  explicit Session(const Common &common);

  orbhost::Files &files() { return host_.files(); }

  // Depth of the screen, 8, 16 or 32. Loading converts to it.
  void set_depth(int depth);
  [[nodiscard]] int depth() const { return depth_; }

  // Calls a script function; a failure names `path`.
  std::int32_t call(const std::string &path, std::string_view name,
                    std::vector<orbhost::Argument> arguments = {});
  [[nodiscard]] std::int32_t constant(std::string_view name) const { return host_.constant(name); }

  // Loads an FPG file at `depth` (0: its own). Returns the library's number.
  int load_library(const std::string &path, int depth);
  // Loads any picture or MAP file at the current depth. Returns its code in library 0.
  int load_picture(const std::string &path);
  // Creates a library and returns its number.
  int new_library();
  // The graph in a slot of a library, or null.
  [[nodiscard]] const orb_map_slot *graph(int library, int code) const;
  // Sets the id that a MAP file stores.
  void set_id(int library, int code, std::uint32_t id);
  // The codes of a library's graphs, 1 to 999, in order.
  [[nodiscard]] std::vector<int> codes(int library) const;

  // The depth at which a file is loaded without loss: a MAP or FPG file's own, 8 for a picture with
  // a palette of opaque colours, else 32. May change the current depth and palette.
  int natural_depth(const std::string &path);
  // Sets depth 8 and forces the palette of a file (palette, picture, MAP, FPG): whatever is loaded
  // afterwards is converted to it. False if the file has none.
  bool force_palette(const std::string &path);
  // Sets depth 8 and loads the palette of a file. False if it has none.
  bool load_palette(const std::string &path);
  [[nodiscard]] __ORBPalette2D__ palette() const;

  void save_library(int library, const Output &output);
  // The extension selects the format. On failure the old file stays.
  void save_picture(int library, int code, const Output &output);
  // Writes the current palette as a palette file.
  void save_palette(const std::string &path);

private:
  // Whether a picture has one at 32 bits. Sets depth 32.
  bool has_alpha_channel(const std::string &path);
  Container check_readable(const std::string &path);

  const Common &common_;
  orbhost::Host host_;
  int depth_ = 0;
};

} // namespace orbgfx
