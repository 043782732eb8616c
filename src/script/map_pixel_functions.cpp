// Script functions that read and change the pixels of graphs. Each checks the graph (109, 110, 111,
// 121) and returns the failure value after reporting.
#include <bit>

#include "boundary/readable.h"
#include "raster/pixels.h"
#include "script/checks.h"
#include "script/handlers.h"
#include "script/script_call.h"
#include "surface/fill.h"
#include "surface/palette.h"
#include "surface/screen.h"

namespace {

struct pixel_place {
  int32_t file, graph, x, y;
};

/// Gets the components of one pixel; the alpha is 255 where the graph has none. 1; 0 with the
/// targets unchanged when (x, y) is outside or the graph is not of the screen's depth; or the
/// failure value. Null targets are skipped.
int32_t give_components(const script_call &call, const pixel_place &at, int32_t *r, int32_t *g,
                        int32_t *b, int32_t *a) {
  const orb_map_slot *slot = check_graph(call, at.file, at.graph);
  if (!slot) return call.fail();
  const __ORBSurface2D__ &surface = *slot->surface;
  // Negative coordinates become huge unsigned ones.
  if (uint32_t(at.x) >= surface.width || uint32_t(at.y) >= surface.height) return call.done(0);
  if (surface.depth != mode.bpp || !surface.pixels) return call.done(0);

  const uint32_t pixel = get_pixel(&surface, at.x, at.y);
  if (mode.bpp == 8) {
    if (!palette) return call.done(0);
    const orb_rgb &colour = palette->colours[pixel];
    if (r) *r = colour.r;
    if (g) *g = colour.g;
    if (b) *b = colour.b;
    if (a) *a = 255;
  } else {
    device2D.get_rgba(pixel, r, g, b, a);
    if (a && !surface.alpha_channel) *a = 255;
  }
  return call.done(1);
}

} // namespace

/// map_get_pixel(file, graph, x, y): the pixel as a colour; 0 outside the graph.
int32_t ORB_map_get_pixel() {
  const script_call call{"MAP_GET_PIXEL"};
  auto [file, graph, x, y] = pop_ints<4>();
  const orb_map_slot *slot = check_graph(call, file, graph);
  return slot ? call.done(int32_t(get_pixel(slot->surface, x, y))) : call.fail();
}

/// map_get_rgb(file, graph, x, y, &r, &g, &b): the pixel's components 0..255, in an 8-bit mode
/// those of its palette entry.
int32_t ORB_map_get_rgb() {
  const script_call call{"MAP_GET_RGB"};
  auto [file, graph, x, y, r, g, b] =
      pop_args<int32_t, int32_t, int32_t, int32_t, int32_t *, int32_t *, int32_t *>();
  return give_components(call, {file, graph, x, y}, r, g, b, nullptr);
}

/// map_get_rgba(file, graph, x, y, &r, &g, &b, &a): the same with alpha.
int32_t ORB_map_get_rgba() {
  const script_call call{"MAP_GET_RGBA"};
  auto [file, graph, x, y, r, g, b, a] =
      pop_args<int32_t, int32_t, int32_t, int32_t, int32_t *, int32_t *, int32_t *, int32_t *>();
  return give_components(call, {file, graph, x, y}, r, g, b, a);
}

/// map_get_buffer(file, graph): the address of the pixels, rows from top to bottom without padding.
int32_t ORB_map_get_buffer() {
  const script_call call{"MAP_GET_BUFFER"};
  auto [file, graph] = pop_ints<2>();
  const orb_map_slot *slot = check_graph(call, file, graph);
  return slot ? call.done(std::bit_cast<int32_t>(slot->surface->pixels)) : call.fail();
}

/// map_clear(file, graph, colour [, keep_alpha]): fills the graph; `keep_alpha` other than 0 leaves
/// the alpha of 32-bit pixels. 1.
int32_t ORB_map_clear() {
  const script_call call{"MAP_CLEAR"};
  const int32_t keep_alpha = rt_param_count() > 3 ? rt_pop_int() : 0;
  auto [file, graph, colour] = pop_args<int32_t, int32_t, uint32_t>();
  const orb_map_slot *slot = check_graph(call, file, graph);
  if (!slot || !check_colour(call, colour, 3)) return call.fail();
  return call.done(device2D.ORBGI2D_BlitFill(slot->surface, colour, keep_alpha));
}

/// map_set_color(file, graph, from, to), map_set_colour(...): replaces each pixel equal to one
/// colour, alpha included, by another. 1.
int32_t ORB_map_set_color() {
  const script_call call{"MAP_SET_COLOR"};
  auto [file, graph, from, to] = pop_args<int32_t, int32_t, uint32_t, uint32_t>();
  const orb_map_slot *slot = check_graph(call, file, graph);
  if (!slot || !check_colour(call, from, 3) || !check_colour(call, to, 4)) return call.fail();
  switch (slot->surface->depth) {
  case 8: draw_pixels_8to8bits(slot->surface, from, to); break;
  case 16: draw_pixels_16to16bits(slot->surface, from, to); break;
  default: draw_pixels_32to32bits(slot->surface, from, to);
  }
  return call.done(1);
}

/// map_convert_palette(file, graph, address of 256 ints), convert_palette(...): replaces each index
/// i of an 8-bit graph by the low byte of element i. 1, or the failure value for a graph of another
/// depth or an unreadable address.
int32_t ORB_map_convert_palette() {
  const script_call call{"MAP_CONVERT_PALETTE"};
  auto [file, graph, address] = pop_ints<3>();
  const orb_map_slot *slot = check_graph(call, file, graph);
  if (!slot || slot->surface->depth != 8) return call.fail();
  int32_t indices[256];
  if (!copy_if_readable(indices, std::bit_cast<const void *>(address), sizeof indices))
    return call.fail();
  uint8_t table[256];
  for (int32_t i = 0; i < 256; i++)
    table[i] = uint8_t(indices[i]);
  auto *pixels = static_cast<uint8_t *>(slot->surface->pixels);
  for (uint32_t i = 0; i < slot->surface->pixel_count; i++)
    pixels[i] = table[pixels[i]];
  return call.done(1);
}

/// map_put_pixel(file, graph, x, y, colour [, mode]): sets one pixel of a graph; outside it nothing
/// happens. `mode` must be 0 or 1, and both do the same. 1, or the failure value for a bad graph,
/// colour or mode.
int32_t ORB_map_put_pixel() {
  const script_call call{"MAP_PUT_PIXEL"};
  const int32_t pixel_mode = rt_param_count() > 5 ? rt_pop_int() : 0;
  auto [file, graph, x, y, colour] = pop_args<int32_t, int32_t, int32_t, int32_t, uint32_t>();
  orb_map_slot *slot = check_graph(call, file, graph);
  if (!slot || !check_colour(call, colour, 5)) return call.fail();
  if (pixel_mode != 0 && pixel_mode != 1) return call.fail();
  draw_pixel(slot->surface, x, y, colour, pixel_mode);
  return call.done(1);
}
