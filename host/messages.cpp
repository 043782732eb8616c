#include "host/messages.h"

#include "orb/graphics2d.h"

#include <algorithm>
#include <array>
#include <string_view>

namespace orbhost {
namespace {

struct Message {
  std::int32_t code;
  std::string_view text;
};

// Sorted by code. If a code has two causes, the text names both.
constexpr std::array messages{
    Message{100, "out of memory"},
    Message{103, "no palette can be read from this file"},
    Message{104, "the list of graphs or libraries is full and can't grow"},
    Message{105, "the file can't be opened, or its compressed stream is damaged"},
    Message{106, "not an FPG file, or deeper than the screen"},
    Message{108, "the region isn't defined"},
    Message{109, "library number out of range"},
    Message{110, "graph number out of range"},
    Message{111, "the library isn't loaded"},
    Message{120, "region number out of range, or the region isn't defined"},
    Message{121, "the graph isn't loaded"},
    Message{123, "the file can't be saved"},
    Message{133, "control point number out of range"},
    Message{143, "the file can't be opened, or holds no picture of a known format"},
    Message{144, "not a MAP file, or deeper than the screen"},
    Message{153, "width or height out of range"},
    Message{154, "colour out of range for an 8-bit screen"},
    Message{155, "the centre lies outside the graph"},
    Message{172, "the list of draws is full and can't grow"},
    Message{173, "draw type out of range"},
    Message{174, "alpha out of range"},
    Message{175, "no such draw"},
    Message{183, "the palette is forced and can't be replaced"},
    Message{193, "the FPG file is enciphered and the key is missing or wrong"},
    Message{194, "the file is enciphered and the key is missing or wrong"},
};
static_assert(std::ranges::is_sorted(messages, {}, &Message::code));

} // namespace

std::string message_text(std::int32_t code) {
  const auto found = std::ranges::lower_bound(messages, code, {}, &Message::code);
  if (found != messages.end() && found->code == code) return std::string(found->text);
  return "script error " + std::to_string(code);
}

std::string describe(const ErrorReport &report) {
  return describe(report, message_text(report.code));
}

std::string describe(const ErrorReport &report, const std::string &text) {
  std::string result = report.function + ": ";
  if (report.position > 0) {
    result += "argument " + std::to_string(report.position) + " (";
    if (report.kind == ORB_VALUE_STRING)
      result += '"' + report.text + '"';
    else
      result += std::to_string(report.value);
    result += "): ";
  }
  return result + text;
}

} // namespace orbhost
