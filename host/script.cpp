#include "host/script.h"

#include "host/diagnosis.h"
#include "host/script_state.h"

#include <filesystem>

namespace orbhost {
namespace {

void set_arguments(ScriptState &state, const std::string &name) {
  lua_State *L = state.L;
  lua_newtable(L);
  lua_pushlstring(L, name.data(), name.size());
  lua_rawseti(L, -2, 0);
  lua_Integer n = 0;
  for (const std::string &argument : state.options.arguments) {
    lua_pushlstring(L, argument.data(), argument.size());
    lua_rawseti(L, -2, ++n);
  }
  lua_setglobal(L, "arg");
}

// `require` finds modules beside the script, then in a folder lib beside the script's folder,
// before those of the system.
void set_module_path(lua_State *L, const std::string &folder) {
  lua_getglobal(L, "package");
  lua_getfield(L, -1, "path");
  const std::string path = folder + "/?.lua;" + folder + "/../lib/?.lua;" + lua_tostring(L, -1);
  lua_pushlstring(L, path.data(), path.size());
  lua_setfield(L, -3, "path");
  lua_pop(L, 2);
}

void set_seed(ScriptState &state) {
  lua_getglobal(state.L, "seed");
  lua_pushinteger(state.L, state.options.seed);
  lua_call(state.L, 1, 0);
}

// Pops the compiled chunk (or the message) and creates the main process.
void start(ScriptState &state, int status, const std::string &name) {
  lua_State *L = state.L;
  if (status != LUA_OK) {
    const std::string message = lua_tostring(L, -1);
    lua_pop(L, 1);
    throw ScriptError(message);
  }
  set_arguments(state, name);
  const std::int32_t type = type_number(state, L, -1);
  ScriptProcess &main = make_process(state, L, type);
  lua_setglobal(L, "main");
  for (const std::string &argument : state.options.arguments) {
    luaL_checkstack(main.thread, 1, "script arguments");
    lua_pushlstring(main.thread, argument.data(), argument.size());
  }
  main.first_arguments = static_cast<int>(state.options.arguments.size());
}

} // namespace

std::string where(lua_State *L) {
  lua_Debug frame;
  for (int level = 0; lua_getstack(L, level, &frame); ++level) {
    lua_getinfo(L, "Sl", &frame);
    if (frame.currentline > 0) {
      return std::string(frame.short_src) + ":" + std::to_string(frame.currentline) + ": ";
    }
  }
  return {};
}

void push_message(lua_State *L, const std::exception &error) {
  const std::string message = where(L) + error.what();
  lua_settop(L, 0); // room for one more, whatever the function left
  lua_pushlstring(L, message.data(), message.size());
}

Script::Script(Host &host, ScriptOptions options)
    : state_(std::make_unique<ScriptState>(host, std::move(options))) {
  lua_State *L = state_->memory.new_state();
  state_->L = L;
  *static_cast<ScriptState **>(lua_getextraspace(L)) = state_.get();
  luaL_openlibs(L);
  open_functions(*state_);
  open_processes(*state_);
  open_texts(*state_);
  open_files(*state_);
  open_input(*state_);
  open_clock(*state_);
  open_sound(*state_);
  open_chunks(*state_);
  open_interrupt(*state_);
  open_globals(*state_); // last: from here on, assigning a constant's name is an error
  set_seed(*state_);
  host.on_error = [state = state_.get()](const ErrorReport &report) {
    if (state->in_call) {
      state->call_reports.push_back(report);
      return;
    }
    // From a hook, so no line of the script belongs to it.
    const std::string text = diagnose(state->host, report);
    if (!state->options.strict)
      state->reports.tell(text);
    else if (state->frame_mistake.empty())
      state->frame_mistake = text;
  };
}

Script::~Script() {
  for (const auto &process : state_->order)
    end_process(*state_, *process);
  close_texts(*state_);
  state_->host.on_error = nullptr;
  lua_close(state_->L);
}

void Script::load_file(const std::string &path) {
  const std::filesystem::path folder = std::filesystem::path(path).parent_path();
  state_->host.files().set_folder(folder.empty() ? std::filesystem::path(".") : folder);
  set_module_path(state_->L, folder.empty() ? "." : folder.string());
  start(*state_, load_chunk_file(*state_, state_->L, path), path);
}

void Script::load_text(const std::string &text, const std::string &name) {
  start(*state_, load_chunk(*state_, state_->L, text, "@" + name), name);
}

lua_State *Script::lua() const {
  return state_->L;
}

bool Script::frame() {
  ScriptState &state = *state_;
  state.host.begin_frame();
  if (state.host.input().quit) state.quit = true;
  run_turns(state);
  show_texts(state);
  state.host.end_frame();
  if (!state.frame_mistake.empty()) throw ScriptError(state.frame_mistake);
  return !state.quit && !state.interrupted && !state.order.empty();
}

} // namespace orbhost
