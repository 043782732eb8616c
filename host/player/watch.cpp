#include "host/player/watch.h"

#include <SDL.h>

#include <system_error>

namespace orbplay {
namespace {

namespace fs = std::filesystem;

constexpr unsigned period = 200; // ms

} // namespace

Watch::Watch(const std::string &script) {
  std::error_code ignored;
  files_ = {fs::absolute(script, ignored).string()};
  seen_ = pending_ = look();
}

// What is followed anew counts as seen now.
void Watch::follow(const std::set<std::string> &files) {
  if (files.empty() || files.size() == files_.size()) return;
  files_ = files;
  const Times now = look();
  for (Times *times : {&seen_, &pending_}) {
    Times kept = now;
    for (auto &[file, time] : kept)
      if (const auto before = times->find(file); before != times->end()) time = before->second;
    *times = std::move(kept);
  }
}

Watch::Times Watch::look() const {
  Times times;
  for (const std::string &file : files_) {
    std::error_code missing;
    const fs::file_time_type time = fs::last_write_time(file, missing);
    times[file] = missing ? fs::file_time_type::min() : time;
  }
  return times;
}

// A change is told once nothing has changed for a period.
bool Watch::changed() {
  const unsigned now = SDL_GetTicks();
  if (now < due_) return false;
  due_ = now + period;
  Times times = look();
  const bool quiet = times == pending_;
  pending_ = std::move(times);
  if (!quiet || pending_ == seen_) return false;
  seen_ = pending_;
  return true;
}

} // namespace orbplay
