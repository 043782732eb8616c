// Registered functions as Lua functions: choice of the form, arguments, results, reports.
#include "host/diagnosis.h"
#include "host/reference_help.h"
#include "host/script_state.h"

#include <algorithm>
#include <bit>
#include <cmath>
#include <cstring>
#include <unordered_map>

namespace orbhost {
namespace {

constexpr std::size_t most_elements = 1'000'000;

const char *kind_name(lua_State *L, int index) {
  std::int32_t id = 0;
  return is_process(L, index, id) ? "process" : luaL_typename(L, index);
}

// Reads 256 integers from 0 to 255.
std::vector<std::int32_t> read_indices(lua_State *L, int index, const std::string &where) {
  const std::string wanted = where + "a table of 256 integers 0 to 255 expected, got ";
  if (!lua_istable(L, index)) throw HostError(wanted + kind_name(L, index));
  std::vector<std::int32_t> indices(256);
  if (const auto length = lua_rawlen(L, index); length != indices.size())
    throw HostError(wanted + "one of " + std::to_string(length));
  for (std::size_t i = 0; i < indices.size(); ++i) {
    lua_rawgeti(L, index, static_cast<lua_Integer>(i) + 1);
    int is_whole = 0;
    const lua_Integer value = lua_tointegerx(L, -1, &is_whole);
    if (lua_type(L, -1) != LUA_TNUMBER || !is_whole || value < 0 || value > 255)
      throw HostError(wanted + "something else at element " + std::to_string(i + 1));
    indices[i] = static_cast<std::int32_t>(value);
    lua_pop(L, 1);
  }
  return indices;
}

// Reads three numbers for each colour; the argument before is the number of colours. The function
// refuses more than a palette has.
std::vector<std::int32_t> read_colours(lua_State *L, int index, const std::string &where) {
  const std::int32_t colours = check_word(L, index - 1, "argument");
  const std::size_t count = colours >= 0 && colours <= 256 ? 3 * std::size_t(colours) : 0;
  const std::string wanted =
      where + "a table of " + std::to_string(count) + " numbers expected, got ";
  if (!lua_istable(L, index)) throw HostError(wanted + kind_name(L, index));
  if (const auto length = lua_rawlen(L, index); length < count)
    throw HostError(wanted + "one of " + std::to_string(length));
  std::vector<std::int32_t> components(count + 1); // never empty: it needs an address
  for (std::size_t i = 0; i < count; ++i) {
    lua_rawgeti(L, index, static_cast<lua_Integer>(i) + 1);
    components[i] = check_word(L, -1, "table element");
    lua_pop(L, 1);
  }
  return components;
}

constexpr InputArray input_arrays[] = {
    {"convert_palette", 3, read_indices},
    {"map_convert_palette", 3, read_indices},
    {"palette_set_colors", 3, read_colours},
    {"palette_set_colours", 3, read_colours},
};

// Looks at each argument once; the script has given no more than there is room for.
void look_at_arguments(lua_State *L, GivenArgument *given, std::size_t count) {
  using Kind = GivenArgument::Kind;
  for (std::size_t i = 0; i < count; ++i) {
    const int index = static_cast<int>(i) + 1;
    GivenArgument &argument = given[i];
    if (lua_isinteger(L, index)) { // most are
      argument = {Kind::number, true, integer_word(L, index)};
      continue;
    }
    argument.has_word = false;
    switch (lua_type(L, index)) {
    case LUA_TNUMBER:
      argument.kind = Kind::number;
      argument.has_word = fraction_to_word(L, index, argument.word);
      break;
    case LUA_TUSERDATA:
      argument.has_word = is_process(L, index, argument.word);
      argument.kind = argument.has_word ? Kind::process : Kind::other;
      break;
    case LUA_TSTRING: argument.kind = Kind::text; break;
    case LUA_TNIL: argument.kind = Kind::nil; break;
    case LUA_TTABLE: argument.kind = Kind::table; break;
    default: argument.kind = Kind::other; break;
    }
  }
}

// Whether an argument of that kind can be argument `at`, from 0, of a form.
bool fits(const FunctionGroup &group, std::size_t form, std::size_t at, GivenArgument::Kind kind) {
  using Kind = GivenArgument::Kind;
  if (group.array && group.array->argument == static_cast<int>(at) + 1)
    return true; // read() looks closer
  switch (group.forms[form]->arguments[at]) {
  case ArgumentType::integer:
    return kind == Kind::number || (kind == Kind::process && (group.processes[form] >> at & 1)) ||
           (group.text_for_int && (kind == Kind::text || kind == Kind::nil));
  case ArgumentType::string: return kind == Kind::text || kind == Kind::nil;
  case ArgumentType::pointer: return kind == Kind::table || kind == Kind::nil;
  }
  return false;
}

// The form with the fewest "IP"s left out at the end; the first registered among equals.
const Function *choose_form(const FunctionGroup &group, const GivenArgument *given,
                            std::size_t count) {
  const Function *best = nullptr;
  for (std::size_t form = 0; form < group.forms.size(); ++form) {
    const auto &types = group.forms[form]->arguments;
    if (types.size() < count || (best && types.size() >= best->arguments.size())) continue;
    bool fit = true;
    for (std::size_t i = 0; fit && i < types.size(); ++i)
      fit = i < count ? fits(group, form, i, given[i].kind) : types[i] == ArgumentType::pointer;
    if (fit) best = group.forms[form];
  }
  return best;
}

// What a form has where a call has something else.
struct Misfit {
  std::size_t count = 0; // arguments that don't fit, are missing or too many
  std::size_t first = 0; // of those that don't fit or are missing, from 0
};

Misfit misfit(const FunctionGroup &group, std::size_t form, const GivenArgument *given,
              std::size_t count) {
  const auto &types = group.forms[form]->arguments;
  Misfit found{0, types.size()};
  for (std::size_t i = 0; i < types.size(); ++i) {
    const bool fit =
        i < count ? fits(group, form, i, given[i].kind) : types[i] == ArgumentType::pointer;
    if (fit) continue;
    if (found.count == 0) found.first = i;
    ++found.count;
  }
  if (count > types.size()) found.count += count - types.size();
  return found;
}

// "a table", "nil".
std::string article(const std::string &kind) {
  return (kind == "nil" ? "" : "a ") + kind;
}

const char *wanted(ArgumentType type) {
  switch (type) {
  case ArgumentType::integer: return "a number";
  case ArgumentType::string: return "a string";
  case ArgumentType::pointer: break;
  }
  return "a table";
}

// How the reference writes a form of the module's: the names of its parameters. Empty for a form
// that it doesn't have.
ReferenceForm named_form(const Function &function) {
  const ReferencePlace *place = Reference::built_in().find(function.name);
  if (!place) return {};
  for (const ReferenceForm &form : place->entry->forms) {
    const std::size_t further = form.results.empty() ? 0 : form.results.size() - 1;
    if ((place->alias || form.name == function.name) &&
        form.parameters.size() + further == function.arguments.size())
      return {function.name, form.parameters, {}};
  }
  return {};
}

// Which arguments of a form may be processes, as bits; all, for a form that the reference lacks.
std::uint32_t process_parameters(const Function &function) {
  const ReferenceForm form = named_form(function);
  if (form.name.empty()) return ~0u;
  std::uint32_t bits = 0;
  for (const ReferenceItem &item : Reference::built_in().find(function.name)->entry->parameters) {
    if (item.kind != "process") continue;
    for (std::size_t i = 0; i < form.parameters.size(); ++i)
      if (std::ranges::count(item.names, form.parameters[i])) bits |= 1u << i;
  }
  return bits;
}

std::string form_or_signature(const Function &function) {
  const ReferenceForm form = named_form(function);
  return form.name.empty() ? function.signature : form_text(form);
}

// "graph", or "argument 2" where the reference has no name. `at` counts from 0.
std::string parameter_name(const Function &function, std::size_t at) {
  const ReferenceForm form = named_form(function);
  return at < form.parameters.size() ? form.parameters[at] : "argument " + std::to_string(at + 1);
}

// Throws a message that says which argument of the nearest form is wrong.
int wrong_call(lua_State *L, const FunctionGroup &group, const GivenArgument *given,
               std::size_t count) {
  const Function *nearest = nullptr;
  Misfit least;
  for (std::size_t form = 0; form < group.forms.size(); ++form) {
    const Misfit found = misfit(group, form, given, count);
    // Among equals that with as many arguments as were given.
    if (!nearest || found.count < least.count ||
        (found.count == least.count && group.forms[form]->arguments.size() == count)) {
      nearest = group.forms[form];
      least = found;
    }
  }
  const std::size_t needed = nearest->arguments.size();
  const std::string name = parameter_name(*nearest, least.first);
  std::string message = form_or_signature(*nearest) + ": ";
  if (least.first >= needed)
    message += std::to_string(count) + " arguments given, " + std::to_string(needed) + " taken";
  else if (least.first >= count)
    message += name + " is missing";
  else
    message += name + " is " + article(kind_name(L, static_cast<int>(least.first) + 1)) + ", not " +
               wanted(nearest->arguments[least.first]);
  if (group.forms.size() > 1)
    message += " (one of " + std::to_string(group.forms.size()) + " forms)";
  throw HostError(message);
}

// One "IP" argument of a call.
struct Buffer {
  int index = 0;                         // of the script's table; 0: left out, a further result
  std::vector<std::int32_t> words = {0}; // one even for an empty table
};

Buffer read_table(lua_State *L, int index) {
  Buffer buffer;
  buffer.index = index;
  const std::size_t length = static_cast<std::size_t>(lua_rawlen(L, index));
  if (length > most_elements) throw HostError("table too long");
  buffer.words.resize(std::max<std::size_t>(length, 1));
  for (std::size_t i = 0; i < length; ++i) {
    lua_rawgeti(L, index, static_cast<lua_Integer>(i) + 1);
    buffer.words[i] = check_word(L, -1, "table element");
    lua_pop(L, 1);
  }
  return buffer;
}

std::int32_t address_word(const void *address) {
  return static_cast<std::int32_t>(reinterpret_cast<std::uintptr_t>(address));
}

ArgumentWord integer_argument(const Function &function, std::size_t at,
                              const GivenArgument &given) {
  if (!given.has_word)
    throw HostError(form_or_signature(function) + ": " + parameter_name(function, at) +
                    " is no number that fits 64 bits");
  return {Argument::Kind::integer, given.word};
}

// A text stays where Lua has it: it is on the stack until the call is over.
ArgumentWord text_argument(lua_State *L, int index) {
  std::size_t length = 0;
  const char *text = lua_isnil(L, index) ? nullptr : lua_tolstring(L, index, &length);
  if (text && std::strlen(text) != length) throw HostError("a text with a zero byte in it");
  return {Argument::Kind::text, address_word(text)};
}

void push_result(lua_State *L, ResultType type, std::int32_t word) {
  switch (type) {
  case ResultType::integer: lua_pushinteger(L, word); break;
  case ResultType::dword: lua_pushinteger(L, static_cast<std::uint32_t>(word)); break;
  case ResultType::real: lua_pushnumber(L, std::bit_cast<float>(word)); break;
  case ResultType::string:
    lua_pushstring(L, reinterpret_cast<const char *>(static_cast<std::uintptr_t>(word)));
    break;
  }
}

// Prints the module's reports from the call or, with strict, raises them as a Lua error.
void handle_reports(lua_State *L, ScriptState &state) {
  const std::vector<ErrorReport> reports = std::exchange(state.call_reports, {});
  for (const ErrorReport &report : reports) {
    warn(state, L, diagnose(state.host, report));
  }
}

int call_function(lua_State *L) {
  using Kind = GivenArgument::Kind;
  ScriptState &state = state_of(L);
  const auto &group = *static_cast<const FunctionGroup *>(lua_touserdata(L, lua_upvalueindex(1)));
  const auto count = static_cast<std::size_t>(lua_gettop(L));
  GivenArgument *given = state.given.data();
  look_at_arguments(L, given, std::min(count, state.given.size()));
  const Function *form = choose_form(group, given, count);
  if (!form) return wrong_call(L, group, given, count);

  ArgumentWord *words = state.words.data();
  std::vector<Buffer> buffers;
  std::vector<std::int32_t> array;
  for (std::size_t i = 0; i < form->arguments.size(); ++i) {
    const int index = static_cast<int>(i) + 1;
    const ArgumentType type = form->arguments[i];
    if (group.array && group.array->argument == index) {
      array =
          group.array->read(L, index, group.name + ": argument " + std::to_string(index) + ": ");
      words[i] = {type == ArgumentType::integer ? Argument::Kind::integer : Argument::Kind::pointer,
                  address_word(array.data())};
      continue;
    }
    switch (type) {
    case ArgumentType::integer:
      words[i] = given[i].kind == Kind::text || given[i].kind == Kind::nil
                     ? text_argument(L, index)
                     : integer_argument(*form, i, given[i]);
      break;
    case ArgumentType::string: words[i] = text_argument(L, index); break;
    case ArgumentType::pointer:
      words[i] = {Argument::Kind::pointer, 0};
      if (i < count && given[i].kind == Kind::nil) break;
      // The words of a buffer stay where they are when `buffers` grows: moving a vector keeps them.
      buffers.push_back(i < count ? read_table(L, index) : Buffer{});
      words[i].word = address_word(buffers.back().words.data());
      break;
    }
  }

  state.in_call = true;
  const std::int32_t word = state.host.call_words(*form, words);
  state.in_call = false;
  if (!state.call_reports.empty())
    handle_reports(L, state);
  else if (word == failure_value || (word == 0 && group.fails_with_zero))
    judge_call(state, L, *form, words, word);

  push_result(L, form->result, word);
  int results = 1;
  if (!lua_checkstack(L, static_cast<int>(buffers.size()) + 1)) throw HostError("stack overflow");
  for (const Buffer &buffer : buffers) {
    if (buffer.index == 0) {
      lua_pushinteger(L, buffer.words[0]);
      ++results;
      continue;
    }
    for (std::size_t i = 0; i < buffer.words.size(); ++i) {
      lua_pushinteger(L, buffer.words[i]);
      lua_rawseti(L, buffer.index, static_cast<lua_Integer>(i) + 1);
    }
  }
  return results;
}

} // namespace

bool fraction_to_word(lua_State *L, int index, std::int32_t &word) {
  if (lua_type(L, index) != LUA_TNUMBER) return false;
  const double number = lua_tonumber(L, index);
  if (std::abs(number) < INT32_MAX) { // the usual case, which the processor cuts off at once
    word = static_cast<std::int32_t>(number);
    return true;
  }
  lua_Integer value = 0;
  if (!lua_numbertointeger(std::trunc(number), &value)) return false;
  word = static_cast<std::int32_t>(static_cast<std::uint64_t>(value));
  return true;
}

void throw_no_word(lua_State *L, int index, const char *what) {
  const std::string name = what;
  if (lua_type(L, index) == LUA_TNUMBER) throw HostError(name + ": number out of range");
  throw HostError(name + ": number expected, got " + kind_name(L, index));
}

std::int32_t check_word(lua_State *L, int index, const char *what) {
  std::int32_t word = 0;
  if (!to_word(L, index, word)) throw_no_word(L, index, what);
  return word;
}

void open_functions(ScriptState &state) {
  std::unordered_map<std::string, FunctionGroup *> by_name;
  for (const Function &function : state.host.registration().functions) {
    FunctionGroup *&group = by_name[function.name];
    if (!group) {
      group = &state.groups.emplace_back();
      group->name = function.name;
      group->fails_with_zero = function.name == "mode_set";
      group->text_for_int = takes_text_for_int(function.name);
      for (const InputArray &array : input_arrays) {
        if (array.function == function.name) group->array = &array;
      }
    }
    group->forms.push_back(&function);
    group->processes.push_back(process_parameters(function));
  }
  std::size_t longest = 0;
  for (const Function &function : state.host.registration().functions)
    longest = std::max(longest, function.arguments.size());
  state.given.resize(longest);
  state.words.resize(longest);
  for (FunctionGroup &group : state.groups) {
    lua_pushlightuserdata(state.L, &group);
    lua_pushcclosure(state.L, guarded<call_function>, 1);
    lua_setglobal(state.L, group.name.c_str());
  }
}

} // namespace orbhost
