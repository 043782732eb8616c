// Files written by other programs, and the pixels that yet other programs read from them
// (data/make_pictures.sh).
#include <gtest/gtest.h>

#include "formats/codec.h"
#include "picture_files.h"

namespace {

using ForeignPictures = graphics_test;

/// Colours distinct at a depth: each program widens 16-bit files in its own way.
uint32_t kept_bits(const std::string &name) {
  return name.find("RGB565") != std::string::npos   ? 0xF8FCF8
         : name.find("RGB555") != std::string::npos ? 0xF8F8F8
                                                    : 0xFFFFFF;
}

TEST_F(ForeignPictures, ReadToTheSamePixels) {
  const struct {
    const char *name;
    image_format format;
    int files;
  } formats[] = {
      {"bmp", img_format_bmp, 19}, {"pcx", img_format_pcx, 7}, {"tga", img_format_tga, 24}};
  for (const auto &format : formats) {
    int files = 0;
    for (const auto &entry : std::filesystem::directory_iterator(data_path(format.name))) {
      std::filesystem::path file = entry.path();
      if (file.extension() != std::string(".") + format.name) continue;
      SCOPED_TRACE(file.filename().string());
      files++;
      const image_codec *codec = probe_image(file.c_str(), nullptr);
      ASSERT_TRUE(codec);
      ASSERT_EQ(codec->format, format.format);
      reset_image();
      ASSERT_EQ(codec->load(file.c_str(), nullptr), 1);
      ASSERT_EQ(codec->load_palette(file.c_str()), image_has_palette);
      const file_bytes rgba = read_file(file.replace_extension(".rgba"));
      ASSERT_EQ(rgba.size(), size_t(image_w * image_h * 4));
      const uint32_t kept = kept_bits(file.filename());
      bool transparent = false;
      for (size_t i = 0; i < rgba.size() / 4; i++) {
        const uint8_t *expected = &rgba[4 * i];
        uint32_t pixel = loaded_pixel(i);
        if (image_bpp == 8) {
          const orb_rgb &c = image_palette.colours[pixel];
          pixel = uint32_t(c.r << 16 | c.g << 8 | c.b);
        }
        const uint32_t colour = uint32_t(expected[0] << 16 | expected[1] << 8 | expected[2]);
        ASSERT_EQ(pixel & kept, colour & kept) << "pixel " << i;
        ASSERT_EQ(image_alphachannel ? pixel >> 24 : 255, expected[3]) << "pixel " << i;
        transparent |= expected[3] != 255;
      }
      ASSERT_EQ(image_alphachannel, transparent);
    }
    EXPECT_EQ(files, format.files) << format.name;
  }
}

} // namespace
