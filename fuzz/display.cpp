#include "fuzz/display.h"

#include <algorithm>

#include <SDL.h>
#include <dlfcn.h>

fuzz::display_manner fuzz::display;

namespace {

/// SDL's own function, which the one of that name here replaces.
template <typename F> F *in_sdl(const char *name) {
  return reinterpret_cast<F *>(dlsym(RTLD_NEXT, name));
}

} // namespace

extern "C" {

SDL_Surface *SDL_SetVideoMode(int width, int height, int bpp, Uint32 flags) {
  static auto *const real = in_sdl<decltype(SDL_SetVideoMode)>("SDL_SetVideoMode");
  if (fuzz::display.refusals > 0) {
    --fuzz::display.refusals;
    return nullptr;
  }
  return real(width, height, std::max(bpp, fuzz::display.depth), flags);
}

SDL_Rect **SDL_ListModes(SDL_PixelFormat *format, Uint32 flags) {
  static auto *const real = in_sdl<decltype(SDL_ListModes)>("SDL_ListModes");
  static SDL_Rect sizes[] = {{0, 0, 640, 480}, {0, 0, 320, 240}, {0, 0, 100, 80}, {0, 0, 64, 48}};
  static SDL_Rect *few[] = {&sizes[0], &sizes[1], &sizes[2], &sizes[3], nullptr};
  switch (fuzz::display.listed) {
  case fuzz::listed_modes::few: return few;
  case fuzz::listed_modes::none: return nullptr;
  default: return real(format, flags);
  }
}

} // extern "C"
