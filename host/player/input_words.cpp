#include "host/player/input_words.h"

#include "host/input.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <optional>

namespace orbplay {
namespace {

using orbhost::Input;
using orbhost::InputEvent;
using Kind = InputEvent::Kind;

constexpr std::array axis_names{"x", "y", "x2", "y2"};

[[noreturn]] void fail_word(std::string_view word) {
  throw WordError('"' + std::string(word) + "\" is no input");
}

int small_number(std::string_view text, int least, int most) {
  return static_cast<int>(number_of(text, least, most));
}

void read_pair(InputEvent &event, std::string_view text, int most) {
  const std::size_t comma = text.find(',');
  if (comma == text.npos) throw WordError('"' + std::string(text) + "\" isn't X,Y");
  event.x = small_number(text.substr(0, comma), -most, most);
  event.y = small_number(text.substr(comma + 1), -most, most);
}

void read_text(std::string_view value, std::vector<InputEvent> &events) {
  if (value.size() < 2 || value.front() != '"' || value.back() != '"') {
    events.push_back({.kind = Kind::text, .code = small_number(value, 1, 0x10FFFF)});
    return;
  }
  for (const char c : value.substr(1, value.size() - 2)) {
    if (c < ' ' || c > '~') throw WordError("a text in quotes is of ASCII characters");
    events.push_back({.kind = Kind::text, .code = c});
  }
}

} // namespace

std::int64_t number_of(std::string_view text, std::int64_t least, std::int64_t most) {
  std::int64_t value = 0;
  const char *end = text.data() + text.size();
  const auto [stop, error] = std::from_chars(text.data(), end, value);
  if (error != std::errc() || stop != end || value < least || value > most) {
    throw WordError('"' + std::string(text) + "\" isn't a number from " + std::to_string(least) +
                    " to " + std::to_string(most));
  }
  return value;
}

std::string word_of(const InputEvent &event) {
  const auto pair = [&] { return std::to_string(event.x) + ',' + std::to_string(event.y); };
  const std::string pad = "pad" + std::to_string(event.pad) + '_';
  switch (event.kind) {
  case Kind::key:
  case Kind::button:
  case Kind::pad_button: {
    const std::optional<std::string> name = Input::name(event);
    return name ? (event.down ? '+' : '-') + *name : std::string();
  }
  case Kind::motion: return "mouse=" + pair();
  case Kind::wheel: return "wheel=" + std::to_string(event.y);
  case Kind::text:
    if (event.code > ' ' && event.code < 127 && event.code != '"')
      return std::string("text=\"") + static_cast<char>(event.code) + '"';
    return "text=" + std::to_string(event.code);
  case Kind::pads: return "pads=" + std::to_string(event.code);
  case Kind::pad_axis: return pad + axis_names[event.code] + '=' + std::to_string(event.x);
  case Kind::pad_hat: return pad + "hat=" + pair();
  case Kind::quit: return "quit";
  }
  return {};
}

void InputWords::read(std::string_view word, std::vector<InputEvent> &events) {
  if (word[0] == '+' || word[0] == '-') {
    const auto control = Input::control(word.substr(1));
    const auto event = control ? Input::event(*control, word[0] == '+') : std::nullopt;
    if (!event) throw WordError("no key or button is called \"" + std::string(word.substr(1)) + '"');
    events.push_back(*event);
    return;
  }
  const std::size_t sign = std::min(word.find('='), word.size());
  const std::string_view name = word.substr(0, sign);
  const std::string_view value = word.substr(std::min(sign + 1, word.size()));
  if (word == "quit") {
    events.push_back({.kind = Kind::quit});
  } else if (name == "mouse") {
    InputEvent event{.kind = Kind::motion};
    read_pair(event, value, 65535);
    events.push_back(event);
  } else if (name == "wheel") {
    events.push_back({.kind = Kind::wheel, .y = small_number(value, -1000, 1000)});
  } else if (name == "text") {
    read_text(value, events);
  } else if (name == "pads") {
    pads_ = small_number(value, 0, orbhost::most_pads);
    events.push_back({.kind = Kind::pads, .code = pads_});
  } else if (name.starts_with("pad") && name.size() > 5 && name[4] == '_') {
    events.push_back(pad_event(word, name, value));
  } else {
    fail_word(word);
  }
}

// "pad1_x=50", "pad2_hat=-1,0".
InputEvent InputWords::pad_event(std::string_view word, std::string_view name,
                                 std::string_view value) const {
  InputEvent event{.kind = Kind::pad_hat, .pad = name[3] - '0'};
  if (event.pad < 1 || event.pad > pads_) {
    const std::string pad(1, name[3]);
    throw WordError("there is no pad " + pad + "; \"pads=" + pad + "\" comes first");
  }
  name.remove_prefix(5);
  const auto axis = std::ranges::find(axis_names, name) - axis_names.begin();
  if (name == "hat") {
    read_pair(event, value, 1);
  } else if (axis < std::ssize(axis_names)) {
    event.kind = Kind::pad_axis;
    event.code = static_cast<int>(axis);
    event.x = small_number(value, -100, 100);
  } else {
    fail_word(word);
  }
  return event;
}

} // namespace orbplay
