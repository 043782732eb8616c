// The pixel comparisons for each depth; at 32 bits, for each kind of picture.
#include <cstddef>

#include "collision/collision.h"

int32_t collision_alphathreshold;
uint32_t alphathreshold;
uint8_t proc_alpha, scan_alpha;

namespace {

struct not_zero {
  template <typename Pixel> bool operator()(Pixel p) const { return p != 0; }
};
struct above_threshold {
  uint32_t threshold;
  bool operator()(uint32_t p) const { return (p & 0xFF000000) > threshold; }
};

/// Compares in vector-sized blocks and stops after the first block with a hit.
template <typename Pixel, typename SeenA, typename SeenB>
bool touch(const void *first, const void *second, size_t count, SeenA seen_a, SeenB seen_b) {
  const auto *a = static_cast<const Pixel *>(first), *b = static_cast<const Pixel *>(second);
  constexpr size_t block = 64 / sizeof(Pixel);
  for (; count >= block; count -= block, a += block, b += block) {
    Pixel any = 0;
    for (size_t i = 0; i < block; ++i)
      any |= Pixel(seen_a(a[i])) & Pixel(seen_b(b[i]));
    if (any) return true;
  }
  for (size_t i = 0; i < count; ++i)
    if (seen_a(a[i]) && seen_b(b[i])) return true;
  return false;
}

size_t area(int32_t width, int32_t height) { return size_t(width) * size_t(height); }

bool seen_32bits(uint32_t pixel, uint8_t alpha) {
  return alpha ? above_threshold{alphathreshold}(pixel) : pixel != 0;
}

} // namespace

int32_t process_collision_8bits(const void *a, const void *b, int32_t width, int32_t height) {
  return touch<uint8_t>(a, b, area(width, height), not_zero{}, not_zero{});
}

int32_t process_collision_16bits(const void *a, const void *b, int32_t width, int32_t height) {
  return touch<uint16_t>(a, b, area(width, height), not_zero{}, not_zero{});
}

int32_t process_collision_32bits(const void *a, const void *b, int32_t width, int32_t height) {
  const size_t count = area(width, height);
  const above_threshold opaque{alphathreshold};
  if (proc_alpha)
    return scan_alpha ? touch<uint32_t>(a, b, count, opaque, opaque)
                      : touch<uint32_t>(a, b, count, opaque, not_zero{});
  return scan_alpha ? touch<uint32_t>(a, b, count, not_zero{}, opaque)
                    : touch<uint32_t>(a, b, count, not_zero{}, not_zero{});
}

int32_t hit_collision_8bits(const void *pixel) { return *static_cast<const uint8_t *>(pixel) != 0; }
int32_t hit_collision_16bits(const void *pixel) {
  return *static_cast<const uint16_t *>(pixel) != 0;
}
int32_t hit_collision_32bits(const void *pixel) {
  return seen_32bits(*static_cast<const uint32_t *>(pixel), scan_alpha);
}

// The pointer's picture is also in `scan`.
int32_t mouse_collision_8bits(const void *pixel) { return hit_collision_8bits(pixel); }
int32_t mouse_collision_16bits(const void *pixel) { return hit_collision_16bits(pixel); }
int32_t mouse_collision_32bits(const void *pixel) { return hit_collision_32bits(pixel); }
