// The display's surface, and the colours that an 8-bit one shows.
//
// SDL owns the surface. Only video/sdl_backend.cpp opens it and forgets it.
#pragma once

#include "orb/graphics2d.h"

struct SDL_Surface;

/// The open display, or null.
extern SDL_Surface *display;

/// The colours that an 8-bit display shows.
extern __ORBPalette2D__ fadepalette;

/// False also when other code in the process has set another mode or ended SDL's video, which frees
/// our surface.
bool display_is_open();
/// Loads the initial colours of an 8-bit display; does nothing at other depths. False when the
/// display refuses them.
bool load_display_palette();
/// Hands 256 colours to the display and to the depth tables. 1 when the display took them.
int32_t VID_UpdatePalette(const __ORBPalette2D__ *colours);
