// Internals of the Lua binding that its files share.
//
// Lua is the C library: its errors are longjmps, which skip destructors. So functions that a script
// calls throw C++ exceptions, which guarded() turns into Lua errors after all objects are
// destroyed, and Lua API functions that may raise are called only while no object with a destructor
// is alive. (Except for lack of memory, which ends play.) A Lua error never passes through the
// module, because the module never calls back into Lua: reports are collected during a call and
// handled after it.
#pragma once

#include "host/host.h"
#include "host/script.h"

#include <lua.hpp>

#include <cstdint>
#include <deque>
#include <memory>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

namespace orbhost {

// A process and its coroutine.
struct ScriptProcess {
  orb_process *process = nullptr; // null once the process has ended
  lua_State *thread = nullptr;
  int thread_reference = LUA_NOREF; // keeps the coroutine
  int object_reference = LUA_NOREF; // keeps the script's object for it
  int first_arguments = 0;          // on the coroutine's stack, until its first turn
};

// An argument through which a function reads an array. It is registered as an address; in Lua it is
// a table, which the call doesn't change.
struct InputArray {
  std::string_view function;
  int argument; // from 1
  // The words of the table at `index`. Throws HostError for anything else, with a text that begins
  // with `where`.
  std::vector<std::int32_t> (*read)(lua_State *L, int index, const std::string &where);
};

// All forms of one script function.
struct FunctionGroup {
  std::string name;
  std::vector<const Function *> forms; // in registration order
  bool text_for_int = false;
  const InputArray *array = nullptr; // its array argument, if any
};

struct ScriptState {
  ScriptState(Host &owner, ScriptOptions given) : host(owner), options(std::move(given)) {}

  Host &host;
  ScriptOptions options;
  lua_State *L = nullptr;
  std::vector<std::unique_ptr<ScriptProcess>> order; // in creation order; ended ones are removed
  std::unordered_map<orb_process *, ScriptProcess *> by_record;
  ScriptProcess *running = nullptr;
  bool quit = false;
  std::deque<FunctionGroup> groups;
  std::int32_t types = 0; // number of process types so far
  bool in_call = false;
  std::vector<ErrorReport> call_reports; // of the call in progress
  std::string frame_mistake;             // with strict: a report outside a call
};

// The script behind a Lua state.
ScriptState &state_of(lua_State *L);

// "file.lua:12: " of the innermost Lua code that is running; empty when there is none.
std::string where(lua_State *L);

// Calls `function`. If it throws, pushes the message with the script's line in front and returns
// -1.
int call_catching(lua_CFunction function, lua_State *L);

// Turns a C++ exception in a function into a Lua error.
template <lua_CFunction function> int guarded(lua_State *L) {
  const int results = call_catching(function, L);
  return results < 0 ? lua_error(L) : results;
}

// The number at `index` as a 32-bit word: fractions are cut off, large values wrap. A Lua error
// naming `what` for anything else, and for numbers beyond 64 bits.
std::int32_t check_word(lua_State *L, int index, const char *what);

// ---- script_functions.cpp -------------------------------------------------------------------

void open_functions(ScriptState &state);

// ---- script_files.cpp: folders ------------------------------------------------------------------

void open_files(ScriptState &state);

// ---- script_globals.cpp: constants, script globals, arrays, the mouse -------------------------

void open_globals(ScriptState &state);

// ---- script_processes.cpp -----------------------------------------------------------------------

void open_processes(ScriptState &state);
// Creates a process whose coroutine runs the function at the top of L's stack. Pops the function
// and pushes the process's object. `type` is a type_number().
ScriptProcess &make_process(ScriptState &state, lua_State *L, std::int32_t type);
// The type number of the function (or any value) at `index`.
std::int32_t type_number(ScriptState &state, lua_State *L, int index);
// Ends a process; its coroutine is closed unless it is running now.
void end_process(ScriptState &state, ScriptProcess &process);
// Gives every running process a turn. Throws ScriptError.
void run_turns(ScriptState &state);
// Whether there is a process object at `index`; sets the id of its process, alive or not.
bool is_process(lua_State *L, int index, std::int32_t &id);

} // namespace orbhost
