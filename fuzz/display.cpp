#include "fuzz/display.h"

#include <algorithm>

#include <SDL.h>
#include <dlfcn.h>

fuzz::display_manner fuzz::display;

#ifdef __wasm__ // SDL is linked in: the linker puts these before its own (-Wl,--wrap)
#define HERE(name) __wrap_##name
#define IN_SDL(name) __real_##name
extern "C" decltype(SDL_SetVideoMode) IN_SDL(SDL_SetVideoMode);
extern "C" decltype(SDL_ListModes) IN_SDL(SDL_ListModes);
#else
#define HERE(name) name
#define IN_SDL(name) reinterpret_cast<decltype(name) *>(dlsym(RTLD_NEXT, #name))
#endif

extern "C" {

SDL_Surface *HERE(SDL_SetVideoMode)(int width, int height, int bpp, Uint32 flags) {
  static auto *const real = IN_SDL(SDL_SetVideoMode);
  if (fuzz::display.refusals > 0) {
    --fuzz::display.refusals;
    return nullptr;
  }
  return real(width, height, std::max(bpp, fuzz::display.depth), flags);
}

SDL_Rect **HERE(SDL_ListModes)(SDL_PixelFormat *format, Uint32 flags) {
  static auto *const real = IN_SDL(SDL_ListModes);
  static SDL_Rect sizes[] = {{0, 0, 640, 480}, {0, 0, 320, 240}, {0, 0, 100, 80}, {0, 0, 64, 48}};
  static SDL_Rect *few[] = {&sizes[0], &sizes[1], &sizes[2], &sizes[3], nullptr};
  switch (fuzz::display.listed) {
  case fuzz::listed_modes::few: return few;
  case fuzz::listed_modes::none: return nullptr;
  default: return real(format, flags);
  }
}

} // extern "C"
