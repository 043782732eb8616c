// What the window shows when a script has failed: the message, the source around its line, and
// where it was called from.
#pragma once

#include <SDL.h>

#include <string>
#include <vector>

namespace orbplay {

class ErrorScreen {
public:
  // `message` as of orbhost::ScriptError. Reads the source as it is now. `help`: what the user can
  // do.
  ErrorScreen(const std::string &message, const std::string &help);
  void paint(SDL_Surface &surface) const;

private:
  struct Line {
    std::string text;
    enum class Kind { message, source, failing_source, trace, help } kind;
  };
  void add_source(const std::string &file, int line);

  std::vector<Line> lines_;
};

} // namespace orbplay
