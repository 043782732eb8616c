#include "host/name_table.h"

#include <algorithm>
#include <string_view>

namespace orbhost {

void NameTable::add(lua_State *L, const std::string &name, std::int32_t number) {
  lua_pushlstring(L, name.data(), name.size());
  const void *text = lua_topointer(L, -1);
  lua_pushlstring(L, name.data(), name.size());
  const bool kept_once = lua_topointer(L, -1) == text;
  lua_pop(L, 1);
  luaL_ref(L, LUA_REGISTRYINDEX); // never released: the name lives as long as the state
  if (kept_once) {
    short_names_.set(text, number);
    return;
  }
  const auto known = std::ranges::find(long_names_, name, &LongName::name);
  if (known == long_names_.end())
    long_names_.push_back({name, number});
  else
    known->number = number;
}

std::int32_t NameTable::find_long(lua_State *L, int index) const {
  if (lua_type(L, index) != LUA_TSTRING) return none;
  const std::string_view name = lua_tostring(L, index);
  const auto known = std::ranges::find(long_names_, name, &LongName::name);
  return known == long_names_.end() ? none : known->number;
}

} // namespace orbhost
