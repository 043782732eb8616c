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
  if (now() - state.interrupt_time < grace) return;
  lua_sethook(L, stop_when_due, LUA_MASKCOUNT, 1);
  luaL_where(L, hook ? 0 : 1);
  lua_pushliteral(L, "interrupted");
  lua_concat(L, 2);
  lua_error(L);
}

// Resumes a coroutine of the script's own with the topmost arguments. The number of results on the
// stack; or -1, with the error.
int run_thread(lua_State *L, lua_State *thread, int arguments) {
  ScriptState &state = state_of(L);
  if (!lua_checkstack(thread, arguments)) {
    lua_pushliteral(L, "too many arguments to resume");
    return -1;
  }
  lua_xmove(L, thread, arguments);
  int results = 0;
  enter_thread(state, thread);
  const int status = lua_resume(thread, L, arguments, &results);
  enter_thread(state, L);
  if (state.interrupted) stop_when_due(L, nullptr); // each change begins a new count
  if (status != LUA_OK && status != LUA_YIELD) {
    lua_xmove(thread, L, 1);
    return -1;
  }
  if (!lua_checkstack(L, results + 1)) {
    lua_pop(thread, results);
    lua_pushliteral(L, "too many results to resume");
    return -1;
  }
  lua_xmove(thread, L, results);
  return results;
}

// In place of coroutine.resume.
int resume(lua_State *L) {
  lua_State *thread = lua_tothread(L, 1);
  luaL_argexpected(L, thread, 1, "coroutine");
  const int results = run_thread(L, thread, lua_gettop(L) - 1);
  lua_pushboolean(L, results >= 0);
  lua_insert(L, results >= 0 ? -(results + 1) : -2);
  return results >= 0 ? results + 1 : 2;
}

// What coroutine.wrap returns. Upvalue 1: the coroutine.
int resume_wrapped(lua_State *L) {
  lua_State *thread = lua_tothread(L, lua_upvalueindex(1));
  const int results = run_thread(L, thread, lua_gettop(L));
  if (results >= 0) return results;
  if (const int status = lua_status(thread); status != LUA_OK && status != LUA_YIELD) {
    lua_resetthread(thread); // runs its closers, which may fail in turn
    lua_xmove(thread, L, 1);
  }
  if (lua_type(L, -1) == LUA_TSTRING) {
    luaL_where(L, 1);
    lua_insert(L, -2);
    lua_concat(L, 2);
  }
  return lua_error(L);
}

// In place of coroutine.wrap.
int wrap(lua_State *L) {
  luaL_checktype(L, 1, LUA_TFUNCTION);
  lua_State *thread = lua_newthread(L);
  lua_pushvalue(L, 1);
  lua_xmove(L, thread, 1);
  lua_pushcclosure(L, resume_wrapped, 1);
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
  constexpr luaL_Reg replaced[] = {{"resume", resume}, {"wrap", wrap}, {nullptr, nullptr}};
  lua_getglobal(L, "coroutine");
  luaL_setfuncs(L, replaced, 0);
  lua_pop(L, 1);
}

} // namespace orbhost
