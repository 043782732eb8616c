// File functions that Lua's library lacks.
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

} // namespace

void open_files(ScriptState &state) {
  lua_register(state.L, "list_folder", guarded<list_folder>);
}

} // namespace orbhost
