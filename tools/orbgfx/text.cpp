#include "tools/orbgfx/text.h"

#include <algorithm>
#include <array>
#include <cstdint>
#include <cstdio>

namespace orbgfx {
namespace {

// The length of the valid UTF-8 character at the start of `text`; 0 if there is none.
std::size_t utf8_length(std::string_view text) {
  const auto byte = [&](std::size_t at) -> std::uint32_t {
    return at < text.size() ? static_cast<std::uint8_t>(text[at]) : 0;
  };
  const std::uint32_t first = byte(0);
  if (first < 0x80) return 1;
  const std::size_t length = first >= 0xF0 ? 4 : first >= 0xE0 ? 3 : 2;
  if (first < 0xC2 || first > 0xF4) return 0;
  std::uint32_t character = first & (0x7Fu >> length);
  for (std::size_t i = 1; i < length; ++i) {
    if ((byte(i) & 0xC0) != 0x80) return 0;
    character = character << 6 | (byte(i) & 0x3F);
  }
  constexpr std::array<std::uint32_t, 5> least{0, 0, 0x80, 0x800, 0x10000};
  const bool surrogate = character >= 0xD800 && character <= 0xDFFF;
  return character < least[length] || character > 0x10FFFF || surrogate ? 0 : length;
}

bool is_control(char c) {
  return static_cast<std::uint8_t>(c) < 0x20 || c == 0x7F;
}

std::string hexadecimal(const char *format, char c) {
  std::array<char, 8> text;
  std::snprintf(text.data(), text.size(), format,
                static_cast<unsigned>(static_cast<std::uint8_t>(c)));
  return text.data();
}

int hexadecimal_digit(char c) {
  if (c >= '0' && c <= '9') return c - '0';
  if (c >= 'A' && c <= 'F') return c - 'A' + 10;
  if (c >= 'a' && c <= 'f') return c - 'a' + 10;
  return -1;
}

} // namespace

std::string escape_line(std::string_view text) {
  std::string line;
  for (std::size_t at = 0; at < text.size();) {
    const char c = text[at];
    const std::size_t length = utf8_length(text.substr(at));
    const bool at_an_end = at == 0 || at + 1 == text.size();
    if (c == '\\')
      line += "\\\\";
    else if (c == '\n')
      line += "\\n";
    else if (length == 0 || is_control(c) || (c == ' ' && at_an_end))
      line += hexadecimal("\\x%02X", c);
    else
      line += text.substr(at, length);
    at += std::max<std::size_t>(length, 1);
  }
  return line;
}

std::optional<std::string> unescape_line(std::string_view line) {
  std::string text;
  for (std::size_t at = 0; at < line.size(); ++at) {
    if (line[at] != '\\') {
      text += line[at];
      continue;
    }
    const char c = ++at < line.size() ? line[at] : '\0';
    if (c == '\\') {
      text += c;
    } else if (c == 'n') {
      text += '\n';
    } else if (c == 'x' && at + 2 < line.size()) {
      const int high = hexadecimal_digit(line[at + 1]), low = hexadecimal_digit(line[at + 2]);
      if (high < 0 || low < 0) return std::nullopt;
      text += static_cast<char>(16 * high + low);
      at += 2;
    } else {
      return std::nullopt;
    }
  }
  return text;
}

Json::Json(const std::string &value) {
  text_ = "\"";
  for (std::size_t at = 0; at < value.size();) {
    const char c = value[at];
    const std::size_t length = utf8_length(std::string_view(value).substr(at));
    if (c == '"' || c == '\\')
      (text_ += '\\') += c;
    else if (length == 0 || is_control(c))
      text_ += hexadecimal("\\u%04x", c);
    else
      text_ += value.substr(at, length);
    at += std::max<std::size_t>(length, 1);
  }
  text_ += '"';
}

Json Json::array(std::vector<Json> elements) {
  Json array{Members{}};
  array.kind_ = Kind::array;
  for (Json &element : elements)
    array.add(std::move(element));
  return array;
}

void Json::add(Json element) {
  members_.emplace_back("", std::move(element));
}

void Json::set(const std::string &name, Json value) {
  members_.emplace_back(name, std::move(value));
}

std::string Json::dump(int indent) const {
  if (kind_ == Kind::plain) return text_;
  const bool flat = std::ranges::all_of(
      members_, [](const auto &member) { return member.second.kind_ == Kind::plain; });
  const std::string between =
      flat ? std::string() : "\n" + std::string(static_cast<std::size_t>(indent) + 2, ' ');
  std::string text(1, kind_ == Kind::array ? '[' : '{');
  for (std::size_t i = 0; i < members_.size(); ++i) {
    if (i > 0) text += flat ? ", " : ",";
    text += between;
    if (kind_ == Kind::object) text += Json(members_[i].first).text_ + ": ";
    text += members_[i].second.dump(indent + 2);
  }
  if (!flat) text += "\n" + std::string(static_cast<std::size_t>(indent), ' ');
  return text + (kind_ == Kind::array ? ']' : '}');
}

} // namespace orbgfx
