// From the reader's globals to a graph of library 0: palette, surface, depth, slot.
#include <cstdlib>
#include <cstring>
#include <utility>

#include "formats/codec.h"
#include "module/script_call.h"
#include "surface/colour.h"
#include "surface/palette.h"
#include "surface/registry.h"
#include "surface/surface.h"
#include "video/fades.h"
#include "video/video.h"

namespace {

/// Copies a text into a field of 256 bytes, cut so that its NUL stands within them.
void set_text(char (&field)[256], const char *text) {
  const size_t length = strnlen(text, sizeof field - 1);
  memcpy(field, text, length);
  memset(field + length, 0, sizeof field - length);
}

/// What follows the last '/', else the last '\', else everything.
const char *name_of(const char *path) {
  const char *separator = strrchr(path, '/');
  if (!separator) separator = strrchr(path, '\\');
  return separator ? separator + 1 : path;
}

/// In 8-bit modes the first picture with a palette sets the palette; with a forced palette every
/// such picture prepares its remapping.
void adopt_palette() {
  if (!palette_loaded) {
    copy_palette(palette, &image_palette);
    fade_off();
    palette_update = palette_loaded = fake_ghost_table = force_sys_fnt = 1;
    fade_on();
  }
  if (palette_forced) {
    image_palette_crc = palette_checksum(&image_palette);
    init_force_palette(&image_palette);
  }
}

/// A surface around the reader's pixels, which it takes over together with the control points; null
/// when it can't be made, and then the globals still own them.
__ORBSurface2D__ *surface_from_image() {
  // Made with a single pixel, so that a big picture never needs its memory twice.
  __ORBSurface2D__ *surface = ORBGI2D_CreateGFXSurface(1, 1, image_bpp, 0);
  if (!surface) return nullptr;
  ORBGI2D_DeleteGFXSurfaceBufferData(surface);
  surface->width = uint32_t(image_w);
  surface->height = uint32_t(image_h);
  surface->pitch = surface->width * uint32_t(image_bpp / 8);
  surface->pixel_count = surface->width * surface->height;
  surface->byte_size = surface->pitch * surface->height;
  surface->pixels = image_data;
  surface->alpha_channel = image_alphachannel;
  image_data = nullptr;
  if (image_cpoint) {
    static_assert(sizeof(image_cpoint_record) == 3 * sizeof(uint32_t));
    free(surface->cpoints);
    surface->cpoints = reinterpret_cast<uint32_t *>(image_cpoint);
    surface->has_cpoints = uint32_t(image_num_cpoints);
    surface->cpoint_last = uint32_t(image_max_cpoint_defined);
    image_cpoint = nullptr;
  } else {
    surface->cpoints[0] = surface->width / 2;
    surface->cpoints[1] = surface->height / 2;
  }
  return surface;
}

template <typename From, typename To, typename Convert>
void convert_pixels(const __ORBSurface2D__ &from, __ORBSurface2D__ &to, Convert convert) {
  const auto *in = static_cast<const From *>(from.pixels);
  auto *out = static_cast<To *>(to.pixels);
  for (uint32_t i = 0; i < from.pixel_count; i++)
    out[i] = convert(in[i]);
}

/// Pixels of a palette picture in colours of depth `Pixel`, through the picture's own palette.
template <typename Pixel>
void convert_indices(const __ORBSurface2D__ &from, __ORBSurface2D__ &to,
                     uint32_t (*pack)(int32_t r, int32_t g, int32_t b)) {
  Pixel colours[256];
  for (int i = 0; i < 256; i++) {
    const orb_rgb &colour = image_palette.colours[i];
    colours[i] = Pixel(pack(colour.r, colour.g, colour.b));
  }
  convert_pixels<uint8_t, Pixel>(from, to, [&colours](uint8_t index) { return colours[index]; });
}

/// The graph at the screen's depth in a new surface, which takes the control points over; the old
/// one is deleted. Null on failed allocation, and then the old one is deleted too. The new graph
/// has no alpha channel.
__ORBSurface2D__ *converted(__ORBSurface2D__ *from) {
  __ORBSurface2D__ *to =
      ORBGI2D_CreateGFXSurface(int32_t(from->width), int32_t(from->height), mode.bpp, 0);
  if (to) {
    if (from->depth == 16)
      convert_pixels<uint16_t, uint32_t>(*from, *to, [](uint32_t pixel) {
        return (pixel & 0x1F) << 3 | (pixel & 0x7E0) << 5 | pixel >> 11 << 19;
      });
    else if (mode.bpp == 16)
      convert_indices<uint16_t>(*from, *to, set_rgb_16bits);
    else
      convert_indices<uint32_t>(*from, *to, set_rgb_32bits);
    std::swap(to->cpoints, from->cpoints);
    to->has_cpoints = from->has_cpoints;
    to->cpoint_last = from->cpoint_last;
  }
  ORBGI2D_DeleteGFXSurface(from);
  return to;
}

void remap_to_forced_palette(__ORBSurface2D__ *surface) {
  auto *pixels = static_cast<uint8_t *>(surface->pixels);
  for (uint32_t i = 0; i < surface->pixel_count; i++)
    pixels[i] = forced_palette_map[pixels[i]];
}

/// The surface at the screen's depth and in its palette, from the globals; null on failed
/// allocation.
__ORBSurface2D__ *graph_from_image() {
  // A palette picture in an 8-bit mode; truecolour pictures arrive in the palette in force.
  const bool own_palette = mode.bpp == 8 && image_has_palette && palette;
  if (own_palette) adopt_palette();
  __ORBSurface2D__ *surface = surface_from_image();
  if (surface && surface->depth != mode.bpp)
    surface = converted(surface);
  else if (surface && own_palette && palette_forced && palette_crc != image_palette_crc)
    remap_to_forced_palette(surface);
  return surface;
}

} // namespace

int32_t adopt_image(const script_call &call, int32_t code, const char *filename, int32_t mark) {
  __ORBSurface2D__ *surface = nullptr;
  if (image_bpp > mode.bpp) {
    // Readers refuse or convert such a picture themselves.
    call.bad(error_format, 1, filename);
  } else {
    surface = graph_from_image();
    if (!surface) call.bad(error_out_of_memory, 1, filename);
  }
  if (surface) {
    orb_map_slot &slot = fpg[0].slots[code];
    slot.code = code;
    slot.id = image_id;
    slot.surface = surface;
    set_text(slot.description, image_desc);
    set_text(slot.name, name_of(filename));
    account_graph(code, 604 + 12 * surface->has_cpoints + surface->byte_size, mark);
  }
  reset_image();
  return surface ? code : 0;
}
