// PNG files of every kind, written by libpng from raw samples, and the picture a reader should
// deliver, computed sample by sample.
#pragma once

#include <algorithm>
#include <array>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <random>
#include <string>
#include <vector>

#include <png.h>

/// Alphas of the first palette entries in pictures with tRNS, cut to the palette's size.
inline constexpr std::array<png_byte, 6> palette_alphas{255, 0, 127, 128, 255, 1};

struct png_picture {
  uint32_t w, h;
  int colour, bits; // libpng's colour type; bits per sample
  bool interlaced;
  bool key; // a transparent colour (tRNS); in palette pictures alpha values
  std::vector<uint16_t> samples;
  std::vector<png_color> palette;
  uint16_t key_sample[3];

  uint32_t channels() const {
    switch (colour) {
    case PNG_COLOR_TYPE_GRAY_ALPHA: return 2;
    case PNG_COLOR_TYPE_RGB: return 3;
    case PNG_COLOR_TYPE_RGB_ALPHA: return 4;
    default: return 1;
    }
  }
  bool paletted() const { return colour == PNG_COLOR_TYPE_PALETTE; }
  bool has_alpha() const { return !paletted() && (key || (colour & PNG_COLOR_MASK_ALPHA)); }
  const uint16_t *at(uint32_t x, uint32_t y) const {
    return &samples[(size_t(y) * w + x) * channels()];
  }
  uint8_t index(uint32_t x, uint32_t y) const { return uint8_t(*at(x, y)); }
  /// The alpha of a palette entry.
  uint8_t alpha(uint8_t index) const {
    return key && index < palette_alphas.size() ? palette_alphas[index] : 255;
  }

  /// 0xAARRGGBB of a truecolour or grey picture; alpha 0 when it has none.
  uint32_t argb(uint32_t x, uint32_t y) const {
    const uint16_t *sample = at(x, y);
    const auto to8 = [this](uint16_t value) {
      const uint32_t top = (1u << bits) - 1;
      return (value * 255u + top / 2) / top;
    };
    const bool grey = !(colour & PNG_COLOR_MASK_COLOR);
    const uint32_t r = to8(sample[0]), g = grey ? r : to8(sample[1]), b = grey ? r : to8(sample[2]);
    uint32_t a = 0;
    if (colour & PNG_COLOR_MASK_ALPHA) {
      a = to8(sample[channels() - 1]);
    } else if (key) {
      bool match = true;
      for (uint32_t i = 0; i < channels(); i++)
        match &= sample[i] == key_sample[i];
      a = match ? 0 : 255;
    }
    return a << 24 | r << 16 | g << 8 | b;
  }
};

/// Every colour type and bit depth of PNG, plain and interlaced, with and without tRNS.
inline std::vector<png_picture> png_kinds() {
  struct kind {
    int colour;
    std::vector<int> bits;
    bool key;
  };
  const kind kinds[] = {
      {PNG_COLOR_TYPE_GRAY, {1, 2, 4, 8, 16}, true}, {PNG_COLOR_TYPE_RGB, {8, 16}, true},
      {PNG_COLOR_TYPE_PALETTE, {1, 2, 4, 8}, true},  {PNG_COLOR_TYPE_GRAY_ALPHA, {8, 16}, false},
      {PNG_COLOR_TYPE_RGB_ALPHA, {8, 16}, false},
  };
  std::vector<png_picture> all;
  for (const kind &k : kinds)
    for (int bits : k.bits)
      for (bool interlaced : {false, true})
        for (bool key : {false, true})
          if (!key || k.key) all.push_back({1, 1, k.colour, bits, interlaced, key, {}, {}, {}});
  return all;
}

inline std::string name_of(const png_picture &p) {
  return "colour type " + std::to_string(p.colour) + ", " + std::to_string(p.bits) + " bits, " +
         std::to_string(p.w) + " x " + std::to_string(p.h) + (p.interlaced ? ", interlaced" : "") +
         (p.key ? ", tRNS" : "");
}

/// Gives a picture a size and random samples; the transparent colour is one that occurs.
inline void fill_picture(png_picture &p, uint32_t w, uint32_t h, std::mt19937 &random) {
  p.w = w;
  p.h = h;
  p.samples.resize(size_t(w) * h * p.channels());
  // Half of the samples are extremes, so that keys match and dark colours occur.
  const uint32_t top = (1u << p.bits) - 1;
  for (uint16_t &sample : p.samples)
    sample = uint16_t(random() % 2 ? random() & top : random() % 2 ? top : 0);
  const uint16_t *some = p.at(random() % w, random() % h);
  for (uint32_t i = 0; i < 3; i++)
    p.key_sample[i] = some[i % p.channels()];
  if (!p.paletted()) return;
  p.palette.resize(top + 1);
  for (png_color &c : p.palette)
    c = {png_byte(random()), png_byte(random()), png_byte(random())};
}

/// The picture as a file.
inline std::vector<uint8_t> encode_png(const png_picture &p) {
  std::vector<uint8_t> file;
  const auto fail = [](png_structp, png_const_charp message) {
    fprintf(stderr, "encode_png: %s\n", message);
    abort();
  };
  png_structp png = png_create_write_struct(PNG_LIBPNG_VER_STRING, nullptr, fail, nullptr);
  png_infop info = png_create_info_struct(png);
  png_set_write_fn(
      png, &file,
      [](png_structp to, png_bytep bytes, size_t count) {
        auto *out = static_cast<std::vector<uint8_t> *>(png_get_io_ptr(to));
        out->insert(out->end(), bytes, bytes + count);
      },
      [](png_structp) {});
  png_set_IHDR(png, info, p.w, p.h, p.bits, p.colour,
               p.interlaced ? PNG_INTERLACE_ADAM7 : PNG_INTERLACE_NONE,
               PNG_COMPRESSION_TYPE_DEFAULT, PNG_FILTER_TYPE_DEFAULT);
  if (p.paletted()) png_set_PLTE(png, info, p.palette.data(), int(p.palette.size()));
  if (p.key) {
    png_color_16 colour{0, p.key_sample[0], p.key_sample[1], p.key_sample[2], p.key_sample[0]};
    if (p.paletted())
      png_set_tRNS(png, info, palette_alphas.data(),
                   int(std::min(palette_alphas.size(), p.palette.size())), nullptr);
    else
      png_set_tRNS(png, info, nullptr, 0, &colour);
  }
  png_set_filter(png, 0, PNG_ALL_FILTERS);
  png_set_check_for_invalid_index(png, 0); // some pictures have invalid indices on purpose
  png_write_info(png, info);

  const size_t row_samples = size_t(p.w) * p.channels();
  const size_t row_bytes = (row_samples * size_t(p.bits) + 7) / 8;
  std::vector<uint8_t> bytes(row_bytes * p.h);
  std::vector<png_bytep> rows(p.h);
  for (uint32_t y = 0; y < p.h; y++) {
    rows[y] = &bytes[y * row_bytes];
    for (size_t i = 0; i < row_samples; i++) {
      const uint32_t sample = p.samples[y * row_samples + i];
      if (p.bits == 16) {
        rows[y][2 * i] = uint8_t(sample >> 8);
        rows[y][2 * i + 1] = uint8_t(sample);
      } else {
        const size_t bit = i * size_t(p.bits);
        rows[y][bit / 8] |= uint8_t(sample << (8 - size_t(p.bits) - bit % 8));
      }
    }
  }
  png_write_image(png, rows.data());
  png_write_end(png, info);
  png_destroy_write_struct(&png, &info);
  return file;
}
