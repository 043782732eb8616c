// The TGA reader on hand-built files: every type, depth, direction and colour map.
#include <gtest/gtest.h>

#include "picture_fixture.h"

namespace {

struct TgaReader : picture_test {
  TgaReader() : picture_test(img_format_tga) {}
};

/// The colour of a pixel or a colour map entry.
uint32_t colour_of(uint32_t value, uint32_t bits) {
  return bits <= 16 ? expected_555(value) : value & 0xFFFFFF;
}

file_bytes random_bytes(size_t count, std::mt19937 &random) {
  file_bytes bytes(count);
  for (uint8_t &byte : bytes)
    byte = uint8_t(random());
  return bytes;
}

TEST_F(TgaReader, ColoursOfEveryDepthAndDirection) {
  for (uint32_t type : {2u, 10u})
    for (uint32_t bits : {15u, 16u, 24u, 32u})
      for (uint32_t direction : {0u, 16u, 32u, 48u})
        for (uint32_t alpha_bits : {0u, 1u, 8u}) {
          tga_file file{.type = type, .w = 17, .h = 9, .bits = bits};
          file.descriptor = direction | alpha_bits;
          file.id = random_bytes(random() % 2 ? random() % 256 : 0, random);
          if (random() % 3 == 0) file.map = {1, 2, 3}; // unused, and skipped
          SCOPED_TRACE("type " + std::to_string(type) + ", " + std::to_string(bits) +
                       " bits, descriptor " + std::to_string(file.descriptor));
          const bool alpha = bits == 32 && alpha_bits == 8;
          expected_picture picture{17, 9, false, alpha, file.fill(random)};
          for (uint32_t &pixel : picture.pixels)
            if (!alpha) pixel = colour_of(pixel, bits);
          expect_at_every_depth(file.encode(), picture);
        }
}

TEST_F(TgaReader, IndicesThroughEveryColourMap) {
  for (uint32_t type : {1u, 9u})
    for (uint32_t map_bits : {15u, 16u, 24u, 32u})
      for (const auto &[first, length] :
           {std::pair{0u, 256u}, {0u, 5u}, {255u, 1u}, {100u, 156u}}) {
        tga_file file{.type = type,
                      .map_first = first,
                      .map_bits = map_bits,
                      .w = 13,
                      .h = 8,
                      .bits = 8,
                      .descriptor = uint32_t(random() % 4 * 16)};
        file.id = random_bytes(random() % 256, random);
        std::vector<orb_rgb> colours;
        for (uint32_t i = 0; i < length; i++) {
          file.map.push_back(uint32_t(random()));
          const uint32_t c = colour_of(file.map[i], map_bits);
          colours.push_back({uint8_t(c >> 16), uint8_t(c >> 8), uint8_t(c)});
        }
        SCOPED_TRACE("type " + std::to_string(type) + ", map of " + std::to_string(map_bits));
        const auto values = file.fill(random);
        expect_at_every_depth(file.encode(), {13, 8, true, false, values});
        expect_colours(colours, first);
      }
}

TEST_F(TgaReader, Greys) {
  std::vector<orb_rgb> greys;
  for (int i = 0; i < 256; i++)
    greys.push_back({uint8_t(i), uint8_t(i), uint8_t(i)});
  for (uint32_t type : {3u, 11u})
    for (bool with_map : {false, true}) {
      tga_file file{.type = type, .w = 300, .h = 3, .bits = 8};
      if (with_map) file.map = {0x123456};
      expect_refused(file.encode()); // no pixels
      const auto values = file.fill(random);
      expect_at_every_depth(file.encode(), {300, 3, true, false, values});
      expect_colours(greys);
    }
}

// The probe's view of headers; the format has no other mark.
TEST_F(TgaReader, Probe) {
  struct header {
    uint32_t map_type, type, map_first, map_length, map_bits, bits;
  };
  const auto good = [](const header &h) {
    const auto is_one_of = [](uint32_t value, std::initializer_list<uint32_t> list) {
      return std::find(list.begin(), list.end(), value) != list.end();
    };
    if (h.map_type > 1 || !is_one_of(h.type, {1, 2, 3, 9, 10, 11})) return false;
    if (is_one_of(h.type, {1, 9}) && h.map_type == 0) return false;
    if (!is_one_of(h.bits, {8, 15, 16, 24, 32})) return false;
    if ((h.bits == 8) != is_one_of(h.type, {1, 3, 9, 11})) return false;
    if (h.map_type == 0) return true;
    return h.map_length >= 1 && h.map_length <= 256 && h.map_first + h.map_length <= 256 &&
           is_one_of(h.map_bits, {15, 16, 24, 32});
  };
  int passed = 0;
  const std::string name = path("probe");
  const auto probe = [&](const header &h) {
    file_builder file;
    file.u8(0).u8(h.map_type).u8(h.type).u16(h.map_first).u16(h.map_length).u8(h.map_bits);
    file.u16(0).u16(0).u16(0).u16(0).u8(h.bits).u8(0);
    write_file(name, file.bytes);
    const bool expected = good(h);
    ASSERT_EQ(tga_codec.check(name.c_str(), nullptr), expected)
        << h.map_type << ' ' << h.type << ' ' << h.map_first << ' ' << h.map_length << ' '
        << h.map_bits << ' ' << h.bits;
    passed += expected;
  };
  for (uint32_t map_type : {0u, 1u, 2u, 255u})
    for (uint32_t type : {0u, 1u, 2u, 3u, 4u, 8u, 9u, 10u, 11u, 12u, 32u, 33u, 130u, 255u})
      for (uint32_t bits : {0u, 1u, 8u, 15u, 16u, 24u, 32u, 40u})
        probe({map_type, type, 0, 256, 24, bits});
  for (uint32_t first : {0u, 1u, 255u, 256u, 65535u})
    for (uint32_t length : {0u, 1u, 255u, 256u, 257u, 65535u})
      for (uint32_t map_bits : {0u, 8u, 15u, 16u, 24u, 32u})
        for (uint32_t map_type : {0u, 1u})
          probe({map_type, 2, first, length, map_bits, 24});
  EXPECT_GT(passed, 50);
  write_file(name, file_bytes(17));
  EXPECT_EQ(tga_codec.check(name.c_str(), nullptr), 0);
}

TEST_F(TgaReader, FilesThatAreRefused) {
  for (const auto &[w, h] : {std::pair{0u, 4u}, {4u, 0u}, {0u, 0u}, {65535u, 65535u}})
    for (uint32_t type : {2u, 10u}) {
      tga_file file{.type = type, .w = 2, .h = 2};
      file.fill(random);
      file.w = w;
      file.h = h;
      expect_refused(file.encode());
    }
  // A truncated last packet; bytes after the last pixel do not matter.
  tga_file file{.type = 10, .w = 5, .h = 1};
  file.pixels = {0x81, 1, 2, 3, 2, 4, 5, 6, 7, 8, 9, 10, 11};
  expect_refused(file.encode());
  file.pixels.insert(file.pixels.end(), {12, 99, 99});
  ASSERT_EQ(load(file.encode()), 1);
  expect_loaded({5, 1, false, false, {0x030201, 0x030201, 0x060504, 0x090807, 0x0C0B0A}});
}

} // namespace
