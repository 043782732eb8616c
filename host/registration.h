// What a module has registered: copies of its tables, in the order of its calls.
#pragma once

#include "orb/graphics2d.h"

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace orbhost {

struct Constant {
  std::string name;
  std::int32_t value;
};

enum class ArgumentType { integer, string, pointer };   // "I", "S", "IP"
enum class ResultType { integer, string, dword, real }; // "I", "S", "DW", "F"

struct Signature {
  std::string name;
  std::vector<ArgumentType> arguments;
};

// Parses "map_set_desc(I,I,S)"; nothing for a text that isn't of that form.
std::optional<Signature> parse_signature(std::string_view text);

// QUIRK: palette file functions are registered with an int argument but fetch a text:
// "load_pal(I)", "palette_load(I)", "palette_save(I)". A text is accepted in place of that int.
bool takes_text_for_int(std::string_view name);

// One form of a script function. Forms with the same name are overloads.
struct Function {
  std::string signature; // as registered
  std::string name;
  std::vector<ArgumentType> arguments;
  ResultType result = ResultType::integer;
  std::string result_text; // "I", "S", "DW" or "F" as registered
  std::int32_t flag = 0;
  std::int32_t (*handler)() = nullptr;
};

struct Hook {
  std::int32_t kind;
  std::int32_t (*function)();
};

// Filled by the registration calls of one module.
struct Registration {
  std::vector<Constant> constants;
  std::string globals; // the registered declaration texts, joined
  std::string locals;
  std::vector<Function> functions;
  std::vector<Hook> hooks;
  std::int32_t flags = 0;
  std::vector<int> calls;            // positions in the registration table, in call order
  std::vector<std::string> mistakes; // messages on refused entries

  void add_constants(const orb_constant *table);
  void add_functions(const orb_function *table);
  void add_hooks(const orb_hook *table);

  // Indices into `functions` of all forms of `name`, in registration order.
  [[nodiscard]] std::vector<std::size_t> forms(std::string_view name) const;
  // The forms of a name for a message: "map_new(I,I), map_new(I,I,I)".
  [[nodiscard]] std::string describe_forms(std::string_view name) const;
};

} // namespace orbhost
