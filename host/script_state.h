// Internals of the Lua binding that its files share.
//
// Lua is the C library: its errors are longjmps, which skip destructors. So functions that a script
// calls throw C++ exceptions, which guarded() turns into Lua errors after all objects are
// destroyed, and Lua API functions that may raise are called only while no object with a destructor
// is alive. (Except for lack of memory, which ends play.) A Lua error never passes through the
// module, because the module never calls back into Lua: reports are collected during a call and
// handled after it.
#pragma once

#include "host/fractions.h"
#include "host/host.h"
#include "host/lua_memory.h"
#include "host/name_table.h"
#include "host/repeated_lines.h"
#include "host/save_folder.h"
#include "host/script.h"

#include <lua.hpp>

#include <array>
#include <csignal>
#include <cstdint>
#include <deque>
#include <functional>
#include <memory>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace orbhost {

// A process and its coroutine; the record's word host7[0] points here, and host7[1] is 1 once one
// of its locals has had a fraction.
struct ScriptProcess {
  orb_process *process = nullptr; // null once the process has ended
  lua_State *thread = nullptr;
  int thread_reference = LUA_NOREF; // keeps the coroutine
  int object_reference = LUA_NOREF; // keeps the script's object for it
  const void *object = nullptr;     // the object's block
  int first_arguments = 0;          // on the coroutine's stack, until its first turn
  Fractions fractions;
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
  bool fails_with_zero = false;         // without a report
  std::vector<const Function *> forms;  // in registration order
  std::vector<std::uint32_t> processes; // of each form: bits of the integers that may be processes
  bool text_for_int = false;
  const InputArray *array = nullptr; // its array argument, if any
};

// What a script gave for one argument of a call.
struct GivenArgument {
  enum class Kind : std::uint8_t { number, process, text, nil, table, other };
  Kind kind;
  bool has_word; // a process, or a number within 64 bits
  std::int32_t word;
};

// A declared struct or array of structs, and its fields by name.
struct RecordType {
  const Declaration *declaration;
  NameTable fields;
};

struct Texts; // script_text.cpp

struct ScriptState {
  ScriptState(Host &owner, ScriptOptions given)
      : host(owner), options(std::move(given)),
        saves(owner.options().title, owner.options().headless) {}

  Host &host;
  ScriptOptions options;
  SaveFolder saves;
  LuaMemory memory;
  lua_State *L = nullptr;
  std::vector<std::unique_ptr<ScriptProcess>> order; // creation order; ended ones are swept
  ScriptProcess *running = nullptr;
  bool quit = false;
  // Of a signal handler, see script_interrupt.cpp: the coroutine that runs Lua code, or null.
  lua_State *volatile thread = nullptr;
  volatile std::sig_atomic_t interrupted = false;
  std::int64_t interrupt_time = 0;
  // The addresses of metatables. What has one of them is a process, an array or a struct.
  const void *process_metatable = nullptr;
  const void *text_metatable = nullptr; // of processes that are texts
  const void *array_metatable = nullptr;
  const void *record_metatable = nullptr;
  AddressTable live_objects; // the ids of live processes, by the blocks of their objects
  NameTable process_members;
  NameTable variables; // the script globals that are numbers: their words in the global memory
  std::deque<RecordType> record_types;
  std::string prologue; // of each chunk, see script_chunks.cpp
  std::deque<FunctionGroup> groups;
  // Of the call in progress; as many as the longest form has.
  std::vector<GivenArgument> given;
  std::vector<ArgumentWord> words;
  std::int32_t types = 0; // process types given out
  std::shared_ptr<Texts> texts;
  bool in_call = false;
  std::vector<ErrorReport> call_reports; // of the call in progress
  RepeatedLines reports;                 // and warnings
  // See script_warnings.cpp: names of fields that were looked at; graphs that can be drawn in this
  // frame, by their lowest bits; processes that can't be, with the line where their turn ended; the
  // functions, declared.
  int judged_fields = 0;
  struct Picture {
    std::int32_t file, graph;
    bool operator==(const Picture &) const = default;
  };
  std::array<Picture, 64> drawable{};
  std::vector<std::pair<ScriptProcess *, std::string>> undrawn;
  std::vector<std::string> function_prologues;
  std::string frame_mistake; // with strict: a report outside a call
};

// The script behind a Lua state.
inline ScriptState &state_of(lua_State *L) {
  return **static_cast<ScriptState **>(lua_getextraspace(L));
}

// "file.lua:12: " of the innermost Lua code that is running; empty when there is none.
std::string where(lua_State *L);

// Leaves the error's message on the stack, with the script's line in front.
void push_message(lua_State *L, const std::exception &error);

// Turns a C++ exception in a function into a Lua error.
template <lua_CFunction function> int guarded(lua_State *L) {
  try {
    return function(L);
  } catch (const std::exception &error) {
    push_message(L, error);
  }
  return lua_error(L);
}

// The block of the userdata at `index` if it has that metatable, else null. Scripts can't give the
// metatable to anything else.
inline void *userdata_block(lua_State *L, int index, const void *metatable) {
  if (!lua_getmetatable(L, index)) return nullptr;
  const bool same = lua_topointer(L, -1) == metatable;
  lua_pop(L, 1);
  return same ? lua_touserdata(L, index) : nullptr;
}

