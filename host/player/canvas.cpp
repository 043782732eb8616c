#include "host/player/canvas.h"

#include "host/font.h"
#include "host/text.h"

#include <algorithm>
#include <memory>

namespace orbplay {
namespace {

orbhost::Font &own_font() {
  static const std::shared_ptr<orbhost::Font> font = orbhost::built_in_font();
  return *font;
}

} // namespace

Canvas::Canvas(SDL_Surface &surface) : surface_(&surface) {
  usable_ = !SDL_MUSTLOCK(surface_) || SDL_LockSurface(surface_) == 0;
}

Canvas::~Canvas() {
  if (usable_ && SDL_MUSTLOCK(surface_)) SDL_UnlockSurface(surface_);
}

void Canvas::fill(int x, int y, int width, int height, Colour colour, int opacity) {
  const int left = std::max(x, 0), right = std::min(x + width, surface_->w);
  const int top = std::max(y, 0), bottom = std::min(y + height, surface_->h);
  if (!usable_ || left >= right) return;
  // Two components at a time, eight bits apart.
  const auto mix = [opacity](std::uint32_t under, std::uint32_t over) {
    return under + ((over - under) * static_cast<unsigned>(opacity) >> 8);
  };
  for (int row = top; row < bottom; ++row) {
    auto *const pixels = reinterpret_cast<std::uint32_t *>(
        static_cast<std::uint8_t *>(surface_->pixels) + row * surface_->pitch);
    if (opacity >= 256) {
      std::fill(pixels + left, pixels + right, colour);
      continue;
    }
    for (int i = left; i < right; ++i) {
      const std::uint32_t p = pixels[i];
      pixels[i] = (mix(p & 0xFF00FF, colour & 0xFF00FF) & 0xFF00FF) |
                  (mix(p & 0x00FF00, colour & 0x00FF00) & 0x00FF00);
    }
  }
}

void Canvas::outline(int x, int y, int width, int height, Colour colour) {
  fill(x, y, width, 1, colour);
  fill(x, y + height - 1, width, 1, colour);
  fill(x, y, 1, height, colour);
  fill(x + width - 1, y, 1, height, colour);
}

void Canvas::text(int x, int y, std::string_view line, Colour colour, int scale) {
  orbhost::Font &font = own_font();
  for (const char32_t character : orbhost::decode_text(line)) {
    const orbhost::Glyph &glyph = font.glyph(character);
    const std::uint8_t *coverage = glyph.coverage.data();
    for (int row = 0; row < glyph.height; ++row) {
      for (int column = 0; column < glyph.width; ++column) {
        if (*coverage++ < 128) continue;
        fill(x + (glyph.left + column) * scale, y + (glyph.top + row) * scale, scale, scale, colour);
      }
    }
    x += glyph.advance * scale;
  }
}

int Canvas::text_width(std::string_view line) {
  return orbhost::text_width(line, own_font());
}

int Canvas::line_height() {
  return own_font().line_height();
}

} // namespace orbplay
