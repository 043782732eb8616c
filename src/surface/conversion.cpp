#include "surface/conversion.h"

#include <cstdlib>
#include <cstring>

#include "surface/colour.h"
#include "surface/depth_tables.h"
#include "surface/palette.h"
#include "surface/screen.h"
#include "surface/surface.h"

namespace {

template <typename From, typename To, typename Convert>
void convert_rows(const __ORBSurface2D__ &from, __ORBSurface2D__ &to, Convert convert) {
  const auto *source = static_cast<const uint8_t *>(from.pixels);
  auto *destination = static_cast<uint8_t *>(to.pixels);
  for (uint32_t y = 0; y < from.height; y++, source += from.pitch, destination += to.pitch) {
    const auto *in = reinterpret_cast<const From *>(source);
    auto *out = reinterpret_cast<To *>(destination);
    for (uint32_t x = 0; x < from.width; x++)
      out[x] = convert(in[x]);
  }
}

/// The pixel of a palette entry. `alpha` is null for palettes without alphas.
template <typename Pixel> Pixel pixel_of(const orb_rgb &colour, const uint8_t *alpha) {
  const auto [r, g, b] = colour;
  const uint32_t argb =
      (alpha ? uint32_t(*alpha) << 24 : 0) | uint32_t(r) << 16 | uint32_t(g) << 8 | b;
  if constexpr (sizeof(Pixel) == 4) return argb;
  return Pixel(alpha ? pack565_with_alpha(argb) : pack565(r, g, b));
}

/// Converts indices through a palette or the current table. False when there is neither.
template <typename Pixel>
bool convert_indices(const __ORBSurface2D__ &from, __ORBSurface2D__ &to,
                     const __ORBPalette2D__ *colours, const uint8_t *alphas,
                     const Pixel *in_force) {
  Pixel own[256];
  for (int i = 0; colours && i < 256; i++)
    own[i] = pixel_of<Pixel>(colours->colours[i], alphas ? alphas + i : nullptr);
  const Pixel *const table = colours ? own : in_force;
  if (!table) return false;
  convert_rows<uint8_t, Pixel>(from, to, [table](uint8_t index) { return table[index]; });
  return true;
}

/// Fills `to` from a surface of its depth or a lower one.
bool copy_pixels(const __ORBSurface2D__ &from, __ORBSurface2D__ &to,
                 const __ORBPalette2D__ *colours, const uint8_t *alphas) {
  if (from.depth == to.depth) {
    const auto *source = static_cast<const uint8_t *>(from.pixels);
    auto *destination = static_cast<uint8_t *>(to.pixels);
    for (uint32_t y = 0; y < from.height; y++, source += from.pitch, destination += to.pitch)
      memcpy(destination, source, to.pitch);
    to.alpha_channel = from.alpha_channel;
    return true;
  }
  if (from.depth == 8) {
    to.alpha_channel = to.depth == 32 && alphas;
    return to.depth == 16 ? convert_indices(from, to, colours, alphas, table_color8to16)
                          : convert_indices(from, to, colours, alphas, table_color8to32);
  }
  convert_rows<uint16_t, uint32_t>(from, to, [](uint32_t pixel) {
    return (pixel & 0x1F) << 3 | (pixel & 0x7E0) << 5 | pixel >> 11 << 19;
  });
  return true;
}

void remap(__ORBSurface2D__ *surface, const uint8_t (&to)[256]) {
  auto *pixels = static_cast<uint8_t *>(surface->pixels);
  for (uint32_t i = 0; i < surface->pixel_count; i++)
    pixels[i] = to[pixels[i]];
}

bool copy_cpoints(const __ORBSurface2D__ &from, __ORBSurface2D__ &to) {
  const size_t size = (size_t(from.cpoint_last) + 1) * 3 * sizeof(uint32_t);
  auto *points = static_cast<uint32_t *>(malloc(size));
  if (!points) return false;
  memcpy(points, from.cpoints, size);
  free(to.cpoints);
  to.cpoints = points;
  to.has_cpoints = from.has_cpoints;
  to.cpoint_last = from.cpoint_last;
  return true;
}

} // namespace

__ORBSurface2D__ *copy_at_screen_depth(const __ORBSurface2D__ *from,
                                       const __ORBPalette2D__ *colours, const uint8_t *alphas) {
  if (from->depth > mode.bpp || !from->pixels) return nullptr;
  __ORBSurface2D__ *to =
      ORBGI2D_CreateGFXSurface(int32_t(from->width), int32_t(from->height), mode.bpp, 0);
  if (!to) return nullptr;
  if (copy_pixels(*from, *to, colours, alphas) && copy_cpoints(*from, *to)) return to;
  ORBGI2D_DeleteGFXSurface(to);
  return nullptr;
}

__ORBSurface2D__ *move_to_screen_depth(__ORBSurface2D__ *from, const __ORBPalette2D__ *colours,
                                       const uint8_t *alphas) {
  __ORBSurface2D__ *to = copy_at_screen_depth(from, colours, alphas);
  ORBGI2D_DeleteGFXSurface(from);
  return to;
}

void clear_invisible(__ORBSurface2D__ *surface, const uint8_t *alphas) {
  uint8_t kept[256];
  for (uint32_t i = 0; i < 256; i++)
    kept[i] = uint8_t(is_visible(alphas[i]) ? i : 0);
  remap(surface, kept);
}

void remap_to_forced_palette(__ORBSurface2D__ *surface) { remap(surface, forced_palette_map); }