// The integer at `index`, wrapped to 32 bits.
inline std::int32_t integer_word(lua_State *L, int index) {
  return static_cast<std::int32_t>(static_cast<std::uint64_t>(lua_tointeger(L, index)));
}

// to_word for what isn't an integer.
bool fraction_to_word(lua_State *L, int index, std::int32_t &word);

// Sets `word` to the number at `index`: fractions are cut off, large values wrap. False for
// anything else, and for numbers beyond 64 bits.
inline bool to_word(lua_State *L, int index, std::int32_t &word) {
  if (!lua_isinteger(L, index)) return fraction_to_word(L, index, word);
  word = integer_word(L, index);
  return true;
}

// The same number, or a HostError naming `what` where there is none.
[[noreturn]] void throw_no_word(lua_State *L, int index, const char *what);
std::int32_t check_word(lua_State *L, int index, const char *what);

// ---- script_functions.cpp -------------------------------------------------------------------

void open_functions(ScriptState &state);

// ---- script_chunks.cpp: script texts ------------------------------------------------------------

// Makes `require` read modules as load_chunk does.
void open_chunks(ScriptState &state);
// Compiles a text, with the constants as constants of Lua's, and leaves a function on the stack, or
// the message where the status isn't LUA_OK. `name` as for luaL_loadbufferx.
int load_chunk(ScriptState &state, lua_State *L, std::string_view text, const std::string &name);
// The same for a file.
int load_chunk_file(ScriptState &state, lua_State *L, const std::string &path);

// ---- script_files.cpp: where names lead ---------------------------------------------------------

void open_files(ScriptState &state);

// ---- script_warnings.cpp: mistakes that would go unnoticed --------------------------------------

// Prints a line with the script's place, once; with strict throws HostError.
void warn(ScriptState &state, lua_State *L, const std::string &text);
// Warns of a call that has failed without a report.
void judge_call(ScriptState &state, lua_State *L, const Function &form, const ArgumentWord *words,
                std::int32_t result);
// Warns where the name at index 2 seems to be that of a local, misspelt.
void judge_field(ScriptState &state, lua_State *L);
// Where a graph is remembered that can be drawn.
inline ScriptState::Picture &drawable_slot(ScriptState &state, std::int32_t graph) {
  return state.drawable[static_cast<std::uint32_t>(graph) % 64];
}
// Looks whether a visible process can be drawn. tell_undrawn() warns, after all turns.
void look_at_picture(ScriptState &state, ScriptProcess &process);
void tell_undrawn(ScriptState &state);
// Adds what a name that is nil may be meant to be.
std::string with_hint(const ScriptState &state, std::string message);
// Warns of a text that assigns to functions of the player or the module. `compile` tells what is
// wrong with the text behind a line; empty: nothing. With strict throws ScriptError.
void warn_of_overwriting(ScriptState &state, std::string_view text,
                         const std::function<std::string(const std::string &)> &compile);

// ---- script_interrupt.cpp -----------------------------------------------------------------------

void open_interrupt(ScriptState &state);
// Notes the coroutine that runs from now on; null: none.
void enter_thread(ScriptState &state, lua_State *thread);

// ---- script_input.cpp: keys, pads, typed text ---------------------------------------------------

void open_input(ScriptState &state);

// ---- script_clock.cpp: time and chance ----------------------------------------------------------

void open_clock(ScriptState &state);

// ---- script_sound.cpp: sounds and music ---------------------------------------------------------

void open_sound(ScriptState &state);

// ---- script_globals.cpp: constants, script globals, arrays, the mouse -------------------------

void open_globals(ScriptState &state);

// ---- script_processes.cpp -----------------------------------------------------------------------

void open_processes(ScriptState &state);
// Creates a process whose coroutine runs the function at the top of L's stack. Pops the function
// and pushes the process's object. `type` is a type_number().
ScriptProcess &make_process(ScriptState &state, lua_State *L, std::int32_t type);
// Throws HostError where the script has as many processes as it may.
void check_room(const ScriptState &state);
// Gives a process its record, and its object, which it pushes.
void open_process(ScriptState &state, lua_State *L, ScriptProcess &fresh, std::int32_t type);
// Sets the fields of the table on the process's object, both by their absolute indices. Where one
// can't be set, the process is ended and the error raised.
void set_locals(ScriptState &state, lua_State *L, ScriptProcess &process, int object, int table);
// The live process whose object is at `index`, or null.
ScriptProcess *find_live(const ScriptState &state, lua_State *L, int index);
// What an object does where nothing else is said; assigns the value at 3 to the field at 2 of that
// at 1.
void push_process_metatable(lua_State *L);
int process_assign(lua_State *L);
// The type number of the function (or any value) at `index`.
std::int32_t type_number(ScriptState &state, lua_State *L, int index);
// Ends a process; its coroutine is closed unless it is running now.
void end_process(ScriptState &state, ScriptProcess &process);
// Gives every running process a turn. Throws ScriptError.
void run_turns(ScriptState &state);
// The id of the process object at `index`, alive or not; false when it is no such object.
bool is_process(lua_State *L, int index, std::int32_t &id);

// ---- script_text.cpp: texts that are processes, fonts -------------------------------------------

void open_texts(ScriptState &state);
// Draws again the texts whose graphs are gone or out of date, and forgets those that have ended.
// After the turns of a frame. Throws ScriptError.
void show_texts(ScriptState &state);
// Ends all texts.
void close_texts(ScriptState &state);

} // namespace orbhost
