// The writers of picture files: run-length codes worked out by hand, and whole files read again by
// the module and by libpng, or compared with libjpeg's own. Whole files byte for byte stand in
// transcripts/picture_files.txt.
#include <algorithm>
#include <random>

#include <gtest/gtest.h>
#include <png.h>

#include "files/pictures.h"
#include "formats/codec.h"
#include "formats/rle.h"
#include "surface/palette.h"
#include "surface/registry.h"

namespace {

// ---- Run-length codes

/// A line as the writer of a format codes it: `p`cx, `b`mp, or tga with pixels of 1 to 4 bytes.
/// Buffers have exactly the promised sizes, so that sanitizers catch any byte beyond.
file_bytes encoded(char format, const file_bytes &line) {
  const int32_t size = format - '0', count = int32_t(line.size());
  if (format == 'p' || format == 'b') {
    file_bytes out(2 * line.size()), raw(bmp_raw_pixels);
    out.resize(size_t(format == 'p'
                          ? EncodePcxRleLine(line.data(), out.data(), count)
                          : EncodeBmpRleLine(line.data(), out.data(), count, raw.data())));
    return out;
  }
  file_bytes out(tga_line_bound(uint32_t(count / size), uint32_t(size)));
  file_bytes raw(size_t(tga_raw_pixels * size));
  out.resize(size_t(EncodeTGARLELine(line.data(), out.data(), count / size, size, raw.data())));
  return out;
}

/// As in bytes_from, or behind `up` and a number of three digits that many bytes 1, 2, 3, ..., of
/// which no two neighbours are equal.
file_bytes line_of(const std::string &text) {
  const size_t up = text.find("up");
  if (up == std::string::npos) return bytes_from(text);
  file_bytes line = bytes_from(text.substr(0, up));
  for (int i = 0; i < std::stoi(text.substr(up + 2)); i++)
    line.push_back(uint8_t(1 + i % 150));
  const file_bytes end = bytes_from(text.substr(up + 5));
  line.insert(line.end(), end.begin(), end.end());
  return line;
}

TEST(RunLengthCodes, AreThoseWorkedOutByHand) {
  const struct {
    char format;
    const char *line, *expected;
  } rows[] = {
      {'p', "05", "05"},
      {'p', "BF C0 FF", "BF C1 C0 C1 FF"}, // a byte that looks like a count
      {'p', "07*64", "FF 07 07"},
      {'p', "C0*64", "FF C0 C1 C0"},
      {'p', "01 01 01 02 03 03", "C3 01 02 C2 03"},
      {'b', "09 08", "01 09 01 08"}, // absolute runs begin at three
      {'b', "09 08 07", "00 03 09 08 07 00"},
      {'b', "06*3", "00 03 06 06 06 00"}, // runs at four
      {'b', "01 06*4 02*3", "01 01 04 06 00 03 02*3 00"},
      {'b', "03*258", "FF 03 00 03 03*3 00"},
      {'b', "up254", "00 FE up254"},
      // A short run across the end of an absolute one.
      {'b', "up253 C8*3", "00 FE up253 C8 01 C8 01 C8"},
      {'1', "06*3", "02 06*3"},
      {'1', "01 06*4 02", "00 01 83 06 00 02"},
      {'1', "03*131", "FF 03 02 03*3"},
      {'1', "up128", "7F up128"},
      {'1', "up127 C8*3", "7F up127 C8 01 C8 C8"},
      {'2', "0102 0102 0102 0102 0103", "83 0102 00 0103"},
      {'3', "010203 010203 010203 010203 010204", "83 010203 00 010204"},
      {'4', "01020304 01020304 01020304 01020304 01020305", "83 01020304 00 01020305"},
  };
  for (const auto &row : rows)
    EXPECT_EQ(encoded(row.format, line_of(row.line)), line_of(row.expected))
        << row.format << ": " << row.line;
}

// ---- Whole files

/// A pixel of a depth as writers store it: 0xAARRGGBB, 16 bits by shifts only.
uint32_t stored(uint32_t pixel, int32_t depth, bool alpha) {
  if (depth == 32) return alpha ? pixel : pixel | 0xFF000000;
  if (depth == 16)
    return 0xFF000000 | (pixel >> 11) << 19 | (pixel >> 5 & 63) << 10 | (pixel & 31) << 3;
  const orb_rgb &c = palette->colours[pixel];
  return 0xFF000000 | uint32_t(c.r << 16 | c.g << 8 | c.b);
}

/// What libpng's simplified reader finds.
std::vector<uint32_t> seen_by_libpng(const file_bytes &file) {
  png_image image{};
  image.version = PNG_IMAGE_VERSION;
  if (!png_image_begin_read_from_memory(&image, file.data(), file.size())) return {};
  image.format = PNG_FORMAT_BGRA;
  std::vector<uint32_t> argb(image.width * image.height);
  png_image_finish_read(&image, nullptr, argb.data(), 0, nullptr);
  return argb;
}

class Writers : public testing::TestWithParam<int> {};

TEST_P(Writers, WhatIsSavedComesBack) {
  const int32_t depth = GetParam();
  const char *const formats[] = {"", "map", "bmp", "jpeg", "pcx", "png", "tga"};
  std::mt19937 random(50);
  world w;
  w.set_mode(depth);
  for (int i = 0; palette && i < 256; i++)
    palette->colours[i] = {uint8_t(random()), uint8_t(random()), uint8_t(random())};
  palette_loaded = 1; // pictures keep it
  for (const bool alpha : {false, true})
    for (const auto &[width, height] :
         {std::pair(1, 1), {2, 3}, {5, 1}, {157, 21}, {700, 5}, {65535, 2}}) {
      if (alpha && depth != 32) continue;
      const int32_t code = w.host.call("map_new", {width, height, 0, alpha});
      const __ORBSurface2D__ &graph = *GetMAP(0, code)->surface;
      // Runs of all lengths, and the pixels between them. An alpha channel may be in one pixel
      // only.
      std::vector<uint32_t> colours;
      uint32_t value = 0;
      for (uint32_t i = 0, run = 0; i<graph.pixel_count; i++, run -= run> 0) {
        if (run == 0) value = uint32_t(random()), run = random() % 3 ? 1 : random() % 300;
        if (depth == 32 && !(alpha && (i == 0 || width < 200))) value &= 0xFFFFFF;
        if (alpha && i == 0) value |= 0x80000000;
        set_pixel(const_cast<__ORBSurface2D__ &>(graph), i % graph.width, i / graph.width, value);
        colours.push_back(stored(pixel(graph, i % graph.width, i / graph.width), depth, false));
      }
      for (int32_t format = img_format_map; format <= img_format_tga; format++)
        for (const int32_t parameter : {-1, 0, 1}) {
          SCOPED_TRACE(std::string(formats[format]) + ", parameter " + std::to_string(parameter) +
                       ", " + std::to_string(width) + " wide");
          if (width > 200 && parameter != 1) continue;
          if (width > 65500 && format == img_format_jpeg) continue; // more than libjpeg takes
          const std::string name = w.folder.path / "saved";
          std::filesystem::remove(name); // else some file systems flush the new one at once
          ASSERT_EQ(w.host.call("image_save", {0, code, name, format, parameter}), 1);
          if (format == img_format_png && parameter == 0) // no compression
            EXPECT_GT(std::filesystem::file_size(name), graph.pixel_count * (depth == 8 ? 1 : 3));
          if (format == img_format_png && parameter == 1 && width == 700 && depth == 8)
            EXPECT_LT(std::filesystem::file_size(name), graph.pixel_count);
          if (format == img_format_jpeg)
            EXPECT_EQ(read_file(name),
                      libjpeg_file(colours, graph.width, parameter < 0 ? -1 : 100 - parameter));
          const bool kept = alpha && format != img_format_pcx && format != img_format_jpeg;
          const std::vector<uint32_t> argb =
              format == img_format_png ? seen_by_libpng(read_file(name)) : std::vector<uint32_t>();
          for (uint32_t i = 0; i < argb.size(); i++)
            ASSERT_EQ(argb[i], stored(pixel(graph, i % graph.width, i / graph.width), depth, kept))
                << "pixel " << i;
          const int32_t again = w.host.call("image_load", {name});
          if (format == img_format_pcx && depth == 16) { // 24 bits, too deep for the reader
            EXPECT_EQ(w.reports(), "144 IMAGE_LOAD 1 \"" + name + '"');
            continue;
          }
          ASSERT_EQ(w.reports(), "");
          const __ORBSurface2D__ &loaded = *GetMAP(0, again)->surface;
          EXPECT_EQ(image_loaded[again - 1000], format);
          EXPECT_EQ(loaded.alpha_channel, kept);
          ASSERT_EQ(loaded.byte_size, graph.byte_size);
          for (uint32_t i = 0; format != img_format_jpeg && i < graph.pixel_count; i++) {
            const uint32_t x = i % graph.width, y = i / graph.width, p = pixel(graph, x, y);
            ASSERT_EQ(pixel(loaded, x, y), depth == 32 && !kept ? p & 0xFFFFFF : p)
                << "pixel " << i;
          }
          w.host.call("image_unload", {again});
        }
      w.host.call("map_unload", {-1});
    }
}

INSTANTIATE_TEST_SUITE_P(Depths, Writers, testing::Values(8, 16, 32));

} // namespace
