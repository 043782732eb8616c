#include "host/input.h"

#include <SDL.h>

#include <algorithm>
#include <array>
#include <cctype>
#include <string>
#include <utility>

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

// The controls of a pad, from its first: directions, then buttons.
constexpr std::array pad_directions{"left", "right", "up", "down"};
constexpr std::array pad_button_names{"a", "b", "x", "y", "l", "r", "back", "start"};
constexpr std::array mouse_buttons{"mouse_left", "mouse_middle", "mouse_right"};

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

// What a key writes; 0 for nothing. SDL gives the characters of the first 65536.
int typed_character(const SDL_keysym &key) {
  if (key.unicode == 0) return 0; // not translated
  if (key.sym == SDLK_BACKSPACE) return '\b';
  const bool writes = key.unicode >= ' ' && (key.unicode < 0x7F || key.unicode > 0x9F) &&
                      (key.unicode < 0xD800 || key.unicode > 0xDFFF);
  return writes ? key.unicode : 0;
}

// The events that an SDL event means to a script.
void translate(const SDL_Event &event, const PadDevices::Apply &apply) {
  using Kind = InputEvent::Kind;
  switch (event.type) {
  case SDL_KEYDOWN:
    apply({.kind = Kind::key, .down = true, .code = event.key.keysym.sym});
    if (const int text = typed_character(event.key.keysym))
      apply({.kind = Kind::text, .code = text});
    break;
  case SDL_KEYUP: apply({.kind = Kind::key, .code = event.key.keysym.sym}); break;
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

// "pad1_left", "pad2_a", "pad4_button16".
std::optional<int> Input::pad_control(std::string_view name) {
  if (!name.starts_with("pad") || name.size() < 6 || name[4] != '_') return std::nullopt;
  const int pad = name[3] - '1';
  if (pad < 0 || pad >= most_pads) return std::nullopt;
  const int first = pad_controls + pad * controls_of_pad;
  name.remove_prefix(5);
  const auto index = [&](const auto &names) {
    return static_cast<int>(std::ranges::find(names, name) - names.begin());
  };
  if (const int at = index(pad_directions); at < pad_buttons) return first + at;
  if (const int at = index(pad_button_names); at < int{pad_button_names.size()})
    return first + pad_buttons + at;
  if (const auto n = numbered(name, "button"); n && *n >= 1 && *n <= 16)
    return first + pad_buttons + *n - 1;
  return std::nullopt;
}

std::optional<Input::Control> Input::control(std::string_view name) {
  for (int i = 0; i < int{mouse_buttons.size()}; ++i)
    if (name == mouse_buttons[i]) return Control{mouse_controls + i, mouse_controls + i};
  if (const auto number = pad_control(name)) return Control{*number, *number};
  const std::optional<int> symbol = key_symbol(name);
  if (!symbol) return std::nullopt;
  const int other = other_side(name);
  return Control{*symbol, other == SDLK_UNKNOWN ? *symbol : other};
}

std::optional<InputEvent> Input::event(Control control, bool down) {
  using Kind = InputEvent::Kind;
  if (control.number < mouse_controls)
    return InputEvent{.kind = Kind::key, .down = down, .code = control.number};
  if (control.number < pad_controls)
    return InputEvent{
        .kind = Kind::button, .down = down, .code = control.number - mouse_controls + 1};
  const int pad = (control.number - pad_controls) / controls_of_pad;
  const int button = (control.number - pad_controls) % controls_of_pad - pad_buttons;
  if (button < 0) return std::nullopt;
  return InputEvent{.kind = Kind::pad_button, .down = down, .pad = pad + 1, .code = button};
}

std::optional<std::string> Input::name(const InputEvent &event) {
  const int code = event.code;
  if (event.kind == InputEvent::Kind::button) return mouse_buttons[code - 1];
  if (event.kind == InputEvent::Kind::pad_button) {
    const std::string pad = "pad" + std::to_string(event.pad) + "_";
    return pad + (code < int{pad_button_names.size()} ? pad_button_names[code]
                                                      : "button" + std::to_string(code + 1));
  }
  for (const KeyName &entry : key_names)
    if (entry.symbol == code) return std::string(entry.name);
  if (code >= SDLK_F1 && code <= SDLK_F15) return "f" + std::to_string(code - SDLK_F1 + 1);
  if (code >= SDLK_KP0 && code <= SDLK_KP9) return "kp" + std::to_string(code - SDLK_KP0);
  if (code > ' ' && code < 127) return std::string(1, static_cast<char>(code));
  return std::nullopt;
}

std::vector<std::string> Input::control_names() {
  std::vector<std::string> names(mouse_buttons.begin(), mouse_buttons.end());
  for (const KeyName &entry : key_names)
    names.emplace_back(entry.name);
  const auto add_numbered = [&](const std::string &prefix, int first, int last) {
    for (int i = first; i <= last; ++i)
      names.push_back(prefix + std::to_string(i));
  };
  add_numbered("f", 1, 15);
  add_numbered("kp", 0, 9);
  for (int pad = 1; pad <= most_pads; ++pad) {
    const std::string prefix = "pad" + std::to_string(pad) + "_";
    for (const char *name : pad_directions)
      names.push_back(prefix + name);
    for (const char *name : pad_button_names)
      names.push_back(prefix + name);
    add_numbered(prefix + "button", 1, 16);
  }
  return names;
}

bool Input::down(Control control) const {
  asked_.set(control.number);
  const Controls seen = down_ | pressed_;
  return seen[control.number] || seen[control.other];
}

bool Input::pressed(Control control) const {
  asked_.set(control.number);
  return pressed_[control.number] || pressed_[control.other];
}

bool Input::released(Control control) const {
  asked_.set(control.number);
  return released_[control.number] || released_[control.other];
}

std::vector<std::string> Input::asked() const {
  std::vector<std::string> names;
  for (int number = 0; number < all_controls; ++number) {
    if (!asked_[number]) continue;
    const std::optional<InputEvent> told = event({number, number}, true);
    if (const auto known = told ? name(*told) : std::nullopt) names.push_back(*known);
  }
  return names;
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
  typed_.clear();
  wheel = 0;
}

const std::u32string &Input::typed() {
  text_wanted_ = true;
  return typed_;
}

int Input::axis(int pad, int axis) const {
  if (pad < 1 || pad > pads_) return 0;
  const Pad &state = pad_[pad - 1];
  const bool hat = axis < 2 && state.hat[axis] != 0;
  return hat ? state.hat[axis] * 100 : state.axes[axis];
}

void Input::apply_to_pad(const InputEvent &event) {
  Pad &pad = pad_[event.pad - 1];
  const int first = pad_controls + (event.pad - 1) * controls_of_pad;
  if (event.kind == InputEvent::Kind::pad_button) {
    set(first + pad_buttons + event.code, event.down);
    return;
  }
  if (event.kind == InputEvent::Kind::pad_axis)
    pad.axes[event.code] = event.x;
  else
    pad.hat = {event.x, event.y};
  for (int side = 0; side < pad_buttons; ++side) {
    const int way = axis(event.pad, side / 2);
    set(first + side, side % 2 ? way >= 50 : way <= -50);
  }
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
  case Kind::text: typed_ += static_cast<char32_t>(event.code); break;
  case Kind::pads:
    for (int control = pad_controls; control < all_controls; ++control)
      set(control, false);
    pad_ = {};
    pads_ = event.code;
    break;
  case Kind::pad_axis:
  case Kind::pad_hat:
  case Kind::pad_button: apply_to_pad(event); break;
  case Kind::quit: quit = true; break;
  }
}

void Input::pump() {
  if (!SDL_WasInit(SDL_INIT_VIDEO) || !SDL_GetVideoSurface()) return;
  const auto hear = [this](const InputEvent &event) {
    // A held key says so again and again.
    const bool news = event.kind != InputEvent::Kind::key || event.code >= mouse_controls ||
                      down_[event.code] != event.down;
    if (news && (listening || event.kind == InputEvent::Kind::quit)) apply(event);
  };
  // Translated only then: a key that begins a composed character isn't heard by itself.
  if (const bool text = std::exchange(text_wanted_, false); SDL_EnableUNICODE(text) != int{text})
    SDL_EnableKeyRepeat(text ? SDL_DEFAULT_REPEAT_DELAY : 0, SDL_DEFAULT_REPEAT_INTERVAL);
  if (devices_) devices_->look(hear);
  SDL_Event event;
  while (SDL_PollEvent(&event)) {
    if (on_sdl_event && !on_sdl_event(event)) continue;
    if (devices_) devices_->translate(event, hear);
    translate(event, hear);
  }
}

} // namespace orbhost
