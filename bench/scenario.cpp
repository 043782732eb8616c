#include "scenario.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstring>
#include <numbers>
#include <random>

namespace orbbench {

namespace {

constexpr const char *operation_names[] = {"copy",  "mirrored", "ghost",    "alpha",
                                           "over",  "additive", "multiply", "screen",
                                           "scale", "rotate",   "tile"};
constexpr const char *look_names[] = {"opaque", "keyed", "sparse"};

constexpr double radians = rotate_degrees * std::numbers::pi / 180;

/// Numbers from a generator's own bits: the standard distributions differ between libraries.
int below(std::mt19937 &random, int limit) {
  return int(random() % unsigned(limit));
}

uint32_t pack(int depth, int r, int g, int b) {
  if (depth == 32) return 0xFF000000u | uint32_t(r << 16 | g << 8 | b);
  if (depth == 16) return std::max(uint32_t(r >> 3 << 11 | g >> 2 << 5 | b >> 3), 1u);
  return std::max(uint32_t((r + g + b) / 3), 1u);
}

/// Waves of colour with a little noise: what neighbours have in common keeps two ways to sample
/// them comparable.
picture paint(int width, int height, int depth, unsigned seed) {
  std::mt19937 random(seed);
  // A wave depends on one number of each place: x and y times something between 1 and 3.
  std::vector<int> waves[3];
  for (std::vector<int> &wave : waves) {
    const double phase = below(random, 628) / 100.0;
    for (int i = 0; i < 3 * (width + height); ++i)
      wave.push_back(int(128 + 110 * std::sin(phase + i / 40.0)));
  }
  picture result{width, height, depth, {}};
  result.pixels.reserve(size_t(width) * size_t(height));
  for (int y = 0; y < height; ++y)
    for (int x = 0; x < width; ++x) {
      const auto channel = [&](int c) {
        return waves[c][size_t(x * (c + 1) + y * (3 - c))] + below(random, 12);
      };
      const int r = channel(0), g = channel(1), b = channel(2);
      result.pixels.push_back(pack(depth, r, g, b));
    }
  return result;
}

/// Distance from the middle, 0 to 1 inside a disc (an ellipse) of two thirds of the picture.
double disc_distance(const picture &p, int x, int y) {
  const double radius = std::sqrt(2 / (3 * std::numbers::pi));
  const double dx = (x + 0.5) / p.width - 0.5, dy = (y + 0.5) / p.height - 0.5;
  return std::hypot(dx, dy) / radius;
}

uint32_t with_alpha(uint32_t pixel, int alpha) {
  return (pixel & 0xFFFFFF) | uint32_t(std::clamp(alpha, 1, 255)) << 24;
}

void cut_disc(picture &p, bool soft) {
  constexpr double soft_edge = 0.3;
  for (int y = 0; y < p.height; ++y)
    for (int x = 0; x < p.width; ++x) {
      uint32_t &pixel = p.pixels[size_t(y) * size_t(p.width) + size_t(x)];
      const double distance = disc_distance(p, x, y);
      if (distance > 1)
        pixel = 0;
      else if (soft)
        pixel = with_alpha(pixel, int((1 - distance) / soft_edge * 255));
    }
}

/// Leaves runs of 1 to 4 pixels between gaps of up to 45.
void thin_out(picture &p, bool soft) {
  std::mt19937 random(4);
  size_t at = 0;
  while (at < p.pixels.size()) {
    const size_t gap = std::min(size_t(below(random, 46)), p.pixels.size() - at);
    std::fill_n(p.pixels.begin() + ptrdiff_t(at), gap, 0);
    at += gap;
    for (int run = 1 + below(random, 4); run > 0 && at < p.pixels.size(); --run, ++at)
      if (soft) p.pixels[at] = with_alpha(p.pixels[at], below(random, 256));
  }
}

uint32_t multiplied(uint32_t pixel) {
  const uint32_t alpha = pixel >> 24;
  uint32_t result = alpha << 24;
  for (int shift = 0; shift < 24; shift += 8)
    result |= ((pixel >> shift & 255) * alpha + 127) / 255 << shift;
  return result;
}

/// 5-6-5 as opaque 32 bits.
uint32_t widened(uint32_t pixel) {
  const uint32_t r = pixel >> 11, g = pixel >> 5 & 63, b = pixel & 31;
  return 0xFF000000 | (r << 3 | r >> 2) << 16 | (g << 2 | g >> 4) << 8 | b << 3 | b >> 2;
}

template <typename pixel> void store_as(const picture &from, void *to, size_t pitch) {
  std::vector<pixel> row(size_t(from.width));
  for (int y = 0; y < from.height; ++y) {
    const uint32_t *words = &from.pixels[size_t(y) * size_t(from.width)];
    std::transform(words, words + from.width, row.begin(),
                   [](uint32_t word) { return pixel(word); });
    std::memcpy(static_cast<uint8_t *>(to) + size_t(y) * pitch, row.data(),
                row.size() * sizeof(pixel));
  }
}

} // namespace

scenario blit_scenario(operation op, look source, int depth, extent sprite, int percent) {
  scenario s{op, source, depth, sprite, blit_target, 1, percent};
  const extent drawn = op == operation::scale ? drawn_box(s) : sprite;
  const int area = std::max(drawn.width * drawn.height, sprite.width * sprite.height);
  if (op != operation::tile) s.count = std::max(blit_target.width * blit_target.height / area, 1);
  return s;
}

std::string scenario_name(const scenario &s) {
  std::string name = std::string(look_names[int(s.source)]) + " " + operation_names[int(s.op)];
  if (s.op == operation::scale) {
    char factor[16];
    std::snprintf(factor, sizeof factor, " %g", s.percent / 100.0);
    name += factor;
  }
  return name + "/" + std::to_string(s.depth) + "bit/" + std::to_string(s.sprite.width) + "x" +
         std::to_string(s.sprite.height);
}

extent drawn_box(const scenario &s) {
  const auto [w, h] = s.sprite;
  switch (s.op) {
  case operation::scale: {
    const auto scaled = [&](int length) { return 2 * ((length * s.percent + 100) / 200); };
    return {scaled(w), scaled(h)};
  }
  case operation::rotate:
    return {int(std::ceil(w * std::cos(radians) + h * std::sin(radians))) + 1,
            int(std::ceil(w * std::sin(radians) + h * std::cos(radians))) + 1};
  case operation::tile: return s.target;
  default: return s.sprite;
  }
}

double pixels_per_pass(const scenario &s) {
  const extent box = s.op == operation::rotate ? s.sprite : drawn_box(s);
  return double(box.width) * box.height * s.count;
}

std::vector<point> positions(const scenario &s) {
  const extent box = drawn_box(s);
  std::mt19937 random(1);
  std::vector<point> result;
  for (int i = 0; i < s.count; ++i) {
    const int x = below(random, s.target.width - box.width + 1);
    const int y = below(random, s.target.height - box.height + 1);
    result.push_back({x, y});
  }
  return result;
}

std::vector<point> tile_positions(const scenario &s) {
  if (s.op != operation::tile) return positions(s);
  std::vector<point> result;
  for (int y = 0; y < s.target.height; y += s.sprite.height)
    for (int x = 0; x < s.target.width; x += s.sprite.width)
      result.push_back({x, y});
  return result;
}

picture sprite_of(const scenario &s) {
  picture result = paint(s.sprite.width, s.sprite.height, s.depth, 2);
  const bool soft = s.op == operation::over;
  if (s.source == look::disc) cut_disc(result, soft);
  if (s.source == look::sparse) thin_out(result, soft);
  return result;
}

picture background_of(const scenario &s) {
  return paint(s.target.width, s.target.height, s.depth, 3);
}

picture premultiplied(picture from) {
  for (uint32_t &pixel : from.pixels)
    pixel = from.depth == 32 ? multiplied(pixel) : pixel ? widened(pixel) : 0;
  from.depth = 32;
  return from;
}

void store(const picture &from, void *to, size_t pitch) {
  switch (from.depth) {
  case 8: return store_as<uint8_t>(from, to, pitch);
  case 16: return store_as<uint16_t>(from, to, pitch);
  default: return store_as<uint32_t>(from, to, pitch);
  }
}

void store_keyed(picture from, uint32_t key, void *to, size_t pitch) {
  std::replace(from.pixels.begin(), from.pixels.end(), 0u, key);
  store(from, to, pitch);
}

picture load(int depth, extent size, const void *from, size_t pitch) {
  const size_t bytes = size_t(depth) / 8;
  picture result{size.width, size.height, depth, {}};
  for (int y = 0; y < size.height; ++y) {
    const uint8_t *at = static_cast<const uint8_t *>(from) + size_t(y) * pitch;
    for (int x = 0; x < size.width; ++x, at += bytes) {
      uint32_t word = 0; // little endian, as the machine is
      std::memcpy(&word, at, bytes);
      result.pixels.push_back(word & 0xFFFFFF);
    }
  }
  return result;
}

} // namespace orbbench
