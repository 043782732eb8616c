// Play in a window: the player's keys, pause, playing again, and what is shown when a script fails.
#pragma once

#include "host/player/options.h"
#include "host/player/overlay.h"
#include "host/player/session.h"
#include "host/player/watch.h"
#include "host/player/window.h"

#include <functional>
#include <optional>
#include <string>

namespace orbplay {

class Stage {
public:
  // `prepare` is called with each play before its first frame. Throws PlayError without a display.
  Stage(const Settings &settings, const Game &game, std::function<void(Session &)> prepare);

  // Plays until the user has had enough; the exit status. Throws PlayError.
  int run();
  // Play ends after the frame under way. May be called by a signal's handler.
  void stop() { stopped_ = true; }

private:
  enum class Next { leave, again };

  Next play();
  Next show_failure(const std::string &message);
  // An event that the player has used up: false.
  bool handle(SDL_Event &event);
  void wait_while_paused(Session &session);
  void take_screenshot();

  const Settings &settings_;
  const Game &game_;
  std::function<void(Session &)> prepare_;
  Window window_;
  Overlay overlay_;
  std::optional<Watch> watch_;
  volatile bool stopped_ = false;
  bool again_ = false, paused_ = false, step_ = false, failed_ = false;
};

} // namespace orbplay
