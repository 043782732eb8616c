// The PCX reader on hand-built files.
#include <gtest/gtest.h>

#include "picture_fixture.h"

namespace {

struct PcxReader : picture_test {
  PcxReader() : picture_test(img_format_pcx) {}

  /// Codes `count` random bytes in runs of random lengths; none crosses the end.
  file_bytes code_row(size_t count, file_bytes *row) {
    file_builder coded;
    row->clear();
    while (row->size() < count) {
      const uint32_t value = random() % 256;
      const size_t run = std::min<size_t>(random() % 4 ? 1 : random() % 64, count - row->size());
      if (run == 1 && value < 0xC0)
        coded.u8(value);
      else
        coded.u8(uint32_t(0xC0 + run)).u8(value); // also a run of length 0
      row->insert(row->end(), run, uint8_t(value));
    }
    return coded.bytes;
  }
  pcx_file paletted(uint32_t w, uint32_t h) {
    pcx_file file{.x1 = w - 1, .y1 = h - 1, .line = w};
    file.colours = random_colours(256, random);
    file_bytes row;
    for (uint32_t y = 0; y < h; y++) {
      const file_bytes coded = code_row(w, &row);
      file.pixels.insert(file.pixels.end(), coded.begin(), coded.end());
    }
    return file;
  }
};

TEST_F(PcxReader, IndicesInRowsOfEveryLength) {
  for (uint32_t w : {1u, 2u, 63u, 64u, 200u})
    for (uint32_t extra : {0u, 1u, 3u, 100u}) {
      pcx_file file{.x0 = 7, .y0 = 9, .x1 = 7 + w - 1, .y1 = 12, .line = w + extra};
      file.colours = random_colours(256, random);
      expected_picture picture{int32_t(w), 4, true, false, {}};
      file_bytes row;
      for (int y = 0; y < 4; y++) {
        const file_bytes coded = code_row(file.line, &row);
        file.pixels.insert(file.pixels.end(), coded.begin(), coded.end());
        picture.pixels.insert(picture.pixels.end(), row.begin(), row.begin() + ptrdiff_t(w));
      }
      SCOPED_TRACE(std::to_string(w) + " of " + std::to_string(file.line));
      expect_at_every_depth(file.encode(), picture);
      expect_colours(file.colours);
    }
}

TEST_F(PcxReader, PlanesOnlyWhereTheScreenIsAsDeep) {
  pcx_file file{.planes = 3, .x1 = 20, .y1 = 4, .line = 24};
  expected_picture picture{21, 5, false, false, {}};
  for (int y = 0; y < 5; y++) {
    file_bytes row; // runs may cross planes
    const file_bytes coded = code_row(72, &row);
    file.pixels.insert(file.pixels.end(), coded.begin(), coded.end());
    for (size_t x = 0; x < 21; x++)
      picture.pixels.push_back(uint32_t(row[x] << 16 | row[24 + x] << 8 | row[48 + x]));
  }
  ASSERT_EQ(load(file.encode()), 1);
  expect_loaded(picture);
  EXPECT_EQ(pcx_codec.load_palette(put(file.encode()).c_str()), 0);
  for (int32_t depth : {16, 8}) {
    set_depth(depth);
    EXPECT_EQ(codec.check(put(file.encode()).c_str(), nullptr), 1);
    expect_refused(file.encode());
  }
}

TEST_F(PcxReader, RunsAreCutAtTheEndOfTheRow) {
  pcx_file file{.x1 = 2, .y1 = 1, .line = 4};
  file.colours = random_colours(256, random);
  file.pixels = {0xC9, 5, 1, 2, 0xFF, 3};
  ASSERT_EQ(load(file.encode()), 1);
  expect_loaded({3, 2, true, false, {5, 5, 5, 1, 2, 3}});
}

TEST_F(PcxReader, ProbeTakesMoreThanTheReader) {
  for (uint32_t version : {0u, 2u, 3u, 4u, 5u, 6u, 255u}) {
    pcx_file file = paletted(4, 4);
    file.version = version;
    const std::string name = put(file.encode());
    EXPECT_EQ(pcx_codec.check(name.c_str(), nullptr), version < 6);
    EXPECT_EQ(load_file(name), version == 5);
    EXPECT_EQ(pcx_codec.load_palette(name.c_str()), version == 5);
  }
  write_file(path("one"), {10});
  EXPECT_EQ(pcx_codec.check(path("one").c_str(), nullptr), 0);
}

TEST_F(PcxReader, FilesThatAreRefused) {
  const auto refused = [this](auto change) {
    pcx_file file = paletted(6, 3);
    change(file);
    expect_refused(file.encode());
  };
  for (uint32_t value : {0u, 2u, 255u})
    refused([=](pcx_file &file) { file.encoding = value; });
  for (uint32_t value : {0u, 1u, 4u, 16u, 24u})
    refused([=](pcx_file &file) { file.bits = value; });
  for (uint32_t value : {0u, 2u, 4u, 255u})
    refused([=](pcx_file &file) { file.planes = value; });
  refused([](pcx_file &file) { file.x0 = 7; });
  refused([](pcx_file &file) { file.y0 = 65535; });
  refused([](pcx_file &file) { file.x1 = 65535, file.line = 65535; });
  refused([](pcx_file &file) { file.y1 = 65535; });
  refused([](pcx_file &file) { file.x1 = file.y1 = 65534, file.line = 65535; });
  refused([](pcx_file &file) { file.line = 5; });
  refused([](pcx_file &file) { file.colours.clear(); });
  refused([](pcx_file &file) { file.colours.pop_back(); });
  refused([](pcx_file &file) { file.pixels.clear(); });
  // The palette is not read as pixels.
  pcx_file file = paletted(1, 2);
  file.pixels = {1};
  expect_refused(file.encode());
  file.pixels = {1, 2};
  EXPECT_EQ(load(file.encode()), 1);
}

} // namespace
