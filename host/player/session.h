// One play of a game: from loading its script to releasing the module.
#pragma once

#include "host/host.h"
#include "host/player/game.h"
#include "host/player/options.h"
#include "host/script.h"

#include <cstdint>
#include <memory>
#include <vector>

namespace orbplay {

// What os.time() tells as play begins headless: noon of 1 January 2000, UTC.
inline constexpr std::int64_t headless_start = 946'728'000;

// Something that watches play, frame by frame: screenshots, a recording. It may throw
// orbhost::HostError, which ends play.
class Observer {
public:
  Observer() = default;
  Observer(const Observer &) = delete;
  Observer &operator=(const Observer &) = delete;
  virtual ~Observer() = default;
  // Before the events of frame `frame` are handled; frames count from 1.
  virtual void before_frame(orbhost::Host & /*host*/, std::uint64_t /*frame*/) {}
  // After it was drawn. `last`: play ends with it.
  virtual void after_frame(orbhost::Host & /*host*/, std::uint64_t /*frame*/, bool /*last*/) {}
  // After the last frame of a play that ended without an error. Throws what is missing.
  virtual void ended(std::uint64_t /*frames*/) {}
};

class Session {
public:
  // Loads module and script and starts the module. Throws PlayError, or orbhost::ScriptError.
  Session(const Settings &settings, const Game &game);
  ~Session();

  // Takes part in every frame from now on.
  void observe(std::unique_ptr<Observer> observer) { observers_.push_back(std::move(observer)); }

  // One frame; false when play is over. Throws orbhost::ScriptError and orbhost::HostError.
  bool frame();
  // Play ends with the frame under way, or the next one.
  void stop() { stopped_ = true; }

  [[nodiscard]] orbhost::Host &host() { return *host_; }
  [[nodiscard]] orbhost::Script &script() { return *script_; }
  [[nodiscard]] std::uint64_t frames() const { return frames_; }

private:
  const Settings &settings_;
  std::unique_ptr<orbhost::Host> host_;
  std::unique_ptr<orbhost::Script> script_;
  std::vector<std::unique_ptr<Observer>> observers_;
  std::uint64_t frames_ = 0;
  bool stopped_ = false;
};

// Attaches the settings' module to a host. Throws PlayError. The programs that play have it: one
// loads a file, another has the module in itself.
void attach_module(orbhost::Host &host, const Settings &settings);

// A host for the game of that name, with the settings' module attached. Throws PlayError.
std::unique_ptr<orbhost::Host> make_host(const Settings &settings, const std::string &name);

} // namespace orbplay
