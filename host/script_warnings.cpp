// Mistakes that neither Lua nor the module tells of: failures without a report, pictures that
// aren't drawn, names that are misspelt. Looked for where it costs nothing, or once.
#include "host/reference.h"
#include "host/script_state.h"

#include <strings.h>

#include <algorithm>

namespace orbhost {
namespace {

constexpr std::size_t names_at_once = 190; // below Lua's 200 locals of a function

// Whether a name looks like a local's, misspelt: with other capitals, or with two neighbours
// swapped; and in longer names with one letter missing, added or wrong. Not at either end, where
// scripts tell names of their own from it: tile and file, size_z, angle2.
bool is_slip(std::string_view name, std::string_view local) {
  if (local.size() < 4 || name == local) return false;
  if (name.size() == local.size() && strncasecmp(name.data(), local.data(), name.size()) == 0)
    return true;
  const auto [left, other_left] =
      std::mismatch(name.begin(), name.end(), local.begin(), local.end());
  const auto head = static_cast<std::size_t>(left - name.begin());
  const std::size_t most = std::min(name.size(), local.size()) - head;
  std::size_t tail = 0;
  while (tail < most && name[name.size() - 1 - tail] == local[local.size() - 1 - tail])
    ++tail;
  const std::string_view a = name.substr(head, name.size() - head - tail);
  const std::string_view b = local.substr(head, local.size() - head - tail);
  if (a.size() == 2 && b.size() == 2) return a[0] == b[1] && a[1] == b[0];
  return local.size() >= 5 && head > 0 && tail > 0 && a.size() <= 1 && b.size() <= 1;
}

// The local that a field's name seems to mean, or nothing.
std::string meant_local(const ScriptState &state, std::string_view field) {
  for (const Declaration &local : state.host.locals().declarations())
    if (is_slip(field, local.name)) return local.name;
  return {};
}

// The part of a message of Lua's between two texts, as in "(global 'x')".
std::string between(const std::string &message, std::string_view from, std::string_view to) {
  const std::size_t at = message.find(from);
  if (at == std::string::npos) return {};
  const std::size_t begin = at + from.size(), end = message.find(to, begin);
  return end == std::string::npos ? std::string() : message.substr(begin, end - begin);
}

const orb_map_slot *picture(const ScriptState &state, const orb_locals &locals) {
  const orb_map_slot *slot = state.host.device()->GetMAP(locals.file, locals.graph);
  return slot && slot->surface ? slot : nullptr;
}

bool is_drawable(const ScriptState &state, const orb_locals &locals) {
  const orb_map_slot *slot = picture(state, locals);
  return slot && slot->surface->depth == state.host.screen()->depth;
}

// Whether a form's result is nothing but success or failure, or what was made. What asks about
// processes may well ask about one that has ended.
bool tells_failure(const ReferencePlace &place, const std::string &result) {
  constexpr std::string_view names[] = {"ok", "drawn", "graph", "id", "index"};
  return place.family->file != "motion.md" && place.family->file != "points.md" &&
         place.family->file != "regions.md" && std::ranges::count(names, result) > 0;
}

// The first argument that the reference calls a colour, if it has more than 16 bits.
std::string wide_colour(const ReferenceEntry &entry, const ArgumentWord *words, std::size_t count) {
  for (const ReferenceForm &form : entry.forms) {
    if (form.parameters.size() != count) continue;
    for (std::size_t i = 0; i < count; ++i)
      if (form.parameters[i] == "colour" && static_cast<std::uint32_t>(words[i].word) > 65535)
        return "colour " + std::to_string(words[i].word) +
               " was packed for another depth: call rgb after mode_set";
  }
  return {};
}

std::string failure_cause(const ScriptState &state, const std::string &function,
                          const ReferencePlace &place, const ArgumentWord *words,
                          std::size_t count) {
  const int depth = state.host.screen() ? state.host.screen()->depth : 0;
  if (function == "mode_set") return "there is no such mode";
  if (depth == 0) return "no mode is set; call mode_set first";
  if (place.family->file == "palette.md")
    return depth == 8
               ? "an index outside the palette, 0 to 255, or no name"
               : "only modes of 8 bits have a palette, this one has " + std::to_string(depth);
  if (depth == 16) {
    const std::string colour = wide_colour(*place.entry, words, count);
    if (!colour.empty()) return colour;
  }
  return "an argument is out of range, or a graph of another depth (orbplay --help " + function +
         ")";
}

} // namespace

void warn(ScriptState &state, lua_State *L, const std::string &text) {
  if (state.options.strict) throw HostError(text);
  state.reports.tell(where(L) + text);
}

void judge_call(ScriptState &state, lua_State *L, const Function &form, const ArgumentWord *words,
                std::int32_t result) {
  if (form.result != ResultType::integer) return;
  const ReferencePlace *place = Reference::built_in().find(form.name);
  if (!place || place->entry->forms.empty() || place->entry->forms[0].results.empty()) return;
  if (result == 0 ? form.name != "mode_set"
                  : !tells_failure(*place, place->entry->forms[0].results[0]))
    return;
  warn(state, L,
       form.name + ": " + failure_cause(state, form.name, *place, words, form.arguments.size()));
}

void judge_field(ScriptState &state, lua_State *L) {
  const std::string name = lua_tostring(L, 2);
  const std::string local = meant_local(state, name);
  if (!local.empty())
    warn(state, L, name + " is a field of the script's own; did you mean " + local + "?");
}

void look_at_picture(ScriptState &state, ScriptProcess &process) {
  const orb_locals &locals = *process.process->locals;
  if (!state.host.screen() || locals.xgraph) return;
  if (is_drawable(state, locals))
    drawable_slot(state, locals.graph) = {locals.file, locals.graph};
  else
    state.undrawn.push_back({&process, where(process.thread)});
}

void tell_undrawn(ScriptState &state) {
  for (const auto &[process, line] : std::exchange(state.undrawn, {})) {
    if (!process->process || process->process->status == process_asleep) continue;
    const orb_locals &locals = *process->process->locals;
    if (locals.graph == 0 || is_drawable(state, locals)) continue; // loaded later in this frame
    const orb_map_slot *slot = picture(state, locals);
    std::string text = line + "process not drawn: graph " + std::to_string(locals.graph) +
                       " of file " + std::to_string(locals.file);
    if (locals.graph == failure_value)
      text += " is the result of a call that failed";
    else if (!slot)
      text += " isn't loaded";
    else
      text += " has " + std::to_string(slot->surface->depth) + " bits, the mode " +
              std::to_string(state.host.screen()->depth);
    if (!state.options.strict) // once for a loop, whatever its graphs
      state.reports.tell(text, line + std::to_string(process->process->type));
    else if (state.frame_mistake.empty())
      state.frame_mistake = text;
  }
}

std::string with_hint(const ScriptState &state, std::string message) {
  std::string meant;
  if (const std::string global = between(message, "a nil value (global '", "')"); !global.empty()) {
    const auto near = Reference::built_in().nearest(global, 1);
    if (!near.empty()) meant = near[0];
  } else {
    meant = meant_local(state, between(message, "a nil value (field '", "')"));
  }
  return meant.empty() ? message : message + "; did you mean " + meant + "?";
}

// Lua's own compiler finds assignments to the functions: as with constants, the text is compiled
// below a line that declares them as such, and isn't run.
void warn_of_overwriting(ScriptState &state, std::string_view text,
                         const std::function<std::string(const std::string &)> &compile) {
  if (state.function_prologues.empty()) {
    std::size_t count = 0;
    lua_State *L = state.L;
    lua_pushglobaltable(L);
    for (lua_pushnil(L); lua_next(L, -2); lua_pop(L, 1)) {
      if (lua_type(L, -2) != LUA_TSTRING || !lua_iscfunction(L, -1)) continue;
      const char *name = lua_tostring(L, -2);
      if (!Reference::built_in().find(name)) continue; // Lua's own
      if (count++ % names_at_once == 0) state.function_prologues.emplace_back();
      state.function_prologues.back() += std::string("local ") + name + " <const> = nil; ";
    }
    lua_pop(L, 1);
  }
  for (const std::string &prologue : state.function_prologues) {
    const std::string mistake = compile(prologue + "return function(...) ");
    const std::string name = between(mistake, "attempt to assign to const variable '", "'");
    if (name.empty()) continue;
    // "game.lua:3: attempt ..."; the line is that behind the end of a "function name()".
    std::string place = mistake.substr(0, mistake.find("attempt"));
    if (const std::size_t head = text.find("function " + name + "("); head != std::string::npos) {
      place.resize(place.rfind(':', place.size() - 3) + 1);
      place += std::to_string(1 + std::ranges::count(text.substr(0, head), '\n')) + ": ";
    }
    const std::string warning = place + name + " is a function of the player's; this replaces it";
    if (state.options.strict) throw ScriptError(warning);
    state.reports.tell(warning);
  }
}

} // namespace orbhost
