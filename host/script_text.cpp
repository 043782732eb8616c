// Texts: processes without a function, whose picture is a string. And fonts.
#include "host/diagnosis.h"
#include "host/script_arguments.h"
#include "host/script_state.h"
#include "host/text.h"

#include <algorithm>
#include <new>

namespace orbhost {

namespace {

// A text's fields besides those of all processes. What a script assigns to them is kept with its
// own fields too, where reading them finds it.
enum TextMember : std::int32_t {
  member_text,
  member_colour,
  member_font,
  member_align,
  member_fixed
};

struct ScriptText : ScriptProcess {
  explicit ScriptText(Host &host) : graph(host) {}
  std::string text;
  TextLook look;
  TextGraph graph;
};

} // namespace

struct Texts {
  NameTable members;
  std::shared_ptr<Font> standard_font; // the player's own, from its first use on
  const void *font_metatable = nullptr;
  // Apart from the other processes: they have no turns, and play doesn't wait for them. Ended ones
  // are swept at the end of the turns.
  std::vector<std::unique_ptr<ScriptText>> living;
};

namespace {

// Registry keys, by address.
const char text_metatable_key = 0;
const char font_metatable_key = 0;

constexpr std::size_t largest_file = 64 << 20;
constexpr int largest_size = 1000;

constexpr const char *write_form = "write(text, locals)";
constexpr const char *graph_form = "text_graph(text, look)";
constexpr const char *font_form = "font_load(file, size)";

using FontPointer = std::shared_ptr<Font>;

// ---- Arguments ---------------------------------------------------------------------------------

FontPointer standard_font(ScriptState &state) {
  FontPointer &font = state.texts->standard_font;
  if (!font) font = built_in_font();
  return font;
}

// A font of font_load's, or the player's own for nil.
FontPointer check_font(lua_State *L, int index, const std::string &what) {
  ScriptState &state = state_of(L);
  if (lua_isnoneornil(L, index)) return standard_font(state);
  const void *block = userdata_block(L, index, state.texts->font_metatable);
  if (!block) throw_wrong(L, index, what, "a font");
  return *static_cast<const FontPointer *>(block);
}

// A packed colour, or a table of red, green and blue; white for nil.
TextColour check_colour(lua_State *L, int index, const std::string &what) {
  const Host &host = state_of(L).host;
  TextColour colour;
  if (lua_istable(L, index)) {
    for (int i = 0; i < 3; ++i) {
      lua_rawgeti(L, index, i + 1);
      const std::int32_t component = check_word(L, -1, (what + "'s red, green or blue").c_str());
      colour.rgb[i] = std::clamp(component, 0, 255);
      lua_pop(L, 1);
    }
  } else if (!lua_isnil(L, index)) {
    if (lua_type(L, index) != LUA_TNUMBER)
      throw_wrong(L, index, what, "a colour: a number, or a table of red, green and blue");
    colour = unpack_colour(host, check_word(L, index, what.c_str()));
  }
  return colour;
}

Align check_align(lua_State *L, int index, const std::string &what) {
  if (lua_isnil(L, index)) return Align::left;
  const std::string name = check_text(L, index, what);
  if (name == "left") return Align::left;
  if (name == "centre" || name == "center") return Align::centre;
  if (name == "right") return Align::right;
  if (name == "middle") return Align::middle;
  throw HostError(what + R"( is ")" + name + R"(", not "left", "centre", "right" or "middle")");
}

// Sets one field of a look to the value at `index`; false where it has none of that number.
bool set_look(lua_State *L, int index, std::int32_t member, TextLook &look) {
  switch (member) {
  case member_colour: look.colour = check_colour(L, index, "colour"); return true;
  case member_font: look.font = check_font(L, index, "font"); return true;
  case member_align: look.align = check_align(L, index, "align"); return true;
  default: return false;
  }
}

// ---- Texts -------------------------------------------------------------------------------------

void draw(ScriptText &text, const std::string &string, const TextLook &look) {
  text.graph.draw(string, look);
  text.process->locals->graph = text.graph.code();
}

// Stack: object, name, value.
int text_assign(lua_State *L) {
  ScriptState &state = state_of(L);
  const std::int32_t member = state.texts->members.find(L, 2);
  if (member == NameTable::none) return process_assign(L);
  const std::string name = lua_tostring(L, 2);
  auto *const text = static_cast<ScriptText *>(find_live(state, L, 1));
  if (!text) throw HostError(name + ": the text has ended");
  if (member == member_fixed)
    throw HostError(name + " of a text can't be assigned: it shows its text");
  std::string string = text->text;
  TextLook look = text->look;
  if (!set_look(L, 3, member, look)) string = check_text(L, 3, "text");
  const bool first = text->graph.code() == 0; // still among the locals of write()
  if (first ? member == member_text : string != text->text || look != text->look)
    draw(*text, string, look);
  text->text = std::move(string);
  text->look = std::move(look);
  return process_assign(L);
}

// write(text, locals): a new text, by its object.
int write(lua_State *L) {
  ScriptState &state = state_of(L);
  check_text(L, 1, parameter(write_form, "text"));
  if (!lua_isnoneornil(L, 2) && !lua_istable(L, 2))
    throw_wrong(L, 2, parameter(write_form, "locals"), "a table");
  check_room(state);
  lua_settop(L, 2);
  lua_Debug self; // all texts are of the type of this function
  lua_getstack(L, 0, &self);
  lua_getinfo(L, "f", &self);
  const std::int32_t type = type_number(state, L, -1);
  state.texts->living.push_back(std::make_unique<ScriptText>(state.host));
  ScriptText &text = *state.texts->living.back();
  text.look.font = standard_font(state);
  open_process(state, L, text, type);
  lua_rawgetp(L, LUA_REGISTRYINDEX, &text_metatable_key);
  lua_setmetatable(L, -2);
  const int object = lua_gettop(L);
  if (lua_istable(L, 2)) set_locals(state, L, text, object, 2);
  lua_createtable(L, 0, 1); // the text comes last, so that it is drawn once
  lua_pushvalue(L, 1);
  lua_setfield(L, -2, "text");
  set_locals(state, L, text, object, object + 1);
  lua_settop(L, object);
  return 1;
}

// text_graph(text, look): a graph of the script's own.
int text_graph(lua_State *L) {
  ScriptState &state = state_of(L);
  const std::string text = check_text(L, 1, parameter(graph_form, "text"));
  if (!lua_isnoneornil(L, 2) && !lua_istable(L, 2))
    throw_wrong(L, 2, parameter(graph_form, "look"), "a table");
  lua_settop(L, 2);
  TextLook look;
  look.font = standard_font(state);
  if (lua_istable(L, 2)) {
    for (lua_pushnil(L); lua_next(L, 2); lua_pop(L, 1)) {
      if (!set_look(L, 4, state.texts->members.find(L, 3), look)) {
        throw HostError(parameter(graph_form, "look") + " has a field " +
                        (lua_type(L, 3) == LUA_TSTRING ? lua_tostring(L, 3) : luaL_typename(L, 3)) +
                        "; it takes font, colour and align");
      }
    }
  }
  TextGraph graph(state.host);
  graph.draw(text, look);
  lua_pushinteger(L, graph.release());
  return 1;
}

// text_width(text, font) and text_height(text, font), in pixels.
int width_of(lua_State *L) {
  const std::string text = check_text(L, 1, "text_width(text, font): text");
  lua_pushinteger(L, text_width(text, *check_font(L, 2, "text_width(text, font): font")));
  return 1;
}

int height_of(lua_State *L) {
  const std::string text = check_text(L, 1, "text_height(text, font): text");
  lua_pushinteger(L, text_height(text, *check_font(L, 2, "text_height(text, font): font")));
  return 1;
}

// ---- Fonts -------------------------------------------------------------------------------------

std::vector<std::uint8_t> read_file(Host &host, const std::string &name) {
  Files &files = host.files();
  void *const handle = files.open(name.c_str(), ORB_OPEN_READ, nullptr);
  if (!handle) throw FontError(missing_file(host, name));
  std::vector<std::uint8_t> bytes;
  std::size_t count = 0;
  do {
    bytes.resize(bytes.size() + 65536);
    count = files.find(handle)->read(bytes.data() + bytes.size() - 65536, 65536, false);
    bytes.resize(bytes.size() - 65536 + count);
  } while (count > 0 && bytes.size() < largest_file);
  files.close(handle);
  return bytes;
}

int font_load(lua_State *L) {
  const std::string name = check_text(L, 1, parameter(font_form, "file"));
  std::int32_t size = 0;
  if (!lua_isnoneornil(L, 2)) {
    size = check_number(L, 2, parameter(font_form, "size"));
    if (size < 1 || size > largest_size)
      throw HostError(parameter(font_form, "size") + " is " + std::to_string(size) + ", not 1 to " +
                      std::to_string(largest_size));
  }
  FontPointer font;
  try {
    font = read_font(read_file(state_of(L).host, name), size);
  } catch (const FontError &error) {
    throw HostError(std::string(font_form) + ": " + name + ": " + error.what());
  }
  void *const block = lua_newuserdatauv(L, sizeof(FontPointer), 0);
  new (block) FontPointer(std::move(font));
  lua_rawgetp(L, LUA_REGISTRYINDEX, &font_metatable_key);
  lua_setmetatable(L, -2);
  return 1;
}

int release_font(lua_State *L) {
  static_cast<FontPointer *>(lua_touserdata(L, 1))->~FontPointer();
  return 0;
}

void make_font_metatable(ScriptState &state) {
  lua_State *L = state.L;
  lua_newtable(L);
  lua_pushcfunction(L, release_font);
  lua_setfield(L, -2, "__gc");
  lua_pushliteral(L, "font");
  lua_setfield(L, -2, "__name");
  lua_pushboolean(L, 0);
  lua_setfield(L, -2, "__metatable");
  state.texts->font_metatable = lua_topointer(L, -1);
  lua_rawsetp(L, LUA_REGISTRYINDEX, &font_metatable_key);
}

// That of a process, with an assignment of its own.
void make_text_metatable(ScriptState &state) {
  lua_State *L = state.L;
  lua_newtable(L);
  push_process_metatable(L);
  for (lua_pushnil(L); lua_next(L, -2); lua_pop(L, 1)) {
    lua_pushvalue(L, -2);
    lua_pushvalue(L, -2);
    lua_rawset(L, -6);
  }
  lua_pop(L, 1);
  lua_pushcfunction(L, guarded<text_assign>);
  lua_setfield(L, -2, "__newindex");
  state.text_metatable = lua_topointer(L, -1);
  lua_rawsetp(L, LUA_REGISTRYINDEX, &text_metatable_key);
}

} // namespace

void show_texts(ScriptState &state) {
  std::erase_if(state.texts->living, [&](const std::unique_ptr<ScriptText> &text) {
    if (!text->process) luaL_unref(state.L, LUA_REGISTRYINDEX, text->object_reference);
    return !text->process;
  });
  try {
    for (const auto &text : state.texts->living) {
      if (text->graph.is_stale(text->look)) draw(*text, text->text, text->look);
    }
  } catch (const HostError &error) {
    throw ScriptError(error.what());
  }
}

void close_texts(ScriptState &state) {
  for (const auto &text : state.texts->living)
    end_process(state, *text);
  state.texts->living.clear();
}

void open_texts(ScriptState &state) {
  lua_State *L = state.L;
  state.texts = std::make_shared<Texts>();
  NameTable &members = state.texts->members;
  members.add(L, "text", member_text);
  members.add(L, "colour", member_colour);
  members.add(L, "color", member_colour);
  members.add(L, "font", member_font);
  members.add(L, "align", member_align);
  for (const char *name : {"file", "graph", "xgraph"})
    members.add(L, name, member_fixed);
  make_font_metatable(state);
  make_text_metatable(state);
  lua_register(L, "write", guarded<write>);
  lua_register(L, "text_graph", guarded<text_graph>);
  lua_register(L, "text_width", guarded<width_of>);
  lua_register(L, "text_height", guarded<height_of>);
  lua_register(L, "font_load", guarded<font_load>);
}

} // namespace orbhost
