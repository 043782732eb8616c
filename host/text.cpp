#include "host/text.h"

#include "host/host.h"

#include <algorithm>
#include <cstring>

namespace orbhost {
namespace {

// The largest coordinate of a pivot.
constexpr int largest_side = 32767;

// ---- Characters --------------------------------------------------------------------------------

// The character at the start of `bytes`, and how many of them it takes.
struct Decoded {
  char32_t character;
  std::size_t length;
};

Decoded decode(std::string_view bytes) {
  const auto byte = [&](std::size_t at) { return static_cast<unsigned char>(bytes[at]); };
  const char32_t first = byte(0);
  const Decoded latin_1{first, 1};
  if (first < 0xC2 || first > 0xF4) return latin_1; // ASCII among others
  const std::size_t length = first < 0xE0 ? 2 : first < 0xF0 ? 3 : 4;
  if (bytes.size() < length) return latin_1;
  char32_t character = first & (0x7F >> length);
  for (std::size_t i = 1; i < length; ++i) {
    if ((byte(i) & 0xC0) != 0x80) return latin_1;
    character = character << 6 | (byte(i) & 0x3F);
  }
  constexpr char32_t least[] = {0x80, 0x800, 0x10000};
  const bool surrogate = character >= 0xD800 && character < 0xE000;
  if (character < least[length - 2] || character > 0x10FFFF || surrogate) return latin_1;
  return {character, length};
}

bool is_control(char32_t character) {
  return character < 0x20 || (character >= 0x7F && character < 0xA0);
}

// ---- Lines -------------------------------------------------------------------------------------

struct PlacedGlyph {
  const Glyph *glyph;
  int x, y; // of the top left corner of its picture
};

// Lines of glyphs. The lines' box begins at 0, 0; the box of all pixels, which may lean out of it,
// holds both.
struct TextLayout {
  std::vector<PlacedGlyph> glyphs;
  int width = 0, height = 0; // of the lines' box
  int left = 0, top = 0, right = 0, bottom = 0;
};

// One line, beginning at x = 0. Returns its width.
int place_line(TextLayout &layout, std::u32string_view line, int y, Font &font) {
  int pen = 0;
  for (const char32_t character : line) {
    if (is_control(character) && character != U'\t') continue;
    const Glyph &glyph = font.glyph(character == U'\t' ? U' ' : character);
    layout.glyphs.push_back({&glyph, pen + glyph.left, y + glyph.top});
    pen += glyph.advance;
    if (pen > largest_side) break; // too wide, however it goes on
  }
  return pen;
}

TextLayout lay_out(std::string_view text, Font &font, Align align) {
  struct Line {
    std::size_t end; // of its glyphs
    int width;
  };
  TextLayout layout;
  std::vector<Line> lines;
  const std::u32string characters = decode_text(text);
  for (std::size_t begin = 0; begin <= characters.size() && layout.height <= largest_side;) {
    const std::size_t end = std::min(characters.find(U'\n', begin), characters.size());
    const auto line = std::u32string_view(characters).substr(begin, end - begin);
    const int width = place_line(layout, line, layout.height, font);
    lines.push_back({layout.glyphs.size(), width});
    layout.width = std::max(layout.width, width);
    layout.height += font.line_height();
    begin = end + 1;
  }
  layout.right = layout.width;
  layout.bottom = layout.height;
  std::size_t at = 0;
  for (const Line &line : lines) {
    const int rest = layout.width - line.width;
    const int shift = align == Align::left ? 0 : align == Align::right ? rest : rest / 2;
    for (; at < line.end; ++at) {
      PlacedGlyph &placed = layout.glyphs[at];
      placed.x += shift;
      layout.left = std::min(layout.left, placed.x);
      layout.top = std::min(layout.top, placed.y);
      layout.right = std::max(layout.right, placed.x + placed.glyph->width);
      layout.bottom = std::max(layout.bottom, placed.y + placed.glyph->height);
    }
  }
  layout.right = std::max(layout.right, layout.left + 1); // a graph has a pixel at least
  return layout;
}

// ---- Pixels ------------------------------------------------------------------------------------

// The entry nearest to a colour, other than 0, which is transparent.
std::uint32_t nearest_index(const Host &host, const std::array<std::int32_t, 3> &rgb) {
  __ORBPalette2D__ palette;
  if (!host.device()->get_palette(&palette)) return 1;
  const auto distance = [&](const orb_rgb &entry) {
    const int r = entry.r - rgb[0], g = entry.g - rgb[1], b = entry.b - rgb[2];
    return r * r + g * g + b * b;
  };
  const auto *const nearest =
      std::ranges::min_element(palette.colours + 1, std::end(palette.colours), {}, distance);
  return static_cast<std::uint32_t>(nearest - palette.colours);
}

// An opaque pixel, at 32 bits with the opacity as its alpha.
std::uint32_t pack_pixel(const Host &host, const TextColour &colour) {
  constexpr std::uint32_t darkest_565 = 0x0821; // 0 is transparent
  const orb_device2d &device = *host.device();
  const auto &[r, g, b] = colour.rgb;
  switch (device.mode->bpp) {
  case 8:
    return colour.index ? static_cast<std::uint32_t>(colour.index)
                        : nearest_index(host, colour.rgb);
  case 16: {
    const std::uint32_t packed = device.set_rgb(r, g, b);
    return packed ? packed : darkest_565;
  }
  default: return device.set_rgba(r, g, b, colour.opacity);
  }
}

// Writes mix(pixel, coverage) to each pixel that a glyph covers. `left` and `top` are the layout's.
template <typename Pixel, typename Mix>
void put_glyphs(const __ORBSurface2D__ &surface, const TextLayout &layout, Mix mix) {
  for (const auto &[glyph, x, y] : layout.glyphs) {
    const std::uint8_t *coverage = glyph->coverage.data();
    for (int row = 0; row < glyph->height; ++row) {
      auto *const bytes = static_cast<std::uint8_t *>(surface.pixels) +
                          std::size_t(y - layout.top + row) * surface.pitch;
      Pixel *pixel = reinterpret_cast<Pixel *>(bytes) + (x - layout.left);
      for (int column = 0; column < glyph->width; ++column, ++pixel, ++coverage) {
        if (*coverage) *pixel = static_cast<Pixel>(mix(*pixel, *coverage));
      }
    }
  }
}

void draw_layout(const __ORBSurface2D__ &surface, const TextLayout &layout, std::uint32_t pixel) {
  std::memset(surface.pixels, 0, surface.byte_size);
  const auto seen_or_not = [pixel](std::uint32_t behind, std::uint32_t coverage) {
    return coverage >= 128 ? pixel : behind;
  };
  const auto with_alpha = [pixel](std::uint32_t behind, std::uint32_t coverage) {
    const std::uint32_t alpha = (coverage * (pixel >> 24) + 127) / 255;
    return std::max(alpha, behind >> 24) << 24 | (pixel & 0xFFFFFF);
  };
  switch (surface.depth) {
  case 8: put_glyphs<std::uint8_t>(surface, layout, seen_or_not); break;
  case 16: put_glyphs<std::uint16_t>(surface, layout, seen_or_not); break;
  default: put_glyphs<std::uint32_t>(surface, layout, with_alpha); break;
  }
}

} // namespace

std::u32string decode_text(std::string_view text) {
  std::u32string characters;
  while (!text.empty()) {
    const Decoded next = decode(text);
    characters += next.character;
    text.remove_prefix(next.length);
  }
  return characters;
}

int text_width(std::string_view text, Font &font) {
  return lay_out(text, font, Align::left).width;
}

int text_height(std::string_view text, const Font &font) {
  return static_cast<int>(1 + std::ranges::count(text, '\n')) * font.line_height();
}

TextColour unpack_colour(const Host &host, std::int32_t colour) {
  const orb_device2d &device = *host.device();
  const std::int32_t depth = device.mode->bpp;
  if (depth < 32 && (colour < 0 || colour >> depth != 0))
    throw HostError(std::to_string(colour) + " is no colour at " + std::to_string(depth) + " bits");
  TextColour result;
  auto &[r, g, b] = result.rgb;
  if (depth == 8) {
    result.index = colour;
    __ORBPalette2D__ palette;
    if (device.get_palette(&palette)) {
      const orb_rgb &entry = palette.colours[colour];
      result.rgb = {entry.r, entry.g, entry.b};
    }
  } else {
    device.get_rgba(static_cast<std::uint32_t>(colour), &r, &g, &b, &result.opacity);
    if (result.opacity == 0) result.opacity = 255;
  }
  return result;
}

// ---- TextGraph ---------------------------------------------------------------------------------

std::uint32_t TextGraph::mark() const {
  return static_cast<std::uint32_t>(reinterpret_cast<std::uintptr_t>(this));
}

__ORBSurface2D__ *TextGraph::surface() const {
  if (code_ == 0) return nullptr;
  const orb_map_slot *slot = host_.device()->GetMAP(0, code_);
  return slot && slot->surface && slot->surface->unused == mark() ? slot->surface : nullptr;
}

void TextGraph::unload() {
  if (surface()) host_.call("map_unload", {code_});
  code_ = 0;
}

__ORBSurface2D__ *TextGraph::make(int width, int height) {
  unload();
  const std::int32_t alpha = host_.device()->mode->bpp == 32 ? 1 : 0;
  const std::int32_t code = host_.call("map_new", {width, height, 0, alpha});
  if (code == failure_value)
    throw HostError("no memory for a text of " + std::to_string(width) + " x " +
                    std::to_string(height) + " pixels");
  code_ = code;
  __ORBSurface2D__ *const made = host_.device()->GetMAP(0, code)->surface;
  made->unused = mark();
  return made;
}

void TextGraph::draw(std::string_view text, const TextLook &look) {
  const TextLayout layout = lay_out(text, *look.font, look.align);
  const int width = layout.right - layout.left, height = layout.bottom - layout.top;
  if (std::max(width, height) > largest_side)
    throw HostError("the text would be wider or higher than " + std::to_string(largest_side) +
                    " pixels");
  __ORBSurface2D__ *to = surface();
  const auto fits = [&] {
    return to->width == static_cast<std::uint32_t>(width) &&
           to->height == static_cast<std::uint32_t>(height) &&
           to->depth == host_.device()->mode->bpp;
  };
  if (!to || !fits()) to = make(width, height);
  pixel_ = pack_pixel(host_, look.colour);
  draw_layout(*to, layout, pixel_);

  const bool centred = look.align == Align::centre || look.align == Align::middle;
  const int across = look.align == Align::right ? layout.width : centred ? layout.width / 2 : 0;
  const int down = look.align == Align::middle ? layout.height / 2 : 0;
  const std::uint32_t x = static_cast<std::uint32_t>(across - layout.left);
  const std::uint32_t y = static_cast<std::uint32_t>(down - layout.top);
  if (to->cpoints[0] != x || to->cpoints[1] != y)
    host_.call("map_set_center",
               {0, code_, static_cast<std::int32_t>(x), static_cast<std::int32_t>(y)});
}

bool TextGraph::is_stale(const TextLook &look) const {
  const __ORBSurface2D__ *const drawn = surface();
  return !drawn || drawn->depth != host_.device()->mode->bpp ||
         pack_pixel(host_, look.colour) != pixel_;
}

std::int32_t TextGraph::release() {
  if (__ORBSurface2D__ *const drawn = surface()) drawn->unused = 0;
  return std::exchange(code_, 0);
}

} // namespace orbhost
