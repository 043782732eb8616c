// --watch: whether a game's files have changed.
#pragma once

#include <filesystem>
#include <map>
#include <string>

namespace orbplay {

// Looks at every file in a game's folder, and in the folders there, but for hidden ones and what lies
// beyond the first few thousand.
class Watch {
public:
  explicit Watch(const std::string &folder) : folder_(folder), seen_(look()), pending_(seen_) {}
  // Whether a file was written, added or removed since the last call. Looks at most a few times a
  // second; an editor's save in several steps counts once.
  bool changed();

private:
  using Times = std::map<std::filesystem::path, std::filesystem::file_time_type>;
  [[nodiscard]] Times look() const;

  std::filesystem::path folder_;
  Times seen_, pending_;
  unsigned due_ = 0; // SDL's ticks
};

} // namespace orbplay
