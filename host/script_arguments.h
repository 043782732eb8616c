// Arguments of the player's own functions. A message reads as one about a call of the module's:
// "sound_play(sound, loops, volume, pan): sound is nil, not a number".
#pragma once

#include <lua.hpp>

#include <cstdint>
#include <string>

namespace orbhost {

// What a message names: a parameter of a form, such as "sound_play(sound, loops, volume, pan)".
std::string parameter(const char *form, const char *name);

// Throws what is at `index` instead of what is wanted: "a number". `what` is a parameter(), or the
// name of a field.
[[noreturn]] void throw_wrong(lua_State *L, int index, const std::string &what, const char *wanted);

// A string, or a number as one.
std::string check_text(lua_State *L, int index, const std::string &what);
// A number, wrapped to 32 bits.
std::int32_t check_number(lua_State *L, int index, const std::string &what);
// The same for what may be left out.
std::int32_t check_number_or(std::int32_t fallback, lua_State *L, int index,
                             const std::string &what);

} // namespace orbhost
