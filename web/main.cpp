// The player for pages: module and host in one WebAssembly program, which plays a frame when it is
// called. web/player.js calls it, shows its display and tells it what the hands do.
//
// The clock is virtual, so that a game plays the same here as headless; the page paces the frames.
// SDL has its dummy video driver: the module's display is a surface in memory, which is all that a
// page needs. One program plays one game at a time; a fresh instance of it has no past.
#include "host/host.h"
#include "host/screenshot.h"
#include "host/script.h"

#include <SDL.h>
#include <emscripten.h>

#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <exception>
#include <memory>
#include <optional>
#include <string>
#include <vector>

extern "C" std::int32_t ORB_mod_graphics2D_MainLibraryExports(const orb_registration *);

namespace {

std::unique_ptr<orbhost::Host> host;
std::unique_ptr<orbhost::Script> script; // goes before the host
std::string failure;
std::string sum;
std::vector<std::uint32_t> shown; // the display as the canvas takes it

// Runs what may throw. False: it has, and `failure` holds the message.
template <typename F> bool attempt(F f) {
  try {
    f();
    return true;
  } catch (const std::exception &error) {
    failure = error.what();
    return false;
  }
}

std::vector<std::string> lines_of(const std::string &text) {
  std::vector<std::string> lines;
  for (std::size_t at = 0; at < text.size();) {
    const std::size_t end = std::min(text.find('\n', at), text.size());
    lines.push_back(text.substr(at, end - at));
    at = end + 1;
  }
  return lines;
}

SDL_Surface *display() {
  return SDL_WasInit(SDL_INIT_VIDEO) ? SDL_GetVideoSurface() : nullptr;
}

} // namespace

extern "C" {

// Plays a script of the file system from its beginning, with its arguments, one a line. `strict`:
// errors that the module reports end play. 0: it can't be loaded; see orb_error().
EMSCRIPTEN_KEEPALIVE int orb_start(const char *path, const char *arguments, int strict) {
  return attempt([&] {
    script.reset();
    host.reset();
    host = std::make_unique<orbhost::Host>();
    host->attach(ORB_mod_graphics2D_MainLibraryExports);
    host->init();
    orbhost::ScriptOptions options;
    options.strict = strict != 0;
    options.arguments = lines_of(arguments);
    script = std::make_unique<orbhost::Script>(*host, options);
    script->load_file(path);
  });
}

// One frame: 1 play goes on, 0 it is over, -1 it has failed; see orb_error().
EMSCRIPTEN_KEEPALIVE int orb_frame() {
  bool more = false;
  return attempt([&] { more = script->frame(); }) ? more : -1;
}

// Why the last call failed: "/game/main.lua:12: " and more, with a traceback.
EMSCRIPTEN_KEEPALIVE const char *orb_error() { return failure.c_str(); }

// Frames a second that the script has asked for; 0: as many as there can be.
EMSCRIPTEN_KEEPALIVE int orb_rate() { return host->clock().fps(); }

// The display's size in pixels; 0 while there is none.
EMSCRIPTEN_KEEPALIVE int orb_width() {
  const SDL_Surface *const surface = display();
  return surface ? surface->w : 0;
}
EMSCRIPTEN_KEEPALIVE int orb_height() {
  const SDL_Surface *const surface = display();
  return surface ? surface->h : 0;
}

// The display's pixels, rows from the top: bytes of red, green, blue and 255. They stay until the
// next call; null while there is no display.
EMSCRIPTEN_KEEPALIVE const std::uint32_t *orb_pixels() {
  SDL_Surface *const surface = display();
  if (!surface) return nullptr;
  const SDL_PixelFormat &format = *surface->format;
  shown.resize(static_cast<std::size_t>(surface->w) * static_cast<std::size_t>(surface->h));
  std::uint32_t *out = shown.data();
  const auto rows = [&](auto pixel, auto colour) {
    for (int y = 0; y < surface->h; ++y) {
      const auto *from = static_cast<const std::uint8_t *>(surface->pixels) + y * surface->pitch;
      for (int x = 0; x < surface->w; ++x, from += sizeof pixel) {
        std::memcpy(&pixel, from, sizeof pixel);
        *out++ = 0xFF000000 | colour(pixel);
      }
    }
  };
  switch (format.BitsPerPixel) {
  case 8:
    rows(std::uint8_t{}, [colours = format.palette->colors](std::uint8_t p) {
      return static_cast<std::uint32_t>(colours[p].b << 16 | colours[p].g << 8 | colours[p].r);
    });
    break;
  case 16:
    rows(std::uint16_t{}, [](std::uint32_t p) {
      const std::uint32_t r = p >> 11, g = p >> 5 & 63, b = p & 31;
      return (b << 3 | b >> 2) << 16 | (g << 2 | g >> 4) << 8 | (r << 3 | r >> 2);
    });
    break;
  default:
    rows(std::uint32_t{}, [](std::uint32_t p) {
      return (p & 255) << 16 | (p & 0xFF00) | (p >> 16 & 255);
    });
  }
  return shown.data();
}

// The sum of the screen, or of the display, in hexadecimal digits, as tests/golden/ records it;
// empty if there is none.
EMSCRIPTEN_KEEPALIVE const char *orb_sum(int of_display) {
  sum.clear();
  attempt([&] {
    const orbhost::Picture picture =
        of_display ? orbhost::take_display_picture() : orbhost::take_picture(*host);
    char digits[17];
    std::snprintf(digits, sizeof digits, "%llx",
                  static_cast<unsigned long long>(orbhost::picture_sum(picture)));
    sum = digits;
  });
  return sum.c_str();
}

// A key goes down or up, by its name for scripts; `character` is what it writes, or 0. 0: no such
// key.
EMSCRIPTEN_KEEPALIVE int orb_key(const char *name, int character, int down) {
  const auto control = orbhost::Input::control(name);
  const auto record = control ? orbhost::Input::event(*control, down != 0) : std::nullopt;
  if (!record || record->kind != orbhost::InputEvent::Kind::key) return 0;
  SDL_Event event{};
  event.type = down ? SDL_KEYDOWN : SDL_KEYUP;
  event.key.state = down ? SDL_PRESSED : SDL_RELEASED;
  event.key.keysym.sym = static_cast<SDLKey>(record->code);
  if (SDL_EnableUNICODE(-1)) event.key.keysym.unicode = static_cast<Uint16>(character);
  SDL_PushEvent(&event);
  return 1;
}

// The pointer, in pixels of the display.
EMSCRIPTEN_KEEPALIVE void orb_pointer(int x, int y) {
  SDL_Event event{};
  event.type = SDL_MOUSEMOTION;
  event.motion.x = static_cast<Uint16>(x);
  event.motion.y = static_cast<Uint16>(y);
  SDL_PushEvent(&event);
}

// A button of the mouse, or a step of its wheel, as SDL numbers them: 1 left, 2 middle, 3 right, 4
// away from the user, 5 towards.
EMSCRIPTEN_KEEPALIVE void orb_button(int button, int down) {
  SDL_Event event{};
  event.type = down ? SDL_MOUSEBUTTONDOWN : SDL_MOUSEBUTTONUP;
  event.button.button = static_cast<Uint8>(button);
  event.button.state = down ? SDL_PRESSED : SDL_RELEASED;
  SDL_PushEvent(&event);
}

} // extern "C"
