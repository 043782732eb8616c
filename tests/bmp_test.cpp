// The BMP reader on hand-built files: every header, depth, mask and run-length code.
#include <gtest/gtest.h>

#include "picture_fixture.h"

namespace {

struct BmpReader : picture_test {
  BmpReader() : picture_test(img_format_bmp) {}
};

TEST_F(BmpReader, PlainFilesOfEveryDepthAndHeader) {
  for (uint32_t info_size : {12u, 40u, 52u, 56u, 64u, 108u, 124u})
    for (uint32_t bits : {1u, 4u, 8u, 16u, 24u, 32u})
      for (int32_t w : {1, 3, 9, 34}) {
        bmp_file file{.info_size = info_size, .w = w, .h = 5, .bits = bits};
        if (info_size != 12 && random() % 2) file.h = -5;
        if (bits <= 8) file.colours = random_colours(size_t(1) << bits, random);
        file.gap = random() % 2 ? uint32_t(random() % 70) : 0;
        SCOPED_TRACE(std::to_string(info_size) + " bytes, " + std::to_string(bits) + " bits, " +
                     std::to_string(w) + " wide");
        expected_picture picture{w, 5, bits <= 8, bits == 32, file.fill(random)};
        for (uint32_t &pixel : picture.pixels)
          if (bits == 16) pixel = expected_555(pixel);
        expect_at_every_depth(file.encode(), picture);
        if (bits <= 8 && file.gap == 0) expect_colours(file.colours);
      }
}

TEST_F(BmpReader, PalettesOfEveryLength) {
  const struct {
    uint32_t bits, stated, stored;
    decltype(bmp_file::stated_offset) offset;
    size_t expected;
  } rows[] = {
      {8, 0, 256, bmp_file::where_they_do, 256},
      {8, 7, 7, bmp_file::where_they_do, 7},
      {8, 0, 7, bmp_file::where_they_do, 7},
      {8, 7, 7, bmp_file::nowhere, 7},
      {8, 0, 256, bmp_file::nowhere, 256},
      {4, 0, 16, bmp_file::nowhere, 16},
      {4, 3, 3, bmp_file::where_they_do, 3},
      {8, 300, 256, bmp_file::nowhere, 256},
      {8, 0xFFFFFFFF, 256, bmp_file::where_they_do, 256},
      {4, 20, 20, bmp_file::where_they_do, 20},
      {1, 2, 2, bmp_file::nowhere, 2},
      {8, 0, 256, bmp_file::at_the_palette, 256},
      {8, 7, 7, bmp_file::at_the_palette, 7},
      {1, 0, 2, bmp_file::at_the_palette, 2},
  };
  for (const auto &row : rows) {
    SCOPED_TRACE(&row - rows);
    bmp_file file{.w = 6, .h = 4, .bits = row.bits, .stated_colours = row.stated};
    file.colours = random_colours(row.stored, random);
    file.stated_offset = row.offset;
    expected_picture picture{6, 4, true, false, file.fill(random)};
    ASSERT_EQ(load(file.encode()), 1);
    expect_loaded(picture);
    file.colours.resize(std::min(file.colours.size(), row.expected));
    expect_colours(file.colours);
  }
}

TEST_F(BmpReader, Masks) {
  const struct {
    uint32_t info_size, compression, bits;
    std::vector<uint32_t> masks;
    uint32_t value;
    bool alpha;
    uint32_t expected;
  } rows[] = {
      {40, 3, 16, {0xF800, 0x07E0, 0x001F}, 0xFFFF, false, 0xFFFFFF},
      {40, 3, 16, {0xF800, 0x07E0, 0x001F}, 0x0841, false, 0x080808},
      {40, 3, 16, {0x7C00, 0x03E0, 0x001F}, 0xFC00, false, 0xFF0000},
      // Green and blue mark these as 5-5-5.
      {40, 3, 16, {0xFC00, 0x03E0, 0x001F}, 0x8000, false, 0},
      {40, 3, 16, {0, 0x03E0, 0x001F}, 0x7C00, false, 0xFF0000},
      {124, 3, 16, {0x7C00, 0x03E0, 0x001F, 0x8000}, 0x801F, true, 0xFF0000FF},
      {124, 3, 16, {0x0F00, 0x00F0, 0x000F, 0xF000}, 0x8421, true, 0x88442211},
      {40, 6, 16, {0x0F00, 0x00F0, 0x000F, 0xF000}, 0x8421, true, 0x88442211},
      {40, 3, 16, {0x0007, 0x0038, 0x01C0}, 0x0003, false, 0x6D0000},
      {40, 3, 32, {0xFF, 0xFF00, 0xFF0000}, 0x00112233, false, 0x332211},
      {40, 3, 32, {0xFF, 0xFF00, 0xFF0000}, 0x44112233, true, 0x44332211},
      {40, 3, 32, {0xFF0000, 0xFF00, 0xFF}, 0x00112233, false, 0x112233},
      {40, 0, 32, {}, 0x44112233, true, 0x44112233},
      {40, 0, 32, {}, 0x00112233, false, 0x00112233},
      {52, 3, 32, {0xFF0000, 0xFF00, 0xFF}, 0x44112233, true, 0x44112233},
      // A header with an alpha mask field is taken literally.
      {124, 3, 32, {0xFF0000, 0xFF00, 0xFF, 0}, 0x44112233, false, 0x112233},
      {124, 3, 32, {0xFF0000, 0xFF00, 0xFF, 0xFF000000}, 0x00112233, true, 0x00112233},
      {108, 3, 32, {0xFF000000, 0xFF0000, 0xFF00, 0xFF}, 0x11223344, true, 0x44112233},
      // Ten bits count by their top eight; empty and full masks are odd but harmless.
      {40, 3, 32, {0x3FF00000, 0xFFC00, 0x3FF}, 0x3FF00000 | 512u << 10 | 3, false, 0xFF8000},
      {40, 3, 32, {0, 0, 0}, 0x00FFFFFF, false, 0},
      {40, 3, 32, {0xFFFFFFFF, 0, 0x80000000}, 0x80000000, false, 0x8000FF},
  };
  for (const auto &row : rows) {
    SCOPED_TRACE(&row - rows);
    bmp_file file{.info_size = row.info_size,
                  .w = 2,
                  .h = 2,
                  .bits = row.bits,
                  .compression = row.compression};
    file.masks = row.masks;
    for (int i = 0; i < 4; i++)
      for (uint32_t bit = 0; bit < row.bits; bit += 8)
        file.pixels.push_back(uint8_t(row.value >> bit));
    expect_at_every_depth(file.encode(),
                          {2, 2, false, row.alpha, std::vector<uint32_t>(4, row.expected)});
  }
}

// One pixel with a top byte, anywhere, creates the alpha channel.
TEST_F(BmpReader, AnyTopByteMakesAnAlphaChannel) {
  for (size_t marked : {size_t(0), size_t(200 * 100 - 1), SIZE_MAX}) {
    bmp_file file{.w = 200, .h = 100, .bits = 32};
    file.pixels.resize(200 * 100 * 4);
    expected_picture picture{200, 100, false, marked != SIZE_MAX, {}};
    picture.pixels.resize(200 * 100);
    for (size_t i = 0; i < picture.pixels.size(); i++) {
      const uint32_t value = (uint32_t(random()) & 0xFFFFFF) | (i == marked ? 0x90000000 : 0);
      for (size_t k = 0; k < 4; k++)
        file.pixels[4 * i + k] = uint8_t(value >> (8 * k));
      picture.pixels[(99 - i / 200) * 200 + i % 200] = value;
    }
    expect_at_every_depth(file.encode(), picture);
  }
}

TEST_F(BmpReader, RunLengthCodes) {
  // Rows are listed bottom first, as in the file.
  const struct {
    const char *what;
    int32_t w, h;
    uint32_t bits;
    file_bytes codes;
    std::vector<uint32_t> rows;
  } rows[] = {
      {"runs and ends of lines", 3, 2, 8, {3, 7, 0, 0, 1, 8, 2, 9, 0, 1}, {7, 7, 7, 8, 9, 9}},
      {"padded absolute run", 3, 1, 8, {0, 3, 1, 2, 3, 0xEE, 0, 1}, {1, 2, 3}},
      {"even absolute run", 4, 1, 8, {0, 4, 1, 2, 3, 4, 0, 1}, {1, 2, 3, 4}},
      {"early end", 2, 2, 8, {1, 5, 0, 1}, {5, 0, 0, 0}},
      {"short line", 2, 2, 8, {1, 5, 0, 0, 2, 6, 0, 1}, {5, 0, 6, 6}},
      {"delta to the right", 4, 1, 8, {1, 5, 0, 2, 2, 0, 1, 6, 0, 1}, {5, 0, 0, 6}},
      {"delta up keeps the column", 2, 3, 8, {1, 5, 0, 2, 0, 2, 1, 6, 0, 1}, {5, 0, 0, 0, 0, 6}},
      {"delta out of the picture", 2, 1, 8, {2, 5, 0, 2, 255, 255, 4, 9, 0, 1}, {5, 5}},
      {"delta over the edge", 2, 2, 8, {0, 2, 9, 0, 3, 4, 0, 0, 2, 6, 0, 1}, {0, 0, 6, 6}},
      {"run over the edge", 2, 2, 8, {255, 5, 0, 0, 0, 4, 1, 2, 3, 4, 0, 1}, {5, 5, 1, 2}},
      {"line after the last", 1, 1, 8, {1, 5, 0, 0, 1, 9, 0, 0}, {5}},
      {"no end mark", 2, 2, 8, {2, 5, 0, 0, 2, 6}, {5, 5, 6, 6}},
      {"nothing at all", 2, 1, 8, {0, 1}, {0, 0}},
      {"nibbles alternate", 5, 1, 4, {5, 0x12, 0, 1}, {1, 2, 1, 2, 1}},
      {"absolute nibbles, padded", 5, 1, 4, {0, 5, 0x12, 0x34, 0x5F, 0xEE, 0, 1}, {1, 2, 3, 4, 5}},
      {"absolute nibbles, even", 4, 1, 4, {0, 4, 0x12, 0x34, 0, 1}, {1, 2, 3, 4}},
      {"nibbles over the edge",
       3,
       2,
       4,
       {8, 0xAB, 0, 0, 0, 6, 0x12, 0x34, 0x56, 0xEE, 0, 1},
       {10, 11, 10, 1, 2, 3}},
      {"odd places", 5, 1, 4, {1, 0xC0, 0, 3, 0x12, 0x30, 1, 0xD0, 0, 1}, {12, 1, 2, 3, 13}},
  };
  for (const auto &row : rows)
    for (const bool top_down : {false, true}) {
      SCOPED_TRACE(row.what);
      bmp_file file{.w = row.w,
                    .h = top_down ? -row.h : row.h,
                    .bits = row.bits,
                    .compression = row.bits == 8 ? 1u : 2u};
      file.colours = random_colours(16, random);
      file.stated_colours = 16;
      file.pixels = row.codes;
      expected_picture picture{row.w, row.h, true, false, {}};
      for (int32_t y = 0; y < row.h; y++) {
        const auto first = row.rows.begin() + (top_down ? y : row.h - 1 - y) * row.w;
        picture.pixels.insert(picture.pixels.end(), first, first + row.w);
      }
      expect_at_every_depth(file.encode(), picture);
    }
  // Truncated files are refused, except those whose rows are complete.
  for (const auto &row : rows) {
    SCOPED_TRACE(row.what);
    bmp_file file{.w = row.w, .h = row.h, .bits = row.bits, .compression = row.bits == 8 ? 1u : 2u};
    file.pixels = {row.codes.begin(), row.codes.begin() + 1};
    expect_refused(file.encode());
  }
}

TEST_F(BmpReader, HeadersThatAreRefused) {
  const auto refused = [this](auto change) {
    bmp_file file{.w = 4, .h = 3, .bits = 8};
    file.colours = random_colours(256, random);
    file.fill(random);
    change(file);
    expect_refused(file.encode());
  };
  for (uint32_t size : {0u, 11u, 13u, 16u, 39u, 0x7FFFFFFFu, 0xFFFFFFFFu}) {
    SCOPED_TRACE(size);
    bmp_file file{.w = 4, .h = 3, .bits = 24};
    file.fill(random);
    file_bytes bytes = file.encode();
    for (size_t i = 0; i < 4; i++)
      bytes[14 + i] = uint8_t(size >> (8 * i));
    expect_refused(bytes);
  }
  for (uint32_t bits : {0u, 2u, 3u, 5u, 15u, 17u, 48u, 64u, 65535u})
    refused([=](bmp_file &file) { file.bits = bits; });
  for (uint32_t compression : {2u, 3u, 4u, 5u, 6u, 7u, 0xFFFFFFFFu})
    refused([=](bmp_file &file) { file.compression = compression; });
  for (int32_t side : {0, -1, 65536, INT32_MAX, INT32_MIN})
    refused([=](bmp_file &file) { file.w = side; });
  for (int32_t side : {0, 65536, -65536, INT32_MAX, INT32_MIN})
    refused([=](bmp_file &file) { file.h = side; });
  refused([](bmp_file &file) { file.pixels.resize(11); });
  refused([](bmp_file &file) { file.w = 65535, file.h = 65535; });
  refused([](bmp_file &file) { file.w = 65535, file.h = 65535, file.compression = 1; });

  // The pixel offset, within the headers and beyond the file.
  bmp_file file{.w = 4, .h = 3, .bits = 24};
  file.fill(random);
  for (uint32_t offset : {1u, 53u, 55u, 200u, 0xFFFFFFFFu}) {
    file_bytes bytes = file.encode();
    for (size_t i = 0; i < 4; i++)
      bytes[10 + i] = uint8_t(offset >> (8 * i));
    expect_refused(bytes);
  }
  // The padding of the last row may be missing.
  file.w = 3;
  const auto values = file.fill(random);
  file.pixels.resize(file.pixels.size() - 3);
  ASSERT_EQ(load(file.encode()), 1);
  expect_loaded({3, 3, false, false, values});
}

} // namespace
