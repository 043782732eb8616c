// SDL 1.2 software surfaces, with and without run-length encoding.
#include <SDL.h>

#include <array>
#include <stdexcept>

#include "contender.h"

namespace orbbench {

namespace {

struct surface_deleter {
  void operator()(SDL_Surface *surface) const { SDL_FreeSurface(surface); }
};
using surface_ptr = std::unique_ptr<SDL_Surface, surface_deleter>;

surface_ptr surface_from(const picture &p, bool alpha_channel) {
  const Uint32 r = p.depth == 8 ? 0 : p.depth == 16 ? 0xF800 : 0xFF0000;
  const Uint32 g = p.depth == 8 ? 0 : p.depth == 16 ? 0x07E0 : 0x00FF00;
  const Uint32 b = p.depth == 8 ? 0 : p.depth == 16 ? 0x001F : 0x0000FF;
  surface_ptr surface(SDL_CreateRGBSurface(SDL_SWSURFACE, p.width, p.height, p.depth, r, g, b,
                                           alpha_channel ? 0xFF000000 : 0));
  if (!surface) throw std::runtime_error(SDL_GetError());
  if (p.depth == 8) {
    // One palette for all, so that indices are copied as they are.
    std::array<SDL_Color, 256> grey;
    for (size_t i = 0; i < grey.size(); ++i)
      grey[i] = {Uint8(i), Uint8(i), Uint8(i), 0};
    SDL_SetColors(surface.get(), grey.data(), 0, int(grey.size()));
  }
  store(p, surface->pixels, surface->pitch);
  return surface;
}

class sdl12_drawing : public drawing {
public:
  sdl12_drawing(const scenario &s, SDL_Surface *target, bool rle)
      : scaled_(s.op == operation::scale), box_(drawn_box(s)), places_(tile_positions(s)),
        target_(target), sprite_(surface_from(sprite_of(s), s.op == operation::over)) {
    const Uint32 acceleration = rle ? SDL_RLEACCEL : 0;
    if (s.op == operation::over)
      SDL_SetAlpha(sprite_.get(), SDL_SRCALPHA | acceleration, SDL_ALPHA_OPAQUE);
    else if (is_keyed(s))
      SDL_SetColorKey(sprite_.get(), SDL_SRCCOLORKEY | acceleration, 0);
    if (s.op == operation::alpha || s.op == operation::ghost)
      SDL_SetAlpha(sprite_.get(), SDL_SRCALPHA | acceleration,
                   s.op == operation::alpha ? opacity : ghost_opacity);
  }

  void draw() override {
    if (scaled_) {
      for (const point &p : places_) {
        SDL_Rect to = {Sint16(p.x), Sint16(p.y), Uint16(box_.width), Uint16(box_.height)};
        SDL_SoftStretch(sprite_.get(), nullptr, target_, &to);
      }
    } else {
      for (const point &p : places_) {
        SDL_Rect to = {Sint16(p.x), Sint16(p.y), 0, 0};
        SDL_BlitSurface(sprite_.get(), nullptr, target_, &to);
      }
    }
  }

  pixel_view target() override { return {target_->pixels, target_->pitch}; }

private:
  bool scaled_;
  extent box_;
  std::vector<point> places_;
  SDL_Surface *target_;
  surface_ptr sprite_;
};

class sdl12_contender : public contender {
public:
  explicit sdl12_contender(bool rle) : rle_(rle) {}

  std::string name() const override { return rle_ ? "sdl1.2 rle" : "sdl1.2"; }

  bool can(const scenario &s) const override {
    if (rle_ && !is_keyed(s)) return false;
    switch (s.op) {
    case operation::copy:
    case operation::tile: return true;
    case operation::alpha:
    case operation::ghost: return s.depth != 8; // 8 bits look up the nearest colour each pixel
    case operation::over: return s.depth == 32;
    case operation::scale: return !is_keyed(s);
    default: return false;
    }
  }

  bool has_simd(const scenario &) const override { return true; }

  std::unique_ptr<drawing> prepare(const scenario &s) override {
    const auto make = [](const scenario &t) { return surface_from(background_of(t), false); };
    return std::make_unique<sdl12_drawing>(s, targets_.get(s, make).get(), rle_);
  }

private:
  bool rle_;
  shared_targets<surface_ptr> targets_;
};

} // namespace

void add_sdl12(contender_list &to) {
  to.push_back(std::make_unique<sdl12_contender>(false));
  to.push_back(std::make_unique<sdl12_contender>(true));
}

} // namespace orbbench
