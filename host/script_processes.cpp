// Processes as Lua objects and coroutines: creating, running and ending them.
#include "host/script_state.h"

#include <algorithm>
#include <cmath>
#include <iterator>

namespace orbhost {
namespace {

constexpr std::size_t most_xgraph = 65'536;

// Registry keys, by address.
const char types_key = 0;
const char metatable_key = 0;

// The script's object of a process: full userdata with one user value, the table of its own
// fields (nil until the first). A record is used again some time after its process has ended, so
// the object of an ended process says no more than which one it was.
struct ProcessObject {
  std::int32_t id;
  std::uint32_t serial;
};

// The object at `index`, of a process alive or not; null for anything else.
const ProcessObject *to_object(lua_State *L, int index) {
  const ScriptState &state = state_of(L);
  const void *block = userdata_block(L, index, state.process_metatable);
  if (!block) block = userdata_block(L, index, state.text_metatable);
  return static_cast<const ProcessObject *>(block);
}

// The live process whose object is at `index`, or null. The object isn't looked at: while a process
// lives its object does, and nothing else has the address.
orb_process *live_process(const ScriptState &state, lua_State *L, int index) {
  const std::int32_t id = state.live_objects.find(lua_touserdata(L, index));
  return id != AddressTable::none ? ProcessList::process(id) : nullptr;
}

// What a record belongs to; null where something else than the script has made the process.
ScriptProcess *owner(const orb_process *process) {
  return reinterpret_cast<ScriptProcess *>(std::uintptr_t{process->host7[0]});
}

// The process behind an object or an id, or null when it has ended.
ScriptProcess *find_process(ScriptState &state, lua_State *L, int index) {
  const orb_process *process = live_process(state, L, index);
  if (!process && lua_isinteger(L, index)) {
    process = state.host.processes().find(check_word(L, index, "process"));
  } else if (!process && !to_object(L, index)) {
    throw HostError(std::string("process expected, got ") + luaL_typename(L, index));
  }
  return process ? owner(process) : nullptr;
}

void push_object(lua_State *L, const ScriptProcess &process) {
  lua_rawgeti(L, LUA_REGISTRYINDEX, process.object_reference);
}

// ---- Fields ----------------------------------------------------------------------------------

void push_xgraph(lua_State *L, const orb_process *process) {
  const std::int32_t *array = process->locals->xgraph;
  if (!array) {
    lua_pushnil(L);
    return;
  }
  lua_createtable(L, array[0], 0);
  for (std::int32_t i = 1; i <= array[0]; ++i) {
    lua_pushinteger(L, array[i]);
    lua_rawseti(L, -2, i);
  }
}

void assign_xgraph(ScriptState &state, lua_State *L, orb_process *process, int index) {
  std::vector<std::int32_t> codes;
  if (lua_istable(L, index)) {
    const auto length = static_cast<std::size_t>(lua_rawlen(L, index));
    if (length > most_xgraph) throw HostError("xgraph: table too long");
    for (std::size_t i = 1; i <= length; ++i) {
      lua_rawgeti(L, index, static_cast<lua_Integer>(i));
      codes.push_back(check_word(L, -1, "xgraph element"));
      lua_pop(L, 1);
    }
  } else if (!lua_isnil(L, index)) {
    throw HostError("xgraph: table or nil expected");
  }
  state.host.processes().set_xgraph(process, codes);
}

// What a name stands for: the word of a local (0 and up), or one of these.
enum Member : std::int32_t {
  member_id = -1,
  member_type = -2,
  member_xgraph = -3,
  member_method = -4,
  member_own = -5 // a field of the script's own that was assigned before
};

constexpr int most_judged_fields = 1000; // a script may make names without end
constexpr std::size_t longest_judged_field = 32;

// The functions below have the stack: object, name [, value].

// The object of a process, alive or not.
const ProcessObject &check_object(lua_State *L) {
  const ProcessObject *object = to_object(L, 1);
  if (!object) throw HostError("process expected");
  return *object;
}

[[noreturn]] void throw_ended(lua_State *L) {
  throw HostError(std::string(lua_tostring(L, 2)) + ": the process has ended");
}

std::int32_t &local_word(const orb_process *record, std::int32_t word) {
  return reinterpret_cast<std::int32_t *>(record->locals)[word];
}

void push_local(lua_State *L, const orb_process *record, std::int32_t local) {
  const std::int32_t word = local_word(record, local);
  if (record->host7[1]) {
    if (const double *number = owner(record)->fractions.find(local, word)) {
      lua_pushnumber(L, *number);
      return;
    }
  }
  lua_pushinteger(L, word);
}

// Assigns the number at `index` that isn't an integer of Lua's.
void assign_float(lua_State *L, orb_process *record, std::int32_t local, int index) {
  std::int32_t &word = local_word(record, local);
  const double number = lua_tonumber(L, index);
  if (lua_type(L, index) == LUA_TNUMBER && std::abs(number) < INT32_MAX &&
      number != std::floor(number)) {
    word = owner(record)->fractions.keep(local, number);
    record->host7[1] = 1;
    return;
  }
  if (!fraction_to_word(L, index, word)) throw_no_word(L, index, lua_tostring(L, 2));
  owner(record)->fractions.forget(local);
}

void assign_local(lua_State *L, orb_process *record, std::int32_t local, int index) {
  if (!lua_isinteger(L, index)) {
    assign_float(L, record, local, index);
    return;
  }
  local_word(record, local) = integer_word(L, index);
  if (record->host7[1]) owner(record)->fractions.forget(local);
}

// Leaves one of the script's own fields on the stack.
void push_own_field(lua_State *L) {
  if (lua_getiuservalue(L, 1, 1) != LUA_TTABLE) return; // nil: there are none
  lua_pushvalue(L, 2);
  lua_rawget(L, -2);
}

void assign_own_field(lua_State *L) {
  lua_settop(L, 3);
  if (lua_getiuservalue(L, 1, 1) != LUA_TTABLE) {
    lua_pop(L, 1);
    lua_newtable(L);
    lua_pushvalue(L, -1);
    lua_setiuservalue(L, 1, 1);
  }
  lua_insert(L, 2);
  lua_rawset(L, 2);
}

// A name that is assigned for the first time, to any process, may be a mistake.
void note_own_field(ScriptState &state, lua_State *L) {
  if (lua_type(L, 2) != LUA_TSTRING || lua_rawlen(L, 2) > longest_judged_field ||
      state.judged_fields == most_judged_fields)
    return;
  ++state.judged_fields;
  state.process_members.add(L, lua_tostring(L, 2), member_own);
  judge_field(state, L);
}

// Upvalue 1: the methods by name.
int process_index(lua_State *L) {
  const ScriptState &state = state_of(L);
  const orb_process *process = live_process(state, L, 1);
  const std::int32_t member = state.process_members.find(L, 2);
  if (member >= 0 && process) {
    push_local(L, process, member);
    return 1;
  }
  if (!process) check_object(L);
  switch (member) {
  case NameTable::none:
  case member_own: push_own_field(L); break;
  case member_method:
    lua_pushvalue(L, 2);
    lua_rawget(L, lua_upvalueindex(1));
    break;
  case member_id: lua_pushinteger(L, check_object(L).id); break;
  default:
    if (!process) throw_ended(L);
    if (member == member_xgraph)
      push_xgraph(L, process);
    else
      lua_pushinteger(L, process->type);
    break;
  }
  return 1;
}

} // namespace

int process_assign(lua_State *L) {
  ScriptState &state = state_of(L);
  orb_process *process = live_process(state, L, 1);
  const std::int32_t member = state.process_members.find(L, 2);
  if (member >= 0 && process) {
    assign_local(L, process, member, 3);
    return 0;
  }
  if (!process) check_object(L);
  if (member == NameTable::none) note_own_field(state, L);
  if (member == NameTable::none || member == member_own) {
    assign_own_field(L);
    return 0;
  }
  if (member < 0 && member != member_xgraph) {
    throw HostError(std::string(lua_tostring(L, 2)) + " of a process can't be assigned");
  }
  if (!process) throw_ended(L);
  assign_xgraph(state, L, process, 3);
  return 0;
}

namespace {

int process_text(lua_State *L) {
  const ProcessObject &object = check_object(L);
  lua_pushfstring(L, "process %d", static_cast<int>(object.serial));
  return 1;
}

// ---- Script functions --------------------------------------------------------------------------

// Stack: object, table. Sets the table's fields on the object.
int set_fields(lua_State *L) {
  lua_pushnil(L);
  while (lua_next(L, 2)) {
    lua_pushvalue(L, -2);
    lua_insert(L, -2);
    lua_settable(L, 1);
  }
  return 0;
}

int spawn(lua_State *L) {
  ScriptState &state = state_of(L);
  luaL_checktype(L, 1, LUA_TFUNCTION);
  const int top = lua_gettop(L);
  if (top >= 2 && !lua_isnil(L, 2)) luaL_checktype(L, 2, LUA_TTABLE);
  const std::int32_t type = type_number(state, L, 1);
  lua_pushvalue(L, 1);
  ScriptProcess &process = make_process(state, L, type);
  const int object = top + 1;
  if (top >= 2 && lua_istable(L, 2)) set_locals(state, L, process, object, 2);
  lua_State *thread = process.thread;
  if (!lua_checkstack(thread, top + 1) || !lua_checkstack(L, top + 1)) {
    end_process(state, process);
    throw HostError("spawn: too many arguments");
  }
  lua_pushvalue(L, object);
  for (int i = 3; i <= top; ++i)
    lua_pushvalue(L, i);
  process.first_arguments = 1 + std::max(top - 2, 0);
  lua_xmove(L, thread, process.first_arguments);
  return 1;
}

// A turn must be ended by the process's own coroutine: inside a coroutine that the script created,
// a yield would end that one instead.
void check_own_thread(ScriptState &state, lua_State *L, const char *what) {
  if (!state.running || state.running->thread != L || !lua_isyieldable(L)) {
    throw HostError(std::string(what) + " must be called by the process's own code, not inside "
                                        "a coroutine of its own or a library's callback");
  }
}

int end_turn(lua_State *L) {
  check_own_thread(state_of(L), L, "frame()");
  return 0;
}

int frame(lua_State *L) {
  guarded<end_turn>(L);
  return lua_yield(L, 0);
}

int check_quit(lua_State *L) {
  check_own_thread(state_of(L), L, "quit()");
  return 0;
}

int quit(lua_State *L) {
  guarded<check_quit>(L);
  state_of(L).quit = true;
  return lua_yield(L, 0);
}

int kill_other(lua_State *L) {
  ScriptState &state = state_of(L);
  ScriptProcess *process = find_process(state, L, 1);
  lua_settop(L, 0);
  if (!process) return 0;
  if (process == state.running) check_own_thread(state, L, "kill() of the running process");
  end_process(state, *process);
  return 0;
}

// For a process that kills itself the call doesn't return.
int kill(lua_State *L) {
  guarded<kill_other>(L);
  const ScriptState &state = state_of(L);
  return state.running && !state.running->process ? lua_yield(L, 0) : 0;
}

template <std::int32_t status> int set_status(lua_State *L) {
  ScriptState &state = state_of(L);
  if (const ScriptProcess *process = find_process(state, L, 1)) process->process->status = status;
  return 0;
}

int alive(lua_State *L) {
  ScriptState &state = state_of(L);
  lua_pushboolean(L, find_process(state, L, 1) != nullptr);
  return 1;
}

int process_of(lua_State *L) {
  ScriptState &state = state_of(L);
  if (const ScriptProcess *process = find_process(state, L, 1))
    push_object(L, *process);
  else
    lua_pushnil(L);
  return 1;
}

int type_of(lua_State *L) {
  ScriptState &state = state_of(L);
  if (to_object(L, 1)) {
    lua_getfield(L, 1, "type");
    return 1;
  }
  luaL_checktype(L, 1, LUA_TFUNCTION);
  lua_pushinteger(L, type_number(state, L, 1));
  return 1;
}

int seed(lua_State *L) {
  const std::int32_t value = check_word(L, 1, "seed");
  lua_getglobal(L, "math");
  lua_getfield(L, -1, "randomseed");
  lua_pushinteger(L, value);
  lua_call(L, 1, 0);
  return 0;
}

constexpr luaL_Reg methods[] = {
    {"kill", kill},
    {"sleep", guarded<set_status<process_asleep>>},
    {"wake", guarded<set_status<process_running>>},
    {"freeze", guarded<set_status<process_frozen>>},
    {"alive", guarded<alive>},
    {nullptr, nullptr},
};
constexpr luaL_Reg functions[] = {
    {"spawn", guarded<spawn>},
    {"frame", frame},
    {"quit", quit},
    {"process", guarded<process_of>},
    {"type_of", guarded<type_of>},
    {"seed", guarded<seed>},
    {nullptr, nullptr},
};

// ---- Running -----------------------------------------------------------------------------------

// The message of the error on top of the coroutine's stack, with its traceback.
std::string failure(lua_State *L, lua_State *thread) {
  // An error value that isn't a string doesn't contain its position.
  std::string message = lua_isstring(thread, -1) ? std::string() : where(thread);
  // Protected, since the value may have a __tostring of its own.
  lua_pushcfunction(L, [](lua_State *state) {
    luaL_tolstring(state, 1, nullptr);
    return 1;
  });
  lua_pushvalue(thread, -1);
  lua_xmove(thread, L, 1);
  lua_pcall(L, 1, 1, 0);
  const char *text = lua_tostring(L, -1);
  message += text ? text : "an error value that can't be shown";
  message = with_hint(state_of(L), std::move(message));
  luaL_traceback(L, thread, message.c_str(), 0);
  std::string result = lua_tostring(L, -1);
  lua_pop(L, 2);
  return result;
}

void run_turn(ScriptState &state, ScriptProcess &process) {
  state.running = &process;
  state.host.processes().current = process.process;
  enter_thread(state, process.thread);
  int results = 0;
  const int status =
      lua_resume(process.thread, state.L, std::exchange(process.first_arguments, 0), &results);
  enter_thread(state, nullptr);
  state.running = nullptr;
  state.host.processes().current = nullptr;
  if (status != LUA_YIELD && status != LUA_OK) throw ScriptError(failure(state.L, process.thread));
  if (status == LUA_OK && process.process) {
    end_process(state, process);
    return;
  }
  lua_pop(process.thread, results);
  if (!process.process) return;
  const orb_locals &locals = *process.process->locals;
  const ScriptState::Picture picture{locals.file, locals.graph};
  if (picture.graph != 0 && locals.visible > 0 && drawable_slot(state, picture.graph) != picture)
    look_at_picture(state, process);
}

// Removes ended processes, and closes and releases their coroutines. Closing runs to-be-closed
// variables, which may spawn, so the list is updated first.
void sweep(ScriptState &state) {
  const auto ended = std::stable_partition(
      state.order.begin(), state.order.end(),
      [](const std::unique_ptr<ScriptProcess> &process) { return process->process != nullptr; });
  std::vector<std::unique_ptr<ScriptProcess>> closing(std::make_move_iterator(ended),
                                                      std::make_move_iterator(state.order.end()));
  state.order.erase(ended, state.order.end());
  for (const auto &process : closing) {
    lua_resetthread(process->thread);
    luaL_unref(state.L, LUA_REGISTRYINDEX, process->thread_reference);
    luaL_unref(state.L, LUA_REGISTRYINDEX, process->object_reference);
  }
}

} // namespace

ScriptProcess *find_live(const ScriptState &state, lua_State *L, int index) {
  const orb_process *process = live_process(state, L, index);
  return process ? owner(process) : nullptr;
}

void check_room(const ScriptState &state) {
  if (state.host.processes().size() >= state.options.most_processes)
    throw HostError("too many processes");
}

void set_locals(ScriptState &state, lua_State *L, ScriptProcess &process, int object, int table) {
  lua_pushcfunction(L, set_fields);
  lua_pushvalue(L, object);
  lua_pushvalue(L, table);
  if (lua_pcall(L, 2, 0, 0) == LUA_OK) return;
  end_process(state, process); // leaves no half-made process
  lua_error(L);
}

void open_process(ScriptState &state, lua_State *L, ScriptProcess &fresh, std::int32_t type) {
  auto *object = static_cast<ProcessObject *>(lua_newuserdatauv(L, sizeof(ProcessObject), 1));
  *object = {};
  push_process_metatable(L);
  lua_setmetatable(L, -2);
  lua_pushvalue(L, -1);
  fresh.object_reference = luaL_ref(L, LUA_REGISTRYINDEX);
  fresh.process = state.host.spawn(type);
  fresh.process->host7[0] = reinterpret_cast<std::uintptr_t>(&fresh);
  *object = {ProcessList::id(fresh.process), fresh.process->host0};
  fresh.object = object;
  state.live_objects.set(object, object->id);
}

ScriptProcess &make_process(ScriptState &state, lua_State *L, std::int32_t type) {
  check_room(state);
  auto fresh = std::make_unique<ScriptProcess>();
  fresh->thread = lua_newthread(L);
  lua_pushvalue(L, -2);
  lua_xmove(L, fresh->thread, 1);
  fresh->thread_reference = luaL_ref(L, LUA_REGISTRYINDEX);
  lua_pop(L, 1); // the function
  open_process(state, L, *fresh, type);
  state.order.push_back(std::move(fresh));
  return *state.order.back();
}

std::int32_t type_number(ScriptState &state, lua_State *L, int index) {
  index = lua_absindex(L, index);
  lua_rawgetp(L, LUA_REGISTRYINDEX, &types_key);
  lua_pushvalue(L, index);
  if (lua_rawget(L, -2) != LUA_TNUMBER) {
    lua_pop(L, 1);
    lua_pushinteger(L, ++state.types);
    lua_pushvalue(L, index);
    lua_pushvalue(L, -2);
    lua_rawset(L, -4);
  }
  const auto type = static_cast<std::int32_t>(lua_tointeger(L, -1));
  lua_pop(L, 2);
  return type;
}

void end_process(ScriptState &state, ScriptProcess &process) {
  if (!process.process) return;
  state.live_objects.erase(process.object);
  state.host.kill(process.process);
  process.process = nullptr;
}

bool is_process(lua_State *L, int index, std::int32_t &id) {
  id = state_of(L).live_objects.find(lua_touserdata(L, index));
  if (id != AddressTable::none) return true;
  const ProcessObject *object = to_object(L, index); // of a process that has ended
  if (object) id = object->id;
  return object != nullptr;
}

void run_turns(ScriptState &state) {
  // By index, since processes may spawn others.
  bool ended = false;
  state.drawable = {};
  for (std::size_t i = 0; i < state.order.size() && !state.quit && !state.interrupted; ++i) {
    ScriptProcess &process = *state.order[i];
    if (process.process && process.process->status == process_running) run_turn(state, process);
  }
  tell_undrawn(state);
  for (const auto &process : state.order)
    ended |= process->process == nullptr;
  if (ended) sweep(state);
}

void push_process_metatable(lua_State *L) {
  lua_rawgetp(L, LUA_REGISTRYINDEX, &metatable_key);
}

void open_processes(ScriptState &state) {
  lua_State *L = state.L;
  // Weak keys: a function that is collected gives up its type number.
  lua_newtable(L);
  lua_newtable(L);
  lua_pushliteral(L, "k");
  lua_setfield(L, -2, "__mode");
  lua_setmetatable(L, -2);
  lua_rawsetp(L, LUA_REGISTRYINDEX, &types_key);

  for (const Declaration &local : state.host.locals().declarations()) {
    if (local.kind != Declaration::Kind::variable) continue;
    state.process_members.add(L, local.name,
                              local.name == "xgraph" ? std::int32_t{member_xgraph}
                                                     : static_cast<std::int32_t>(local.word));
  }
  state.process_members.add(L, "id", member_id);
  state.process_members.add(L, "type", member_type);
  for (const luaL_Reg *entry = methods; entry->name; ++entry)
    state.process_members.add(L, entry->name, member_method);

  lua_newtable(L); // the metatable
  luaL_newlib(L, methods);
  lua_pushcclosure(L, guarded<process_index>, 1);
  lua_setfield(L, -2, "__index");
  lua_pushcfunction(L, guarded<process_assign>);
  lua_setfield(L, -2, "__newindex");
  lua_pushcfunction(L, guarded<process_text>);
  lua_setfield(L, -2, "__tostring");
  lua_pushliteral(L, "process");
  lua_setfield(L, -2, "__name");
  lua_pushboolean(L, 0);
  lua_setfield(L, -2, "__metatable");
  state.process_metatable = lua_topointer(L, -1);
  lua_rawsetp(L, LUA_REGISTRYINDEX, &metatable_key);

  lua_pushglobaltable(L);
  luaL_setfuncs(L, methods, 0);
  luaL_setfuncs(L, functions, 0);
  lua_pop(L, 1);
}

} // namespace orbhost
