#include "host/player/window.h"

#include "host/player/options.h"

#include <dlfcn.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <iterator>

namespace orbplay {
namespace {

Window *active = nullptr;

// The library's own function of that name, which the one of this program hides.
template <typename Function> Function *library(const char *name) {
  return reinterpret_cast<Function *>(dlsym(RTLD_NEXT, name));
}

// A window as large as this part of the desktop is comfortable.
constexpr int part_of_desktop = 85; // percent

// The largest whole number by which a picture fits into a space, at least 1.
int largest_scale(int width, int height, int space_width, int space_height) {
  return std::max(1, std::min(space_width / width, space_height / height));
}

// Writes a row with each pixel `n` times.
template <int n> void widen(const std::uint32_t *from, std::uint32_t *to, int width, int /*n*/) {
  for (int x = 0; x < width; ++x)
    for (int i = 0; i < n; ++i)
      *to++ = from[x];
}
template <> void widen<0>(const std::uint32_t *from, std::uint32_t *to, int width, int times) {
  for (int x = 0; x < width; ++x)
    to = std::fill_n(to, times, from[x]);
}

using Widen = void(const std::uint32_t *from, std::uint32_t *to, int width, int n);
constexpr Widen *widen_by[] = {widen<0>, widen<1>, widen<2>, widen<3>, widen<4>, widen<5>};

void update_all(SDL_Surface *window) {
  static const auto update = library<decltype(SDL_UpdateRect)>("SDL_UpdateRect");
  update(window, 0, 0, 0, 0);
}

} // namespace

Window::Window(Options options)
    : options_(std::move(options)),
      shape_(options_.full_screen ? Shape::full_screen : Shape::script) {
  // Without a display SDL would fall back to drawing with characters in the terminal.
  setenv("SDL_VIDEODRIVER", "x11", 0);
  setenv("SDL_VIDEO_CENTERED", "1", 0);
  setenv("SDL_VIDEO_X11_WMCLASS", options_.name.c_str(), 0);
  if (SDL_InitSubSystem(SDL_INIT_VIDEO | SDL_INIT_NOPARACHUTE) != 0) {
    throw PlayError(exit_video, std::string("no display: ") + SDL_GetError() +
                                    " (--headless plays without one)");
  }
  if (const SDL_VideoInfo *info = SDL_GetVideoInfo(); info && info->current_w > 0) {
    desktop_width_ = info->current_w;
    desktop_height_ = info->current_h;
  }
  SDL_WM_SetCaption(options_.name.c_str(), options_.name.c_str());
  active = this;
}

Window::~Window() {
  active = nullptr;
  SDL_FreeSurface(display_);
  SDL_FreeSurface(picture_);
  SDL_QuitSubSystem(SDL_INIT_VIDEO);
}

SDL_Surface *Window::open_display(int width, int height, int depth, std::uint32_t flags) {
  SDL_Surface *const made =
      depth == 32   ? SDL_CreateRGBSurface(SDL_SWSURFACE, width, height, 32, 0xFF0000, 0xFF00, 0xFF, 0)
      : depth == 16 ? SDL_CreateRGBSurface(SDL_SWSURFACE, width, height, 16, 0xF800, 0x7E0, 0x1F, 0)
                    : SDL_CreateRGBSurface(SDL_SWSURFACE, width, height, 8, 0, 0, 0, 0);
  if (!made) return nullptr;
  SDL_FreeSurface(display_);
  display_ = made;
  script_full_screen_ = (flags & SDL_FULLSCREEN) != 0;
  stale_ = true; // opened when there is something to show, at once in the right size
  return display_;
}

bool Window::set_mode(int width, int height, std::uint32_t flags) {
  static const auto set_video_mode = library<decltype(SDL_SetVideoMode)>("SDL_SetVideoMode");
  SDL_Surface *const opened = set_video_mode(width, height, 32, SDL_SWSURFACE | flags);
  if (opened) window_ = opened;
  return opened != nullptr;
}

bool Window::open(int width, int height) {
  const bool wants_full_screen =
      shape_ == Shape::full_screen || (shape_ == Shape::script && script_full_screen_);
  if (wants_full_screen && desktop_width_ > 0) {
    if (set_mode(desktop_width_, desktop_height_, SDL_FULLSCREEN)) {
      view_.scale = largest_scale(width, height, desktop_width_, desktop_height_);
      return true;
    }
    std::fprintf(stderr, "orbplay: no full screen: %s\n", SDL_GetError());
    shape_ = Shape::window;
  }
  view_.scale = options_.scale > 0 ? options_.scale
                              : largest_scale(width, height, desktop_width_ * part_of_desktop / 100,
                                              desktop_height_ * part_of_desktop / 100);
  // SDL and X keep sizes in 16 bits.
  view_.scale = std::min(view_.scale, largest_scale(width, height, 16383, 16383));
  return set_mode(width * view_.scale, height * view_.scale, 0);
}

// Opens the window for the display if it isn't; false when that fails.
bool Window::fit() {
  if (!stale_) return true;
  failure_.clear();
  if (!open(display_->w, display_->h)) {
    failure_ = SDL_GetError();
    return false;
  }
  stale_ = false;
  view_.origin = {(window_->w - display_->w * view_.scale) / 2, (window_->h - display_->h * view_.scale) / 2};
  SDL_FreeSurface(picture_);
  picture_ = view_.scale == 1 ? nullptr
                         : SDL_CreateRGBSurface(SDL_SWSURFACE, display_->w, display_->h, 32,
                                                0xFF0000, 0xFF00, 0xFF, 0);
  SDL_FillRect(window_, nullptr, 0);
  return true;
}

void Window::show() {
  if (!display_ || !fit()) return;
  if (picture_) {
    SDL_BlitSurface(display_, nullptr, picture_, nullptr);
    enlarge();
  } else {
    SDL_Rect at{static_cast<Sint16>(view_.origin.x), static_cast<Sint16>(view_.origin.y), 0, 0};
    SDL_BlitSurface(display_, nullptr, window_, &at);
  }
  if (paint) paint(*window_);
  update_all(window_);
}

// An enlarged picture is never larger than the window.
void Window::enlarge() const {
  if (SDL_MUSTLOCK(window_) && SDL_LockSurface(window_) != 0) return;
  const auto *from = static_cast<const std::uint8_t *>(picture_->pixels);
  auto *to = static_cast<std::uint8_t *>(window_->pixels) + view_.origin.y * window_->pitch +
             view_.origin.x * 4;
  Widen *const row = widen_by[view_.scale < static_cast<int>(std::size(widen_by)) ? view_.scale : 0];
  const std::size_t bytes = std::size_t(picture_->w) * static_cast<unsigned>(view_.scale) * 4;
  for (int y = 0; y < picture_->h; ++y, from += picture_->pitch) {
    std::uint8_t *const first = to;
    row(reinterpret_cast<const std::uint32_t *>(from), reinterpret_cast<std::uint32_t *>(first),
        picture_->w, view_.scale);
    for (int i = 1; i < view_.scale; ++i)
      std::memcpy(to += window_->pitch, first, bytes);
    to += window_->pitch;
  }
  if (SDL_MUSTLOCK(window_)) SDL_UnlockSurface(window_);
}

void Window::show_alone() {
  if (!window_ && !set_mode(640, 400, 0)) {
    failure_ = SDL_GetError();
    return;
  }
  SDL_FillRect(window_, nullptr, 0);
  if (paint) paint(*window_);
  update_all(window_);
}

void Window::check() const {
  if (!failure_.empty()) throw PlayError(exit_video, "no window: " + failure_);
}

void Window::toggle_full_screen() {
  shape_ = window_ && (window_->flags & SDL_FULLSCREEN) ? Shape::window : Shape::full_screen;
  stale_ = true;
  show();
}

bool Window::handle(SDL_Event &event) {
  switch (event.type) {
  case SDL_KEYDOWN:
    if (event.key.keysym.sym == SDLK_RETURN && (event.key.keysym.mod & KMOD_ALT)) {
      toggle_full_screen();
      return false;
    }
    return true;
  case SDL_VIDEOEXPOSE: show(); return false;
  case SDL_MOUSEMOTION: {
    const Point at = to_display({event.motion.x, event.motion.y});
    event.motion.x = static_cast<Uint16>(at.x);
    event.motion.y = static_cast<Uint16>(at.y);
    return true;
  }
  default: return true;
  }
}

bool Window::is_seen() {
  char name[16] = "";
  return SDL_VideoDriverName(name, sizeof name) && std::strcmp(name, "dummy") != 0;
}

Point Window::to_display(Point at) const {
  if (!display_) return {};
  return {std::clamp((at.x - view_.origin.x) / view_.scale, 0, display_->w - 1),
          std::clamp((at.y - view_.origin.y) / view_.scale, 0, display_->h - 1)};
}

// What the functions below need of the window.
struct WindowCalls {
  static SDL_Surface *open(int width, int height, int depth, std::uint32_t flags) {
    return active->open_display(width, height, depth, flags);
  }
  static SDL_Surface *display() { return active->display_; }
  // Whether a surface is shown by the window in place of SDL.
  static bool shows(const SDL_Surface *surface) {
    return active && surface && surface == active->display_;
  }
};

} // namespace orbplay

