// The display under a random script: SDL's dummy one, which takes whatever it is asked for, made to
// behave like displays that don't.
//
// script_display.cpp stands between the module and SDL (SDL_SetVideoMode, SDL_ListModes) in every
// program that it is linked into, and passes everything on as long as nothing is chosen here.
#pragma once

#include <cstdint>

namespace fuzz {

/// Full-screen modes that SDL lists. It only asks when the module comes up.
enum class listed_modes : uint8_t { any_size, few, none };

struct display_manner {
  listed_modes listed = listed_modes::any_size;
  /// The display has this many bits a pixel at least: 8, 16 or 32.
  int depth = 8;
  /// As many more requests for a mode are refused.
  int refusals = 0;
};
extern display_manner display;

} // namespace fuzz
