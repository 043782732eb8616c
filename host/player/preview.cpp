#include "host/player/preview.h"

#include "host/player/game.h"
#include "host/player/screenshots.h"
#include "host/player/session.h"

#include <cstdio>
#include <exception>
#include <memory>

#include <sys/wait.h>
#include <unistd.h>

namespace orbplay {
namespace {

constexpr std::uint64_t frames = 120;
constexpr unsigned most_seconds = 10;

// Whether the play has got as far as the picture.
bool play(const std::string &zip, Settings settings) {
  try {
    const Game game =
        open_game(zip); // unpacked elsewhere: what it writes isn't in the user's folder
    settings.script = game.script;
    Session session(settings, game);
    session.observe(std::make_unique<Screenshots>(settings));
    while (session.frame()) {
    }
    return true;
  } catch (const std::exception &) {
    return false;
  }
}

} // namespace

std::string take_preview(const std::string &zip, const Settings &settings, const std::string &png) {
  Settings here;
  here.program = settings.program;
  here.module = settings.module;
  here.headless = here.mute = here.display_pictures = true;
  here.frames = frames;
  here.screenshots = {{png, 0}};
  std::fflush(nullptr);
  const pid_t child = fork();
  if (child == 0) {
    alarm(most_seconds); // ends even a script in an endless loop
    const bool silent = std::freopen("/dev/null", "r", stdin) &&
                        std::freopen("/dev/null", "w", stdout) &&
                        std::freopen("/dev/null", "w", stderr);
    _exit(silent && play(zip, here) ? 0 : 1);
  }
  int status = 0;
  if (child < 0 || waitpid(child, &status, 0) != child) return "it can't be played here";
  if (WIFSIGNALED(status) && WTERMSIG(status) == SIGALRM)
    return "playing " + std::to_string(frames) + " frames takes more than " +
           std::to_string(most_seconds) + " seconds";
  if (!WIFEXITED(status) || WEXITSTATUS(status) != 0)
    return "it fails in the first " + std::to_string(frames) + " frames";
  return {};
}

} // namespace orbplay
