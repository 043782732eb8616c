// JPEG files built segment by segment: colour profiles in pieces, claims without data, scans
// without end; and written files beside libjpeg's own.
#include <algorithm>
#include <csetjmp>
#include <cstring>
#include <random>

#include <gtest/gtest.h>
#include <jpeglib.h>

#include "formats/icc_profile.h"
#include "support/world.h"
#include "surface/palette.h"
#include "surface/registry.h"

namespace {

file_bytes data(const char *name) {
  return read_file(tests_folder("data/jpeg") / name);
}

/// The pixels of a file at 32 bits, empty for one that is refused. One is loaded at a time.
std::vector<uint32_t> load(world &w, const file_bytes &file) {
  const std::string path = w.folder.path / "picture.jpg";
  write_file(path, file);
  const int32_t code = w.host.call("image_load", {path});
  const std::string report = w.reports();
  if (code < 0) {
    EXPECT_EQ(report, "144 IMAGE_LOAD 1 \"" + path + '"');
    return {};
  }
  const __ORBSurface2D__ &graph = *GetMAP(0, code)->surface;
  const auto *pixels = static_cast<const uint32_t *>(graph.pixels);
  const std::vector<uint32_t> out(pixels, pixels + graph.pixel_count);
  w.host.call("image_unload", {code});
  return out;
}

struct Jpeg : testing::Test {
  world w;
  Jpeg() { w.set_mode(32); }
};

/// The offset of a marker of that kind.
size_t find_marker(const file_bytes &file, uint8_t kind, size_t from = 0) {
  const uint8_t marker[] = {0xFF, kind};
  const auto at = std::search(file.begin() + ptrdiff_t(from), file.end(), marker, marker + 2);
  return at == file.end() ? std::string::npos : size_t(at - file.begin());
}

/// The picture compressed by libjpeg from plain RGB rows. Quality -1: its own default.
file_bytes libjpeg_file(const std::vector<uint32_t> &colours, uint32_t w, int quality,
                        bool arithmetic = false) {
  jpeg_compress_struct info{};
  jpeg_error_mgr errors;
  info.err = jpeg_std_error(&errors);
  jpeg_create_compress(&info);
  unsigned char *out = nullptr;
  unsigned long size = 0;
  jpeg_mem_dest(&info, &out, &size);
  info.image_width = w;
  info.image_height = uint32_t(colours.size()) / w;
  info.input_components = 3;
  info.in_color_space = JCS_RGB;
  jpeg_set_defaults(&info);
  if (quality >= 0) jpeg_set_quality(&info, quality, TRUE);
  info.arith_code = arithmetic;
  jpeg_start_compress(&info, TRUE);
  file_bytes row;
  for (const uint32_t colour : colours) {
    row.insert(row.end(), {uint8_t(colour >> 16), uint8_t(colour >> 8), uint8_t(colour)});
    if (row.size() < 3 * w) continue;
    JSAMPROW rows[] = {row.data()};
    jpeg_write_scanlines(&info, rows, 1);
    row.clear();
  }
  jpeg_finish_compress(&info);
  jpeg_destroy_compress(&info);
  const file_bytes file(out, out + size);
  free(out);
  return file;
}

// ---- Claims and scans

TEST_F(Jpeg, OnlyTheEndMarkerMayBeMissing) {
  for (const char *name : {"pillow_rgb.jpg", "pillow_rgb_progressive.jpg", "pillow_grey.jpg"}) {
    file_bytes file = data(name);
    const auto whole = load(w, file);
    file.resize(file.size() - 2);
    const bool scans = strstr(name, "progressive"); // whether another one follows doesn't show
    EXPECT_EQ(load(w, file), scans ? std::vector<uint32_t>() : whole) << name;
    file.resize(file.size() - 1);
    EXPECT_TRUE(load(w, file).empty()) << name;
  }
}

TEST_F(Jpeg, AFileTooShortForItsPictureCostsNothing) {
  for (const auto &[name, frame] : {std::pair("pillow_grey.jpg", 0xC0),
                                    {"pillow_rgb.jpg", 0xC0},
                                    {"pillow_rgb_progressive.jpg", 0xC2}}) {
    file_bytes file = data(name);
    const size_t at = find_marker(file, uint8_t(frame)) + 5;
    for (const auto &[width, height] :
         {std::pair(65500, 65500), {4096, 4096}, {65535, 1}, {0, 19}}) {
      const file_bytes sides = {uint8_t(height >> 8), uint8_t(height), uint8_t(width >> 8),
                                uint8_t(width)};
      std::copy(sides.begin(), sides.end(), file.begin() + ptrdiff_t(at));
      EXPECT_TRUE(load(w, file).empty()) << name << ", " << width << " x " << height;
    }
  }
}

// White compresses to next to nothing there, so no size is too short; only a large claim is.
TEST_F(Jpeg, ArithmeticCoding) {
#if !defined(C_ARITH_CODING_SUPPORTED) || !defined(D_ARITH_CODING_SUPPORTED)
  GTEST_SKIP() << "this libjpeg has none";
#endif
  const std::vector<uint32_t> white(256 * 256, 0xFFFFFF);
  file_bytes file = libjpeg_file(white, 256, -1, true);
  EXPECT_EQ(load(w, file), white);
  for (size_t size = 0; size < file.size() - 1; size += 3)
    EXPECT_TRUE(load(w, {file.begin(), file.begin() + ptrdiff_t(size)}).empty()) << size;
  const size_t at = find_marker(file, 0xC9) + 5;
  file[at] = file[at + 2] = 20000 >> 8;
  EXPECT_TRUE(load(w, file).empty());
}

TEST_F(Jpeg, ScansWithoutEndAreRefused) {
  const file_bytes whole = data("pillow_rgb_progressive.jpg");
  size_t last = 0;
  for (size_t at = 0; (at = find_marker(whole, 0xDA, at)) != std::string::npos; at++)
    last = at;
  for (const auto &[times, good] : {std::pair(50, true), {200, false}}) {
    file_bytes file(whole.begin(), whole.end() - 2);
    for (int i = 0; i < times; i++)
      file.insert(file.end(), whole.begin() + ptrdiff_t(last), whole.end() - 2);
    file.insert(file.end(), whole.end() - 2, whole.end());
    EXPECT_EQ(!load(w, file).empty(), good) << times;
  }
}

// ---- Profiles

file_bytes icc_segment(size_t number, size_t count, const file_bytes &part) {
  file_bytes out = bytes_from("\"ICC_PROFILE\" 00");
  out.insert(out.end(), {uint8_t(number), uint8_t(count)});
  out.insert(out.end(), part.begin(), part.end());
  return out;
}

/// A file with these segments behind its start marker.
file_bytes with_segments(const file_bytes &file, const std::vector<file_bytes> &segments) {
  file_bytes out(file.begin(), file.begin() + 2);
  for (const file_bytes &segment : segments) {
    const size_t length = segment.size() + 2;
    out.insert(out.end(), {0xFF, 0xE2, uint8_t(length >> 8), uint8_t(length)});
    out.insert(out.end(), segment.begin(), segment.end());
  }
  out.insert(out.end(), file.begin() + 2, file.end());
  return out;
}

/// The profile in `count` segments of about equal size.
std::vector<file_bytes> pieces(const file_bytes &profile, size_t count) {
  std::vector<file_bytes> segments;
  for (size_t i = 0; i < count; i++)
    segments.push_back(
        icc_segment(i + 1, count,
                    {profile.begin() + ptrdiff_t(profile.size() * i / count),
                     profile.begin() + ptrdiff_t(profile.size() * (i + 1) / count)}));
  return segments;
}

/// The profile that jpeg_icc_read_profile finds behind these segments; empty for none.
file_bytes profile_in(const std::vector<file_bytes> &segments) {
  const file_bytes file = with_segments(data("pillow_grey.jpg"), segments);
  jpeg_decompress_struct info{};
  jpeg_error_mgr errors;
  info.err = jpeg_std_error(&errors);
  jpeg_create_decompress(&info);
  jpeg_mem_src(&info, file.data(), file.size());
  jpeg_save_markers(&info, icc_marker, 0xFFFF);
  jpeg_read_header(&info, TRUE);
  JOCTET *profile = nullptr;
  uint32_t size = 0;
  EXPECT_EQ(jpeg_icc_read_profile(&info, &profile, &size), profile != nullptr);
  const file_bytes out(profile, profile + size);
  free(profile);
  jpeg_destroy_decompress(&info);
  return out;
}

TEST(Profiles, PiecesInAnyOrderAreTheProfile) {
  std::mt19937 random(42);
  for (const auto &[size, count] :
       {std::pair(1, 1), {65519, 1}, {65520, 2}, {200'000, 4}, {255, 255}}) {
    file_bytes profile((size_t(size)));
    for (uint8_t &byte : profile)
      byte = uint8_t(random());
    std::vector<file_bytes> segments = pieces(profile, size_t(count));
    std::shuffle(segments.begin(), segments.end(), random);
    segments.insert(segments.begin(), bytes_from("\"MPF\" 00")); // other users of the marker
    EXPECT_EQ(profile_in(segments), profile) << size << " in " << count;
  }
}

TEST(Profiles, PiecesAtOddsAreNone) {
  const file_bytes some = {1, 2, 3};
  const std::vector<std::vector<file_bytes>> rows = {
      {},
      {icc_segment(1, 2, some)}, // one is missing
      {icc_segment(2, 2, some)},
      {icc_segment(1, 2, some), icc_segment(1, 2, some)}, // twice
      {icc_segment(1, 2, some), icc_segment(2, 3, some)}, // their counts differ
      {icc_segment(0, 1, some)},
      {icc_segment(1, 0, some)},
      {icc_segment(2, 1, some)},
      {icc_segment(1, 1, {})},
      {bytes_from("\"ICC_PROFILE\" 00 01")},
  };
  for (size_t i = 0; i < rows.size(); i++)
    EXPECT_EQ(profile_in(rows[i]), file_bytes()) << "row " << i;
}

TEST_F(Jpeg, AProfileConvertsInks) {
  const file_bytes bare = data("pillow_cmyk.jpg"), inks = data("cmyk.icc");
  const auto plain = load(w, bare), converted = load(w, data("pillow_cmyk_icc.jpg"));
  EXPECT_NE(plain, converted);
  EXPECT_EQ(load(w, with_segments(bare, pieces(inks, 5))), converted);
  // One that LittleCMS cannot read, or that is for other pictures, is ignored.
  EXPECT_EQ(load(w, with_segments(bare, pieces({inks.begin(), inks.begin() + 200}, 1))), plain);
  file_bytes grey = inks;
  memcpy(&grey[16], "GRAY", 4);
  EXPECT_EQ(load(w, with_segments(bare, pieces(grey, 1))), plain);
}

// ---- Writing

TEST(JpegFiles, FilesAreWhatLibjpegMakesOfTheColours) {
  std::mt19937 random(43);
  world w;
  for (const int32_t depth : {8, 16, 32}) {
    w.set_mode(depth);
    for (const int32_t parameter : {-1, 0, 1}) {
      const int32_t code =
          w.host.call("map_new", {1 + int32_t(random() % 70), 40, 0, parameter == 0});
      __ORBSurface2D__ &graph = *GetMAP(0, code)->surface;
      std::vector<uint32_t> colours;
      for (uint32_t i = 0; i < graph.pixel_count; i++) {
        set_pixel(graph, i % graph.width, i / graph.width, uint32_t(random()));
        const uint32_t p = pixel(graph, i % graph.width, i / graph.width);
        const orb_rgb c = depth == 8 ? palette->colours[p] : orb_rgb{};
        colours.push_back(depth == 8    ? uint32_t(c.r << 16 | c.g << 8 | c.b)
                          : depth == 16 ? (p >> 11) << 19 | (p >> 5 & 63) << 10 | (p & 31) << 3
                                        : p);
      }
      const std::string name = w.folder.path / "written.jpg";
      ASSERT_EQ(w.host.call("image_save", {0, code, name, 3, parameter}), 1);
      EXPECT_EQ(read_file(name),
                libjpeg_file(colours, graph.width, parameter < 0 ? -1 : 100 - parameter))
          << depth << " bits, parameter " << parameter;
    }
  }
}

} // namespace
