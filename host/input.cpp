#include "host/input.h"

#include <SDL.h>

#include <array>
#include <cctype>
#include <string>

namespace orbhost {
namespace {

struct KeyName {
  std::string_view name;
  int symbol;
};

constexpr std::array key_names{
    KeyName{"left", SDLK_LEFT},
    KeyName{"right", SDLK_RIGHT},
    KeyName{"up", SDLK_UP},
    KeyName{"down", SDLK_DOWN},
    KeyName{"space", SDLK_SPACE},
    KeyName{"enter", SDLK_RETURN},
    KeyName{"return", SDLK_RETURN},
    KeyName{"escape", SDLK_ESCAPE},
    KeyName{"esc", SDLK_ESCAPE},
    KeyName{"tab", SDLK_TAB},
    KeyName{"backspace", SDLK_BACKSPACE},
    KeyName{"insert", SDLK_INSERT},
    KeyName{"delete", SDLK_DELETE},
    KeyName{"home", SDLK_HOME},
    KeyName{"end", SDLK_END},
    KeyName{"pageup", SDLK_PAGEUP},
    KeyName{"pagedown", SDLK_PAGEDOWN},
    KeyName{"lshift", SDLK_LSHIFT},
    KeyName{"rshift", SDLK_RSHIFT},
    KeyName{"lctrl", SDLK_LCTRL},
    KeyName{"rctrl", SDLK_RCTRL},
    KeyName{"lalt", SDLK_LALT},
    KeyName{"ralt", SDLK_RALT},
    KeyName{"shift", SDLK_LSHIFT},
    KeyName{"ctrl", SDLK_LCTRL},
    KeyName{"alt", SDLK_LALT},
    KeyName{"pause", SDLK_PAUSE},
};

// The right-hand key for "shift", "ctrl" and "alt", which exist on both sides.
int other_side(std::string_view name) {
  if (name == "shift") return SDLK_RSHIFT;
  if (name == "ctrl") return SDLK_RCTRL;
  if (name == "alt") return SDLK_RALT;
  return SDLK_UNKNOWN;
}

std::optional<int> numbered(std::string_view name, std::string_view prefix) {
  if (!name.starts_with(prefix)) return std::nullopt;
  const std::string digits(name.substr(prefix.size()));
  if (digits.empty() || digits.size() > 2 || (digits.size() == 2 && digits[0] == '0')) {
    return std::nullopt;
  }
  for (const char c : digits) {
    if (!std::isdigit(static_cast<unsigned char>(c))) return std::nullopt;
  }
  return std::stoi(digits);
}

} // namespace

std::optional<int> Input::key_symbol(std::string_view name) {
  for (const KeyName &entry : key_names) {
    if (entry.name == name) return entry.symbol;
  }
  if (const auto n = numbered(name, "f"); n && *n >= 1 && *n <= 15) return SDLK_F1 + *n - 1;
  if (const auto n = numbered(name, "kp"); n && *n <= 9) return SDLK_KP0 + *n;
  if (name.size() == 1 && name[0] > ' ' && name[0] < 127) {
    return std::tolower(static_cast<unsigned char>(name[0])); // these SDL symbols are ASCII
  }
  return std::nullopt;
}

std::optional<bool> Input::key(std::string_view name) const {
  const std::optional<int> symbol = key_symbol(name);
  if (!symbol) return std::nullopt;
  const auto seen = [this](int key) {
    return down_.test(static_cast<std::size_t>(key)) ||
           pressed_.test(static_cast<std::size_t>(key));
  };
  const int other = other_side(name);
  return seen(*symbol) || (other != SDLK_UNKNOWN && seen(other));
}

void Input::set_key(int symbol, bool down) {
  if (symbol >= 0 && static_cast<std::size_t>(symbol) < down_.size()) {
    down_.set(static_cast<std::size_t>(symbol), down);
    if (down) pressed_.set(static_cast<std::size_t>(symbol));
  }
}

void Input::reset() {
  down_.reset();
  pressed_.reset();
  pointer.left = pointer.middle = pointer.right = false;
}

void Input::pump() {
  pressed_.reset();
  if (!SDL_WasInit(SDL_INIT_VIDEO) || !SDL_GetVideoSurface()) return;
  SDL_Event event;
  while (SDL_PollEvent(&event)) {
    switch (event.type) {
    case SDL_KEYDOWN: set_key(event.key.keysym.sym, true); break;
    case SDL_KEYUP: set_key(event.key.keysym.sym, false); break;
    case SDL_MOUSEMOTION:
      pointer.x = event.motion.x;
      pointer.y = event.motion.y;
      break;
    case SDL_MOUSEBUTTONDOWN:
    case SDL_MOUSEBUTTONUP: {
      const bool pressed = event.type == SDL_MOUSEBUTTONDOWN;
      if (event.button.button == SDL_BUTTON_LEFT) pointer.left = pressed;
      if (event.button.button == SDL_BUTTON_MIDDLE) pointer.middle = pressed;
      if (event.button.button == SDL_BUTTON_RIGHT) pointer.right = pressed;
      break;
    }
    case SDL_QUIT: quit = true; break;
    default: break;
    }
  }
}

} // namespace orbhost
