// The graphics module at work: a host without a display, and the script functions on files.
#pragma once

#include "host/checked_call.h"
#include "tools/orbgfx/container.h"
#include "tools/orbgfx/tool.h"

#include <array>
#include <string>
#include <string_view>
#include <vector>

namespace orbgfx {

// Where a saved file goes and how.
struct Output {
  std::string path;
  bool compress = false;
  std::string key; // empty: not enciphered
};

// One run of the module. Every method throws ToolError with the file's name in it. A session holds
// what it has loaded to its end; there is one at a time.
class Session {
public:
  explicit Session(const Common &common);

  orbhost::Files &files() { return host_.files(); }

  // Depth of the screen, to which everything that is loaded is converted: 8, 16 or 32.
  void set_depth(int depth);
  [[nodiscard]] int depth() const { return depth_; }

  // Calls a script function; a failure names `path`.
  std::int32_t call(const std::string &path, std::string_view name,
                    std::vector<orbhost::Argument> arguments = {});
  [[nodiscard]] std::int32_t constant(std::string_view name) const { return host_.constant(name); }

  // Loads an FPG file, at `depth` or, with 0, its own. The library's number.
  int load_library(const std::string &path, int depth);
  // Loads any picture, or a MAP file, at the depth that is set. A code in library 0.
  int load_picture(const std::string &path);
  // A new library.
  int new_library();
  // The graph in a slot of a library; null where there is none.
  [[nodiscard]] const orb_map_slot *graph(int library, int code) const;
  // Changes the id that a MAP file keeps.
  void set_id(int library, int code, std::uint32_t id);
  // The codes of a library's graphs, 1 to 999, in order.
  [[nodiscard]] std::vector<int> codes(int library) const;

  // The depth at which a file is loaded without loss: a MAP or FPG file's own, 8 for a picture with
  // a palette of opaque colours, else 32. May change the depth that is set, and the palette.
  int natural_depth(const std::string &path);
  // Sets the 8-bit depth and makes the palette of a file (palette, picture, MAP, FPG) the one to
  // which all that is loaded afterwards is converted. False when the file has none.
  bool force_palette(const std::string &path);
  // Sets the 8-bit depth and loads the palette of a file. False when it has none.
  bool load_palette(const std::string &path);
  [[nodiscard]] __ORBPalette2D__ palette() const;

  void save_library(int library, const Output &output);
  // The format follows from the file's ending. Either the whole file is there afterwards or what
  // was there before.
  void save_picture(int library, int code, const Output &output);
  // Writes the palette that is in force as a palette file.
  void save_palette(const std::string &path);

private:
  // Whether a picture has one at 32 bits, which becomes the depth that is set.
  bool has_alpha_channel(const std::string &path);
  Container check_readable(const std::string &path);

  const Common &common_;
  orbhost::Host host_;
  int depth_ = 0;
  std::string loss_; // why the last file that was written is lost
};

} // namespace orbgfx
