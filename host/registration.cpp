#include "host/registration.h"

#include <algorithm>
#include <cctype>

namespace orbhost {
namespace {

std::optional<ResultType> parse_result(std::string_view text) {
  if (text == "I") return ResultType::integer;
  if (text == "S") return ResultType::string;
  if (text == "DW") return ResultType::dword;
  if (text == "F") return ResultType::real;
  return std::nullopt;
}

bool is_name(std::string_view text) {
  return !text.empty() && !std::isdigit(static_cast<unsigned char>(text.front())) &&
         std::ranges::all_of(text, [](unsigned char c) { return std::isalnum(c) || c == '_'; });
}

} // namespace

std::optional<Signature> parse_signature(std::string_view text) {
  const std::size_t open = text.find('(');
  if (open == std::string_view::npos || text.back() != ')') return std::nullopt;
  Signature result{std::string(text.substr(0, open)), {}};
  if (!is_name(result.name)) return std::nullopt;
  std::string_view list = text.substr(open + 1, text.size() - open - 2);
  while (!list.empty()) {
    const std::size_t comma = list.find(',');
    const std::string_view type = list.substr(0, comma);
    if (type == "I")
      result.arguments.push_back(ArgumentType::integer);
    else if (type == "S")
      result.arguments.push_back(ArgumentType::string);
    else if (type == "IP")
      result.arguments.push_back(ArgumentType::pointer);
    else
      return std::nullopt;
    if (comma == std::string_view::npos) break;
    list.remove_prefix(comma + 1);
    if (list.empty()) return std::nullopt; // a comma with nothing after it
  }
  return result;
}

bool takes_text_for_int(std::string_view name) {
  return name == "load_pal" || name == "palette_load" || name == "palette_save";
}

void Registration::add_constants(const orb_constant *table) {
  for (; table && table->name; ++table)
    constants.push_back({table->name, table->value});
}

void Registration::add_functions(const orb_function *table) {
  for (; table && (table->signature || table->result || table->flag || table->handler); ++table) {
    const std::string text = table->signature ? table->signature : "";
    const auto signature = parse_signature(text);
    const auto result = parse_result(table->result ? table->result : "");
    if (!signature || !result || !table->handler) {
      mistakes.push_back("function \"" + text + "\" refused");
      continue;
    }
    functions.push_back({text, signature->name, signature->arguments, *result, table->result,
                         table->flag, table->handler});
  }
}

void Registration::add_hooks(const orb_hook *table) {
  for (; table && (table->kind || table->function); ++table) {
    if (table->function) hooks.push_back({table->kind, table->function});
  }
}

std::vector<std::size_t> Registration::forms(std::string_view name) const {
  std::vector<std::size_t> result;
  for (std::size_t i = 0; i < functions.size(); ++i) {
    if (functions[i].name == name) result.push_back(i);
  }
  return result;
}

std::string Registration::describe_forms(std::string_view name) const {
  std::string result;
  for (const std::size_t i : forms(name)) {
    if (!result.empty()) result += ", ";
    result += functions[i].signature;
  }
  return result;
}

} // namespace orbhost
