#include "scenario.h"

#include <algorithm>
#include <cmath>
#include <cstring>
#include <numbers>
#include <random>

namespace orbbench {

namespace {

constexpr const char *names[] = {"copy",   "keyed",       "mirrored", "ghost",
                                 "alpha",  "pixel_alpha", "additive", "multiply",
                                 "screen", "scale",       "rotate",   "tile"};

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

uint32_t with_alpha(uint32_t pixel, double distance) {
  constexpr double soft_edge = 0.3;
  const int alpha = std::clamp(int((1 - distance) / soft_edge * 255), 1, 255);
  return (pixel & 0xFFFFFF) | uint32_t(alpha) << 24;
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

scenario blit_scenario(operation op, int depth, extent sprite) {
  const extent target = {1280, 720};
  const int area = sprite.width * sprite.height;
  const int count = op == operation::tile ? 1 : std::max(target.width * target.height / area, 1);
  return {op, depth, sprite, target, count};
}

std::string scenario_name(const scenario &s) {
  return std::string(names[int(s.op)]) + "/" + std::to_string(s.depth) + "bit/" +
         std::to_string(s.sprite.width) + "x" + std::to_string(s.sprite.height);
}

extent drawn_box(const scenario &s) {
  const auto [w, h] = s.sprite;
  switch (s.op) {
  case operation::scale: return {w * scale_percent / 100, h * scale_percent / 100};
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

picture sprite_of(const scenario &s) {
  picture result = paint(s.sprite.width, s.sprite.height, s.depth, 2);
  if (!is_keyed(s.op)) return result;
  for (int y = 0; y < result.height; ++y)
    for (int x = 0; x < result.width; ++x) {
      uint32_t &pixel = result.pixels[size_t(y) * size_t(result.width) + size_t(x)];
      const double distance = disc_distance(result, x, y);
      if (distance > 1)
        pixel = 0;
      else if (s.op == operation::pixel_alpha)
        pixel = with_alpha(pixel, distance);
    }
  return result;
}

picture background_of(const scenario &s) {
  return paint(s.target.width, s.target.height, s.depth, 3);
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
