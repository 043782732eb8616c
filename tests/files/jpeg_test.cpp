// JPEG files built segment by segment: colour profiles in pieces, claims without data, scans
// without end.
#include <algorithm>
#include <cstring>
#include <random>

#include <gtest/gtest.h>
#include <jpeglib.h>

#include "files/pictures.h"
#include "surface/registry.h"

file_bytes libjpeg_file(const std::vector<uint32_t> &colours, uint32_t w, int quality,
                        bool arithmetic) {
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
    for (const char *sides : {"FF DC FF DC", "10 00 10 00", "00 01 FF FF", "00 13 00 00"}) {
      const file_bytes bytes = bytes_from(sides); // height, width
      std::copy(bytes.begin(), bytes.end(), file.begin() + ptrdiff_t(at));
      EXPECT_TRUE(load(w, file).empty()) << name << ", " << sides;
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

/// A segment with the piece of a profile.
file_bytes piece(size_t number, size_t count, const file_bytes &part) {
  const size_t length = 2 + 14 + part.size();
  file_bytes out = {0xFF, 0xE2, uint8_t(length >> 8), uint8_t(length)};
  for (const char c : "ICC_PROFILE") // and its zero
    out.push_back(uint8_t(c));
  out.insert(out.end(), {uint8_t(number), uint8_t(count)});
  out.insert(out.end(), part.begin(), part.end());
  return out;
}

/// A profile in pieces of about equal size.
std::vector<file_bytes> pieces(const file_bytes &profile, size_t count) {
  std::vector<file_bytes> out;
  for (size_t i = 0; i < count; i++) {
    const auto from = profile.begin() + ptrdiff_t(profile.size() * i / count);
    const auto to = profile.begin() + ptrdiff_t(profile.size() * (i + 1) / count);
    out.push_back(piece(i + 1, count, {from, to}));
  }
  return out;
}

TEST_F(Jpeg, AProfileConvertsInks) {
  const file_bytes bare = data("pillow_cmyk.jpg"), inks = data("cmyk.icc");
  const auto plain = load(w, bare), converted = load(w, data("pillow_cmyk_icc.jpg"));
  EXPECT_NE(plain, converted);
  const auto load_with = [&](const std::vector<file_bytes> &segments) {
    file_bytes file(bare.begin(), bare.begin() + 2);
    for (const file_bytes &segment : segments)
      file.insert(file.end(), segment.begin(), segment.end());
    file.insert(file.end(), bare.begin() + 2, bare.end());
    return load(w, file);
  };
  // Pieces come in any order, among segments of others. What follows a profile doesn't matter.
  std::mt19937 random(42);
  for (const auto &[size, count] :
       {std::pair(2212, 1), {2212, 5}, {2212, 255}, {65519, 1}, {65520, 2}, {200'000, 4}}) {
    file_bytes profile = inks;
    profile.resize(size_t(size));
    std::vector<file_bytes> segments = pieces(profile, size_t(count));
    std::shuffle(segments.begin(), segments.end(), random);
    segments.insert(segments.begin(), bytes_from("FF E2 00 12 \"MPF\" 00*13"));
    EXPECT_EQ(load_with(segments), converted) << size << " in " << count;
  }
  // Pieces at odds are no profile, nor is one that LittleCMS can't read or that is for others.
  const file_bytes head(inks.begin(), inks.begin() + 1000), tail(inks.begin() + 1000, inks.end());
  file_bytes grey = inks;
  memcpy(&grey[16], "GRAY", 4);
  const std::vector<file_bytes> rows[] = {
      {piece(1, 2, inks)}, // one is missing
      {piece(2, 2, inks)},
      {piece(1, 2, head), piece(2, 2, tail), piece(2, 2, tail)},
      {piece(1, 2, head), piece(2, 3, tail)},
      {piece(0, 1, inks)},
      {piece(1, 0, inks)},
      {piece(2, 1, inks)},
      {piece(1, 1, {})},
      {bytes_from("FF E2 00 0F \"ICC_PROFILE\" 00 01")},
      {piece(1, 1, head)},
      {piece(1, 1, grey)},
  };
  for (size_t i = 0; i < std::size(rows); i++)
    EXPECT_EQ(load_with(rows[i]), plain) << "row " << i;
}

} // namespace
