#include "tools/orbdocs/highlight.h"

#include <algorithm>
#include <cctype>
#include <set>

namespace orbdocs {
namespace {

bool is_name(char c) {
  return c == '_' || std::isalnum(static_cast<unsigned char>(c));
}
bool is_digit(char c) {
  return std::isdigit(static_cast<unsigned char>(c));
}

bool is_keyword(std::string_view word) {
  static const std::set<std::string_view> keywords = {
      "and",      "break",  "do",   "else", "elseif", "end",  "false", "for",
      "function", "goto",   "if",   "in",   "local",  "nil",  "not",   "or",
      "repeat",   "return", "then", "true", "until",  "while"};
  return keywords.count(word) != 0;
}

// The length of a long bracket, [[ ... ]] or [=[ ... ]=], at the start of a text; 0: there is none.
std::size_t long_bracket(std::string_view text) {
  if (!text.starts_with('[')) return 0;
  const std::size_t level = text.find_first_not_of('=', 1);
  if (level == std::string_view::npos || text[level] != '[') return 0;
  const std::string close = "]" + std::string(level - 1, '=') + "]";
  const std::size_t end = text.find(close, level + 1);
  return end == std::string_view::npos ? text.size() : end + close.size();
}

std::size_t quoted(std::string_view text) {
  std::size_t i = 1;
  while (i < text.size() && text[i] != text[0] && text[i] != '\n')
    i += text[i] == '\\' ? 2 : 1;
  return std::min(i + 1, text.size());
}

std::size_t run_of(std::string_view text, bool (*belongs)(char)) {
  return static_cast<std::size_t>(std::find_if_not(text.begin(), text.end(), belongs) -
                                  text.begin());
}

} // namespace

std::string highlighted(std::string_view lua, const link_of &link) {
  std::string html;
  const auto take = [&](std::size_t length, const char *style) {
    const std::string text = escaped(lua.substr(0, length));
    html += *style ? "<span class=" + std::string(style) + ">" + text + "</span>" : text;
    lua.remove_prefix(length);
  };
  while (!lua.empty()) {
    if (lua.starts_with("--")) {
      const std::size_t block = long_bracket(lua.substr(2));
      take(block ? 2 + block : std::min(lua.find('\n'), lua.size()), "c");
    } else if (lua[0] == '"' || lua[0] == '\'') {
      take(quoted(lua), "s");
    } else if (const std::size_t block = long_bracket(lua)) {
      take(block, "s");
    } else if (is_digit(lua[0])) {
      take(run_of(lua, [](char c) { return is_name(c) || c == '.'; }), "n");
    } else if (is_name(lua[0])) {
      const std::string_view word = lua.substr(0, run_of(lua, is_name));
      // Short words are often the script's own: they lead somewhere only where they are called.
      const bool own =
          html.ends_with('.') || html.ends_with(':') ||
          (word.find('_') == std::string_view::npos && !lua.substr(word.size()).starts_with('('));
      const std::string address = own ? "" : link(word);
      if (is_keyword(word)) {
        take(word.size(), "k");
      } else if (!address.empty()) {
        html += "<a href=\"" + address + "\">";
        take(word.size(), "");
        html += "</a>";
      } else {
        take(word.size(), "");
      }
    } else {
      take(1, "");
    }
  }
  return html;
}

} // namespace orbdocs
