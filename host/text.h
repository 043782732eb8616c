// Text as graphs of the module.
#pragma once

#include "host/font.h"
#include "orb/graphics2d.h"

#include <array>
#include <cstdint>
#include <memory>
#include <string>
#include <string_view>

namespace orbhost {

class Host;

// The code points of a UTF-8 text; a byte that is none of it stands for itself, as in Latin-1.
std::u32string decode_text(std::string_view text);

// The widest line, and all lines, in pixels.
int text_width(std::string_view text, Font &font);
int text_height(std::string_view text, const Font &font);

// Components and opacity 0 to 255.
struct TextColour {
  std::array<std::int32_t, 3> rgb = {255, 255, 255};
  std::int32_t opacity = 255;
  std::int32_t index = 0; // that of an 8-bit mode; 0: the nearest one

  bool operator==(const TextColour &) const = default;
};

// The colour that a packed one of the mode in force is. One of opacity 0, which `rgb` makes, is
// opaque. Throws HostError for a number that is no colour of the mode.
TextColour unpack_colour(const Host &host, std::int32_t colour);

// Which place of a text lies at its position.
enum class Align : std::uint8_t {
  left,   // the top left corner; lines begin there
  centre, // the middle of the upper edge; lines are centred
  right,  // the top right corner; lines end there
  middle, // the middle; lines are centred
};

struct TextLook {
  std::shared_ptr<Font> font;
  TextColour colour;
  Align align = Align::left;

  bool operator==(const TextLook &) const = default;
};

// A graph of library 0 that shows a text. The graph ends with it, or when the script unloads it.
class TextGraph {
public:
  explicit TextGraph(Host &host) : host_(host) {}
  ~TextGraph() { unload(); }
  TextGraph(const TextGraph &) = delete;
  TextGraph &operator=(const TextGraph &) = delete;

  // Draws a text, into the same graph where size and depth allow. Throws HostError where it would
  // be too large; the former text stays then.
  void draw(std::string_view text, const TextLook &look);
  // Whether it must be drawn again: the script has unloaded the graph, or depth or palette have
  // changed.
  [[nodiscard]] bool is_stale(const TextLook &look) const;
  [[nodiscard]] std::int32_t code() const { return code_; }
  // Gives up the graph, which stays loaded. Its code.
  std::int32_t release();

private:
  // The graph's surface; null where the code is free or another's. It is known by its unused word,
  // which holds the address of this.
  [[nodiscard]] __ORBSurface2D__ *surface() const;
  [[nodiscard]] std::uint32_t mark() const;
  __ORBSurface2D__ *make(int width, int height);
  void unload();

  Host &host_;
  std::int32_t code_ = 0;
  std::uint32_t pixel_ = 0; // that it was drawn with, with the opacity as alpha
};

} // namespace orbhost
