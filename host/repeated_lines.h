// Lines for the user, such as reports: each is printed once, what comes again is counted.
#pragma once

#include <cstddef>
#include <memory_resource>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

namespace orbhost {

class RepeatedLines {
public:
  RepeatedLines();
  RepeatedLines(const RepeatedLines &) = delete;
  RepeatedLines &operator=(const RepeatedLines &) = delete;
  ~RepeatedLines(); // prints the counts: "game.lua:12: ...: 299 more times"

  // Prints the line on stderr, unless it, or another of the same kind, was printed before. A play
  // that fails in a new way all the time gets some hundred lines.
  void tell(std::string_view line) { tell(line, line); }
  void tell(std::string_view line, std::string_view kind);

private:
  std::pmr::monotonic_buffer_resource
      memory_; // taken at once, so that mistakes don't look like leaks
  std::pmr::unordered_map<std::pmr::string, std::size_t> kinds_; // where they are below
  std::pmr::vector<std::pmr::string> lines_;
  std::pmr::vector<std::size_t> again_;
  std::size_t untold_ = 0;
};

} // namespace orbhost
