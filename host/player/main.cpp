// orbplay: plays a Lua script with the graphics module.
#include "host/output_file.h"
#include "host/player/capture.h"
#include "host/player/game.h"
#include "host/player/hashes.h"
#include "host/player/new_game.h"
#include "host/player/options.h"
#include "host/player/pack.h"
#include "host/player/pack_web.h"
#include "host/player/recording.h"
#include "host/player/screenshots.h"
#include "host/player/session.h"
#include "host/player/stage.h"
#include "host/reference.h"
#include "host/reference_help.h"

#include <csignal>
#include <cstdint>
#include <cstdio>
#include <ctime>
#include <memory>
#include <optional>
#include <unistd.h>

namespace orbplay {
namespace {

// Ctrl-C ends play after the frame, so that the display is restored, and stops a script that doesn't
// get that far; a second Ctrl-C ends the program at once. SDL would swallow the signal.
volatile std::sig_atomic_t interrupted = 0;
Stage *stage = nullptr;
orbhost::Script *volatile playing = nullptr;

std::int64_t interrupt_time = 0; // milliseconds

extern "C" void on_interrupt(int number) {
  timespec time{};
  clock_gettime(CLOCK_MONOTONIC, &time);
  const std::int64_t now = std::int64_t{time.tv_sec} * 1000 + time.tv_nsec / 1'000'000;
  if (interrupted) {
    if (now - interrupt_time < 100) return; // the same: timeout(1) signals the whole group, too
    orbhost::remove_unfinished_files();
    _exit(128 + number);
  }
  interrupt_time = now;
  interrupted = number;
  if (stage) stage->stop();
  if (playing) playing->interrupt();
}

// A play that the signal reaches, for as long as it lives.
class Interruptible : public Observer {
public:
  explicit Interruptible(orbhost::Script &script) {
    playing = &script;
    if (interrupted) script.interrupt();
  }
  ~Interruptible() override { playing = nullptr; }
};

void list_functions(const Settings &settings) {
  const orbhost::Reference &reference = orbhost::Reference::built_in();
  const std::unique_ptr<orbhost::Host> host = make_host(settings, "orbplay");
  std::printf("%s", orbhost::list_text(reference, host->registration()).c_str());
}

// Who watches a play, by what the options ask for.
void add_observers(Session &session, const Settings &settings,
                   const std::optional<Recording> &recording) {
  orbhost::Host &host = session.host();
  if (recording) session.observe(std::make_unique<Replayer>(host, *recording));
  if (!settings.record.empty()) session.observe(std::make_unique<Recorder>(host, settings));
  if (!settings.hashes.empty()) session.observe(std::make_unique<HashWriter>(settings.hashes));
  if (!settings.check.empty()) session.observe(std::make_unique<HashCheck>(settings));
  session.observe(std::make_unique<Screenshots>(settings));
  if (!settings.capture.file.empty()) session.observe(std::make_unique<Capture>(settings));
  session.observe(std::make_unique<Interruptible>(session.script()));
}

int play(Settings settings, const Game &game) {
  std::optional<Recording> recording;
  if (!settings.replay.empty()) {
    recording = Recording::read(settings.replay);
    recording->adopt(settings);
  }
  if (!settings.record.empty()) Recorder::prepare(settings);
  if (!settings.headless) {
    Stage in_window(settings, game, [&](Session &session) {
      add_observers(session, settings, recording);
    });
    stage = &in_window;
    const int status = in_window.run();
    stage = nullptr;
    return status;
  }
  Session session(settings, game);
  add_observers(session, settings, recording);
  while (session.frame()) {
  }
  return exit_ok;
}

int run(Settings settings) {
  if (settings.list_functions) {
    list_functions(settings);
    return exit_ok;
  }
  if (!settings.new_game.empty()) {
    make_new_game(settings.new_game, settings.program);
    return exit_ok;
  }
  if (!settings.pack.empty()) {
    if (settings.web)
      pack_for_web(settings);
    else
      pack_game(settings.pack, settings.program);
    return exit_ok;
  }
  const Game game = open_game(settings.script);
  std::signal(SIGINT, on_interrupt);
  std::signal(SIGTERM, on_interrupt);
  settings.script = game.script;
  const int status = play(settings, game);
  return interrupted ? 128 + interrupted : status;
}

} // namespace
} // namespace orbplay

int main(int argc, char **argv) {
  const orbplay::Settings settings = orbplay::parse_options(argc, argv);
  try {
    return orbplay::run(settings);
  } catch (const orbhost::ScriptError &error) {
    std::fprintf(stderr, "%s\n", error.what()); // begins with the script's line
    return orbplay::interrupted ? 128 + orbplay::interrupted : int{orbplay::exit_script};
  } catch (const orbplay::PlayError &error) {
    std::fprintf(stderr, "orbplay: %s\n", error.what());
    return error.status;
  } catch (const std::exception &error) {
    std::fprintf(stderr, "orbplay: %s\n", error.what());
    return orbplay::exit_script;
  }
}
