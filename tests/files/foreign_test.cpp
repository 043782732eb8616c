// Pictures that the module didn't write, loaded by scripts at each depth and compared pixel by
// pixel with what other programs find in them.
#include <algorithm>
#include <climits>

#include <gtest/gtest.h>

#include "files/pictures.h"
#include "formats/codec.h"
#include "formats/palette_file.h"
#include "surface/palette.h"
#include "surface/registry.h"

namespace {

/// A pixel of a truecolour picture on a screen of that depth, the obvious way.
uint32_t at_depth(uint32_t argb, bool alpha, int32_t depth) {
  if (depth == 32) return argb;
  if (alpha && argb >> 24 < 128) return 0;
  const int32_t r = argb >> 16 & 255, g = argb >> 8 & 255, b = argb & 255;
  if (depth == 16) {
    const uint32_t packed = uint32_t(r / 8 * 2048 + g / 4 * 32 + b / 8);
    return packed == 0 && alpha ? 1 : packed; // 0 is the key
  }
  int32_t best = 0, least = INT_MAX;
  for (int32_t i = 1; i < 255; i++) {
    const orb_rgb &c = palette->colours[i];
    const int32_t distance = std::abs(c.r - r) + std::abs(c.g - g) + std::abs(c.b - b);
    if (distance < least) best = i, least = distance;
  }
  return uint32_t(best);
}

uint32_t difference(uint32_t a, uint32_t b) {
  uint32_t largest = 0;
  for (uint32_t shift : {0, 8, 16, 24})
    largest = std::max(largest, uint32_t(std::abs(int(a >> shift & 255) - int(b >> shift & 255))));
  return largest;
}

uint32_t rgb_of(const orb_rgb &c) {
  return uint32_t(c.r << 16 | c.g << 8 | c.b);
}

/// Loads a picture at the world's depth and compares it with what is known. What the module reads
/// at 32 bits then holds for the other depths.
void load(world &w, known_picture &known, int32_t depth) {
  const std::string path = w.folder.path / "picture";
  write_file(path, known.file);
  if (palette) { // a fresh program, in which no colour is special
    for (int i = 0; i < 256; i++)
      palette->colours[i] = {uint8_t(i * 77), uint8_t(i * 31 + 9), uint8_t(200 - i * 53)};
    palette_loaded = 0;
  }
  const int32_t code = w.host.call("image_load", {path});
  if (const int32_t error = known.deep && depth < 32 ? 144 : known.error) {
    EXPECT_EQ(w.reports(), "144 IMAGE_LOAD 1 \"" + path + '"');
    EXPECT_EQ(code, INT32_MIN);
    if (depth == 32) EXPECT_EQ(image_error, error);
    return;
  }
  ASSERT_EQ(w.reports(), "");
  palette_in_file own{};
  const bool paletted = read_palette_file(path.c_str(), &own);
  if (depth == 8) EXPECT_EQ(palette_loaded, paletted);
  if (known.w) EXPECT_EQ(paletted, !known.indices.empty());
  const __ORBSurface2D__ &graph = *GetMAP(0, code)->surface;
  ASSERT_EQ(graph.width * graph.height, known.pixels.size());
  if (known.w) EXPECT_EQ(graph.width, known.w);
  EXPECT_EQ(graph.depth, depth);
  EXPECT_EQ(graph.alpha_channel, known.alpha && depth == 32);
  for (uint32_t i = 0; i < known.pixels.size(); i++) {
    SCOPED_TRACE("pixel " + std::to_string(i));
    const uint32_t seen = pixel(graph, i % graph.width, i / graph.width);
    uint32_t &argb = known.pixels[i];
    if (depth == 32) {
      ASSERT_LE(difference(seen & known.compared, argb & known.compared), known.tolerance)
          << std::hex << seen << ", not " << argb;
      argb = seen;
    } else if (depth != 8 || !palette_loaded) {
      ASSERT_EQ(seen, at_depth(argb, known.alpha, depth));
    } else if (known.alpha && argb >> 24 < 128) {
      ASSERT_EQ(seen, 0u);
    } else {
      if (!known.indices.empty()) ASSERT_EQ(seen, known.indices[i]);
      ASSERT_EQ(rgb_of(palette->colours[seen]), argb & 0xFFFFFF);
      ASSERT_EQ(rgb_of(own.colours.colours[seen]), argb & 0xFFFFFF);
    }
  }
  const bool map = known.name.starts_with("map");
  EXPECT_EQ(w.host.call(map ? "map_unload" : "image_unload", {code}), 1);
}

void load_at_each_depth(std::vector<known_picture> pictures) {
  world w;
  for (const int32_t depth : {32, 16, 8}) {
    w.set_mode(depth);
    for (known_picture &picture : pictures) {
      SCOPED_TRACE(picture.name + " at " + std::to_string(depth) + " bits");
      load(w, picture, depth);
    }
  }
}

class ForeignPictures : public testing::TestWithParam<const char *> {};

TEST_P(ForeignPictures, AreReadAsOtherProgramsReadThem) {
  const auto pictures = foreign_pictures(GetParam());
  EXPECT_GE(pictures.size(), 7u);
  load_at_each_depth(pictures);
}

INSTANTIATE_TEST_SUITE_P(Folders, ForeignPictures,
                         testing::Values("bmp", "jpeg", "pcx", "png", "tga"));

TEST(OddPictures, AreReadAsTheirBytesSay) {
  load_at_each_depth(odd_pictures());
}

// Neighbouring colours share the slots of the converter's cache; a wide ramp covers all of them.
TEST(OddPictures, ManyColoursKeepTheirNearestIndex) {
  known_picture ramp{
      .name = "ramp", .file = bytes_from("00 00 02 00*9 00 01 80 00 18 20"), .w = 256};
  for (uint32_t i = 0; i < 256 * 128; i++) {
    const uint32_t x = i % 256, y = i / 256;
    ramp.file.insert(ramp.file.end(), {uint8_t(x * y), uint8_t(y * 2), uint8_t(x)});
    ramp.pixels.push_back(x << 16 | (y * 2) << 8 | (x * y & 255));
  }
  load_at_each_depth({ramp});
}

TEST(OddPictures, FilesThatAreNotThereAreToldFromBrokenOnes) {
  world w;
  w.set_mode(32);
  const std::string empty = w.folder.path / "empty", missing = w.folder.path / "missing";
  write_file(empty, {});
  for (const image_codec *codec : image_codecs)
    for (const std::string &name : {empty, missing}) {
      EXPECT_EQ(codec->check(name.c_str(), nullptr), 0);
      image_error = 0;
      EXPECT_EQ(codec->load(name.c_str(), nullptr), 0);
      EXPECT_EQ(image_error, name == empty ? 144 : 143) << codec->format;
      if (codec->load_palette) EXPECT_EQ(codec->load_palette(name.c_str()), 0);
    }
}

} // namespace
