// Drawing on the player's own window, which has 32 bits a pixel. Everything is clipped.
#pragma once

#include <SDL.h>

#include <cstdint>
#include <string_view>

namespace orbplay {

using Colour = std::uint32_t; // 0xRRGGBB

class Canvas {
public:
  // Locks the surface for as long as it lives.
  explicit Canvas(SDL_Surface &surface);
  ~Canvas();
  Canvas(const Canvas &) = delete;
  Canvas &operator=(const Canvas &) = delete;

  // Rectangles from (x, y) on; `opacity` of 256.
  void fill(int x, int y, int width, int height, Colour colour, int opacity = 256);
  void outline(int x, int y, int width, int height, Colour colour);
  // A line of text, its top left corner at (x, y), in the player's own font, each pixel of it
  // `scale` pixels wide.
  void text(int x, int y, std::string_view line, Colour colour, int scale = 1);

  [[nodiscard]] int width() const { return surface_->w; }
  [[nodiscard]] int height() const { return surface_->h; }
  static int text_width(std::string_view line);
  static int line_height();

private:
  SDL_Surface *surface_;
  bool usable_ = true;
};

} // namespace orbplay
