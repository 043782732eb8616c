// --watch: whether a game's files have changed.
#pragma once

#include <filesystem>
#include <map>
#include <set>
#include <string>

namespace orbplay {

class Watch {
public:
  // Looks at that file from now on.
  explicit Watch(const std::string &script);
  // Looks at these instead: the files that a play has read. An empty set changes nothing.
  void follow(const std::set<std::string> &files);
  // Whether one of them was written, added or removed since the last call. Looks at most a few times
  // a second; an editor's save in several steps counts once.
  bool changed();

private:
  using Times = std::map<std::string, std::filesystem::file_time_type>;
  [[nodiscard]] Times look() const;

  std::set<std::string> files_;
  Times seen_, pending_;
  unsigned due_ = 0; // SDL's ticks
};

} // namespace orbplay
