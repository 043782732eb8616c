// What is drawn: the same pictures at the same places, whoever draws them.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

namespace orbbench {

enum class operation {
  copy,     // every visible pixel
  mirrored, // left and right swapped
  ghost,    // half translucent
  alpha,    // opacity 100 of 255
  over,     // opacity by each pixel's own alpha
  additive,
  multiply,
  screen,
  scale,  // to `percent`
  rotate, // by 30 degrees
  tile,   // repeated over the whole target
};

/// What a sprite shows. Transparent pixels are 0, and skipped.
enum class look {
  opaque, // every pixel, drawn as one without a transparent colour
  disc,   // a disc in the middle, two thirds of the pixels
  sparse, // short runs all over, a tenth of the pixels
};

inline constexpr int opacity = 100;       // of 255, of operation::alpha
inline constexpr int ghost_opacity = 128; // of 255, for those that know no ghost
inline constexpr int rotate_degrees = 30;

struct extent {
  int width, height;
};

struct point {
  int x, y;
};

/// A sprite drawn `count` times with one operation.
struct scenario {
  operation op;
  look source;
  int depth;     // 8, 16 or 32 bits a pixel, of sprite and target
  extent sprite; // pixels
  extent target;
  int count;
  int percent = 100; // of operation::scale
};

/// The target of blits.
inline constexpr extent blit_target = {1280, 720};
/// A scenario on that target which draws about as many pixels as it has.
scenario blit_scenario(operation op, look source, int depth, extent sprite, int percent = 100);

/// "keyed copy/32bit/64x64", "opaque scale 1.7/8bit/16x16"
std::string scenario_name(const scenario &s);

constexpr bool is_keyed(const scenario &s) {
  return s.source != look::opaque;
}

/// The box that one drawn sprite fills. Scaled ones stand on their middle as ours do: on both sides
/// of it a whole number of pixels.
extent drawn_box(const scenario &s);

/// Pixels that one pass stands for: those of the picture, transparent ones too; those of the
/// result where it is scaled; those of the target where it is tiled.
double pixels_per_pass(const scenario &s);

/// Top left corners of the drawn boxes, all of them inside the target. The same seed for all.
std::vector<point> positions(const scenario &s);
/// The same for those that know no tiles and draw them one by one, the last ones cut off.
std::vector<point> tile_positions(const scenario &s);

/// A picture, a word a pixel: a palette index, 5-6-5, or 0xAARRGGBB.
struct picture {
  int width, height, depth;
  std::vector<uint32_t> pixels;
};

/// The sprite: soft colours with some noise. No visible pixel is 0. Alpha is 255 where a pixel is
/// visible; for operation::over it falls off towards the edge of the disc, and varies otherwise.
picture sprite_of(const scenario &s);
/// The background: opaque, of the target's size.
picture background_of(const scenario &s);

/// The same at 32 bits with the alpha multiplied into the colours, for those that know no other
/// transparency; visible 16-bit pixels are opaque.
picture premultiplied(picture from);

/// Writes a picture as pixels of its depth, `pitch` bytes from row to row.
void store(const picture &from, void *to, size_t pitch);
/// The same with `key` in place of transparent pixels.
void store_keyed(picture from, uint32_t key, void *to, size_t pitch);

/// The opposite of store; of 32-bit pixels without the highest byte, in which nobody need agree.
picture load(int depth, extent size, const void *from, size_t pitch);

} // namespace orbbench
