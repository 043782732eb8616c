#include "formats/truecolour.h"

#include <cstdlib>
#include <cstring>

#include "surface/colour.h"
#include "surface/palette.h"
#include "surface/screen.h"

namespace {

constexpr uint32_t cache_bits = 14;

uint16_t pack_keyless(uint32_t pixel) {
  return uint16_t(pack565(pixel >> 16 & 255, pixel >> 8 & 255, pixel & 255));
}

uint16_t pack_with_alpha(uint32_t pixel) { return uint16_t(pack565_with_alpha(pixel)); }

uint8_t nearest(uint32_t *cache, uint32_t pixel) {
  const uint32_t colour = pixel & 0xFFFFFF;
  uint32_t &entry = cache[colour * 0x9E3779B1u >> (32 - cache_bits)];
  // Index 0 is never found, so that a filled entry is never 0.
  if (entry >> 8 != colour || !entry)
    entry = colour << 8 | find_nearest(palette, int32_t(colour >> 16), int32_t(colour >> 8 & 255),
                                       int32_t(colour & 255));
  return uint8_t(entry);
}

template <typename Pixel, typename Convert>
void convert_row(void *to, const uint32_t *from, uint32_t count, Convert convert) {
  auto *out = static_cast<Pixel *>(to);
  for (uint32_t i = 0; i < count; i++)
    out[i] = convert(from[i]);
}

} // namespace

bool begin_truecolour(truecolour_conversion *conversion, bool alpha) {
  *conversion = {mode.bpp, alpha, nullptr};
  if (mode.bpp != 8) return true;
  if (!palette) return false;
  conversion->nearest_cache = static_cast<uint32_t *>(calloc(1u << cache_bits, sizeof(uint32_t)));
  return conversion->nearest_cache != nullptr;
}

void convert_truecolour_row(const truecolour_conversion &conversion, void *to, const uint32_t *from,
                            uint32_t count) {
  uint32_t *const cache = conversion.nearest_cache;
  switch (conversion.depth) {
  case 8:
    if (conversion.alpha)
      convert_row<uint8_t>(to, from, count, [cache](uint32_t pixel) {
        return is_visible(pixel >> 24) ? nearest(cache, pixel) : uint8_t(0);
      });
    else
      convert_row<uint8_t>(to, from, count,
                           [cache](uint32_t pixel) { return nearest(cache, pixel); });
    break;
  case 16:
    if (conversion.alpha)
      convert_row<uint16_t>(to, from, count, pack_with_alpha);
    else
      convert_row<uint16_t>(to, from, count, pack_keyless);
    break;
  default: memcpy(to, from, size_t(count) * sizeof(uint32_t));
  }
}

void end_truecolour(truecolour_conversion *conversion) {
  free(conversion->nearest_cache);
  conversion->nearest_cache = nullptr;
}
