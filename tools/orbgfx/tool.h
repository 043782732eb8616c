// Shared by all parts of orbgfx: exit statuses, failures, options, the progress line.
#pragma once

#include <chrono>
#include <optional>
#include <stdexcept>
#include <string>

namespace orbgfx {

enum ExitStatus { exit_ok, exit_failure, exit_usage, exit_not_found };

// A failure with its exit status. The text is printed after "orbgfx: ".
struct ToolError : std::runtime_error {
  explicit ToolError(const std::string &text, ExitStatus with = exit_failure)
      : std::runtime_error(text), status(with) {}
  ExitStatus status;
};

// Options of several commands.
struct Common {
  std::string module;
  std::optional<std::string> key; // of the files that are read
  bool force = false;             // overwrite
  bool json = false;
};

// Throws ToolError if a file exists and must not be overwritten.
void check_overwrite(const std::string &path, const Common &common);

// Shows "orbgfx: unpacking 12/300 012_ship.png" on one line of a terminal after half a second.
// Shows nothing if stderr isn't a terminal.
class Progress {
public:
  Progress(std::string what, std::size_t total);
  ~Progress(); // erases the line
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