// ---- SDL's functions, as the module finds them -------------------------------------------------
//
// The dynamic linker looks in the program before it looks in libraries, so these are what the
// module calls, and what SDL calls itself. Without a Window they pass on to the library's.

using namespace orbplay;

extern "C" {

SDL_Surface *SDL_SetVideoMode(int width, int height, int bpp, Uint32 flags) {
  static const auto next = library<decltype(SDL_SetVideoMode)>("SDL_SetVideoMode");
  return active ? WindowCalls::open(width, height, bpp, flags) : next(width, height, bpp, flags);
}

SDL_Surface *SDL_GetVideoSurface() {
  static const auto next = library<decltype(SDL_GetVideoSurface)>("SDL_GetVideoSurface");
  return active ? WindowCalls::display() : next();
}

void SDL_UpdateRect(SDL_Surface *surface, Sint32 x, Sint32 y, Uint32 width, Uint32 height) {
  static const auto next = library<decltype(SDL_UpdateRect)>("SDL_UpdateRect");
  WindowCalls::shows(surface) ? active->show() : next(surface, x, y, width, height);
}

int SDL_Flip(SDL_Surface *surface) {
  static const auto next = library<decltype(SDL_Flip)>("SDL_Flip");
  if (!WindowCalls::shows(surface)) return next(surface);
  active->show();
  return 0;
}

// Every size can be shown on the full screen, with borders.
SDL_Rect **SDL_ListModes(SDL_PixelFormat *format, Uint32 flags) {
  static const auto next = library<decltype(SDL_ListModes)>("SDL_ListModes");
  return active ? reinterpret_cast<SDL_Rect **>(-1) : next(format, flags);
}

void SDL_WarpMouse(Uint16 x, Uint16 y) {
  static const auto next = library<decltype(SDL_WarpMouse)>("SDL_WarpMouse");
  if (active) {
    const Point at = active->view().from_display({x, y});
    x = static_cast<Uint16>(at.x);
    y = static_cast<Uint16>(at.y);
  }
  next(x, y);
}

} // extern "C"
