#include "raster/pixels.h"

#include "surface/screen.h"

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
void draw_pixel_as(__ORBSurface2D__ *surface, int32_t x, int32_t y, uint32_t colour, int32_t) {
  Pixel *pixel = pixel_at<Pixel>(surface, x, y);
  if (!pixel) return;
  *pixel = Pixel(colour);
  mark_ground(surface);
}

} // namespace

get_pixel_routine &get_pixel8 = get_pixel_as<uint8_t>, &get_pixel16 = get_pixel_as<uint16_t>,
                  &get_pixel32 = get_pixel_as<uint32_t>;
draw_pixel_routine &draw_pixel8 = draw_pixel_as<uint8_t>, &draw_pixel16 = draw_pixel_as<uint16_t>,
                   &draw_pixel32 = draw_pixel_as<uint32_t>;

get_pixel_routine *get_pixel = get_pixel8;
draw_pixel_routine *draw_pixel = draw_pixel8;

void set_pixel_routines(int32_t depth) {
  get_pixel = depth == 16 ? get_pixel16 : depth == 32 ? get_pixel32 : get_pixel8;
  draw_pixel = depth == 16 ? draw_pixel16 : depth == 32 ? draw_pixel32 : draw_pixel8;
}
