// Keyboard, mouse buttons, pads and typed text, by name.
#include "host/script_arguments.h"
#include "host/script_state.h"

#include "host/reference.h"

#include <array>
#include <string>
#include <string_view>

namespace orbhost {
namespace {

[[noreturn]] void throw_unknown(const std::string &function, const char *what,
                                const std::string &name, const std::vector<std::string> &names) {
  std::string message = function + ": no " + what + " is called \"" + name + '"';
  const std::vector<std::string> near = nearest_names(names, name, 1);
  if (!near.empty()) message += "; did you mean \"" + near.front() + "\"?";
  throw HostError(message);
}

using Question = bool (Input::*)(Input::Control) const;
constexpr char key_name[] = "key", pressed_name[] = "pressed", released_name[] = "released";

template <const char *function, Question question> int ask(lua_State *L) {
  const std::string name = check_text(L, 1, std::string(function) + "(name): name");
  const std::optional<Input::Control> control = Input::control(name);
  if (!control) throw_unknown(function, "key", name, Input::control_names());
  lua_pushboolean(L, (state_of(L).host.input().*question)(*control));
  return 1;
}

constexpr std::array<std::string_view, 4> axis_names{"x", "y", "x2", "y2"};

// pad(number, axis): where a stick is, -100 to 100.
int pad(lua_State *L) {
  const std::string form = "pad(number, axis)";
  int is_integer = 0;
  const lua_Integer number = lua_tointegerx(L, 1, &is_integer);
  if (!is_integer || number < 1 || number > most_pads)
    throw HostError(form + ": number isn't one of 1 to " + std::to_string(most_pads));
  const std::string name = check_text(L, 2, form + ": axis");
  for (std::size_t axis = 0; axis < axis_names.size(); ++axis) {
    if (name != axis_names[axis]) continue;
    lua_pushinteger(
        L, state_of(L).host.input().axis(static_cast<int>(number), static_cast<int>(axis)));
    return 1;
  }
  throw HostError(form + ": axis is \"" + name + "\", not \"x\", \"y\", \"x2\" or \"y2\"");
}

int pad_count(lua_State *L) {
  lua_pushinteger(L, state_of(L).host.input().pads());
  return 1;
}

void append_utf8(std::string &text, char32_t c) {
  const auto add = [&](char32_t byte) { text += static_cast<char>(byte); };
  if (c < 0x80) {
    add(c);
  } else if (c < 0x800) {
    add(0xC0 | c >> 6);
    add(0x80 | (c & 0x3F));
  } else if (c < 0x10000) {
    add(0xE0 | c >> 12);
    add(0x80 | (c >> 6 & 0x3F));
    add(0x80 | (c & 0x3F));
  } else {
    add(0xF0 | c >> 18);
    add(0x80 | (c >> 12 & 0x3F));
    add(0x80 | (c >> 6 & 0x3F));
    add(0x80 | (c & 0x3F));
  }
}

void remove_last_character(std::string &text) {
  while (!text.empty() && (text.back() & 0xC0) == 0x80)
    text.pop_back();
  if (!text.empty()) text.pop_back();
}

// typed([text]): the text as the keyboard has continued it since the last frame.
int typed(lua_State *L) {
  std::string text = lua_isnoneornil(L, 1) ? "" : check_text(L, 1, "typed(text): text");
  for (const char32_t c : state_of(L).host.input().typed()) {
    if (c == U'\b')
      remove_last_character(text);
    else
      append_utf8(text, c);
  }
  lua_pushlstring(L, text.data(), text.size());
  return 1;
}

constexpr luaL_Reg functions[] = {
    {"key", guarded<ask<key_name, &Input::down>>},
    {"pressed", guarded<ask<pressed_name, &Input::pressed>>},
    {"released", guarded<ask<released_name, &Input::released>>},
    {"pad", guarded<pad>},
    {"pad_count", guarded<pad_count>},
    {"typed", guarded<typed>},
    {nullptr, nullptr},
};

} // namespace

void open_input(ScriptState &state) {
  lua_pushglobaltable(state.L);
  luaL_setfuncs(state.L, functions, 0);
  lua_pop(state.L, 1);
}

} // namespace orbhost
