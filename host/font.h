// Fonts: pictures of characters, and where they stand.
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <stdexcept>
#include <vector>

namespace orbhost {

// The picture of a character.
struct Glyph {
  int left = 0, top = 0; // of its picture, from the pen and from the top of the line
  int width = 0, height = 0;
  int advance = 0;                    // of the pen, in pixels
  std::vector<std::uint8_t> coverage; // of each pixel, by rows: 0 to 255
};

class Font {
public:
  Font() = default;
  Font(const Font &) = delete;
  Font &operator=(const Font &) = delete;
  virtual ~Font() = default;
  // From the top of one line to that of the next, in pixels.
  [[nodiscard]] virtual int line_height() const = 0;
  // The glyph of a code point, or what the font shows for one that it lacks. It stays where it is
  // as long as the font lives.
  virtual const Glyph &glyph(char32_t character) = 0;
};

// A file that isn't a font, or not one of that size.
class FontError : public std::runtime_error {
public:
  using std::runtime_error::runtime_error;
};

// The player's own font, 12 pixels a line: ASCII, Latin-1, and the quotes, dashes, arrows and
// letters that Western European texts need besides.
std::shared_ptr<Font> built_in_font();

// The font in a TTF, OTF, BDF or PCF file's bytes, antialiased where it has outlines. `size` is the
// height of its em square in pixels; of a font of bitmaps the nearest size is taken, and for 0 its
// first. Throws FontError.
std::shared_ptr<Font> read_font(std::vector<std::uint8_t> bytes, int size);

} // namespace orbhost
