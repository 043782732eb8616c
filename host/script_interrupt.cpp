// Stopping a script from a signal handler.
//
// A game that reaches the end of its turn soon just ends with that frame. A script that doesn't is
// stopped by a debug hook, which raises an error, and again after each pcall until it is out. Lua
// keeps hooks by coroutine, so the one that runs is known here: run_turns() notes that of the
// process, and resuming one of the script's own notes that one.
#include "host/script_state.h"

#include <ctime>

namespace orbhost {
namespace {

constexpr std::int64_t grace = 100'000'000; // nanoseconds until a turn is cut short
constexpr int instructions = 100;           // of Lua, between two looks at the clock

// Safe in a signal handler.
std::int64_t now() {
  timespec time{};
  clock_gettime(CLOCK_MONOTONIC, &time);
  return std::int64_t{time.tv_sec} * 1'000'000'000 + time.tv_nsec;
}

// As a hook, level 0 is the function that was running; called by a C function, level 1 is.
void stop_when_due(lua_State *L, lua_Debug *hook) {
  const ScriptState &state = state_of(L);
  if (!state.interrupted || now() - state.interrupt_time < grace) return;
  lua_sethook(L, stop_when_due, LUA_MASKCOUNT, 1);
  luaL_where(L, hook ? 0 : 1);
  lua_pushliteral(L, "interrupted");
  lua_concat(L, 2);
  lua_error(L);
}

// In place of coroutine.resume and of what coroutine.wrap returns. Upvalue 1: Lua's own; upvalue 2:
// the coroutine, of a wrapped one.
int resume(lua_State *L) {
  ScriptState &state = state_of(L);
  const bool wrapped = lua_isthread(L, lua_upvalueindex(2));
  lua_State *inner = lua_tothread(L, wrapped ? lua_upvalueindex(2) : 1);
  lua_pushvalue(L, lua_upvalueindex(1));
  lua_insert(L, 1);
  if (inner) enter_thread(state, inner);
  const int status = lua_pcall(L, lua_gettop(L) - 1, LUA_MULTRET, 0);
  enter_thread(state, L);
  stop_when_due(L, nullptr); // each change of coroutines begins a new count of instructions
  if (status == LUA_OK) return lua_gettop(L);
  if (wrapped && lua_type(L, -1) == LUA_TSTRING) { // as Lua's own does for its caller
    luaL_where(L, 1);
    lua_insert(L, -2);
    lua_concat(L, 2);
  }
  return lua_error(L);
}

// In place of coroutine.wrap. Upvalue 1: Lua's own.
int wrap(lua_State *L) {
  lua_pushvalue(L, lua_upvalueindex(1));
  lua_insert(L, 1);
  lua_call(L, lua_gettop(L) - 1, 1);
  lua_getupvalue(L, -1, 1); // the coroutine
  lua_pushcclosure(L, resume, 2);
  return 1;
}

} // namespace

void enter_thread(ScriptState &state, lua_State *thread) {
  state.thread = thread;
  if (thread && state.interrupted) lua_sethook(thread, stop_when_due, LUA_MASKCOUNT, instructions);
}

void Script::interrupt() {
  state_->interrupt_time = now();
  state_->interrupted = true;
  enter_thread(*state_, state_->thread);
}

void open_interrupt(ScriptState &state) {
  lua_State *L = state.L;
  lua_getglobal(L, "coroutine");
  lua_getfield(L, -1, "resume");
  lua_pushnil(L);
  lua_pushcclosure(L, resume, 2);
  lua_setfield(L, -2, "resume");
  lua_getfield(L, -1, "wrap");
  lua_pushcclosure(L, wrap, 1);
  lua_setfield(L, -2, "wrap");
  lua_pop(L, 1);
}

} // namespace orbhost
