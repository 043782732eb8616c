// Fonts from files, through FreeType.
#include "host/font.h"

#include <ft2build.h>
#include FT_FREETYPE_H
#include FT_BITMAP_H

#include <cstdlib>
#include <unordered_map>

namespace orbhost {
namespace {

// 26.6 fixed point to pixels.
constexpr int whole(FT_Pos position) {
  return static_cast<int>((position + 32) >> 6);
}

// A font with a library of its own: nothing is shared between plays.
class FileFont : public Font {
public:
  FileFont(std::vector<std::uint8_t> bytes, int size) : bytes_(std::move(bytes)) {
    if (FT_Init_FreeType(&library_) != 0) throw FontError("not enough memory for a font");
    try {
      open(size);
    } catch (...) {
      FT_Done_FreeType(library_); // with the face
      throw;
    }
  }
  ~FileFont() override { FT_Done_FreeType(library_); }

  [[nodiscard]] int line_height() const override {
    return std::max(whole(face_->size->metrics.height), 1);
  }

  const Glyph &glyph(char32_t character) override {
    const auto [place, is_new] = glyphs_.try_emplace(character);
    if (is_new) place->second = render(character);
    return place->second;
  }

private:
  void open(int size) {
    if (FT_New_Memory_Face(library_, bytes_.data(), static_cast<FT_Long>(bytes_.size()), 0,
                           &face_) != 0)
      throw FontError("no TTF, OTF, BDF or PCF font, or a damaged one");
    if (!face_->charmap && face_->num_charmaps > 0) FT_Set_Charmap(face_, face_->charmaps[0]);
    FT_Error error = 0;
    if (FT_IS_SCALABLE(face_)) {
      if (size == 0) throw FontError("a font of outlines needs a size, in pixels");
      error = FT_Set_Pixel_Sizes(face_, 0, static_cast<FT_UInt>(size));
    } else {
      error = FT_Select_Size(face_, nearest_size(size));
    }
    if (error != 0) throw FontError("the font can't be had at this size");
  }

  // Of a font of bitmaps.
  [[nodiscard]] FT_Int nearest_size(int size) const {
    FT_Int nearest = 0;
    const auto distance = [&](FT_Int i) {
      return std::abs(face_->available_sizes[i].height - size);
    };
    for (FT_Int i = 1; size != 0 && i < face_->num_fixed_sizes; ++i) {
      if (distance(i) < distance(nearest)) nearest = i;
    }
    return nearest;
  }

  [[nodiscard]] Glyph render(char32_t character) const {
    Glyph glyph;
    if (FT_Load_Char(face_, character, FT_LOAD_RENDER) != 0) return glyph;
    const FT_GlyphSlot slot = face_->glyph;
    glyph.advance = whole(slot->advance.x);
    glyph.left = slot->bitmap_left;
    glyph.top = whole(face_->size->metrics.ascender) - slot->bitmap_top;
    FT_Bitmap grey; // a byte a pixel, whatever the font has
    FT_Bitmap_Init(&grey);
    if (FT_Bitmap_Convert(library_, &slot->bitmap, &grey, 1) == 0 && grey.num_grays > 1) {
      glyph.width = static_cast<int>(grey.width);
      glyph.height = static_cast<int>(grey.rows);
      glyph.coverage.reserve(std::size_t{grey.width} * grey.rows);
      for (unsigned y = 0; y < grey.rows; ++y) {
        const std::uint8_t *row = grey.buffer + static_cast<std::ptrdiff_t>(y) * grey.pitch;
        for (unsigned x = 0; x < grey.width; ++x)
          glyph.coverage.push_back(static_cast<std::uint8_t>(row[x] * 255 / (grey.num_grays - 1)));
      }
    }
    FT_Bitmap_Done(library_, &grey);
    return glyph;
  }

  std::vector<std::uint8_t> bytes_; // the face reads from them
  FT_Library library_ = nullptr;
  FT_Face face_ = nullptr;
  std::unordered_map<char32_t, Glyph> glyphs_;
};

} // namespace

std::shared_ptr<Font> read_font(std::vector<std::uint8_t> bytes, int size) {
  return std::make_shared<FileFont>(std::move(bytes), size);
}

} // namespace orbhost
