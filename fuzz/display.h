// The display for random scripts. SDL's dummy display accepts any mode; this makes it behave like
// displays that don't.
//
// display.cpp replaces SDL_SetVideoMode and SDL_ListModes in every program that it is linked
// into, and passes all calls on to SDL unless a script changes `display`.
#pragma once

#include <cstdint>

namespace fuzz {

/// Full-screen modes that SDL lists. The module asks only at init.
enum class listed_modes : uint8_t { any_size, few, none };

struct display_manner {
  listed_modes listed = listed_modes::any_size;
  /// The display's least depth: 8, 16 or 32 bits a pixel.
  int depth = 8;
  /// How many more requests for a mode are refused.
  int refusals = 0;
};
extern display_manner display;

} // namespace fuzz
