#include "video/display.h"

#include <SDL.h>

#include "surface/depth_tables.h"
#include "surface/screen.h"
#include "video/presentation.h"

SDL_Surface *display;
__ORBPalette2D__ fadepalette;

namespace {

void to_sdl_colours(SDL_Color (&to)[256], const __ORBPalette2D__ &from) {
  for (int i = 0; i < 256; ++i)
    to[i] = {from.colours[i].r, from.colours[i].g, from.colours[i].b, 0};
}

} // namespace

bool load_display_palette() {
  if (mode.bpp != 8 || display->format->BitsPerPixel != 8) return true;
  SDL_Color colours[256];
  to_sdl_colours(colours, fadepalette);
  return SDL_SetPalette(display, SDL_LOGPAL | SDL_PHYSPAL, colours, 0, 256) != 0;
}

bool display_is_open() { return display && display == SDL_GetVideoSurface(); }

int32_t VID_UpdatePalette(const __ORBPalette2D__ *colours) {
  update_depth_tables(colours);
  if (colours != &fadepalette) fadepalette = *colours;
  if (!display_is_open()) return 0;
  // All pixels that were converted with the old colours are out of date.
  if (display->format->BitsPerPixel != 8) filter_status = filter_status_stale;
  SDL_Color entries[256];
  to_sdl_colours(entries, *colours);
  return SDL_SetColors(display, entries, 0, 256);
}
