// The BMP, PCX and TGA writers: whole files against references built field by field, read back
// here, and read by another program.
#include <cstring>

#include <gtest/gtest.h>

#include "formats/rle.h"
#include "picture_fixture.h"

namespace {

/// A picture to write: pixels of its depth.
struct drawn_picture {
  int32_t w, h, depth;
  bool alpha;
  std::vector<uint32_t> pixels;

  uint32_t at(int32_t x, int32_t y) const { return pixels[size_t(y) * size_t(w) + size_t(x)]; }
  /// 0xAARRGGBB as stored in a file: 16 bits by shifts only, alpha 0 without a channel.
  uint32_t argb(int32_t x, int32_t y) const {
    const uint32_t pixel = at(x, y);
    switch (depth) {
    case 8: {
      const orb_rgb &c = palette->colours[pixel];
      return uint32_t(c.r << 16 | c.g << 8 | c.b);
    }
    case 16: return (pixel >> 11) * 8 << 16 | (pixel >> 5 & 63) * 4 << 8 | (pixel & 31) * 8;
    default: return alpha ? pixel : pixel & 0xFFFFFF;
    }
  }
};

/// The palette in force as stored in a file, first byte blue or red.
file_bytes palette_bytes(bool blue_first, bool padded) {
  file_builder out;
  for (const orb_rgb &c : palette->colours) {
    out.u8(blue_first ? c.b : c.r).u8(c.g).u8(blue_first ? c.r : c.b);
    if (padded) out.u8(0);
  }
  return out.bytes;
}

file_bytes encoded_bmp_line(const file_bytes &line) {
  file_bytes out(2 * line.size()), raw(bmp_raw_pixels);
  out.resize(size_t(EncodeBmpRleLine(line.data(), out.data(), int32_t(line.size()), raw.data())));
  return out;
}

file_bytes reference_bmp(const drawn_picture &p, int32_t compression) {
  const uint32_t bits = uint32_t(p.depth < 32 ? p.depth : p.alpha ? 32 : 24);
  const bool coded = bits == 8 && compression == 1;
  file_builder pixels;
  for (int32_t y = p.h - 1; y >= 0; y--) {
    file_builder row;
    for (int32_t x = 0; x < p.w; x++)
      for (uint32_t bit = 0; bit < bits; bit += 8)
        row.u8(p.at(x, y) >> bit);
    if (coded)
      pixels.add(encoded_bmp_line(row.bytes)).u8(0).u8(y == 0);
    else
      pixels.add(row.zeros((4 - row.bytes.size() % 4) % 4).bytes);
  }
  const uint32_t offset = bits == 8 ? 1078 : bits == 16 ? 66 : 54;
  file_builder file;
  file.u8('B').u8('M').u32(uint32_t(offset + pixels.bytes.size())).u16(0).u16(0).u32(offset);
  file.u32(40).u32(uint32_t(p.w)).u32(uint32_t(p.h)).u16(1).u16(bits);
  file.u32(coded ? 1 : bits == 16 ? 3 : 0).zeros(20);
  if (bits == 16) file.u32(0xF800).u32(0x07E0).u32(0x001F);
  if (bits == 8) file.add(palette_bytes(true, true));
  return file.add(pixels.bytes).bytes;
}

file_bytes reference_tga(const drawn_picture &p, int32_t compression) {
  const uint32_t size = p.depth == 8 ? 1 : p.depth == 32 && p.alpha ? 4 : 3;
  file_builder file;
  file.u8(0).u8(size == 1).u8((size == 1 ? 1 : 2) + (compression == 1 ? 8 : 0));
  file.u16(0).u16(size == 1 ? 256 : 0).u8(size == 1 ? 24 : 0).u16(0).u16(0);
  file.u16(uint32_t(p.w)).u16(uint32_t(p.h)).u8(8 * size).u8(size == 4 ? 8 : 0);
  if (size == 1) file.add(palette_bytes(true, false));
  for (int32_t y = p.h - 1; y >= 0; y--) {
    file_builder row;
    for (int32_t x = 0; x < p.w; x++)
      for (uint32_t i = 0; i < size; i++)
        row.u8((size == 1 ? p.at(x, y) : p.argb(x, y)) >> (8 * i));
    if (compression == 1) {
      file_bytes coded(tga_line_bound(uint32_t(p.w), size)), raw(tga_raw_pixels * size);
      coded.resize(
          size_t(EncodeTGARLELine(row.bytes.data(), coded.data(), p.w, int32_t(size), raw.data())));
      file.add(coded);
    } else {
      file.add(row.bytes);
    }
  }
  return file.bytes;
}

file_bytes reference_pcx(const drawn_picture &p, int32_t) {
  const uint32_t planes = p.depth == 8 ? 1 : 3, line = uint32_t(p.w + 1) / 2 * 2;
  file_builder file;
  file.u8(10).u8(5).u8(1).u8(8).u16(0).u16(0).u16(uint32_t(p.w - 1)).u16(uint32_t(p.h - 1));
  file.u16(72).u16(72).zeros(49).u8(planes).u16(line).u16(1).zeros(58);
  for (int32_t y = 0; y < p.h; y++)
    for (uint32_t plane = 0; plane < planes; plane++) {
      file_bytes row(line), coded(2 * line);
      for (int32_t x = 0; x < p.w; x++)
        row[size_t(x)] = uint8_t(planes == 1 ? p.at(x, y) : p.argb(x, y) >> (16 - 8 * plane));
      coded.resize(size_t(EncodePcxRleLine(row.data(), coded.data(), int32_t(line))));
      file.add(coded);
    }
  if (planes == 1) file.u8(12).add(palette_bytes(false, false));
  return file.bytes;
}

struct written_kind {
  image_format format;
  int32_t parameter, depth;
  bool alpha;
  file_bytes (*reference)(const drawn_picture &p, int32_t parameter);
};

const written_kind kinds[] = {
    {img_format_bmp, 0, 8, false, reference_bmp},  {img_format_bmp, 1, 8, false, reference_bmp},
    {img_format_bmp, 0, 16, false, reference_bmp}, {img_format_bmp, 1, 16, false, reference_bmp},
    {img_format_bmp, 0, 32, false, reference_bmp}, {img_format_bmp, 1, 32, true, reference_bmp},
    {img_format_pcx, 0, 8, false, reference_pcx},  {img_format_pcx, 1, 16, false, reference_pcx},
    {img_format_pcx, 0, 32, false, reference_pcx}, {img_format_pcx, 1, 32, true, reference_pcx},
    {img_format_tga, 0, 8, false, reference_tga},  {img_format_tga, 1, 8, false, reference_tga},
    {img_format_tga, 0, 16, false, reference_tga}, {img_format_tga, 1, 16, false, reference_tga},
    {img_format_tga, 0, 32, false, reference_tga}, {img_format_tga, 1, 32, false, reference_tga},
    {img_format_tga, -1, 32, true, reference_tga}, {img_format_tga, 1, 32, true, reference_tga},
};

std::string name_of(const written_kind &kind) {
  return "format " + std::to_string(kind.format) + ", parameter " + std::to_string(kind.parameter) +
         ", " + std::to_string(kind.depth) + " bits" + (kind.alpha ? " with alpha" : "");
}

struct PictureWriters : graphics_test {
  std::mt19937 random{50};

