// Script texts: how a chunk is compiled, so that constants cost nothing.
//
// Lua folds a `local name <const> = 5` into the code that uses the name, and refuses to compile an
// assignment to it. So a text is compiled inside a function, below a line that declares the
// engine's constants in this way:
//
//   local fx_solid <const> = 0; ... return function(...) <the text>
//   end
//
// What goes by other ways (`_G.fx_solid`, a text given to load) finds them in the engine's table,
// where assigning them is an error too.
#include "host/script_state.h"

#include <algorithm>
#include <cctype>
#include <fstream>
#include <span>

namespace orbhost {
namespace {

// Lua allows 200 locals in a function. What is beyond is looked up.
constexpr int most_folded = 199;

// A text in pieces, as lua_load reads it.
struct Pieces {
  std::span<const std::string_view> rest;

  static const char *read(lua_State *, void *data, std::size_t *size) {
    auto &rest = static_cast<Pieces *>(data)->rest;
    while (!rest.empty() && rest.front().empty())
      rest = rest.subspan(1);
    if (rest.empty()) return nullptr;
    const std::string_view piece = rest.front();
    rest = rest.subspan(1);
    *size = piece.size();
    return piece.data();
  }
};

int load_pieces(lua_State *L, std::span<const std::string_view> pieces, const std::string &name) {
  Pieces source{pieces};
  return lua_load(L, Pieces::read, &source, name.c_str(), "t");
}

// Whether a name can be declared in Lua: a word, and not one of Lua's own.
bool is_lua_name(lua_State *L, const std::string &name) {
  const auto in_word = [](unsigned char c) { return std::isalnum(c) || c == '_'; };
  if (!std::ranges::all_of(name, in_word)) return false;
  const std::string declaration = "local " + name;
  const int status = luaL_loadbufferx(L, declaration.data(), declaration.size(), "=", "t");
  lua_pop(L, 1);
  return status == LUA_OK;
}

std::string declare_constants(ScriptState &state) {
  std::string text;
  int left = most_folded;
  for (const Constant &constant : state.host.registration().constants) {
    if (left == 0) break;
    if (!is_lua_name(state.L, constant.name)) continue;
    text += "local " + constant.name + " <const> = " + std::to_string(constant.value) + "; ";
    --left;
  }
  return text + "return function(...) ";
}

// A mark of UTF-8 and a first line for the shell are no Lua; the line itself stays, for the numbers
// of those below.
std::string_view without_heading(std::string_view text) {
  constexpr std::string_view mark = "\xEF\xBB\xBF";
  if (text.starts_with(mark)) text.remove_prefix(mark.size());
  if (text.starts_with('#')) text.remove_prefix(std::min(text.find('\n'), text.size()));
  return text;
}

// In place of Lua's searcher for modules in Lua. Upvalue 1: the table `package`.
int search_module(lua_State *L) {
  const char *name = luaL_checkstring(L, 1);
  lua_getfield(L, lua_upvalueindex(1), "searchpath");
  lua_pushvalue(L, 1);
  lua_getfield(L, lua_upvalueindex(1), "path");
  lua_call(L, 2, 2);
  if (lua_isnil(L, -2)) return 1; // where it was looked for
  lua_pop(L, 1);
  const char *path = lua_tostring(L, -1);
  if (load_chunk_file(state_of(L), L, path) != LUA_OK) {
    throw HostError(std::string("error loading module '") + name + "' from file '" + path +
                    "':\n\t" + lua_tostring(L, -1));
  }
  lua_insert(L, -2); // the loader, then the file's name
  return 2;
}

} // namespace

int load_chunk(ScriptState &state, lua_State *L, std::string_view text, const std::string &name) {
  // Alone first: mistakes are told as those of this text, not of one with a line around it.
  const std::string_view alone[] = {text};
  const int status = load_pieces(L, alone, name);
  if (status != LUA_OK) return status;
  lua_pop(L, 1);
  const std::string_view with_constants[] = {state.prologue, text, "\nend"};
  const int folded = load_pieces(L, with_constants, name);
  if (folded != LUA_OK) return folded;
  warn_of_overwriting(state, text, [&](const std::string &prologue) {
    const std::string_view with_functions[] = {prologue, text, "\nend"};
    const int declared = load_pieces(L, with_functions, name);
    const std::string mistake = declared == LUA_OK ? "" : lua_tostring(L, -1);
    lua_pop(L, 1);
    return mistake;
  });
  return lua_pcall(L, 0, 1, 0);
}

int load_chunk_file(ScriptState &state, lua_State *L, const std::string &path) {
  state.host.files().note(path, false);
  std::string text;
  std::ifstream file(path, std::ios::binary);
  char part[4096];
  while (file.read(part, sizeof part), file.gcount() > 0)
    text.append(part, static_cast<std::size_t>(file.gcount()));
  if (!file.eof() || file.bad()) {
    lua_pushfstring(L, "%s: can't be read", path.c_str());
    return LUA_ERRFILE;
  }
  return load_chunk(state, L, without_heading(text), "@" + path);
}

void open_chunks(ScriptState &state) {
  lua_State *L = state.L;
  state.prologue = declare_constants(state);
  lua_getglobal(L, "package");
  lua_getfield(L, -1, "searchers");
  lua_pushvalue(L, -2);
  lua_pushcclosure(L, guarded<search_module>, 1);
  lua_rawseti(L, -2, 2);
  lua_pop(L, 2);
}

} // namespace orbhost
