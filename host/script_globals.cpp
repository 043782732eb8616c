// Constants and script globals behind the Lua globals; arrays and structs as views of memory.
//
// The script's own globals are plain fields of the table of globals. What it doesn't have is looked
// up in a second table, the engine's: constants, arrays and structs. What that one doesn't have
// either is a script global in memory, or nil. So a constant that is read through the tables costs
// no call, and assigning one meets __newindex, as it isn't a field of the first table.
#include "host/script_state.h"

namespace orbhost {
namespace {

// A struct in memory (a record), or an array of them.
struct View {
  const RecordType *type;
  std::int32_t *words; // its first
};

// What the fields of the mouse that aren't in memory are found as.
enum MouseField : std::int32_t {
  left_button = -1,
  middle_button = -2,
  right_button = -3,
  wheel = -4
};

// Registry keys, by address.
const char array_key = 0;
const char record_key = 0;

void push_view(lua_State *L, const char *metatable_key, View view) {
  *static_cast<View *>(lua_newuserdatauv(L, sizeof(View), 0)) = view;
  lua_rawgetp(L, LUA_REGISTRYINDEX, metatable_key);
  lua_setmetatable(L, -2);
}

// The view that is the first argument.
const View &check_view(lua_State *L, const void *metatable) {
  const void *block = userdata_block(L, 1, metatable);
  if (!block) throw HostError("a table of the engine expected");
  return *static_cast<const View *>(block);
}

int array_index(lua_State *L) {
  const View view = check_view(L, state_of(L).array_metatable);
  const Declaration &declaration = *view.type->declaration;
  const lua_Integer index = luaL_checkinteger(L, 2);
  if (index < 0 || index >= static_cast<lua_Integer>(declaration.count)) {
    throw HostError(declaration.name + ": index " + std::to_string(index) + " outside 0 to " +
                    std::to_string(declaration.count - 1));
  }
  push_view(L, &record_key,
            {view.type, view.words + static_cast<std::size_t>(index) * declaration.fields.size()});
  return 1;
}

int array_length(lua_State *L) {
  lua_pushinteger(L, check_view(L, state_of(L).array_metatable).type->declaration->count);
  return 1;
}

[[noreturn]] void throw_no_field(lua_State *L, const View &view) {
  const char *name = luaL_checkstring(L, 2);
  throw HostError(view.type->declaration->name + " has no field \"" + name + "\"");
}

int record_index(lua_State *L) {
  const ScriptState &state = state_of(L);
  const View view = check_view(L, state.record_metatable);
  const std::int32_t field = view.type->fields.find(L, 2);
  if (field >= 0) {
    lua_pushinteger(L, view.words[field]);
    return 1;
  }
  const auto push_button = [&](const char *name) {
    lua_pushboolean(L, state.host.input().down(*Input::control(name)));
  };
  switch (field) {
  case left_button: push_button("mouse_left"); break;
  case middle_button: push_button("mouse_middle"); break;
  case right_button: push_button("mouse_right"); break;
  case wheel: lua_pushinteger(L, state.host.input().wheel); break;
  default: throw_no_field(L, view);
  }
  return 1;
}

int record_assign(lua_State *L) {
  const View view = check_view(L, state_of(L).record_metatable);
  const std::int32_t field = view.type->fields.find(L, 2);
  if (field == NameTable::none) throw_no_field(L, view);
  if (field < 0) {
    throw HostError(std::string("mouse.") + lua_tostring(L, 2) +
                    " can't be assigned: it tells what the player does");
  }
  view.words[field] = check_word(L, 3, lua_tostring(L, 2));
  return 0;
}

std::int32_t &variable(ScriptState &state, std::int32_t word) {
  return reinterpret_cast<std::int32_t *>(state.host.runtime.rt_globals)[word];
}

// Stack: the engine's table, name.
int global_index(lua_State *L) {
  ScriptState &state = state_of(L);
  const std::int32_t word = state.variables.find(L, 2);
  if (word == NameTable::none)
    lua_pushnil(L);
  else
    lua_pushinteger(L, variable(state, word));
  return 1;
}

// Stack: the table of globals, name, value; upvalue 1: the engine's table.
int global_assign(lua_State *L) {
  lua_settop(L, 3);
  ScriptState &state = state_of(L);
  const std::int32_t word = state.variables.find(L, 2);
  if (word != NameTable::none) {
    variable(state, word) = check_word(L, 3, lua_tostring(L, 2));
    return 0;
  }
  lua_pushvalue(L, 2);
  switch (lua_rawget(L, lua_upvalueindex(1))) {
  case LUA_TNIL:
    lua_pop(L, 1);
    lua_rawset(L, 1);
    return 0;
  case LUA_TNUMBER:
    throw HostError(std::string(lua_tostring(L, 2)) + " is a constant and can't be assigned");
  default:
    throw HostError(std::string(lua_tostring(L, 2)) + " is a table of the engine and can't be "
                                                      "assigned; its fields can");
  }
}

// Makes a metatable that scripts can't take apart; its address.
const void *make_type(lua_State *L, const char *key, const luaL_Reg *methods) {
  lua_newtable(L);
  luaL_setfuncs(L, methods, 0);
  lua_pushboolean(L, 0);
  lua_setfield(L, -2, "__metatable");
  const void *metatable = lua_topointer(L, -1);
  lua_rawsetp(L, LUA_REGISTRYINDEX, key);
  return metatable;
}

// Leaves a view of all of a declared struct or array on the stack.
void push_declared(ScriptState &state, lua_State *L, const Declaration &declaration) {
  RecordType &type = state.record_types.emplace_back();
  type.declaration = &declaration;
  for (std::size_t i = 0; i < declaration.fields.size(); ++i)
    type.fields.add(L, declaration.fields[i].name, static_cast<std::int32_t>(i));
  if (declaration.name == "mouse") {
    type.fields.add(L, "left", left_button);
    type.fields.add(L, "middle", middle_button);
    type.fields.add(L, "right", right_button);
    type.fields.add(L, "wheel", wheel);
  }
  push_view(L, declaration.kind == Declaration::Kind::array ? &array_key : &record_key,
            {&type, &state.host.global(declaration.name)});
}

} // namespace

void open_globals(ScriptState &state) {
  lua_State *L = state.L;
  constexpr luaL_Reg array_methods[] = {
      {"__index", guarded<array_index>}, {"__len", guarded<array_length>}, {nullptr, nullptr}};
  constexpr luaL_Reg record_methods[] = {{"__index", guarded<record_index>},
                                         {"__newindex", guarded<record_assign>},
                                         {nullptr, nullptr}};
  state.array_metatable = make_type(L, &array_key, array_methods);
  state.record_metatable = make_type(L, &record_key, record_methods);

  lua_newtable(L); // the engine's
  for (const Constant &constant : state.host.registration().constants) {
    lua_pushinteger(L, constant.value);
    lua_setfield(L, -2, constant.name.c_str());
  }
  for (const Declaration &declaration : state.host.globals().declarations()) {
    if (declaration.kind == Declaration::Kind::variable) {
      state.variables.add(L, declaration.name, static_cast<std::int32_t>(declaration.word));
    } else {
      push_declared(state, L, declaration);
      lua_setfield(L, -2, declaration.name.c_str());
    }
  }
  lua_newtable(L);
  lua_pushcfunction(L, guarded<global_index>);
  lua_setfield(L, -2, "__index");
  lua_setmetatable(L, -2);

  lua_pushglobaltable(L);
  lua_newtable(L);
  lua_pushvalue(L, -3);
  lua_setfield(L, -2, "__index");
  lua_pushvalue(L, -3);
  lua_pushcclosure(L, guarded<global_assign>, 1);
  lua_setfield(L, -2, "__newindex");
  lua_setmetatable(L, -2);
  lua_pop(L, 2);
}

} // namespace orbhost
