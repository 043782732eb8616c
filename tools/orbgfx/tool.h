// What the parts of orbgfx share: exit statuses, failures, options, the progress line.
#pragma once

#include <chrono>
#include <optional>
#include <stdexcept>
#include <string>

namespace orbgfx {

enum ExitStatus { exit_ok, exit_failure, exit_usage, exit_not_found };

// A failure with its exit status; the text reads well behind "orbgfx: ".
struct ToolError : std::runtime_error {
  explicit ToolError(const std::string &text, ExitStatus with = exit_failure)
      : std::runtime_error(text), status(with) {}
  ExitStatus status;
};

// Options that several commands take.
struct Common {
  std::string module;
  std::optional<std::string> key; // of the files that are read
  bool force = false;             // overwrite
  bool json = false;
};

// Throws ToolError when a file is there and isn't to be overwritten.
void check_overwrite(const std::string &path, const Common &common);

// "orbgfx: unpacking 12/300 012_ship.png" on one line of a terminal, from the first half second on.
// Nothing where stderr is no terminal.
class Progress {
public:
  Progress(std::string what, std::size_t total);
  ~Progress(); // takes the line away
  Progress(const Progress &) = delete;
  Progress &operator=(const Progress &) = delete;

  // The next of `total` steps begins.
  void step(const std::string &name);

private:
  std::string what_;
  std::size_t total_, done_ = 0;
  bool terminal_, shown_ = false;
  std::chrono::steady_clock::time_point next_;
};

} // namespace orbgfx
