// Constants and script globals behind the Lua globals; arrays and structs as views of memory.
#include "host/script_state.h"

#include <cstring>

namespace orbhost {
namespace {

constexpr const char *array_type = "orb.array";
constexpr const char *record_type = "orb.record";

// A struct in memory (a record), or an array of them.
struct View {
  const Declaration *declaration;
  std::uint32_t word; // index of its first word within the declaration
};

void push_view(lua_State *L, const char *type, View view) {
  *static_cast<View *>(lua_newuserdatauv(L, sizeof(View), 0)) = view;
  luaL_setmetatable(L, type);
}

int array_index(lua_State *L) {
  const View view = *static_cast<View *>(luaL_checkudata(L, 1, array_type));
  const Declaration &declaration = *view.declaration;
  const lua_Integer index = luaL_checkinteger(L, 2);
  if (index < 0 || index >= static_cast<lua_Integer>(declaration.count)) {
    throw HostError(declaration.name + ": index " + std::to_string(index) + " outside 0 to " +
                    std::to_string(declaration.count - 1));
  }
  const auto fields = static_cast<std::uint32_t>(declaration.fields.size());
  push_view(L, record_type, {&declaration, static_cast<std::uint32_t>(index) * fields});
  return 1;
}

int array_length(lua_State *L) {
  const View view = *static_cast<View *>(luaL_checkudata(L, 1, array_type));
  lua_pushinteger(L, view.declaration->count);
  return 1;
}

bool is_mouse(const View &view) {
  return view.declaration->name == "mouse";
}

// The word of the field named at stack index 2, or null.
std::int32_t *field_word(lua_State *L, const View &view) {
  const char *name = luaL_checkstring(L, 2);
  const auto &fields = view.declaration->fields;
  for (std::uint32_t i = 0; i < fields.size(); ++i) {
    if (fields[i].name == name) {
      return &state_of(L).host.global(view.declaration->name, view.word + i);
    }
  }
  return nullptr;
}

int no_field(const View &view, const char *name) {
  throw HostError(view.declaration->name + " has no field \"" + name + "\"");
}

int record_index(lua_State *L) {
  const View view = *static_cast<View *>(luaL_checkudata(L, 1, record_type));
  if (const std::int32_t *word = field_word(L, view)) {
    lua_pushinteger(L, *word);
    return 1;
  }
  const std::string_view name = lua_tostring(L, 2);
  const Pointer &pointer = state_of(L).host.input().pointer;
  if (is_mouse(view) && name == "left")
    lua_pushboolean(L, pointer.left);
  else if (is_mouse(view) && name == "middle")
    lua_pushboolean(L, pointer.middle);
  else if (is_mouse(view) && name == "right")
    lua_pushboolean(L, pointer.right);
  else
    return no_field(view, lua_tostring(L, 2));
  return 1;
}

int record_assign(lua_State *L) {
  const View view = *static_cast<View *>(luaL_checkudata(L, 1, record_type));
  std::int32_t *word = field_word(L, view);
  if (!word) return no_field(view, lua_tostring(L, 2));
  *word = check_word(L, 3, lua_tostring(L, 2));
  return 0;
}

// Upvalue 1 of the two functions below maps a name to an integer (a constant), light userdata (a
// variable's word), or a view. All other names are the script's own globals.
int global_index(lua_State *L) {
  lua_settop(L, 2);
  lua_rawget(L, lua_upvalueindex(1));
  if (lua_islightuserdata(L, -1)) {
    lua_pushinteger(L, *static_cast<std::int32_t *>(lua_touserdata(L, -1)));
  }
  return 1;
}

int global_assign(lua_State *L) {
  lua_settop(L, 3);
  lua_pushvalue(L, 2);
  switch (lua_rawget(L, lua_upvalueindex(1))) {
  case LUA_TNIL:
    lua_pop(L, 1);
    lua_rawset(L, 1);
    return 0;
  case LUA_TLIGHTUSERDATA:
    *static_cast<std::int32_t *>(lua_touserdata(L, -1)) = check_word(L, 3, lua_tostring(L, 2));
    return 0;
  case LUA_TNUMBER:
    throw HostError(std::string(lua_tostring(L, 2)) + " is a constant and can't be assigned");
  default:
    throw HostError(std::string(lua_tostring(L, 2)) + " is a table of the engine and can't be "
                                                      "assigned; its fields can");
  }
}

void make_type(lua_State *L, const char *name, const luaL_Reg *methods) {
  luaL_newmetatable(L, name);
  luaL_setfuncs(L, methods, 0);
  lua_pushboolean(L, 0);
  lua_setfield(L, -2, "__metatable"); // scripts can't change it
  lua_pop(L, 1);
}

} // namespace

void open_globals(ScriptState &state) {
  lua_State *L = state.L;
  constexpr luaL_Reg array_methods[] = {
      {"__index", guarded<array_index>}, {"__len", guarded<array_length>}, {nullptr, nullptr}};
  constexpr luaL_Reg record_methods[] = {{"__index", guarded<record_index>},
                                         {"__newindex", guarded<record_assign>},
                                         {nullptr, nullptr}};
  make_type(L, array_type, array_methods);
  make_type(L, record_type, record_methods);

  lua_newtable(L);
  for (const Constant &constant : state.host.registration().constants) {
    lua_pushinteger(L, constant.value);
    lua_setfield(L, -2, constant.name.c_str());
  }
  for (const Declaration &declaration : state.host.globals().declarations()) {
    switch (declaration.kind) {
    case Declaration::Kind::variable:
      lua_pushlightuserdata(L, &state.host.global(declaration.name));
      break;
    case Declaration::Kind::array: push_view(L, array_type, {&declaration, 0}); break;
    case Declaration::Kind::record: push_view(L, record_type, {&declaration, 0}); break;
    }
    lua_setfield(L, -2, declaration.name.c_str());
  }

  lua_pushglobaltable(L);
  lua_newtable(L);
  lua_pushvalue(L, -3);
  lua_pushcclosure(L, guarded<global_index>, 1);
  lua_setfield(L, -2, "__index");
  lua_pushvalue(L, -3);
  lua_pushcclosure(L, guarded<global_assign>, 1);
  lua_setfield(L, -2, "__newindex");
  lua_setmetatable(L, -2);
  lua_pop(L, 2);
}

} // namespace orbhost
