// BMP, PCX and TGA files of every kind, built byte by byte, and the picture a reader should
// deliver, computed pixel by pixel.
#pragma once

#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <random>
#include <string>
#include <vector>

#include "graphics_fixture.h"
#include "surface/palette.h"

/// Little-endian fields, one after the other.
struct file_builder {
  file_bytes bytes;

  file_builder &u8(uint32_t value) {
    bytes.push_back(uint8_t(value));
    return *this;
  }
  file_builder &u16(uint32_t value) { return u8(value).u8(value >> 8); }
  file_builder &u32(uint32_t value) { return u16(value).u16(value >> 16); }
  file_builder &zeros(size_t count) {
    bytes.resize(bytes.size() + count);
    return *this;
  }
  file_builder &add(const file_bytes &more) {
    bytes.insert(bytes.end(), more.begin(), more.end());
    return *this;
  }
};

/// A picture as a reader should deliver it: palette indices, or 0xAARRGGBB (alpha 0 without a
/// channel).
struct expected_picture {
  int32_t w, h;
  bool indices, alpha;
  std::vector<uint32_t> pixels;
};

/// Converts a truecolour pixel to a depth, the obvious way.
inline uint32_t expected_at_depth(uint32_t argb, bool alpha, int32_t depth) {
  if (depth == 32) return argb;
  if (alpha && argb >> 24 < 128) return 0;
  const int32_t r = argb >> 16 & 255, g = argb >> 8 & 255, b = argb & 255;
  if (depth == 16) {
    const uint32_t packed = uint32_t(r / 8 * 2048 + g / 4 * 32 + b / 8);
    return packed == 0 && alpha ? 1 : packed;
  }
  int32_t best = 1, best_distance = INT32_MAX;
  for (int32_t i = 1; i < 255; i++) {
    const orb_rgb &c = palette->colours[i];
    const int32_t distance = std::abs(c.r - r) + std::abs(c.g - g) + std::abs(c.b - b);
    if (distance < best_distance) {
      best = i;
      best_distance = distance;
    }
  }
  return uint32_t(best);
}

/// x-5-5-5 as 0x00RRGGBB, rounded to nearest.
inline uint32_t expected_555(uint32_t value) {
  const auto wide = [](uint32_t five) { return ((five & 31) * 510 + 31) / 62; };
  return wide(value >> 10) << 16 | wide(value >> 5) << 8 | wide(value);
}

/// A pixel of the reader's globals.
inline uint32_t loaded_pixel(size_t i) {
  switch (image_bpp) {
  case 8: return static_cast<const uint8_t *>(image_data)[i];
  case 16: return static_cast<const uint16_t *>(image_data)[i];
  default: return static_cast<const uint32_t *>(image_data)[i];
  }
}

/// Compares the reader's globals with a picture read in the current mode.
inline void expect_loaded(const expected_picture &picture) {
  const int32_t depth = picture.indices ? 8 : mode.bpp;
  ASSERT_EQ(image_w, picture.w);
  ASSERT_EQ(image_h, picture.h);
  ASSERT_EQ(image_bpp, depth);
  ASSERT_EQ(image_has_palette, picture.indices);
  ASSERT_EQ(image_alphachannel, picture.alpha && depth == 32);
  for (size_t i = 0; i < picture.pixels.size(); i++)
    ASSERT_EQ(loaded_pixel(i), picture.indices
                                   ? picture.pixels[i]
                                   : expected_at_depth(picture.pixels[i], picture.alpha, depth))
        << "pixel " << i % size_t(picture.w) << ", " << i / size_t(picture.w);
}

inline std::vector<orb_rgb> random_colours(size_t count, std::mt19937 &random) {
  std::vector<orb_rgb> colours(count);
  for (orb_rgb &c : colours)
    c = {uint8_t(random()), uint8_t(random()), uint8_t(random())};
  return colours;
}

/// A BMP file; the pixels are given in file order.
struct bmp_file {
  uint32_t info_size = 40;
  int32_t w = 1, h = 1; // a negative height: rows from the top
  uint32_t bits = 8, compression = 0;
  std::vector<orb_rgb> colours;
  uint32_t stated_colours = 0;
  std::vector<uint32_t> masks; // after a header of 40 bytes, or within a longer one
  uint32_t gap = 0;            // bytes before the pixels
  /// The pixel offset in the header.
  enum { where_they_do, nowhere, at_the_palette } stated_offset = where_they_do;
  file_bytes pixels;

