// The run-length encoders: lines worked out by hand, and random lines against packets that a slow
// reference finds and decodes again.
#include <random>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "formats/rle.h"

namespace {

using bytes = std::vector<uint8_t>;

bytes operator+(bytes left, const bytes &right) {
  left.insert(left.end(), right.begin(), right.end());
  return left;
}

/// 1, 2, 3, ... with no two equal neighbours.
bytes distinct(size_t count) {
  bytes line(count);
  for (size_t i = 0; i < count; i++)
    line[i] = uint8_t(1 + i % 150);
  return line;
}

// Buffers have exactly the promised sizes, so that sanitizers catch any byte beyond.

bytes encode_pcx(const bytes &line) {
  bytes out(2 * line.size());
  out.resize(size_t(EncodePcxRleLine(line.data(), out.data(), int32_t(line.size()))));
  return out;
}

bytes encode_bmp(const bytes &line) {
  bytes out(2 * line.size()), raw(bmp_raw_pixels);
  out.resize(size_t(EncodeBmpRleLine(line.data(), out.data(), int32_t(line.size()), raw.data())));
  return out;
}

bytes encode_tga(const bytes &line, size_t size) {
  const size_t count = line.size() / size;
  bytes out(tga_line_bound(uint32_t(count), uint32_t(size))), raw(tga_raw_pixels * size);
  out.resize(
      size_t(EncodeTGARLELine(line.data(), out.data(), int32_t(count), int32_t(size), raw.data())));
  return out;
}

bytes encode_tga_bytes(const bytes &line) {
  return encode_tga(line, 1);
}

TEST(RleEncoders, LinesWorkedOutByHand) {
  const bytes d254 = distinct(254), d128 = distinct(128);
  const struct {
    bytes (*encode)(const bytes &line);
    bytes line, expected;
  } rows[] = {
      {encode_pcx, {5}, {5}},
      {encode_pcx, {0xBF, 0xC0, 0xFF}, {0xBF, 0xC1, 0xC0, 0xC1, 0xFF}},
      {encode_pcx, {7, 7}, {0xC2, 7}},
      {encode_pcx, bytes(62, 7), {0xFE, 7}},
      {encode_pcx, bytes(63, 7), {0xFF, 7}},
      {encode_pcx, bytes(64, 7), {0xFF, 7, 7}},
      {encode_pcx, bytes(64, 0xC0), {0xFF, 0xC0, 0xC1, 0xC0}},
      {encode_pcx, bytes(126, 0), {0xFF, 0, 0xFF, 0}},
      {encode_pcx, {1, 1, 1, 2, 3, 3}, {0xC3, 1, 2, 0xC2, 3}},

      {encode_bmp, {9}, {1, 9}},
      {encode_bmp, {9, 8}, {1, 9, 1, 8}},
      {encode_bmp, {9, 8, 7}, {0, 3, 9, 8, 7, 0}},
      {encode_bmp, {1, 2, 3, 4, 5}, {0, 5, 1, 2, 3, 4, 5, 0}},
      {encode_bmp, {1, 2, 3, 4}, {0, 4, 1, 2, 3, 4}},
      {encode_bmp, {6, 6, 6}, {0, 3, 6, 6, 6, 0}},
      {encode_bmp, {6, 6}, {1, 6, 1, 6}},
      {encode_bmp, {6, 6, 6, 6}, {4, 6}},
      {encode_bmp, {1, 6, 6, 6, 6, 2, 2, 2}, {1, 1, 4, 6, 0, 3, 2, 2, 2, 0}},
      {encode_bmp, bytes(255, 3), {255, 3}},
      {encode_bmp, bytes(256, 3), {255, 3, 1, 3}},
      {encode_bmp, bytes(258, 3), {255, 3, 0, 3, 3, 3, 3, 0}},
      {encode_bmp, d254, bytes{0, 254} + d254},
      // A short run across the end of the buffer is split.
      {encode_bmp, distinct(253) + bytes(3, 200),
       bytes{0, 254} + distinct(253) + bytes{200, 1, 200, 1, 200}},

      {encode_tga_bytes, {9}, {0, 9}},
      {encode_tga_bytes, {6, 6, 6}, {2, 6, 6, 6}},
      {encode_tga_bytes, {6, 6, 6, 6}, {0x83, 6}},
      {encode_tga_bytes, {1, 6, 6, 6, 6, 2}, {0, 1, 0x83, 6, 0, 2}},
      {encode_tga_bytes, bytes(128, 3), {0xFF, 3}},
      {encode_tga_bytes, bytes(131, 3), {0xFF, 3, 2, 3, 3, 3}},
      {encode_tga_bytes, d128, bytes{127} + d128},
      {encode_tga_bytes, distinct(127) + bytes(3, 200),
       bytes{127} + distinct(127) + bytes{200, 1, 200, 200}},
  };
  for (const auto &row : rows)
    EXPECT_EQ(row.encode(row.line), row.expected) << "row " << &row - rows;
}

/// A line as packets: runs of 4 to `max_run` pixels, with the rest in pieces of up to `max_raw`.
struct line_packet {
  bool run;
  std::vector<bytes> pixels;
};

std::vector<line_packet> packets_of(const std::vector<bytes> &pixels, size_t max_run,
                                    size_t max_raw) {
  std::vector<line_packet> packets;
  for (size_t i = 0; i < pixels.size();) {
    size_t end = i + 1;
    while (end < pixels.size() && end - i < max_run && pixels[end] == pixels[i])
      end++;
    if (end - i >= 4) {
      packets.push_back({true, {pixels.begin() + ptrdiff_t(i), pixels.begin() + ptrdiff_t(end)}});
    } else {
      for (size_t k = i; k < end; k++) {
        if (packets.empty() || packets.back().run || packets.back().pixels.size() == max_raw)
          packets.push_back({false, {}});
        packets.back().pixels.push_back(pixels[k]);
      }
    }
    i = end;
  }
  return packets;
}

bytes pixels_of(const line_packet &packet) {
  bytes all;
  for (const bytes &pixel : packet.pixels)
    all = all + pixel;
  return all;
}

TEST(RleEncoders, RandomLinesMatchTheirPackets) {
  std::mt19937 random(61);
  for (int round = 0; round < 2000; round++) {
    const size_t size = 1 + random() % 4, count = 1 + random() % 700;
    // Fewer and more persistent values give longer runs.
    const uint32_t values = 2 + random() % 3, stick = random() % 40;
    std::vector<bytes> pixels(count);
    bytes line;
    for (size_t i = 0; i < count; i++) {
      if (i > 0 && random() % 40 < stick) {
        pixels[i] = pixels[i - 1];
      } else {
        pixels[i].resize(size);
        for (uint8_t &byte : pixels[i])
          byte = uint8_t(random() % values * 85);
      }
      line = line + pixels[i];
    }
    SCOPED_TRACE("round " + std::to_string(round));

    bytes expected;
    for (const line_packet &packet : packets_of(pixels, 128, 128)) {
      expected.push_back(uint8_t((packet.run ? 128 : 0) + packet.pixels.size() - 1));
      expected = expected + (packet.run ? packet.pixels[0] : pixels_of(packet));
    }
    ASSERT_EQ(encode_tga(line, size), expected);
    if (size > 1) continue;

    expected.clear();
    for (const line_packet &packet : packets_of(pixels, 255, 254)) {
      const size_t length = packet.pixels.size();
      if (packet.run) {
        expected = expected + bytes{uint8_t(length), packet.pixels[0][0]};
      } else if (length < 3) {
        for (const bytes &pixel : packet.pixels)
          expected = expected + bytes{1, pixel[0]};
      } else {
        expected = expected + bytes{0, uint8_t(length)} + pixels_of(packet);
        if (length % 2) expected.push_back(0);
      }
    }
    ASSERT_EQ(encode_bmp(line), expected);

    const bytes coded = encode_pcx(line);
    bytes decoded;
    for (size_t i = 0; i < coded.size();) {
      const bool run = coded[i] >= 192;
      decoded = decoded + bytes(run ? coded[i] - 192u : 1u, coded[i + run]);
      i += 1 + run;
    }
    ASSERT_EQ(decoded, line);
    ASSERT_LE(coded.size(), line.size() * 2);
  }
}

} // namespace