  drawn_picture draw(const written_kind &kind, int32_t w, int32_t h) {
    set_depth(kind.depth);
    if (palette)
      for (orb_rgb &c : palette->colours)
        c = {uint8_t(random()), uint8_t(random()), uint8_t(random())};
    drawn_picture p{w, h, kind.depth, kind.alpha, {}};
    // Runs of all lengths, and the pixels between them.
    while (p.pixels.size() < size_t(w) * size_t(h)) {
      const uint32_t value = uint32_t(random()) & uint32_t((uint64_t(1) << kind.depth) - 1);
      const size_t run = random() % 3 ? 1 : 1 + random() % (random() % 8 ? 6 : 300);
      p.pixels.insert(p.pixels.end(), run, value);
    }
    p.pixels.resize(size_t(w) * size_t(h));
    return p;
  }
  /// Puts a picture into the globals, in memory of its exact size.
  static void to_globals(const drawn_picture &p) {
    reset_image();
    image_w = p.w;
    image_h = p.h;
    image_bpp = p.depth;
    image_alphachannel = p.alpha;
    const size_t size = size_t(p.depth / 8);
    image_data = aligned_malloc(uint32_t(p.pixels.size() * size));
    for (size_t i = 0; i < p.pixels.size(); i++)
      memcpy(static_cast<uint8_t *>(image_data) + i * size, &p.pixels[i], size);
  }
  std::string save(const written_kind &kind, const drawn_picture &p) const {
    const std::string name = path("written");
    to_globals(p);
    EXPECT_EQ(codec_for(kind.format)->save(name.c_str(), kind.parameter, nullptr), 1);
    return name;
  }
};

TEST_F(PictureWriters, FilesMatchTheirReferencesAndComeBack) {
  const int32_t sizes[][2] = {{1, 1}, {2, 3}, {3, 2}, {5, 1}, {127, 4}, {700, 5}};
  for (const written_kind &kind : kinds)
    for (const auto &size : sizes) {
      SCOPED_TRACE(name_of(kind) + ", " + std::to_string(size[0]) + " wide");
      const drawn_picture p = draw(kind, size[0], size[1]);
      const std::string name = save(kind, p);
      ASSERT_EQ(read_file(name), kind.reference(p, kind.parameter));

      const image_codec &codec = *codec_for(kind.format);
      ASSERT_EQ(codec.check(name.c_str(), nullptr), 1);
      reset_image();
      if (kind.format == img_format_pcx && kind.depth == 16) {
        ASSERT_EQ(codec.load(name.c_str(), nullptr), 0);
        continue;
      }
      ASSERT_EQ(codec.load(name.c_str(), nullptr), 1);
      ASSERT_EQ(image_w, p.w);
      ASSERT_EQ(image_h, p.h);
      ASSERT_EQ(image_bpp, p.depth);
      const bool keeps_alpha = p.alpha && kind.format != img_format_pcx;
      ASSERT_EQ(image_alphachannel, keeps_alpha);
      for (size_t i = 0; i < p.pixels.size(); i++)
        ASSERT_EQ(loaded_pixel(i),
                  p.depth < 32 || keeps_alpha ? p.pixels[i] : p.pixels[i] & 0xFFFFFF)
            << i;
      if (p.depth == 8) {
        EXPECT_EQ(memcmp(&image_palette, palette, sizeof image_palette), 0);
        image_palette = {};
        EXPECT_EQ(codec.load_palette(name.c_str()), 1);
        EXPECT_EQ(memcmp(&image_palette, palette, sizeof image_palette), 0);
      }
    }
}

TEST_F(PictureWriters, AnotherProgramReadsTheFiles) {
  if (system("convert -version >/dev/null 2>&1") != 0) GTEST_SKIP() << "no ImageMagick";
  for (const written_kind &kind : kinds) {
    SCOPED_TRACE(name_of(kind));
    drawn_picture p = draw(kind, 157, 21);
    const char *const names[] = {"", "", "bmp", "", "pcx", "", "tga"};
    const std::string file = save(kind, p), raw = path("raw");
    const std::string command = std::string("convert ") + names[kind.format] + ":'" + file +
                                "' -auto-orient -depth 8 rgba:'" + raw + "'";
    ASSERT_EQ(system(command.c_str()), 0);
    const file_bytes rgba = read_file(raw);
    ASSERT_EQ(rgba.size(), p.pixels.size() * 4);
    p.alpha &= kind.format != img_format_pcx;
    int wrong = 0;
    for (int32_t y = 0; y < p.h; y++)
      for (int32_t x = 0; x < p.w; x++) {
        const uint8_t *read = &rgba[size_t(y * p.w + x) * 4];
        const uint32_t expected = p.argb(x, y);
        const uint32_t alpha = p.alpha ? expected >> 24 : 255;
        // Programs widen 5 and 6 bits differently.
        const bool narrow = kind.format == img_format_bmp && p.depth == 16;
        const uint32_t keep = narrow ? 0xF8FCF8 : 0xFFFFFF;
        const uint32_t colour = uint32_t(read[0] << 16 | read[1] << 8 | read[2]);
        wrong += (colour & keep) != (expected & keep) || read[3] != alpha;
      }
    EXPECT_EQ(wrong, 0);
  }
}

TEST_F(PictureWriters, TheWidestPictures) {
  for (const written_kind &kind : kinds) {
    SCOPED_TRACE(name_of(kind));
    const drawn_picture p = draw(kind, 65535, 2);
    const std::string name = save(kind, p);
    set_depth(32);
    ASSERT_EQ(codec_for(kind.format)->load(name.c_str(), nullptr), 1);
    ASSERT_EQ(image_w, 65535);
    const bool low_alpha = !p.alpha || kind.format == img_format_pcx;
    for (size_t i = 0; i < p.pixels.size(); i++) {
      if (p.depth != 32) {
        const int32_t x = int32_t(i % 65535), y = int32_t(i / 65535);
        const bool exact = p.depth == 16 && kind.format != img_format_bmp;
        if (exact) ASSERT_EQ(loaded_pixel(i), p.argb(x, y)) << i;
        if (p.depth == 8) ASSERT_EQ(loaded_pixel(i), p.pixels[i]) << i;
      } else {
        ASSERT_EQ(loaded_pixel(i), low_alpha ? p.pixels[i] & 0xFFFFFF : p.pixels[i]) << i;
      }
    }
  }
}

TEST_F(PictureWriters, WithoutAPictureOrAPathThereIsNoFile) {
  for (const written_kind &kind : kinds) {
    SCOPED_TRACE(name_of(kind));
    const drawn_picture p = draw(kind, 300, 200);
    to_globals(p);
    const image_codec &codec = *codec_for(kind.format);
    host.file.path = [](const char *, int32_t) -> const char * { return nullptr; };
    EXPECT_EQ(codec.save(path("nowhere").c_str(), kind.parameter, nullptr), 0);
    host.file.path = [](const char *name, int32_t) { return *name ? name : nullptr; };

    image_w = 0;
    EXPECT_EQ(codec.save(path("empty").c_str(), kind.parameter, nullptr), 0);
    image_w = p.w;
    image_bpp = 8;
    set_depth(32); // 32 bits have no palette
    EXPECT_EQ(codec.save(path("empty").c_str(), kind.parameter, nullptr), 0);
    reset_image();
    EXPECT_EQ(codec.save(path("empty").c_str(), kind.parameter, nullptr), 0);
    EXPECT_FALSE(std::filesystem::exists(path("empty")));
  }
}

} // namespace
