#include "host/script_arguments.h"

#include "host/script_state.h"

namespace orbhost {

std::string parameter(const char *form, const char *name) {
  return std::string(form) + ": " + name;
}

void throw_wrong(lua_State *L, int index, const std::string &what, const char *wanted) {
  if (lua_isnone(L, index)) throw HostError(what + " is missing");
  const std::string kind = luaL_typename(L, index);
  throw HostError(what + " is " + (kind == "nil" ? "" : "a ") + kind + ", not " + wanted);
}

std::string check_text(lua_State *L, int index, const std::string &what) {
  if (!lua_isstring(L, index)) throw_wrong(L, index, what, "a string");
  std::size_t length = 0;
  const char *text = lua_tolstring(L, index, &length);
  return {text, length};
}

std::int32_t check_number(lua_State *L, int index, const std::string &what) {
  std::int32_t word = 0;
  if (to_word(L, index, word)) return word;
  if (lua_type(L, index) != LUA_TNUMBER) throw_wrong(L, index, what, "a number");
  throw HostError(what + " is no number that fits 64 bits");
}

std::int32_t check_number_or(std::int32_t fallback, lua_State *L, int index,
                             const std::string &what) {
  return lua_isnoneornil(L, index) ? fallback : check_number(L, index, what);
}

} // namespace orbhost
