// Lines for the user, such as reports: each is printed once, what comes again is counted.
#pragma once

#include <cstddef>
#include <string>
#include <unordered_map>
#include <vector>

namespace orbhost {

class RepeatedLines {
public:
  RepeatedLines() = default;
  RepeatedLines(const RepeatedLines &) = delete;
  RepeatedLines &operator=(const RepeatedLines &) = delete;
  ~RepeatedLines(); // prints the counts: "game.lua:12: ...: 299 more times"

  // Prints the line on stderr, unless it was printed before. A play that fails in a new way all the
  // time gets a thousand lines.
  void tell(const std::string &line);

private:
  std::unordered_map<std::string, std::size_t> counts_;
  std::vector<const std::string *> order_; // of the lines, as they came
  std::size_t untold_ = 0;
};

} // namespace orbhost
