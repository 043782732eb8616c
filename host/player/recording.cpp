#include "host/player/recording.h"

#include "host/player/input_words.h"
#include "host/sum.h"

#include <algorithm>
#include <cerrno>
#include <charconv>
#include <cstring>
#include <ctime>
#include <fcntl.h>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string_view>
#include <unistd.h>
#include <utility>

namespace orbplay {
namespace {

namespace fs = std::filesystem;
using orbhost::InputEvent;
using Kind = InputEvent::Kind;

constexpr std::string_view first_line = "orbplay recording 1";

std::string read_file(const std::string &name) {
  std::ifstream in(name, std::ios::binary);
  if (!in) throw PlayError(exit_not_found, name + ": " + std::strerror(errno));
  return {std::istreambuf_iterator(in), {}};
}

std::string hexadecimal(std::uint64_t number) {
  char text[17];
  std::snprintf(text, sizeof text, "%016llx", static_cast<unsigned long long>(number));
  return text;
}

std::optional<std::uint64_t> sum_of(const std::string &file) {
  std::error_code ignored;
  if (!fs::is_regular_file(file, ignored)) return std::nullopt;
  const std::string text = read_file(file);
  orbhost::Sum sum;
  sum.add(text.data(), text.size());
  return sum.value();
}

// Reads a recording line by line.
class Reader {
public:
  explicit Reader(const std::string &file) { recording_.file = file; }

  Recording read() {
    try {
      read_lines(read_file(recording_.file));
    } catch (const WordError &error) {
      throw PlayError(exit_script,
                      recording_.file + ':' + std::to_string(line_) + ": " + error.what());
    }
    return std::move(recording_);
  }

private:
  void read_lines(std::string_view rest) {
    while (!rest.empty()) {
      const std::string_view line = rest.substr(0, rest.find('\n'));
      rest.remove_prefix(std::min(line.size() + 1, rest.size()));
      ++line_;
      rest_ = line;
      if (rest_.ends_with('\r')) rest_.remove_suffix(1);
      if (line_ == 1 && rest_ != first_line)
        fail("this is no recording, or one of another version: it doesn't begin with \"" +
             std::string(first_line) + '"');
      if (line_ > 1 && !rest_.empty() && rest_[0] != '#') read_line();
    }
    if (recording_.end == 0) {
      if (recording_.frames.empty()) fail("the recording holds no frames");
      recording_.end = recording_.frames.back().number;
    }
  }

  [[noreturn]] static void fail(const std::string &what) { throw WordError(what); }

  // The next word of the line; a space within quotes doesn't end it.
  std::string_view next_word() {
    bool quoted = false;
    std::size_t size = 0;
    while (size < rest_.size() && (quoted || rest_[size] != ' '))
      quoted ^= rest_[size++] == '"';
    const std::string_view word = rest_.substr(0, size);
    rest_.remove_prefix(std::min(rest_.size(), std::max(rest_.find_first_not_of(' ', size), size)));
    return word;
  }

  static int small_number(std::string_view text, int least, int most) {
    return static_cast<int>(number_of(text, least, most));
  }

  std::uint64_t sum(const std::string &text) const {
    std::uint64_t value = 0;
    const auto [stop, error] = std::from_chars(text.data(), text.data() + text.size(), value, 16);
    if (error != std::errc() || stop != text.data() + text.size())
      fail('"' + text + "\" isn't a sum of 16 hexadecimal digits");
    return value;
  }

  void read_line() {
    const std::string_view key = next_word();
    if (key[0] >= '0' && key[0] <= '9') {
      read_frame(key);
      return;
    }
    const std::string value(rest_);
    if (key == "script") {
      recording_.script = value;
    } else if (key == "sum") {
      recording_.sum = sum(value);
    } else if (key == "seed") {
      recording_.seed = number_of(value, 0, UINT32_MAX);
    } else if (key == "started") {
      recording_.started = number_of(value, 0, INT64_MAX / 2);
    } else if (key == "fps") {
      recording_.fps = small_number(value, 0, 1000);
    } else if (key == "desktop") {
      recording_.desktop_width = small_number(next_word(), 1, 65535);
      recording_.desktop_height = small_number(next_word(), 1, 65535);
    } else if (key == "argument") {
      recording_.arguments.push_back(value);
    } else if (key == "end") {
      recording_.end = static_cast<std::uint64_t>(
          number_of(value, static_cast<std::int64_t>(last_frame()), UINT32_MAX));
    } else {
      fail("no line of a recording begins with \"" + std::string(key) + '"');
    }
  }

  std::uint64_t last_frame() const {
    return recording_.frames.empty() ? 1 : recording_.frames.back().number;
  }

  void read_frame(std::string_view key) {
    const auto frame = static_cast<std::uint64_t>(number_of(key, 1, UINT32_MAX));
    if (!recording_.frames.empty() && frame <= last_frame())
      fail("frame " + std::to_string(frame) + " comes after frame " + std::to_string(last_frame()));
    if (recording_.end) fail("a frame comes after the end");
    recording_.frames.push_back({.number = frame});
    while (!rest_.empty())
      read_word(recording_.frames.back(), next_word());
  }

  void read_word(Recording::Frame &frame, std::string_view word) {
    const std::size_t sign = std::min(word.find('='), word.size());
    const std::string_view name = word.substr(0, sign);
    const std::string_view value = word.substr(std::min(sign + 1, word.size()));
    if (word == "late")
      frame.late = true;
    else if (name == "clock")
      frame.milliseconds = number_of(value, 0, INT64_MAX / 2);
    else if (name == "rate")
      frame.rate = static_cast<std::int32_t>(number_of(value, 0, INT32_MAX));
    else
      words_.read(word, frame.events);
  }

