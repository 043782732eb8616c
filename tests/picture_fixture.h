// Runs the readers and writers of picture files on generated files.
#pragma once

#include <random>
#include <string>

#include "formats/codec.h"
#include "picture_files.h"

struct picture_test : graphics_test {
  /// The format's functions; set by each test program's fixture.
  const image_codec &codec;
  std::mt19937 random{40};

  explicit picture_test(image_format format) : codec(*codec_for(format)) {}

  std::string put(const file_bytes &bytes) const {
    const std::string name = path("picture");
    write_file(name, bytes);
    return name;
  }
  int32_t load_file(const std::string &name) const {
    reset_image();
    image_error = 0;
    return codec.load(name.c_str(), nullptr);
  }
  int32_t load(const file_bytes &bytes) const { return load_file(put(bytes)); }

  /// Loads a file that the reader must refuse without leaving anything behind.
  void expect_refused(const file_bytes &bytes, int32_t error = 144) const {
    EXPECT_EQ(load(bytes), 0);
    EXPECT_EQ(image_data, nullptr);
    EXPECT_EQ(image_error, error);
  }
  /// Loads a file in every mode and compares the result.
  void expect_at_every_depth(const file_bytes &bytes, const expected_picture &picture) {
    const std::string name = put(bytes);
    EXPECT_EQ(codec.check(name.c_str(), nullptr), 1);
    for (int32_t depth : {32, 16, 8}) {
      SCOPED_TRACE("depth " + std::to_string(depth));
      set_depth(depth);
      ASSERT_EQ(load_file(name), 1);
      expect_loaded(picture);
    }
    set_depth(32);
    image_palette = {};
    EXPECT_EQ(codec.load_palette(name.c_str()), picture.indices);
  }
  /// Compares the palette last read with `colours` followed by black, starting at entry `first`.
  static void expect_colours(const std::vector<orb_rgb> &colours, size_t first = 0) {
    for (size_t i = 0; i < 256; i++) {
      const bool known = i >= first && i - first < colours.size();
      const orb_rgb expected = known ? colours[i - first] : orb_rgb{};
      const orb_rgb &read = image_palette.colours[i];
      ASSERT_TRUE(read.r == expected.r && read.g == expected.g && read.b == expected.b)
          << "entry " << i;
    }
  }
};
