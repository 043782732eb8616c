#include "tools/orbgfx/names.h"

#include <algorithm>
#include <array>
#include <cstdint>
#include <cstdio>

namespace orbgfx {
namespace {

constexpr std::size_t longest_stem = 100;

struct Ending {
  std::string_view text, format;
};

constexpr std::array endings{
    Ending{"map", "img_format_map"},  Ending{"bmp", "img_format_bmp"},
    Ending{"jpg", "img_format_jpeg"}, Ending{"jpeg", "img_format_jpeg"},
    Ending{"pcx", "img_format_pcx"},  Ending{"png", "img_format_png"},
    Ending{"tga", "img_format_tga"},
};

bool is_digit(char c) {
  return c >= '0' && c <= '9';
}

// The extension of a file's name in lower case, without the dot; empty if there is none.
std::string ending_of(std::string_view path) {
  const std::string_view name = path.substr(path.rfind('/') + 1);
  const std::size_t dot = name.rfind('.');
  if (dot == std::string_view::npos || dot == 0) return {};
  std::string ending(name.substr(dot + 1));
  for (char &c : ending) {
    if (c >= 'A' && c <= 'Z') c = static_cast<char>(c - 'A' + 'a');
  }
  return ending;
}

// The length of a name's code and its separator.
std::size_t code_length(std::string_view name) {
  std::size_t digits = 0;
  while (digits < name.size() && is_digit(name[digits]))
    ++digits;
  if (digits == 0 || digits > 3 || digits == name.size()) return 0;
  return std::string_view("_-.").find(name[digits]) == std::string_view::npos ? 0 : digits + 1;
}

} // namespace

std::optional<int> code_in_name(std::string_view path) {
  const std::string_view name = path.substr(path.rfind('/') + 1);
  const std::size_t length = code_length(name);
  if (length == 0) return std::nullopt;
  int code = 0;
  for (const char c : name.substr(0, length - 1))
    code = 10 * code + (c - '0');
  return code;
}

std::string file_name_of(int code, std::string_view name, std::string_view extension) {
  if (format_of(name)) name = name.substr(0, name.rfind('.'));
  name.remove_prefix(code_length(name));
  std::array<char, 8> number;
  std::snprintf(number.data(), number.size(), "%03d", code);
  std::string file = number.data();
  if (!name.empty()) file += '_';
  for (const char c : name.substr(0, longest_stem)) {
    const bool control = static_cast<std::uint8_t>(c) < 0x20 || c == 0x7F;
    file += control || c == '/' || c == '\\' ? '_' : c;
  }
  return file + "." + std::string(extension);
}

std::optional<std::string_view> format_of(std::string_view path) {
  const auto found = std::ranges::find(endings, ending_of(path), &Ending::text);
  if (found == endings.end()) return std::nullopt;
  return found->format;
}

bool is_library_name(std::string_view path) {
  return ending_of(path) == "fpg";
}

} // namespace orbgfx
