// The PNG reader and writer: files of every kind against a reference computed from their samples,
// files of other programs, and damaged files.
#include <cstring>

#include <gtest/gtest.h>
#include <zlib.h>

#include "formats/codec.h"
#include "picture_files.h"
#include "png_pictures.h"

namespace {

struct png_test : graphics_test {
  std::string put(const file_bytes &bytes) {
    const std::string name = path("picture.png");
    write_file(name, bytes);
    return name;
  }
  int32_t load(const file_bytes &bytes) {
    reset_image();
    image_error = 0;
    return png_codec.load(put(bytes).c_str(), nullptr);
  }
  static uint32_t read_pixel(uint32_t x, uint32_t y) {
    return loaded_pixel(size_t(y) * size_t(image_w) + x);
  }
  /// A palette other than a new mode's, so that no colour is special.
  static void set_random_palette(std::mt19937 &random) {
    for (orb_rgb &c : palette->colours)
      c = {uint8_t(random()), uint8_t(random()), uint8_t(random())};
  }
};

using PngReader = png_test;
using PngWriter = png_test;

TEST_F(PngReader, EveryKindAtEveryDepthAsTheSamplesSay) {
  std::mt19937 random(20);
  const uint32_t sizes[][2] = {{1, 1}, {2, 3}, {5, 8}, {9, 7}, {33, 5}};
  for (int32_t depth : {32, 16, 8}) {
    set_depth(depth);
    if (depth == 8) set_random_palette(random);
    for (png_picture picture : png_kinds())
      for (const auto &size : sizes) {
        fill_picture(picture, size[0], size[1], random);
        SCOPED_TRACE(name_of(picture) + " at depth " + std::to_string(depth));
        ASSERT_EQ(load(encode_png(picture)), 1);
        ASSERT_EQ(image_w, int32_t(picture.w));
        ASSERT_EQ(image_h, int32_t(picture.h));
        ASSERT_EQ(image_bpp, picture.paletted() ? 8 : depth);
        ASSERT_EQ(image_has_palette, picture.paletted());
        ASSERT_EQ(image_alphachannel, picture.has_alpha() && depth == 32);
        for (uint32_t y = 0; y < picture.h; y++)
          for (uint32_t x = 0; x < picture.w; x++)
            ASSERT_EQ(read_pixel(x, y),
                      picture.paletted()
                          ? picture.index(x, y)
                          : expected_at_depth(picture.argb(x, y), picture.has_alpha(), depth))
                << x << ", " << y;
        if (!picture.paletted()) continue;
        for (size_t i = 0; i < 256; i++) {
          const png_color c = i < picture.palette.size() ? picture.palette[i] : png_color{0, 0, 0};
          const orb_rgb &read = image_palette.colours[i];
          ASSERT_TRUE(read.r == c.red && read.g == c.green && read.b == c.blue) << "entry " << i;
        }
      }
  }
}

// Neighbouring colours share slots in the converter's cache; a wide ramp covers all slots.
TEST_F(PngReader, ManyColoursKeepTheirNearestIndex) {
  set_depth(8);
  std::mt19937 random(21);
  set_random_palette(random);
  png_picture picture{256, 128, PNG_COLOR_TYPE_RGB, 8, false, false, {}, {}, {}};
  for (uint32_t y = 0; y < picture.h; y++)
    for (uint32_t x = 0; x < picture.w; x++)
      for (uint32_t sample : {x, y * 2, (x * y) & 255})
        picture.samples.push_back(uint16_t(sample));
  ASSERT_EQ(load(encode_png(picture)), 1);
  for (uint32_t y = 0; y < picture.h; y++)
    for (uint32_t x = 0; x < picture.w; x++)
      ASSERT_EQ(read_pixel(x, y), expected_at_depth(picture.argb(x, y), false, 8));
}

TEST_F(PngReader, OtherProgramsFiles) {
  const char *truecolour[] = {"magick_grey1",      "magick_rgb_interlaced",
                              "magick_rgba16",     "netpbm_grey4",
                              "netpbm_rgb16",      "netpbm_rgb_trns",
                              "pillow_grey",       "pillow_grey16",
                              "pillow_grey_alpha", "pillow_rgb",
                              "pillow_rgba"};
  for (const char *name : truecolour) {
    SCOPED_TRACE(name);
    const std::string file = data_path("png/") + name;
    const file_bytes rgba = read_file(file + ".rgba");
    ASSERT_EQ(png_codec.check((file + ".png").c_str(), nullptr), 1);
    reset_image();
    ASSERT_EQ(png_codec.load((file + ".png").c_str(), nullptr), 1);
    ASSERT_EQ(image_bpp, 32);
    ASSERT_EQ(rgba.size(), size_t(image_w * image_h * 4));
    for (size_t i = 0; i < rgba.size(); i += 4) {
      const uint32_t pixel = static_cast<const uint32_t *>(image_data)[i / 4];
      const uint32_t colour = uint32_t(rgba[i] << 16 | rgba[i + 1] << 8 | rgba[i + 2]);
      ASSERT_EQ(pixel & 0xFFFFFF, colour) << "pixel " << i / 4;
      ASSERT_EQ(pixel >> 24, image_alphachannel ? rgba[i + 3] : 0) << "pixel " << i / 4;
    }
  }
  for (const char *name :
       {"pillow_palette2", "pillow_palette8_trns", "magick_palette4_interlaced"}) {
    SCOPED_TRACE(name);
    const std::string file = data_path("png/") + name;
    const file_bytes indices = read_file(file + ".idx"), colours = read_file(file + ".pal");
    reset_image();
    ASSERT_EQ(png_codec.load((file + ".png").c_str(), nullptr), 1);
    ASSERT_EQ(image_bpp, 8);
    EXPECT_EQ(memcmp(image_data, indices.data(), indices.size()), 0);
    EXPECT_EQ(memcmp(&image_palette, colours.data(), colours.size()), 0);
    image_palette = {};
    EXPECT_EQ(png_codec.load_palette((file + ".png").c_str()), 1);
    EXPECT_EQ(memcmp(&image_palette, colours.data(), colours.size()), 0);
  }
}

// Some programs write palettes shorter than the indices need.
TEST_F(PngReader, IndicesBeyondThePaletteAreBlack) {
  png_picture picture{4, 4, PNG_COLOR_TYPE_PALETTE, 4, false, false, {}, {}, {}};
  std::mt19937 random(26);
  fill_picture(picture, 4, 4, random);
  for (uint16_t i = 0; i < 16; i++)
    picture.samples[i] = i;
  picture.palette.resize(3);
  testing::internal::CaptureStderr();
  ASSERT_EQ(load(encode_png(picture)), 1);
  EXPECT_EQ(testing::internal::GetCapturedStderr(), "");
  for (uint32_t i = 0; i < 16; i++)
    EXPECT_EQ(read_pixel(i % 4, i / 4), i);
  EXPECT_EQ(image_palette.colours[2].g, picture.palette[2].green);
  for (int i = 3; i < 256; i++)
    EXPECT_EQ(image_palette.colours[i].g, 0);
}

TEST_F(PngReader, OnlyPalettePicturesHaveAPalette) {
  image_palette.colours[7] = {1, 2, 3};
  EXPECT_EQ(png_codec.load_palette(data_path("png/pillow_rgb.png").c_str()), 0);
  EXPECT_EQ(png_codec.load_palette(path("missing.png").c_str()), 0);
  EXPECT_EQ(image_palette.colours[7].g, 2);
}

// ---- Broken files -------------------------------------------------------------------------------

TEST_F(PngReader, EveryPrefixIsRefusedQuietly) {
  std::mt19937 random(22);
  testing::internal::CaptureStderr();
  for (bool interlaced : {false, true}) {
    png_picture picture{1, 1, PNG_COLOR_TYPE_RGB_ALPHA, 8, interlaced, false, {}, {}, {}};
    fill_picture(picture, 6, 5, random);
    const file_bytes whole = encode_png(picture);
    for (int32_t depth : {32, 16}) {
      set_depth(depth);
      for (size_t size = 0; size < whole.size(); size++) {
        ASSERT_EQ(load({whole.begin(), whole.begin() + ptrdiff_t(size)}), 0) << size;
        ASSERT_EQ(image_data, nullptr);
        ASSERT_EQ(image_error, 144);
        ASSERT_EQ(png_codec.check(path("picture.png").c_str(), nullptr), size >= 8);
      }
      ASSERT_EQ(load(whole), 1);
    }
  }
  EXPECT_EQ(testing::internal::GetCapturedStderr(), "");
}

/// The position of each chunk of a file: offset of its length word, and its data size.
std::vector<std::pair<size_t, size_t>> chunks_of(const file_bytes &file) {
  std::vector<std::pair<size_t, size_t>> chunks;
  for (size_t at = 8; at + 12 <= file.size();) {
    const size_t size =
        size_t(file[at] << 24 | file[at + 1] << 16 | file[at + 2] << 8 | file[at + 3]);
    chunks.push_back({at, size});
    at += size + 12;
  }
  return chunks;
}

void set_word(file_bytes &file, size_t at, uint32_t word) {
  for (size_t i = 0; i < 4; i++)
    file[at + i] = uint8_t(word >> (24 - 8 * i));
}

void fix_checksum(file_bytes &file, std::pair<size_t, size_t> chunk) {
  set_word(file, chunk.first + 8 + chunk.second,
           uint32_t(crc32(0, &file[chunk.first + 4], uInt(chunk.second + 4))));
}

// In half of the files, correct the chunks' checksums, so that the damage gets further.
TEST_F(PngReader, DamagedFilesNeverDoHarm) {
  std::mt19937 random(23);
  int read = 0, refused = 0;
  testing::internal::CaptureStderr();
  for (int round = 0; round < 3; round++) {
    set_depth(std::to_array({32, 16, 8})[size_t(round)]);
    for (png_picture picture : png_kinds()) {
      fill_picture(picture, 7, 6, random);
      const file_bytes whole = encode_png(picture);
      const auto chunks = chunks_of(whole);
      for (int i = 0; i < 16; i++) {
        file_bytes damaged = whole;
        const auto chunk = chunks[random() % chunks.size()];
        const size_t first = i % 2 ? chunk.first + 8 : 0;
        const size_t count = i % 2 ? chunk.second : whole.size();
        for (size_t n = 1 + random() % 3; n > 0 && count > 0; n--)
          damaged[first + random() % count] ^= uint8_t(1 << random() % 8);
        if (i % 2) fix_checksum(damaged, chunk);
        // A damaged header may claim a large size; this test looks for invalid accesses, not memory
        // use.
        const uint32_t sides = uint32_t(damaged[16] | damaged[17] | damaged[20] | damaged[21]);
        if (sides) continue;
        if (load(damaged)) {
          read++;
          const size_t size = size_t(image_w) * size_t(image_h) * size_t(image_bpp / 8);
          volatile uint8_t touched = 0; // every promised byte is accessible
          for (size_t b = 0; b < size; b++)
            touched = static_cast<const uint8_t *>(image_data)[b];
          (void)touched;
        } else {
          refused++;
          ASSERT_EQ(image_data, nullptr);
        }
      }
    }
  }
  EXPECT_EQ(testing::internal::GetCapturedStderr(), "");
  // Both outcomes must occur, or the test proves nothing.
  EXPECT_GT(read, 30);
  EXPECT_GT(refused, 300);
}

TEST_F(PngReader, HugeHeadersAreRefusedBeforeTheyCost) {
  std::mt19937 random(24);
  png_picture picture{1, 1, PNG_COLOR_TYPE_RGB_ALPHA, 8, false, false, {}, {}, {}};
  fill_picture(picture, 4, 4, random);
  const file_bytes whole = encode_png(picture);
  const struct {
    uint32_t w, h;
    int32_t error;
  } rows[] = {
      {65536, 1, 144},     {1, 65536, 144}, {0, 4, 144}, {0x7FFFFFFF, 0x7FFFFFFF, 144},
      {65535, 65535, 100}, // 17179344900 bytes, 4294443012 modulo 2^32
      {32768, 32768, 100}, // 4294967296 bytes, 0 modulo 2^32
      {16385, 65535, 100},
  };
  for (const auto &row : rows) {
    file_bytes file = whole;
    set_word(file, 16, row.w);
    set_word(file, 20, row.h);
    fix_checksum(file, {8, 13});
    EXPECT_EQ(load(file), 0);
    EXPECT_EQ(image_error, row.error) << row.w << " x " << row.h;
    EXPECT_EQ(image_data, nullptr);
  }
}

TEST_F(PngReader, MissingAndUnreadableFiles) {
  image_error = 0;
  EXPECT_EQ(png_codec.load(path("missing.png").c_str(), nullptr), 0);
  EXPECT_EQ(image_error, 143);
  EXPECT_EQ(png_codec.check(path("missing.png").c_str(), nullptr), 0);
  EXPECT_EQ(png_codec.load(path("").c_str(), nullptr), 0); // a folder
  host.file.path = nullptr;
  EXPECT_EQ(png_codec.load(data_path("png/pillow_rgb.png").c_str(), nullptr), 0);
}

// ---- Writing ------------------------------------------------------------------------------------

struct decoded_png {
  int colour, bits;
  uint32_t w, h;
  std::vector<uint32_t> argb; // by libpng's simplified reader
};

decoded_png decode(const std::string &name) {
  decoded_png out{};
  const file_bytes file = read_file(name);
  out.bits = file.at(24);
  out.colour = file.at(25);
  png_image image{};
  image.version = PNG_IMAGE_VERSION;
  if (!png_image_begin_read_from_memory(&image, file.data(), file.size())) return out;
  image.format = PNG_FORMAT_BGRA;
  out.w = image.width;
  out.h = image.height;
  out.argb.resize(size_t(out.w) * out.h);
  png_image_finish_read(&image, nullptr, out.argb.data(), 0, nullptr);
  return out;
}

TEST_F(PngWriter, FilesAtEveryDepthReadEqualElsewhereAndHere) {
  std::mt19937 random(25);
  const struct {
    int32_t depth;
    bool alpha;
    int colour;
  } kinds[] = {{8, false, PNG_COLOR_TYPE_PALETTE},
               {16, false, PNG_COLOR_TYPE_RGB},
               {32, false, PNG_COLOR_TYPE_RGB},
               {32, true, PNG_COLOR_TYPE_RGB_ALPHA}};
  const std::string name = path("written.png");
  for (const auto &kind : kinds)
    for (int32_t parameter : {-1, 0, 1, 9, 10, -7}) {
      SCOPED_TRACE("depth " + std::to_string(kind.depth) + ", parameter " +
                   std::to_string(parameter));
      set_depth(kind.depth);
      if (kind.depth == 8) set_random_palette(random);
      reset_image();
      const uint32_t w = 1 + random() % 40, h = 1 + random() % 9;
      const size_t size = size_t(w) * h * size_t(kind.depth / 8);
      file_bytes pixels(size);
      for (uint8_t &byte : pixels)
        byte = uint8_t(random());
      image_data = aligned_malloc(uint32_t(size));
      memcpy(image_data, pixels.data(), size);
      image_w = int32_t(w);
      image_h = int32_t(h);
      image_bpp = kind.depth;
      image_alphachannel = kind.alpha;
      ASSERT_EQ(ORB_SavePNG(name.c_str(), parameter, nullptr), 1);

      const decoded_png seen = decode(name);
      ASSERT_EQ(seen.colour, kind.colour);
      ASSERT_EQ(seen.bits, 8);
      ASSERT_EQ(seen.w, w);
      ASSERT_EQ(seen.h, h);
      for (size_t i = 0; i < size_t(w) * h; i++) {
        uint32_t expected = 0xFF000000;
        if (kind.depth == 8) {
          const orb_rgb &c = palette->colours[pixels[i]];
          expected |= uint32_t(c.r << 16 | c.g << 8 | c.b);
        } else if (kind.depth == 16) {
          const uint32_t p = uint32_t(pixels[2 * i] | pixels[2 * i + 1] << 8);
          expected |= (p / 2048 * 8) << 16 | (p / 32 % 64 * 4) << 8 | p % 32 * 8;
        } else {
          memcpy(&expected, &pixels[4 * i], 4);
          if (!kind.alpha) expected |= 0xFF000000;
        }
        ASSERT_EQ(seen.argb[i], expected) << "pixel " << i;
      }

      reset_image();
      ASSERT_EQ(png_codec.load(name.c_str(), nullptr), 1);
      ASSERT_EQ(image_bpp, kind.depth);
      ASSERT_EQ(image_alphachannel, kind.alpha);
      // Without an alpha channel the top byte is lost.
      if (kind.depth == 32 && !kind.alpha)
        for (size_t i = 3; i < size; i += 4)
          pixels[i] = 0;
      EXPECT_EQ(memcmp(image_data, pixels.data(), size), 0);
    }
}

} // namespace
