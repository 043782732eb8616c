#include "host/player/stage.h"

#include "host/player/error_screen.h"
#include "host/player/icon.h"
#include "host/screenshot.h"

#include <cstdio>
#include <filesystem>
#include <vector>

namespace orbplay {
namespace {

namespace fs = std::filesystem;

constexpr unsigned idle_ms = 10;

} // namespace

Stage::Stage(const Settings &settings, const Game &game, std::function<void(Session &)> prepare)
    : settings_(settings), game_(game), prepare_(std::move(prepare)),
      window_({game.name, settings.scale, settings.full_screen}) {
  set_icon(game.folder);
  if (settings.watch) watch_.emplace(game.script);
}

int Stage::run() {
  while (play() == Next::again) {
  }
  return failed_ ? exit_script : exit_ok;
}

Stage::Next Stage::play() {
  again_ = paused_ = failed_ = false;
  std::string message;
  try {
    Session session(settings_, game_);
    prepare_(session);
    session.host().input().on_sdl_event = [this](SDL_Event &event) { return handle(event); };
    overlay_.attach(session.host());
    window_.paint = [this](SDL_Surface &surface) { overlay_.paint(window_.view(), surface); };
    for (bool more = true; more;) {
      wait_while_paused(session);
      if (again_ || stopped_) session.stop();
      overlay_.frame_begins();
      try {
        more = session.frame();
      } catch (const orbhost::ScriptError &) {
        if (watch_) watch_->follow(session.host().files().read_paths());
        throw;
      }
      window_.check();
      if (watch_) watch_->follow(session.host().files().read_paths());
      again_ |= watch_ && watch_->changed();
    }
    overlay_.detach();
    window_.paint = nullptr;
  } catch (const orbhost::ScriptError &error) {
    message = error.what();
  }
  if (message.empty()) return again_ && !stopped_ ? Next::again : Next::leave;
  overlay_.detach();
  failed_ = true;
  std::fprintf(stderr, "%s\n", message.c_str());
  // Programs that play games count frames, and nobody looks.
  const bool nobody = settings_.frames || stopped_ || !Window::is_seen();
  return nobody ? Next::leave : show_failure(message);
}

// Keys and buttons that are pressed meanwhile reach the game afterwards.
void Stage::wait_while_paused(Session &session) {
  if (!paused_) return;
  session.host().clock().hold();
  session.host().sound().pause(true);
  std::vector<SDL_Event> kept;
  while (paused_ && !step_ && !again_ && !stopped_) {
    for (SDL_Event event; SDL_PollEvent(&event);) {
      if (!handle(event)) continue;
      if (event.type == SDL_QUIT) stopped_ = true;
      if (event.type == SDL_KEYUP || event.type == SDL_MOUSEBUTTONUP) kept.push_back(event);
    }
    again_ |= watch_ && watch_->changed();
    window_.show();
    SDL_Delay(idle_ms);
  }
  for (SDL_Event &event : kept)
    SDL_PushEvent(&event);
  step_ = false;
  session.host().sound().pause(false);
  session.host().clock().resume();
}

bool Stage::handle(SDL_Event &event) {
  if (!window_.handle(event)) return false;
  if (event.type == SDL_MOUSEMOTION) overlay_.point({event.motion.x, event.motion.y});
  if (event.type != SDL_KEYDOWN) return true;
  switch (event.key.keysym.sym) {
  case SDLK_F3: overlay_.figures = !overlay_.figures; return false;
  case SDLK_F4: overlay_.boxes = !overlay_.boxes; return false;
  case SDLK_F5: again_ = true; return false;
  case SDLK_F6: paused_ = !paused_; return false;
  case SDLK_F7: paused_ = step_ = true; return false;
  case SDLK_F12: take_screenshot(); return false;
  default: return true;
  }
}

// Into the first name that is free, in the current directory.
void Stage::take_screenshot() {
  std::error_code ignored;
  std::string file;
  for (int i = 1; file.empty() || fs::exists(file, ignored); ++i)
    file = game_.name + "-" + std::to_string(i) + ".png";
  try {
    orbhost::save_png(orbhost::take_display_picture(), file);
    std::fprintf(stderr, "orbplay: saved %s\n", file.c_str());
  } catch (const orbhost::HostError &error) {
    std::fprintf(stderr, "orbplay: %s\n", error.what());
  }
}

Stage::Next Stage::show_failure(const std::string &message) {
  const ErrorScreen screen(message, "r plays again, escape ends");
  window_.paint = [&](SDL_Surface &surface) { screen.paint(surface); };
  window_.show_alone();
  Next next = Next::leave;
  for (bool waiting = true; waiting && !stopped_; SDL_Delay(idle_ms)) {
    for (SDL_Event event; SDL_PollEvent(&event);) {
      if (event.type == SDL_VIDEOEXPOSE) window_.show_alone();
      if (event.type == SDL_QUIT) waiting = false;
      if (event.type != SDL_KEYDOWN) continue;
      const SDLKey key = event.key.keysym.sym;
      if (key == SDLK_ESCAPE) waiting = false;
      if (key == SDLK_r || key == SDLK_F5) waiting = false, next = Next::again;
    }
    if (watch_ && watch_->changed()) waiting = false, next = Next::again;
  }
  window_.paint = nullptr;
  return next;
}

} // namespace orbplay