  Recording recording_;
  int line_ = 0;
  InputWords words_;
  std::string_view rest_; // of the line
};

} // namespace

Recording Recording::read(const std::string &file) {
  return Reader(file).read();
}

void Recording::adopt(Settings &settings) const {
  const std::string name = fs::path(settings.script).filename().string();
  if (sum && sum != sum_of(settings.script)) {
    if (name != script)
      throw PlayError(exit_script,
                      file + ": this is a recording of " + script + ", not of " + name);
    std::fprintf(stderr, "orbplay: %s has changed since %s was recorded; frames may differ\n",
                 settings.script.c_str(), file.c_str());
  }
  settings.seed = seed;
  settings.started = started;
  settings.fps = fps.value_or(-1);
  settings.arguments = arguments;
  settings.desktop_width = desktop_width;
  settings.desktop_height = desktop_height;
  if (!settings.frames) settings.frames = end;
}

// ---- Recording ---------------------------------------------------------------------------------

void Recorder::prepare(Settings &settings) {
  const std::int64_t now = settings.headless ? headless_start : std::time(nullptr);
  if (settings.seed < 0) settings.seed = settings.headless ? 1 : now & UINT32_MAX;
  if (!settings.started) settings.started = now;
}

Recorder::Recorder(orbhost::Host &host, const Settings &settings)
    : host_(host), name_(settings.record),
      file_(open(name_.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0666)) {
  if (file_ < 0) throw PlayError(exit_script, name_ + ": " + std::strerror(errno));
  std::string text(first_line);
  text += "\nscript " + fs::path(settings.script).filename().string() + '\n';
  if (const auto sum = sum_of(settings.script)) text += "sum " + hexadecimal(*sum) + '\n';
  text += "seed " + std::to_string(settings.seed) + '\n';
  text += "started " + std::to_string(*settings.started) + '\n';
  if (settings.fps >= 0) text += "fps " + std::to_string(settings.fps) + '\n';
  text += "desktop " + std::to_string(host.device_system.desktop_width) + ' ' +
          std::to_string(host.device_system.desktop_height) + '\n';
  for (const std::string &argument : settings.arguments) {
    if (argument.find_first_of("\r\n") != std::string::npos)
      throw PlayError(exit_usage, "an argument of several lines can't be recorded");
    text += "argument " + argument + '\n';
  }
  write(text);
  written_ = static_cast<std::int64_t>(text.size());
  host.input().on_event = [this](const InputEvent &event) { note(event); };
  host.clock().on_frame = [this](const orbhost::Clock::Frame &frame,
                                 const orbhost::Clock::Frame &nominal) {
    if (frame.milliseconds != nominal.milliseconds)
      clock_.push_back("clock=" + std::to_string(frame.milliseconds));
    if (frame.rate != nominal.rate) clock_.push_back("rate=" + std::to_string(frame.rate));
    if (frame.late) clock_.emplace_back("late");
  };
}

Recorder::~Recorder() {
  host_.input().on_event = nullptr;
  host_.clock().on_frame = nullptr;
  close(file_);
}

// Writes a text behind the frames that are over, in place of what stood there.
void Recorder::write(const std::string &text) {
  const auto size = static_cast<ssize_t>(text.size());
  if (pwrite(file_, text.data(), text.size(), written_) != size ||
      ftruncate(file_, written_ + size) != 0)
    throw PlayError(exit_script, name_ + ": " + std::strerror(errno));
}

// The frame's line; empty for a frame without inputs.
std::string Recorder::line() const {
  if (words_.empty()) return {};
  std::string text = std::to_string(frame_);
  for (const std::string &word : words_)
    text += ' ' + word;
  return text + '\n';
}

void Recorder::write_frame() {
  write(line() + "end " + std::to_string(end_) + '\n');
}

void Recorder::note(const InputEvent &event) {
  const std::string word = word_of(event);
  if (word.empty()) return;
  // Only where the pointer stops counts.
  if (event.kind == Kind::motion)
    std::erase_if(words_, [](const std::string &other) { return other.starts_with("mouse="); });
  words_.push_back(word);
  if (frame_ == end_) write_frame();
}

void Recorder::before_frame(orbhost::Host & /*host*/, std::uint64_t frame) {
  end_ = frame;
  write_frame();
}

void Recorder::after_frame(orbhost::Host & /*host*/, std::uint64_t frame, bool /*last*/) {
  written_ += static_cast<std::int64_t>(line().size());
  frame_ = frame + 1;
  words_ = std::exchange(clock_, {});
}

// ---- Playing -----------------------------------------------------------------------------------

Replayer::Replayer(orbhost::Host &host, const Recording &recording) : recording_(recording) {
  host.input().listening = false;
  // Called when a frame is over, whose inputs are played: what is next is of the next, or later.
  host.clock().on_frame = [this, &clock = host.clock()](orbhost::Clock::Frame &frame,
                                                        const orbhost::Clock::Frame &nominal) {
    frame = nominal;
    if (next_ == recording_.frames.size()) return;
    const Recording::Frame &next = recording_.frames[next_];
    if (next.number != clock.frames() + 1) return;
    frame.milliseconds = next.milliseconds.value_or(frame.milliseconds);
    frame.rate = next.rate.value_or(frame.rate);
    frame.late = next.late;
  };
}

void Replayer::before_frame(orbhost::Host &host, std::uint64_t frame) {
  if (next_ == recording_.frames.size() || recording_.frames[next_].number != frame) return;
  for (const InputEvent &event : recording_.frames[next_].events)
    host.input().apply(event);
  ++next_;
}

} // namespace orbplay