  file_bytes encode() const {
    file_builder info;
    info.u32(info_size);
    if (info_size == 12) {
      info.u16(uint32_t(w)).u16(uint32_t(h)).u16(1).u16(bits);
    } else {
      info.u32(uint32_t(w)).u32(uint32_t(h)).u16(1).u16(bits).u32(compression);
      info.u32(0).u32(0).u32(0).u32(stated_colours).u32(0);
    }
    for (uint32_t mask : masks)
      info.u32(mask);
    if (info.bytes.size() < info_size) info.zeros(info_size - info.bytes.size());
    const size_t palette_place = 14 + info.bytes.size();
    for (const orb_rgb &c : colours) {
      info.u8(c.b).u8(c.g).u8(c.r);
      if (info_size != 12) info.u8(0x55);
    }
    info.zeros(gap);
    file_builder file;
    const size_t offset = 14 + info.bytes.size();
    file.u8('B').u8('M').u32(uint32_t(offset + pixels.size())).u32(0);
    file.u32(uint32_t(stated_offset == nowhere          ? 0
                      : stated_offset == at_the_palette ? palette_place
                                                        : offset));
    file.add(info.bytes).add(pixels);
    return file.bytes;
  }

  /// Fills in random uncompressed rows; the values are in picture order.
  std::vector<uint32_t> fill(std::mt19937 &random) {
    const int32_t rows = std::abs(h);
    const size_t stride = (size_t(w) * bits + 31) / 32 * 4;
    std::vector<uint32_t> values(size_t(w) * size_t(rows));
    pixels.assign(stride * size_t(rows), 0);
    for (int32_t y = 0; y < rows; y++)
      for (int32_t x = 0; x < w; x++) {
        const uint32_t value = uint32_t(random()) & uint32_t((uint64_t(1) << bits) - 1);
        values[size_t(y * w + x)] = value;
        uint8_t *row = &pixels[stride * size_t(h < 0 ? y : rows - 1 - y)];
        const size_t bit = size_t(x) * bits;
        if (bits < 8)
          row[bit / 8] |= uint8_t(value << (8 - bits - bit % 8));
        else
          for (uint32_t i = 0; i < bits / 8; i++)
            row[bit / 8 + i] = uint8_t(value >> (8 * i));
      }
    return values;
  }
};

/// A TGA file; the pixels are given in file order.
struct tga_file {
  uint32_t type = 2;
  uint32_t map_first = 0, map_bits = 24;
  std::vector<uint32_t> map; // entries as stored in the file
  uint32_t w = 1, h = 1, bits = 24, descriptor = 0;
  file_bytes id, pixels;

  file_bytes encode() const {
    file_builder file;
    file.u8(uint32_t(id.size())).u8(!map.empty()).u8(type);
    file.u16(map_first).u16(uint32_t(map.size())).u8(map.empty() ? 0 : map_bits);
    file.u16(0).u16(0).u16(w).u16(h).u8(bits).u8(descriptor).add(id);
    for (uint32_t entry : map)
      for (uint32_t i = 0; i < (map_bits + 7) / 8; i++)
        file.u8(entry >> (8 * i));
    return file.add(pixels).bytes;
  }

  /// Fills in random pixels, for types above 8 in random packets that may cross rows; the values
  /// are in picture order.
  std::vector<uint32_t> fill(std::mt19937 &random) {
    const size_t size = (bits + 7) / 8, count = size_t(w) * h;
    std::vector<uint32_t> in_file(count);
    file_builder file;
    const auto put = [&](uint32_t value) {
      for (size_t i = 0; i < size; i++)
        file.u8(value >> (8 * i));
    };
    const auto next = [&] {
      return uint32_t(random()) & uint32_t((uint64_t(1) << (8 * size)) - 1);
    };
    for (size_t i = 0; i < count;) {
      if (type < 8) {
        put(in_file[i++] = next());
        continue;
      }
      const size_t length = 1 + random() % 128;
      const bool run = random() % 2;
      file.u8(uint32_t((run ? 128 : 0) + length - 1));
      const uint32_t value = next();
      if (run) put(value);
      for (size_t k = 0; k < length; k++, i++) {
        const uint32_t pixel = run ? value : next();
        if (!run) put(pixel);
        if (i < count) in_file[i] = pixel;
      }
    }
    pixels = file.bytes;
    std::vector<uint32_t> values(count);
    for (uint32_t y = 0; y < h; y++)
      for (uint32_t x = 0; x < w; x++)
        values[size_t(descriptor & 32 ? y : h - 1 - y) * w + (descriptor & 16 ? w - 1 - x : x)] =
            in_file[size_t(y) * w + x];
    return values;
  }
};

/// A PCX file; the coded rows are given as stored in the file.
struct pcx_file {
  uint32_t version = 5, encoding = 1, bits = 8, planes = 1;
  uint32_t x0 = 0, y0 = 0, x1 = 0, y1 = 0;
  uint32_t line = 1;
  std::vector<orb_rgb> colours; // at the end of the file
  file_bytes pixels;

  file_bytes encode() const {
    file_builder file;
    file.u8(10).u8(version).u8(encoding).u8(bits).u16(x0).u16(y0).u16(x1).u16(y1);
    file.zeros(53).u8(planes).u16(line).zeros(60).add(pixels);
    if (!colours.empty()) file.u8(12);
    for (const orb_rgb &c : colours)
      file.u8(c.r).u8(c.g).u8(c.b);
    return file.bytes;
  }
};
