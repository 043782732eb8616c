// SDL 2 software surfaces, with and without run-length encoding.
//
// The library is opened by hand, apart from the program's own symbols: SDL 1.2, which the module
// stands on, uses the same names. For the same reason its headers are included nowhere else.
#include <SDL2/SDL.h>

#include <dlfcn.h>

#include <array>
#include <stdexcept>

#include "contender.h"

namespace orbbench {

namespace {

#define ORB_SDL2_FUNCTIONS(name)                                                                   \
  name(SDL_CreateRGBSurfaceWithFormat) name(SDL_FreeSurface) name(SDL_SetPaletteColors)            \
      name(SDL_SetColorKey) name(SDL_SetSurfaceRLE) name(SDL_SetSurfaceAlphaMod)                   \
          name(SDL_SetSurfaceBlendMode) name(SDL_UpperBlit) name(SDL_UpperBlitScaled)              \
              name(SDL_SoftStretch) name(SDL_GetError)

struct sdl2_library {
#define ORB_MEMBER(function) decltype(&::function) function = nullptr;
  ORB_SDL2_FUNCTIONS(ORB_MEMBER)
#undef ORB_MEMBER

  /// False when it isn't installed.
  bool open() {
    void *const handle = dlopen("libSDL2-2.0.so.0", RTLD_NOW | RTLD_LOCAL | RTLD_DEEPBIND);
    if (!handle) return false;
#define ORB_LOOK_UP(function)                                                                      \
  function = reinterpret_cast<decltype(function)>(dlsym(handle, #function));                       \
  if (!function) return false;
    ORB_SDL2_FUNCTIONS(ORB_LOOK_UP)
#undef ORB_LOOK_UP
    return true;
  }
} sdl2;

struct surface_deleter {
  void operator()(SDL_Surface *surface) const { sdl2.SDL_FreeSurface(surface); }
};
using surface_ptr = std::unique_ptr<SDL_Surface, surface_deleter>;

surface_ptr surface_from(const picture &p, bool alpha_channel) {
  const Uint32 format = p.depth == 8    ? SDL_PIXELFORMAT_INDEX8
                        : p.depth == 16 ? SDL_PIXELFORMAT_RGB565
                        : alpha_channel ? SDL_PIXELFORMAT_ARGB8888
                                        : SDL_PIXELFORMAT_RGB888;
  surface_ptr surface(sdl2.SDL_CreateRGBSurfaceWithFormat(0, p.width, p.height, p.depth, format));
  if (!surface) throw std::runtime_error(sdl2.SDL_GetError());
  if (p.depth == 8) {
    // One palette for all, so that indices are copied as they are.
    std::array<SDL_Color, 256> grey;
    for (size_t i = 0; i < grey.size(); ++i)
      grey[i] = {Uint8(i), Uint8(i), Uint8(i), 255};
    sdl2.SDL_SetPaletteColors(surface->format->palette, grey.data(), 0, int(grey.size()));
  }
  store(p, surface->pixels, size_t(surface->pitch));
  return surface;
}

SDL_BlendMode blend_mode(operation op) {
  switch (op) {
  case operation::alpha:
  case operation::ghost:
  case operation::over: return SDL_BLENDMODE_BLEND;
  case operation::additive: return SDL_BLENDMODE_ADD;
  case operation::multiply: return SDL_BLENDMODE_MOD;
  default: return SDL_BLENDMODE_NONE;
  }
}

class sdl2_drawing : public drawing {
public:
  sdl2_drawing(const scenario &s, SDL_Surface *target, bool rle)
      : scale_(s.op != operation::scale ? nullptr
               : is_keyed(s)            ? sdl2.SDL_UpperBlitScaled
                                        : stretch),
        box_(drawn_box(s)), places_(tile_positions(s)), target_(target),
        sprite_(surface_from(sprite_of(s), s.op == operation::over)) {
    if (is_keyed(s) && s.op != operation::over) sdl2.SDL_SetColorKey(sprite_.get(), SDL_TRUE, 0);
    sdl2.SDL_SetSurfaceBlendMode(sprite_.get(), blend_mode(s.op));
    if (s.op == operation::alpha || s.op == operation::ghost)
      sdl2.SDL_SetSurfaceAlphaMod(sprite_.get(),
                                  s.op == operation::alpha ? opacity : ghost_opacity);
    if (rle) sdl2.SDL_SetSurfaceRLE(sprite_.get(), 1);
  }

  void draw() override {
    if (scale_) {
      for (const point &p : places_) {
        SDL_Rect to = {p.x, p.y, box_.width, box_.height};
        scale_(sprite_.get(), nullptr, target_, &to);
      }
    } else {
      for (const point &p : places_) {
        SDL_Rect to = {p.x, p.y, 0, 0};
        sdl2.SDL_UpperBlit(sprite_.get(), nullptr, target_, &to);
      }
    }
  }

  pixel_view target() override { return {target_->pixels, size_t(target_->pitch)}; }

private:
  using scale_function = decltype(sdl2.SDL_UpperBlitScaled);
  /// Pixels as they are, at 8 bits too.
  static int stretch(SDL_Surface *from, const SDL_Rect *part, SDL_Surface *to, SDL_Rect *box) {
    return sdl2.SDL_SoftStretch(from, part, to, box);
  }

  scale_function scale_;
  extent box_;
  std::vector<point> places_;
  SDL_Surface *target_;
  surface_ptr sprite_;
};

class sdl2_contender : public contender {
public:
  explicit sdl2_contender(bool rle) : rle_(rle) {}

  std::string name() const override { return rle_ ? "sdl2 rle" : "sdl2"; }

  bool can(const scenario &s) const override {
    if (rle_ && !is_keyed(s)) return false;
    switch (s.op) {
    case operation::copy:
    case operation::tile: return true;
    case operation::alpha:
    case operation::ghost: return s.depth != 8;
    case operation::over: return s.depth == 32;
    case operation::additive:
    case operation::multiply: return !rle_ && s.depth != 8;
    case operation::scale: return !rle_ && (!is_keyed(s) || s.depth != 8);
    default: return false;
    }
  }

  bool has_simd(const scenario &) const override { return true; }

  std::unique_ptr<drawing> prepare(const scenario &s) override {
    const auto make = [](const scenario &t) { return surface_from(background_of(t), false); };
    return std::make_unique<sdl2_drawing>(s, targets_.get(s, make).get(), rle_);
  }

private:
  bool rle_;
  shared_targets<surface_ptr> targets_;
};

} // namespace

void add_sdl2(contender_list &to) {
  if (!sdl2.open()) return;
  to.push_back(std::make_unique<sdl2_contender>(false));
  to.push_back(std::make_unique<sdl2_contender>(true));
}

} // namespace orbbench
