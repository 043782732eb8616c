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

std::optional<int> key_symbol(std::string_view name) {
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

// The events that an SDL event means to a script.
void translate(const SDL_Event &event, const std::function<void(const InputEvent &)> &apply) {
  using Kind = InputEvent::Kind;
  switch (event.type) {
  case SDL_KEYDOWN:
  case SDL_KEYUP:
    apply({.kind = Kind::key, .down = event.type == SDL_KEYDOWN, .code = event.key.keysym.sym});
    break;
  case SDL_MOUSEMOTION:
    apply({.kind = Kind::motion, .x = event.motion.x, .y = event.motion.y});
    break;
  case SDL_MOUSEBUTTONDOWN:
  case SDL_MOUSEBUTTONUP: {
    const int button = event.button.button;
    const bool down = event.type == SDL_MOUSEBUTTONDOWN;
    if (button <= SDL_BUTTON_RIGHT)
      apply({.kind = Kind::button, .down = down, .code = button});
    else if (down && button <= SDL_BUTTON_WHEELDOWN)
      apply({.kind = Kind::wheel, .y = button == SDL_BUTTON_WHEELUP ? 1 : -1});
    break;
  }
  case SDL_QUIT: apply({.kind = Kind::quit}); break;
  default: break;
  }
}

} // namespace

std::optional<Input::Control> Input::control(std::string_view name) {
  if (name == "mouse_left") return Control{mouse_controls, mouse_controls};
  if (name == "mouse_middle") return Control{mouse_controls + 1, mouse_controls + 1};
  if (name == "mouse_right") return Control{mouse_controls + 2, mouse_controls + 2};
  const std::optional<int> symbol = key_symbol(name);
  if (!symbol) return std::nullopt;
  const int other = other_side(name);
  return Control{*symbol, other == SDLK_UNKNOWN ? *symbol : other};
}

bool Input::down(Control control) const {
  const Controls seen = down_ | pressed_;
  return seen[control.number] || seen[control.other];
}

bool Input::pressed(Control control) const {
  return pressed_[control.number] || pressed_[control.other];
}

bool Input::released(Control control) const {
  return released_[control.number] || released_[control.other];
}

void Input::set(int control, bool down) {
  if (control < 0 || control >= all_controls || down_[control] == down) return;
  down_[control] = down;
  (down ? pressed_ : released_).set(control);
}

void Input::reset() {
  down_.reset();
  end_frame();
}

void Input::end_frame() {
  pressed_.reset();
  released_.reset();
  wheel = 0;
}

void Input::apply(const InputEvent &event) {
  using Kind = InputEvent::Kind;
  if (on_event) on_event(event);
  switch (event.kind) {
  case Kind::key: set(event.code, event.down); break;
  case Kind::button: set(mouse_controls + event.code - 1, event.down); break;
  case Kind::motion:
    pointer.x = event.x;
    pointer.y = event.y;
    break;
  case Kind::wheel: wheel += event.y; break;
  case Kind::quit: quit = true; break;
  default: break;
  }
}

void Input::pump() {
  if (!SDL_WasInit(SDL_INIT_VIDEO) || !SDL_GetVideoSurface()) return;
  SDL_Event event;
  while (SDL_PollEvent(&event)) {
    if (on_sdl_event && !on_sdl_event(event)) continue;
    translate(event, [this](const InputEvent &record) { apply(record); });
  }
}

} // namespace orbhost
