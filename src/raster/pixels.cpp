#include "raster/pixels.h"

#include "surface/screen.h"

uint32_t (*get_pixel)(const __ORBSurface2D__ *, int32_t x, int32_t y) = get_pixel8;
void (*draw_pixel)(__ORBSurface2D__ *, int32_t x, int32_t y, uint32_t colour,
                   int32_t) = draw_pixel8;

namespace {

/// The pixel's address, or null outside the surface and for surfaces of another depth: a graph may
/// have been created before a mode change.
template <typename Pixel> Pixel *pixel_at(const __ORBSurface2D__ *surface, int32_t x, int32_t y) {
  // As unsigned values, negative coordinates are too large.
  if (!surface || uint32_t(x) >= surface->width || uint32_t(y) >= surface->height) return nullptr;
  if (surface->depth != int32_t(8 * sizeof(Pixel)) || !surface->pixels) return nullptr;
  auto *rows = static_cast<uint8_t *>(surface->pixels);
  return reinterpret_cast<Pixel *>(rows + size_t(y) * surface->pitch) + x;
}

template <typename Pixel>
uint32_t get_pixel_as(const __ORBSurface2D__ *surface, int32_t x, int32_t y) {
  const Pixel *pixel = pixel_at<Pixel>(surface, x, y);
  return pixel ? *pixel : 0;
}

template <typename Pixel>
void draw_pixel_as(__ORBSurface2D__ *surface, int32_t x, int32_t y, uint32_t colour) {
  Pixel *pixel = pixel_at<Pixel>(surface, x, y);
  if (!pixel) return;
  *pixel = Pixel(colour);
  mark_ground(surface);
}

} // namespace

uint32_t get_pixel8(const __ORBSurface2D__ *surface, int32_t x, int32_t y) {
  return get_pixel_as<uint8_t>(surface, x, y);
}
uint32_t get_pixel16(const __ORBSurface2D__ *surface, int32_t x, int32_t y) {
  return get_pixel_as<uint16_t>(surface, x, y);
}
uint32_t get_pixel32(const __ORBSurface2D__ *surface, int32_t x, int32_t y) {
  return get_pixel_as<uint32_t>(surface, x, y);
}

void draw_pixel8(__ORBSurface2D__ *surface, int32_t x, int32_t y, uint32_t colour, int32_t) {
  draw_pixel_as<uint8_t>(surface, x, y, colour);
}
void draw_pixel16(__ORBSurface2D__ *surface, int32_t x, int32_t y, uint32_t colour, int32_t) {
  draw_pixel_as<uint16_t>(surface, x, y, colour);
}
void draw_pixel32(__ORBSurface2D__ *surface, int32_t x, int32_t y, uint32_t colour, int32_t) {
  draw_pixel_as<uint32_t>(surface, x, y, colour);
}

void set_pixel_routines(int32_t depth) {
  get_pixel = depth == 16 ? get_pixel16 : depth == 32 ? get_pixel32 : get_pixel8;
  draw_pixel = depth == 16 ? draw_pixel16 : depth == 32 ? draw_pixel32 : draw_pixel8;
}
