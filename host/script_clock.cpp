// Time, and those of Lua's own functions whose results differ from run to run.
#include "host/script_state.h"

namespace orbhost {
namespace {

// clock(): milliseconds of play.
int clock(lua_State *L) {
  lua_pushinteger(L, state_of(L).host.clock().frame().milliseconds);
  return 1;
}

lua_Integer now(lua_State *L) {
  const ScriptState &state = state_of(L);
  return *state.options.started + state.host.clock().frame().milliseconds / 1000;
}

// The functions below stand before Lua's own, which are their upvalue.
int call_own(lua_State *L) {
  lua_pushvalue(L, lua_upvalueindex(1));
  lua_insert(L, 1);
  lua_call(L, lua_gettop(L) - 1, LUA_MULTRET);
  return lua_gettop(L);
}

int os_time(lua_State *L) {
  if (!lua_isnoneornil(L, 1)) return call_own(L);
  lua_pushinteger(L, now(L));
  return 1;
}

int os_date(lua_State *L) {
  if (lua_isnoneornil(L, 2)) {
    lua_settop(L, 1);
    lua_pushinteger(L, now(L));
  }
  return call_own(L);
}

int os_clock(lua_State *L) {
  lua_pushnumber(L, static_cast<double>(state_of(L).host.clock().frame().milliseconds) / 1000);
  return 1;
}

// Without a number Lua takes one from the time and an address; here, the next random number.
int random_seed(lua_State *L) {
  if (lua_isnone(L, 1)) {
    lua_getglobal(L, "math");
    lua_getfield(L, -1, "random");
    lua_pushinteger(L, 0); // any integer
    lua_call(L, 1, 1);
    lua_replace(L, 1);
    lua_settop(L, 1);
  }
  return call_own(L);
}

void replace(lua_State *L, const char *library, const char *name, lua_CFunction function) {
  lua_getglobal(L, library);
  lua_getfield(L, -1, name);
  lua_pushcclosure(L, function, 1);
  lua_setfield(L, -2, name);
  lua_pop(L, 1);
}

} // namespace

void open_clock(ScriptState &state) {
  lua_register(state.L, "clock", clock);
  replace(state.L, "math", "randomseed", random_seed);
  if (!state.options.started) return;
  replace(state.L, "os", "time", os_time);
  replace(state.L, "os", "date", os_date);
  replace(state.L, "os", "clock", os_clock);
}

} // namespace orbhost
