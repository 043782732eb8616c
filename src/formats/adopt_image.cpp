// From the reader's globals to a graph of library 0: palette, surface, depth, slot.
#include "formats/adopt_image.h"

#include <cstdlib>
#include <cstring>

#include "boundary/errors.h"
#include "formats/codec.h"
#include "surface/conversion.h"
#include "surface/libraries.h"
#include "surface/palette.h"
#include "surface/screen.h"
#include "surface/surface.h"
#include "video/fades.h"

namespace {

/// What follows the last '/', else the last '\', else everything.
const char *name_of(const char *path) {
  const char *separator = strrchr(path, '/');
  if (!separator) separator = strrchr(path, '\\');
  return separator ? separator + 1 : path;
}

/// A surface around the reader's pixels, which it takes over together with the control points; null
/// when it can't be made, and then the globals still own them.
__ORBSurface2D__ *surface_from_image() {
  // Created with a single pixel, so that a big picture needs its memory only once.
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

/// The surface at the screen's depth and in its palette, from the globals; null on failed
/// allocation. `checksum` is that of a palette in the picture.
__ORBSurface2D__ *graph_from_image(uint32_t checksum) {
  const uint8_t *alphas = image_has_palette_alphas ? image_palette_alphas : nullptr;
  __ORBSurface2D__ *surface = surface_from_image();
  if (surface && surface->depth != mode.bpp)
    surface = move_to_screen_depth(surface, &image_palette, alphas);
  else if (surface && alphas)
    clear_invisible(surface, alphas);
  // A palette picture in an 8-bit mode; truecolour pictures already use the palette in force. The
  // palette changes only once the graph exists.
  if (surface && mode.bpp == 8 && image_has_palette && palette) {
    adopt_palette(image_palette, checksum);
    if (palette_forced && palette_crc != checksum) remap_to_forced_palette(surface);
  }
  return surface;
}

} // namespace

void adopt_palette(const __ORBPalette2D__ &colours, uint32_t checksum) {
  if (!palette_loaded) {
    copy_palette(palette, &colours);
    fade_off();
    palette_update = palette_loaded = fake_ghost_table = force_sys_fnt = 1;
    fade_on();
  }
  if (palette_forced) {
    image_palette_crc = checksum;
    init_force_palette(&colours);
  }
}

int32_t adopt_image(int32_t code, const char *filename, int32_t mark) {
  __ORBSurface2D__ *surface = nullptr;
  int32_t error = 0;
  if (image_bpp > mode.bpp) {
    // Readers refuse or convert such a picture themselves.
    error = error_format;
  } else {
    surface = graph_from_image(mark == img_format_map ? palette_checksum_6bits(&image_palette)
                                                      : palette_checksum(&image_palette));
    if (!surface) error = error_out_of_memory;
  }
  if (surface) {
    orb_map_slot &slot = fpg[0].slots[code];
    slot.code = code;
    slot.id = image_id;
    slot.surface = surface;
    set_graph_text(slot.description, image_desc);
    set_graph_text(slot.name, name_of(filename));
    account_graph(code, 604 + 12 * surface->has_cpoints + surface->byte_size, mark);
  }
  reset_image();
  return error;
}
