// Files: names in Lua's own functions lead where those of the module do, and there are some
// functions that Lua's library lacks.
#include "host/script_state.h"

#include <algorithm>
#include <filesystem>
#include <system_error>

namespace orbhost {
namespace {

namespace fs = std::filesystem;

std::vector<std::string> file_names(const std::string &folder, std::error_code &error) {
  std::vector<std::string> names;
  fs::directory_iterator entry(folder, error);
  while (!error && entry != fs::directory_iterator()) {
    std::error_code ignored; // entries that can't be examined are left out
    if (entry->is_regular_file(ignored)) names.push_back(entry->path().filename().string());
    entry.increment(error);
  }
  std::sort(names.begin(), names.end());
  return names;
}

// list_folder(name): the names of the files in a folder, sorted by bytes, without its subfolders;
// nil and a message if the folder can't be read.
int list_folder(lua_State *L) {
  const char *name = luaL_checkstring(L, 1);
  const std::string folder = state_of(L).host.files().resolve(name, false).value_or("");
  std::error_code error;
  const std::vector<std::string> names = file_names(folder, error);
  if (error) {
    lua_pushnil(L);
    lua_pushfstring(L, "%s: %s", name, error.message().c_str());
    return 2;
  }
  lua_createtable(L, static_cast<int>(names.size()), 0);
  for (std::size_t i = 0; i < names.size(); ++i) {
    lua_pushlstring(L, names[i].data(), names[i].size());
    lua_rawseti(L, -2, static_cast<lua_Integer>(i) + 1);
  }
  return 1;
}

// save_folder(): the path of the folder for what the game saves.
int save_folder(lua_State *L) {
  const std::string path = state_of(L).saves.path();
  lua_pushlstring(L, path.data(), path.size());
  return 1;
}

// Replaces the name at `index`. What isn't a text, such as a file that is open, stays.
void place_name(lua_State *L, int index, bool writing) {
  if (!lua_isstring(L, index)) return;
  const char *path = state_of(L).host.files().path(lua_tostring(L, index), writing);
  if (!path) return;
  lua_pushstring(L, path);
  lua_replace(L, index);
}

void place_read(lua_State *L) { place_name(L, 1, false); }

void place_written(lua_State *L) { place_name(L, 1, true); }

void place_by_mode(lua_State *L) {
  const char *mode = luaL_optstring(L, 2, "r");
  place_name(L, 1, *mode == 'w' || *mode == 'a');
}

// The old name isn't read, it leads where one would be.
void place_changed(lua_State *L) {
  if (!lua_isstring(L, 1)) return;
  const auto path = state_of(L).host.files().resolve(lua_tostring(L, 1), false);
  if (!path) return;
  lua_pushlstring(L, path->data(), path->size());
  lua_replace(L, 1);
}

void place_both(lua_State *L) {
  place_changed(L);
  place_name(L, 2, true);
}

// In place of a function of Lua's that takes a name. Upvalue 1: the function. It goes on in this
// call, so its messages tell the script's line, and files that dofile plays may end their turns.
template <void (*place)(lua_State *)> int with_place(lua_State *L) {
  place(L);
  return lua_tocfunction(L, lua_upvalueindex(1))(L);
}

struct FileFunction {
  const char *library, *name;
  lua_CFunction with_place;
};

constexpr FileFunction file_functions[] = {
    {LUA_GNAME, "dofile", guarded<with_place<place_read>>},
    {LUA_GNAME, "loadfile", guarded<with_place<place_read>>},
    {LUA_IOLIBNAME, "open", guarded<with_place<place_by_mode>>},
    {LUA_IOLIBNAME, "lines", guarded<with_place<place_read>>},
    {LUA_IOLIBNAME, "input", guarded<with_place<place_read>>},
    {LUA_IOLIBNAME, "output", guarded<with_place<place_written>>},
    {LUA_OSLIBNAME, "remove", guarded<with_place<place_changed>>},
    {LUA_OSLIBNAME, "rename", guarded<with_place<place_both>>},
};

} // namespace

void open_files(ScriptState &state) {
  lua_State *L = state.L;
  lua_register(L, "list_folder", guarded<list_folder>);
  lua_register(L, "save_folder", guarded<save_folder>);
  for (const FileFunction &function : file_functions) {
    lua_getglobal(L, function.library);
    lua_getfield(L, -1, function.name);
    lua_pushcclosure(L, function.with_place, 1);
    lua_setfield(L, -2, function.name);
    lua_pop(L, 1);
  }
}

} // namespace orbhost
