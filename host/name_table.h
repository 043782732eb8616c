// Numbers by name, for names that come out of Lua.
#pragma once

#include "host/address_table.h"

#include <lua.hpp>

#include <string>
#include <vector>

namespace orbhost {

// Names of one Lua state, told apart by the address of Lua's text instead of by its characters: Lua
// keeps a short text (up to 40 characters, as it is built) only once. A name that is added stays in
// the state, so that no other text ever has its address.
class NameTable {
public:
  static constexpr std::int32_t none = AddressTable::none;

  // Adds a name, or gives it another number (not `none`).
  void add(lua_State *L, const std::string &name, std::int32_t number);

  // The number of the name at `index`; `none` for any other text or value.
  [[nodiscard]] std::int32_t find(lua_State *L, int index) const {
    const std::int32_t number = short_names_.find(lua_topointer(L, index));
    return number != none || long_names_.empty() ? number : find_long(L, index);
  }

private:
  struct LongName {
    std::string name;
    std::int32_t number;
  };

  [[nodiscard]] std::int32_t find_long(lua_State *L, int index) const;

  AddressTable short_names_;
  std::vector<LongName> long_names_; // those that Lua may keep more than once
};

} // namespace orbhost
