#include "host/player/hashes.h"

#include "host/sum.h"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <sstream>

namespace orbplay {
namespace {

constexpr const char *first_line = "orbplay hashes 1";
constexpr std::size_t most_told = 10; // differences

std::uint64_t sum_of_screen(const orbhost::Host &host) {
  const __ORBSurface2D__ *screen = host.screen();
  if (!screen || !screen->pixels) return 0;
  orbhost::Sum sum;
  sum.add(std::uint64_t{screen->width} << 32 | screen->height);
  sum.add(static_cast<std::uint64_t>(screen->depth));
  const auto *row = static_cast<const std::uint8_t *>(screen->pixels);
  const std::size_t bytes =
      std::size_t{screen->width} * static_cast<std::size_t>(screen->depth / 8);
  for (std::uint32_t y = 0; y < screen->height; ++y, row += screen->pitch)
    sum.add(row, bytes);
  if (screen->depth == 8 && host.device() && host.device()->get_palette) {
    __ORBPalette2D__ palette{};
    host.device()->get_palette(&palette);
    sum.add(&palette.colours, sizeof palette.colours);
  }
  return sum.value();
}

// The locals that are numbers.
std::vector<const orbhost::Declaration *> number_locals(const orbhost::Host &host) {
  std::vector<const orbhost::Declaration *> found;
  for (const orbhost::Declaration &local : host.locals().declarations())
    if (local.kind == orbhost::Declaration::Kind::variable && !local.fields[0].pointer)
      found.push_back(&local);
  return found;
}

} // namespace

std::vector<std::string> FrameState::names(orbhost::Host &host) {
  std::vector<std::string> names{"type", "status"};
  for (const orbhost::Declaration *local : number_locals(host))
    names.push_back(local->name);
  return names;
}

FrameState FrameState::of(orbhost::Host &host) {
  FrameState state;
  state.screen = sum_of_screen(host);
  const auto locals = number_locals(host);
  for (const orb_process_node *node = host.processes().first(); node; node = node->next) {
    const orb_process &process = *node->process;
    const auto *words = reinterpret_cast<const std::int32_t *>(process.locals);
    Words &seen = state.processes[process.host0];
    seen = {process.type, process.status};
    for (const orbhost::Declaration *local : locals)
      seen.push_back(words[local->word]);
  }
  return state;
}

// ---- Writing -----------------------------------------------------------------------------------

HashWriter::HashWriter(const std::string &file) : name_(file), file_(file, std::ios::binary) {
  if (!(file_ << first_line << '\n'))
    throw PlayError(exit_script, name_ + ": " + std::strerror(errno));
}

void HashWriter::after_frame(orbhost::Host &host, std::uint64_t frame, bool last) {
  FrameState state = FrameState::of(host);
  const std::vector<std::string> names = FrameState::names(host);
  file_ << "frame " << std::dec << frame << ' ' << std::hex << state.screen << std::dec << '\n';
  for (const auto &[number, words] : last_.processes)
    if (!state.processes.contains(number)) file_ << '-' << number << '\n';
  for (const auto &[number, words] : state.processes) {
    FrameState::Words &before = last_.processes[number];
    if (before == words) continue;
    before.resize(words.size());
    file_ << number;
    for (std::size_t i = 0; i < words.size(); ++i)
      if (words[i] != before[i]) file_ << ' ' << names[i] << '=' << words[i];
    file_ << '\n';
  }
  if (last) file_.flush();
  if (!file_) throw PlayError(exit_script, name_ + ": " + std::strerror(errno));
  last_ = std::move(state);
}

// ---- Comparing ---------------------------------------------------------------------------------

HashCheck::HashCheck(const Settings &settings)
    : settings_(settings), file_(settings.check, std::ios::binary) {
  if (!file_) throw PlayError(exit_not_found, settings.check + ": " + std::strerror(errno));
  ++line_number_;
  if (!std::getline(file_, line_) || line_ != first_line) fail();
  ++line_number_;
  std::getline(file_, line_);
}

void HashCheck::fail() const {
  throw PlayError(exit_script, settings_.check + ':' + std::to_string(line_number_) +
                                   ": this isn't what --hashes writes");
}

// Reads what is expected of the next frame; false at the end of the file.
bool HashCheck::read_frame(const std::vector<std::string> &names) {
  if (!file_) return false;
  std::istringstream heading(line_);
  std::string word;
  std::uint64_t frame = 0;
  if (!(heading >> word >> frame >> std::hex >> expected_.screen) || word != "frame") fail();
  while (++line_number_, std::getline(file_, line_) && !line_.starts_with("frame")) {
    std::istringstream line(line_);
    std::int64_t number = 0;
    if (!(line >> number)) fail();
    if (number < 0) {
      if (expected_.processes.erase(static_cast<std::uint32_t>(-number)) == 0) fail();
      continue;
    }
    FrameState::Words &words = expected_.processes[static_cast<std::uint32_t>(number)];
    words.resize(names.size());
    while (line >> std::ws && std::getline(line, word, '=')) {
      const auto name = std::ranges::find(names, word);
      if (name == names.end() || !(line >> words[static_cast<std::size_t>(name - names.begin())]))
        fail();
    }
  }
  return true;
}

void HashCheck::after_frame(orbhost::Host &host, std::uint64_t frame, bool /*last*/) {
  const std::vector<std::string> names = FrameState::names(host);
  if (!read_frame(names)) {
    throw PlayError(exit_script, settings_.check +
                                     ": play goes on, but the file ends before frame " +
                                     std::to_string(frame));
  }
  const FrameState seen = FrameState::of(host);
  std::vector<std::string> differences;
  const auto tell = [&](std::uint32_t number, const std::string &what) {
    differences.push_back("process " + std::to_string(number) + ": " + what);
  };
  if (seen.screen != expected_.screen) differences.emplace_back("the picture");
  for (const auto &[number, words] : expected_.processes) {
    const auto now = seen.processes.find(number);
    if (now == seen.processes.end()) tell(number, "isn't there now");
    for (std::size_t i = 0; now != seen.processes.end() && i < words.size(); ++i) {
      if (now->second[i] != words[i])
        tell(number, names[i] + " is " + std::to_string(now->second[i]) + ", was " +
                         std::to_string(words[i]));
    }
  }
  for (const auto &[number, words] : seen.processes)
    if (!expected_.processes.contains(number)) tell(number, "wasn't there");
  if (differences.empty()) return;
  std::string text = "frame " + std::to_string(frame) + " differs from " + settings_.check + ':';
  for (std::size_t i = 0; i < std::min(differences.size(), most_told); ++i)
    text += "\n  " + differences[i];
  if (differences.size() > most_told)
    text += "\n  and " + std::to_string(differences.size() - most_told) + " more";
  throw PlayError(exit_script, text);
}

void HashCheck::ended(std::uint64_t frames) {
  if (file_ && frames != settings_.frames) {
    throw PlayError(exit_script, settings_.check + ": play ended at frame " +
                                     std::to_string(frames) + ", the file goes on");
  }
}

} // namespace orbplay
