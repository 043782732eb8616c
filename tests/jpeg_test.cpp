// The JPEG reader and writer: files of other programs, split profiles, damaged files and files
// built to take forever, and libjpeg's view of the written ones.
#include <csetjmp>
#include <cstring>
#include <functional>
#include <random>

#include <gtest/gtest.h>
#include <jpeglib.h>

#include "formats/codec.h"
#include "formats/icc_profile.h"
#include "graphics_fixture.h"
#include "surface/nearest_colour.h"

namespace {

struct jpeg_test : graphics_test {
  int32_t load(const file_bytes &bytes) {
    reset_image();
    image_error = 0;
    write_file(path("picture.jpg"), bytes);
    return jpeg_codec.load(path("picture.jpg").c_str(), nullptr);
  }
  static int32_t load_data(const std::string &name) {
    reset_image();
    return jpeg_codec.load(data_path("jpeg/" + name + ".jpg").c_str(), nullptr);
  }
  static file_bytes data(const std::string &name) { return read_file(data_path("jpeg/" + name)); }
  static size_t pixels() { return size_t(image_w) * size_t(image_h); }
  static uint32_t colour(size_t i) { return static_cast<const uint32_t *>(image_data)[i]; }
  static uint8_t index(size_t i) { return static_cast<const uint8_t *>(image_data)[i]; }
};

using JpegReader = jpeg_test;
using JpegWriter = jpeg_test;
using JpegProfile = jpeg_test;

uint32_t largest_difference(uint32_t a, uint32_t b) {
  uint32_t largest = 0;
  for (uint32_t shift : {0, 8, 16, 24})
    largest = std::max(largest,
                       uint32_t(std::abs(int32_t(a >> shift & 255) - int32_t(b >> shift & 255))));
  return largest;
}

TEST_F(JpegReader, OtherProgramsFiles) {
  // Decoders may differ by one; CMYK rounds twice, and a profile's table more often.
  const struct {
    const char *name;
    uint32_t tolerance;
  } colours[] = {{"pillow_rgb", 1},
                 {"pillow_rgb_progressive", 1},
                 {"magick_rgb_progressive", 1},
                 {"magick_cmyk", 2},
                 {"pillow_cmyk", 2},
                 {"netpbm_rgb_restart", 1},
                 {"pillow_cmyk_icc", 3},
                 {"pillow_cmyk_rgb_profile", 2}};
  for (const auto &file : colours) {
    SCOPED_TRACE(file.name);
    const file_bytes rgb = data(std::string(file.name) + ".rgb");
    ASSERT_EQ(load_data(file.name), 1);
    ASSERT_EQ(image_bpp, 32);
    ASSERT_EQ(image_alphachannel, 0);
    ASSERT_EQ(image_has_palette, 0);
    ASSERT_EQ(rgb.size(), pixels() * 3);
    for (size_t i = 0; i < pixels(); i++)
      ASSERT_LE(largest_difference(
                    colour(i), uint32_t(rgb[3 * i] << 16 | rgb[3 * i + 1] << 8 | rgb[3 * i + 2])),
                file.tolerance)
          << "pixel " << i;
  }
  for (const char *name : {"pillow_grey", "magick_grey", "netpbm_grey_progressive"}) {
    SCOPED_TRACE(name);
    const file_bytes grey = data(std::string(name) + ".grey");
    ASSERT_EQ(load_data(name), 1);
    ASSERT_EQ(image_bpp, 8);
    ASSERT_EQ(image_has_palette, 1);
    ASSERT_EQ(grey.size(), pixels());
    for (size_t i = 0; i < pixels(); i++)
      ASSERT_LE(std::abs(index(i) - grey[i]), 1);
    image_palette = {};
    ASSERT_EQ(jpeg_codec.load_palette(data_path(std::string("jpeg/") + name + ".jpg").c_str()), 1);
    for (int i = 0; i < 256; i++) {
      const orb_rgb &entry = image_palette.colours[i];
      ASSERT_TRUE(entry.r == i && entry.g == i && entry.b == i);
    }
  }
  image_palette = {};
  EXPECT_EQ(jpeg_codec.load_palette(data_path("jpeg/pillow_rgb.jpg").c_str()), 0);
  EXPECT_EQ(image_palette.colours[9].g, 0);
}

TEST_F(JpegReader, ColoursGetTheDepthOfTheScreen) {
  for (const char *name : {"pillow_rgb", "pillow_cmyk", "pillow_cmyk_icc"}) {
    set_depth(32);
    ASSERT_EQ(load_data(name), 1);
    std::vector<uint32_t> colours(pixels());
    for (size_t i = 0; i < colours.size(); i++)
      colours[i] = colour(i);
    set_depth(16);
    ASSERT_EQ(load_data(name), 1);
    ASSERT_EQ(image_bpp, 16);
    for (size_t i = 0; i < colours.size(); i++)
      ASSERT_EQ(static_cast<const uint16_t *>(image_data)[i], (colours[i] >> 19 & 31) << 11 |
                                                                  (colours[i] >> 10 & 63) << 5 |
                                                                  (colours[i] >> 3 & 31));
    set_depth(8);
    ASSERT_EQ(load_data(name), 1);
    ASSERT_EQ(image_bpp, 8);
    for (size_t i = 0; i < colours.size(); i++)
      ASSERT_EQ(index(i), find_nearest(palette, int32_t(colours[i] >> 16),
                                       int32_t(colours[i] >> 8 & 255), int32_t(colours[i] & 255)));
  }
}

TEST_F(JpegReader, ProbesByTheFirstThreeBytes) {
  const struct {
    file_bytes bytes;
    int32_t accepted;
  } rows[] = {{{0xFF, 0xD8, 0xFF}, 1}, {{0xFF, 0xD8}, 0}, {{}, 0}, {{0xFF, 0xD8, 0xD9, 0xFF}, 0}};
  for (const auto &row : rows) {
    EXPECT_EQ(load(row.bytes), 0);
    EXPECT_EQ(image_error, 144);
    EXPECT_EQ(jpeg_codec.check(path("picture.jpg").c_str(), nullptr), row.accepted);
  }
  EXPECT_EQ(jpeg_codec.check(path("missing.jpg").c_str(), nullptr), 0);
  EXPECT_EQ(jpeg_codec.load(path("missing.jpg").c_str(), nullptr), 0);
  EXPECT_EQ(image_error, 143);
  EXPECT_EQ(jpeg_codec.load_palette(path("missing.jpg").c_str()), 0);
  EXPECT_EQ(jpeg_codec.load(path("").c_str(), nullptr), 0); // a folder
  host.file.path = [](const char *, int32_t) -> const char * { return nullptr; };
  EXPECT_EQ(load_data("pillow_rgb"), 0);
}

// ---- Broken files

// Only the end-of-image marker may be missing, and a picture in several scans does not show whether
// more is. A profile costs tens of milliseconds per load, so only some prefixes of such a picture's
// pixels are tested.
TEST_F(JpegReader, EveryPrefixIsRefusedQuietly) {
  testing::internal::CaptureStderr();
  for (const char *name : {"pillow_rgb", "netpbm_rgb_restart", "pillow_rgb_progressive",
                           "pillow_grey", "pillow_cmyk_icc"})
    for (int32_t depth : {32, 16}) {
      set_depth(depth);
      const file_bytes whole = data(std::string(name) + ".jpg");
      const size_t marker = whole.size() - 2;
      const bool scans = strstr(name, "progressive") != nullptr;
      const bool profile = strstr(name, "icc") != nullptr;
      for (size_t size = 0; size <= whole.size(); size++) {
        const bool good = size >= (scans ? marker + 1 : marker);
        if (scans && size == marker + 1) continue; // half a marker: either result is correct
        if (profile && size > whole.size() - 600 && size < marker && size % 64) continue;
        ASSERT_EQ(load({whole.begin(), whole.begin() + ptrdiff_t(size)}), good)
            << name << ", " << size << " of " << whole.size();
        ASSERT_EQ(image_data != nullptr, good);
        if (!good) {
          ASSERT_EQ(image_error, 144);
        }
      }
    }
  EXPECT_EQ(testing::internal::GetCapturedStderr(), "");
}

TEST_F(JpegReader, DamagedFilesNeverDoHarm) {
  std::mt19937 random(41);
  int read = 0, refused = 0;
  testing::internal::CaptureStderr();
  for (const char *name : {"pillow_rgb", "netpbm_rgb_restart", "pillow_rgb_progressive",
                           "netpbm_grey_progressive", "pillow_cmyk_icc"})
    for (int i = 0; i < (strstr(name, "icc") ? 30 : 300); i++) {
      set_depth(std::to_array({32, 16, 8})[random() % 3]);
      file_bytes damaged = data(std::string(name) + ".jpg");
      for (size_t n = 1 + random() % 4; n > 0; n--)
        damaged[2 + random() % (damaged.size() - 2)] = uint8_t(random());
      if (!load(damaged)) {
        refused++;
        ASSERT_EQ(image_data, nullptr);
        continue;
      }
      read++;
      volatile uint8_t touched = 0; // every promised byte is accessible
      for (size_t b = 0; b < pixels() * size_t(image_bpp / 8); b++)
        touched = index(b);
      (void)touched;
    }
  EXPECT_EQ(testing::internal::GetCapturedStderr(), "");
  // Both outcomes must occur, or the test proves nothing.
  EXPECT_GT(read, 300);
  EXPECT_GT(refused, 300);
}

/// The offset of the first marker of that kind.
size_t find_marker(const file_bytes &file, uint8_t kind, size_t from = 0) {
  for (size_t i = from; i + 1 < file.size(); i++)
    if (file[i] == 0xFF && file[i + 1] == kind) return i;
  return std::string::npos;
}

TEST_F(JpegReader, AFileTooShortForItsPictureCostsNothing) {
  for (const auto &[name, frame] :
       {std::pair("pillow_grey", 0xC0), {"pillow_rgb", 0xC0}, {"pillow_rgb_progressive", 0xC2}}) {
    file_bytes file = data(std::string(name) + ".jpg");
    const size_t at = find_marker(file, uint8_t(frame)) + 5;
    for (const auto &[w, h] : {std::pair(65500, 65500), {4096, 4096}, {65535, 1}, {0, 19}}) {
      file[at] = uint8_t(h >> 8);
      file[at + 1] = uint8_t(h);
      file[at + 2] = uint8_t(w >> 8);
      file[at + 3] = uint8_t(w);
      EXPECT_EQ(load(file), 0) << name << ", " << w << " x " << h;
      EXPECT_EQ(image_error, 144);
    }
  }
}

/// The same picture compressed by libjpeg from plain RGB rows. Quality -1: its own default.
file_bytes reference_file(const std::vector<uint32_t> &colours, uint32_t w, uint32_t h, int quality,
                          bool arithmetic = false) {
  jpeg_compress_struct info{};
  jpeg_error_mgr errors;
  info.err = jpeg_std_error(&errors);
  jpeg_create_compress(&info);
  unsigned char *out = nullptr;
  unsigned long size = 0;
  jpeg_mem_dest(&info, &out, &size);
  info.image_width = w;
  info.image_height = h;
  info.input_components = 3;
  info.in_color_space = JCS_RGB;
  jpeg_set_defaults(&info);
  if (quality >= 0) jpeg_set_quality(&info, quality, TRUE);
  info.arith_code = arithmetic;
  jpeg_start_compress(&info, TRUE);
  file_bytes row(size_t(w) * 3);
  for (uint32_t y = 0; y < h; y++) {
    for (uint32_t x = 0; x < w; x++)
      for (uint32_t c = 0; c < 3; c++)
        row[3 * x + c] = uint8_t(colours[y * w + x] >> (16 - 8 * c));
    JSAMPROW rows[] = {row.data()};
    jpeg_write_scanlines(&info, rows, 1);
  }
  jpeg_finish_compress(&info);
  jpeg_destroy_compress(&info);
  const file_bytes file(out, out + size);
  free(out);
  return file;
}

// White compresses to next to nothing there, so no size is too short; only a large claim is.
TEST_F(JpegReader, ArithmeticCoding) {
#if !defined(C_ARITH_CODING_SUPPORTED) || !defined(D_ARITH_CODING_SUPPORTED)
  GTEST_SKIP() << "this libjpeg has none";
#endif
  const file_bytes whole =
      reference_file(std::vector<uint32_t>(256 * 256, 0xFFFFFF), 256, 256, -1, true);
  ASSERT_EQ(load(whole), 1);
  for (size_t i = 0; i < pixels(); i++)
    ASSERT_EQ(colour(i), 0xFFFFFFu);
  for (size_t size = 0; size < whole.size() - 1; size++)
    ASSERT_EQ(load({whole.begin(), whole.begin() + ptrdiff_t(size)}), 0) << size;
  file_bytes claim = whole;
  const size_t at = find_marker(claim, 0xC9) + 5;
  for (size_t i : {0, 2})
    claim[at + i] = 20000 >> 8;
  EXPECT_EQ(load(claim), 0);
  EXPECT_EQ(image_error, 144);
}

TEST_F(JpegReader, ScansWithoutEndAreRefused) {
  const file_bytes whole = data("pillow_rgb_progressive.jpg");
  size_t last = 0;
  for (size_t at = 0; (at = find_marker(whole, 0xDA, at)) != std::string::npos; at++)
    last = at;
  const file_bytes scan(whole.begin() + ptrdiff_t(last), whole.end() - 2);
  for (const auto &[times, good] : {std::pair(50, 1), {200, 0}}) {
    file_bytes file(whole.begin(), whole.end() - 2);
    for (int i = 0; i < times; i++)
      file.insert(file.end(), scan.begin(), scan.end());
    file.insert(file.end(), whole.end() - 2, whole.end());
    EXPECT_EQ(load(file), good) << times;
  }
}

// ---- Split profiles

/// `file` with these segments inserted after its start marker.
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

file_bytes icc_segment(uint8_t number, uint8_t count, const file_bytes &part) {
  file_bytes out = {'I', 'C', 'C', '_', 'P', 'R', 'O', 'F', 'I', 'L', 'E', 0, number, count};
  out.insert(out.end(), part.begin(), part.end());
  return out;
}

/// The profile in `count` segments of roughly equal size.
std::vector<file_bytes> cut(const file_bytes &profile, size_t count) {
  std::vector<file_bytes> segments;
  for (size_t i = 0; i < count; i++)
    segments.push_back(
        icc_segment(uint8_t(i + 1), uint8_t(count),
                    {profile.begin() + ptrdiff_t(profile.size() * i / count),
                     profile.begin() + ptrdiff_t(profile.size() * (i + 1) / count)}));
  return segments;
}

/// The profile that jpeg_icc_read_profile finds in a file; empty for none.
file_bytes profile_of(const file_bytes &file) {
  jpeg_decompress_struct info{};
  jpeg_error_mgr errors;
  info.err = jpeg_std_error(&errors);
  jpeg_create_decompress(&info);
  jpeg_mem_src(&info, file.data(), file.size());
  jpeg_save_markers(&info, icc_marker, 0xFFFF);
  jpeg_read_header(&info, TRUE);
  JOCTET *profile = nullptr;
  uint32_t size = 0;
  const int32_t found = jpeg_icc_read_profile(&info, &profile, &size);
  EXPECT_EQ(found, profile != nullptr);
  const file_bytes out(profile, profile + size);
  free(profile);
  jpeg_destroy_decompress(&info);
  return out;
}

TEST_F(JpegProfile, PiecesInAnyOrderAreTheProfile) {
  std::mt19937 random(42);
  const file_bytes picture = data("pillow_grey.jpg");
  for (const auto &[size, count] : {std::pair(1, 1),
                                    {2212, 1},
                                    {65519, 1},
                                    {65520, 2},
                                    {200'000, 4},
                                    {255, 255},
                                    {9000, 254}}) {
    file_bytes profile((size_t(size)));
    for (uint8_t &byte : profile)
      byte = uint8_t(random());
    std::vector<file_bytes> segments = cut(profile, size_t(count));
    std::shuffle(segments.begin(), segments.end(), random);
    segments.insert(segments.begin(), {'M', 'P', 'F', 0}); // other users of the marker
    EXPECT_EQ(profile_of(with_segments(picture, segments)), profile) << size << " in " << count;
  }
  EXPECT_EQ(profile_of(picture), file_bytes());
}

TEST_F(JpegProfile, PiecesAtOddsAreNone) {
  const file_bytes picture = data("pillow_grey.jpg"), some = {1, 2, 3};
  const std::vector<std::vector<file_bytes>> rows = {
      {icc_segment(1, 2, some)}, // one is missing
      {icc_segment(2, 2, some)},
      {icc_segment(1, 2, some), icc_segment(1, 2, some)}, // a duplicate
      {icc_segment(1, 2, some), icc_segment(2, 3, some)}, // contradictory counts
      {icc_segment(0, 1, some)},
      {icc_segment(1, 0, some)},
      {icc_segment(2, 1, some)},
      {icc_segment(1, 1, {})}, // empty
      {file_bytes{'I', 'C', 'C', '_', 'P', 'R', 'O', 'F', 'I', 'L', 'E', 0, 1}},
  };
  for (size_t i = 0; i < rows.size(); i++)
    EXPECT_EQ(profile_of(with_segments(picture, rows[i])), file_bytes()) << "row " << i;
}

TEST_F(JpegProfile, ConvertsInks) {
  const file_bytes bare = data("pillow_cmyk.jpg"), inks = data("cmyk.icc");
  const auto picture = [this](const file_bytes &file) {
    EXPECT_EQ(load(file), 1);
    const auto *colours = static_cast<const uint32_t *>(image_data);
    return std::vector<uint32_t>(colours, colours + pixels());
  };
  const std::vector<uint32_t> plain = picture(bare);
  const std::vector<uint32_t> converted = picture(data("pillow_cmyk_icc.jpg"));
  EXPECT_NE(plain, converted);
  EXPECT_EQ(picture(with_segments(bare, cut(inks, 5))), converted);
  // A profile that LittleCMS cannot read or use is ignored.
  file_bytes broken = inks;
  broken.resize(200);
  EXPECT_EQ(picture(with_segments(bare, cut(broken, 1))), plain);
  broken = inks;
  memcpy(&broken[16], "GRAY", 4);
  EXPECT_EQ(picture(with_segments(bare, cut(broken, 1))), plain);
}

// ---- Writing

TEST_F(JpegWriter, FilesAreWhatLibjpegMakesOfTheColours) {
  std::mt19937 random(43);
  const std::string name = path("written.jpg");
  for (int32_t depth : {8, 16, 32})
    for (int32_t parameter : {-1, 0, 1, 50, 99, 100, 101, INT32_MIN}) {
      SCOPED_TRACE("depth " + std::to_string(depth) + ", parameter " + std::to_string(parameter));
      set_depth(depth);
      reset_image();
      const uint32_t w = 1 + random() % 70, h = 1 + random() % 40;
      image_data = aligned_malloc(w * h * uint32_t(depth / 8));
      image_w = int32_t(w);
      image_h = int32_t(h);
      image_bpp = depth;
      image_alphachannel = parameter & 1; // has no effect
      std::vector<uint32_t> colours(w * h);
      for (size_t i = 0; i < colours.size(); i++) {
        const uint32_t value = uint32_t(random());
        if (depth == 8) {
          static_cast<uint8_t *>(image_data)[i] = uint8_t(value);
          const orb_rgb &c = palette->colours[value & 255];
          colours[i] = uint32_t(c.r << 16 | c.g << 8 | c.b);
        } else if (depth == 16) {
          static_cast<uint16_t *>(image_data)[i] = uint16_t(value);
          colours[i] = (value >> 11 & 31) * 8 << 16 | (value >> 5 & 63) * 4 << 8 | (value & 31) * 8;
        } else {
          colours[i] = static_cast<uint32_t *>(image_data)[i] = value;
        }
      }
      ASSERT_EQ(ORB_SaveJPEG(name.c_str(), parameter, nullptr), 1);
      const bool given = parameter >= 0 && parameter <= 100;
      ASSERT_EQ(read_file(name), reference_file(colours, w, h, given ? 100 - parameter : -1));
    }
}

// libjpeg rejects them when the file is already open.
TEST_F(JpegWriter, PicturesThatAJpegFileCantSayAreFailures) {
  const std::string name = path("kept.jpg");
  write_file(name, {'k', 'e', 'p', 't'});
  reset_image();
  image_data = aligned_malloc(65501 * 4);
  image_w = 65501;
  image_h = 1;
  image_bpp = 32;
  EXPECT_EQ(ORB_SaveJPEG(name.c_str(), 0, nullptr), 0);
  EXPECT_EQ(read_file(name), (file_bytes{'k', 'e', 'p', 't'}));
}

} // namespace
