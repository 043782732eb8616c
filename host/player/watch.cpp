#include "host/player/watch.h"

#include <SDL.h>

#include <system_error>

namespace orbplay {
namespace {

namespace fs = std::filesystem;

constexpr std::size_t most_files = 4000;
constexpr unsigned period = 200; // ms

} // namespace

Watch::Times Watch::look() const {
  Times times;
  std::error_code error;
  fs::recursive_directory_iterator entry(folder_, error);
  for (; !error && entry != fs::recursive_directory_iterator() && times.size() < most_files;
       entry.increment(error)) {
    std::error_code gone; // files may vanish meanwhile
    if (entry->path().filename().native().starts_with('.')) {
      if (entry->is_directory(gone)) entry.disable_recursion_pending();
    } else if (entry->is_regular_file(gone)) {
      times[entry->path()] = entry->last_write_time(gone);
    }
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
