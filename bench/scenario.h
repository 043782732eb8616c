// What is drawn: the same pictures at the same places, whoever draws them.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

namespace orbbench {

enum class operation {
  copy,        // every pixel
  keyed,       // transparent pixels skipped, as in all that follow but tile
  mirrored,    // left and right swapped
  ghost,       // half translucent
  alpha,       // opacity 100 of 255
  pixel_alpha, // opacity by each pixel's own alpha
  additive,
  multiply,
  screen,
  scale,  // to 170 percent
  rotate, // by 30 degrees
  tile,   // repeated over the whole target, every pixel
};

inline constexpr int opacity = 100;       // of 255, of operation::alpha
inline constexpr int ghost_opacity = 128; // of 255, for those that know no ghost
inline constexpr int scale_percent = 170;
inline constexpr int rotate_degrees = 30;

/// Whether the picture has transparent pixels.
constexpr bool is_keyed(operation op) {
  return op != operation::copy && op != operation::tile;
}

struct extent {
  int width, height;
};

struct point {
  int x, y;
};

/// A sprite drawn `count` times with one operation.
struct scenario {
  operation op;
  int depth;     // 8, 16 or 32 bits a pixel, of sprite and target
  extent sprite; // pixels
  extent target;
  int count;
};

/// A scenario on a target of 1280x720 that draws about as many pixels as that has.
scenario blit_scenario(operation op, int depth, extent sprite);

/// "keyed/32bit/64x64"
std::string scenario_name(const scenario &s);

/// The box that one drawn sprite fills.
extent drawn_box(const scenario &s);

/// Pixels that one pass stands for: those of the picture, transparent ones too; those of the
/// result where it is scaled; those of the target where it is tiled.
double pixels_per_pass(const scenario &s);

/// Top left corners of the drawn boxes, all of them inside the target. The same seed for all.
std::vector<point> positions(const scenario &s);

/// A picture, a word a pixel: a palette index, 5-6-5, or 0xAARRGGBB.
struct picture {
  int width, height, depth;
  std::vector<uint32_t> pixels;
};

/// The sprite: soft colours with some noise; for keyed operations in a disc around which a third of
/// the pixels is 0. No opaque pixel is 0. Alpha is 255 in the disc; for pixel_alpha it falls off
/// towards the edge.
picture sprite_of(const scenario &s);
/// The background: opaque, of the target's size.
picture background_of(const scenario &s);

/// Writes a picture as pixels of its depth, `pitch` bytes from row to row.
void store(const picture &from, void *to, size_t pitch);
/// The same with `key` in place of transparent pixels.
void store_keyed(picture from, uint32_t key, void *to, size_t pitch);

/// The opposite of store; of 32-bit pixels without the highest byte, in which nobody need agree.
picture load(int depth, extent size, const void *from, size_t pitch);

} // namespace orbbench
