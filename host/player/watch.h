// --watch: whether a game's files have changed.
#pragma once

#include <filesystem>
#include <map>
#include <string>

namespace orbplay {

// Looks at every file in the folder of a script, and those in its folders, but for hidden ones and
// what lies beyond the first few thousand.
class Watch {
public:
  explicit Watch(const std::string &script);
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
