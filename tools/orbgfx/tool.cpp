#include "tools/orbgfx/tool.h"

#include "tools/orbgfx/text.h"

#include <cstdio>
#include <filesystem>
#include <unistd.h>

namespace orbgfx {

void check_overwrite(const std::string &path, const Common &common) {
  std::error_code ignored;
  if (!common.force && std::filesystem::exists(path, ignored)) {
    throw ToolError(path + ": exists already (--force overwrites it)");
  }
}

Progress::Progress(std::string what, std::size_t total)
    : what_(std::move(what)), total_(total), terminal_(::isatty(STDERR_FILENO) == 1),
      next_(std::chrono::steady_clock::now() + std::chrono::milliseconds(500)) {}

Progress::~Progress() {
  if (shown_) std::fputs("\r\33[K", stderr);
}

void Progress::step(const std::string &name) {
  ++done_;
  if (!terminal_ || std::chrono::steady_clock::now() < next_) return;
  next_ = std::chrono::steady_clock::now() + std::chrono::milliseconds(100);
  // Short, so that the line doesn't wrap.
  const std::string file = std::filesystem::path(name).filename().string().substr(0, 40);
  std::fprintf(stderr, "\r\33[Korbgfx: %s %zu/%zu %s", what_.c_str(), done_, total_,
               escape_line(file).c_str());
  std::fflush(stderr);
  shown_ = true;
}

} // namespace orbgfx
