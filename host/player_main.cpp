// orbplay: plays a Lua script with the graphics module.
#include "host/host.h"
#include "host/module_file.h"
#include "host/reference.h"
#include "host/reference_help.h"
#include "host/screenshot.h"
#include "host/script.h"

#include <CLI/CLI.hpp>

#include <algorithm>
#include <csignal>
#include <cstdio>
#include <ctime>
#include <filesystem>
#include <memory>
#include <string>
#include <unistd.h>
#include <vector>

#ifndef ORB_VERSION
#define ORB_VERSION "unknown"
#endif

namespace {

namespace fs = std::filesystem;

enum ExitStatus { exit_ok, exit_script, exit_usage, exit_not_found, exit_video };

// Ctrl-C ends play after the frame, so that the display is restored; a second Ctrl-C, at once. SDL
// would swallow the signal, and a script in an endless loop couldn't be stopped.
volatile std::sig_atomic_t interrupted = 0;

extern "C" void on_interrupt(int number) {
  if (interrupted) _exit(128 + number);
  interrupted = number;
}

// A failure with its exit status.
struct PlayError : std::runtime_error {
  PlayError(ExitStatus with, const std::string &text) : std::runtime_error(text), status(with) {}
  ExitStatus status;
};

struct Screenshot {
  std::string file;
  std::uint64_t frame = 0; // 0: the last one
};

struct Settings {
  std::string script;
  std::vector<std::string> arguments;
  std::string module;
  bool headless = false, full_screen = false, strict = false, list_functions = false;
  bool display_pictures = false; // screenshots of the display instead of the script's screen
  std::uint64_t frames = 0;      // 0: no limit
  int fps = -1;                  // negative: the script's choice
  std::int64_t seed = -1;        // negative: 1 when headless, else a new one every time
  std::vector<Screenshot> screenshots;
};

// "FILE@12" is FILE at frame 12; without digits after the last "@" the whole text is a name.
Screenshot parse_screenshot(const std::string &text) {
  const std::size_t at = text.rfind('@');
  if (at == std::string::npos || at == 0 || at + 1 == text.size() || text.size() - at > 10 ||
      !std::all_of(text.begin() + static_cast<std::ptrdiff_t>(at) + 1, text.end(),
                   [](char c) { return c >= '0' && c <= '9'; })) {
    return {text, 0};
  }
  const std::uint64_t frame = std::stoull(text.substr(at + 1));
  if (frame == 0) throw CLI::ValidationError("--screenshot", "frames count from 1");
  return {text.substr(0, at), frame};
}

class Formatter : public CLI::Formatter {
public:
  std::string make_usage(const CLI::App *, std::string) const override {
    return "Usage: orbplay [options] SCRIPT [-- script arguments]\n";
  }
};

// Prints the entry of a name, or names like it.
ExitStatus explain(const std::string &name) {
  const orbhost::Reference &reference = orbhost::Reference::built_in();
  if (const std::string text = orbhost::help_text(reference, name); !text.empty()) {
    std::printf("%s", text.c_str());
    return exit_ok;
  }
  std::fprintf(stderr, "orbplay: nothing is called %s", name.c_str());
  const std::vector<std::string> near = reference.nearest(name, 3);
  for (const std::string &other : near)
    std::fprintf(stderr, "%s%s", &other == &near.front() ? "; did you mean " : " or ",
                 other.c_str());
  std::fprintf(stderr, "%s\n", near.empty() ? "" : "?");
  return exit_usage;
}

// Exits on a usage error, and after --help and --version.
Settings parse_options(int argc, char **argv) {
  Settings settings;
  std::vector<std::string> screenshots;
  CLI::App app{"Plays a Lua script with the 2D graphics module.", "orbplay"};
  app.footer("Exit status: 0 ok, 1 script error, 2 usage, 3 file not found, 4 video or module\n"
             "could not start, 130 interrupted.");
  app.formatter(std::make_shared<Formatter>());
  app.failure_message([](const CLI::App *, const CLI::Error &error) {
    return std::string("orbplay: ") + error.what() + "\nRun with --help for more information.\n";
  });
  app.set_version_flag("--version", "orbplay " ORB_VERSION);
  app.set_help_flag();
  std::string topic;
  const CLI::Option *help =
      app.add_option("-h,--help", topic, "what NAME means to a script; or this message")
          ->type_name("[NAME]")
          ->expected(0, 1);
  app.add_option("script", settings.script, "Lua script to play")->type_name("SCRIPT");
  app.add_option("arguments", settings.arguments,
                 "the script's own arguments; those that begin with \"-\" after \"--\"");
  app.add_flag("--headless", settings.headless,
               "no window, no waiting; every run draws the same frames");
  app.add_option("--frames", settings.frames, "stop after N frames")
      ->type_name("N")
      ->check(CLI::Range(std::uint64_t{1}, std::uint64_t{0xFFFFFFFF}));
  app.add_option("--fps", settings.fps, "hold N frames a second, 0 for as many as possible")
      ->type_name("N")
      ->check(CLI::Range(0, 1000));
  app.add_option("--seed", settings.seed, "seed of the script's random numbers")
      ->type_name("N")
      ->check(CLI::Range(std::int64_t{0}, std::int64_t{0xFFFFFFFF}));
  app.add_option("--screenshot", screenshots,
                 "save the screen as a PNG at that frame, or at the end; may be repeated")
      ->type_name("FILE[@FRAME]")
      ->type_size(1)
      ->allow_extra_args(false)
      ->multi_option_policy(CLI::MultiOptionPolicy::TakeAll);
  app.add_flag("--display", settings.display_pictures,
               "screenshots show the display, with filters, borders and 8-bit fades");
  app.add_flag("--fullscreen", settings.full_screen, "start in full screen");
  app.add_flag("--strict", settings.strict, "stop at the first error that the module reports");
  app.add_flag("--list-functions", settings.list_functions,
               "list all functions that a script can call, and exit");
  app.add_option("--module", settings.module, "load this module file")->type_name("PATH");
  try {
    app.parse(argc, argv);
    if (help->count() > 0) {
      if (topic.empty()) throw CLI::CallForHelp();
      std::exit(explain(topic));
    }
    for (const std::string &text : screenshots) {
      settings.screenshots.push_back(parse_screenshot(text));
    }
    if (settings.script.empty() && !settings.list_functions) {
      throw CLI::RequiredError("SCRIPT");
    }
  } catch (const CLI::ParseError &error) {
    const int status = app.exit(error) == 0 ? exit_ok : exit_usage;
    std::fflush(nullptr);
    std::exit(status);
  }
  return settings;
}

void load_module(orbhost::Host &host, const Settings &settings, const char *program) {
  std::string path = settings.module;
  if (path.empty())
    path = orbhost::find_module(program);
  else if (path.find('/') == std::string::npos)
    path.insert(0, "./");
  try {
    host.load(path);
  } catch (const std::exception &error) {
    throw PlayError(exit_video, std::string("the module can't be loaded: ") + error.what());
  }
}

void list_functions(const orbhost::Host &host) {
  const orbhost::Reference &reference = orbhost::Reference::built_in();
  std::printf("%s", orbhost::list_text(reference, host.registration()).c_str());
}

void save_screenshots(const orbhost::Host &host, const Settings &settings, std::uint64_t frame,
                      bool last) {
  for (const Screenshot &shot : settings.screenshots) {
    if (shot.frame == frame || (last && shot.frame == 0)) {
      orbhost::save_png(settings.display_pictures ? orbhost::take_display_picture()
                                                  : orbhost::take_picture(host),
                        shot.file);
    }
  }
}

void play(orbhost::Host &host, const Settings &settings) {
  orbhost::ScriptOptions options;
  options.strict = settings.strict;
  options.arguments = settings.arguments;
  if (settings.seed >= 0)
    options.seed = static_cast<std::uint32_t>(settings.seed);
  else if (!settings.headless)
    options.seed = static_cast<std::uint32_t>(std::time(nullptr));

  orbhost::Script script(host, options);
  script.load_file(settings.script);
  if (settings.fps >= 0) host.clock().fix(settings.fps);
  try {
    host.init();
  } catch (const orbhost::HostError &error) {
    throw PlayError(exit_video, std::string(error.what()) + " (--headless plays without one)");
  }
  std::uint64_t frame = 0;
  for (bool more = true; more;) {
    more = script.frame() && !interrupted;
    ++frame;
    if (settings.frames && frame >= settings.frames) more = false;
    save_screenshots(host, settings, frame, !more);
  }
  for (const Screenshot &shot : settings.screenshots) {
    if (shot.frame > frame) {
      throw PlayError(exit_script, "no screenshot " + shot.file + ": play ended at frame " +
                                       std::to_string(frame));
    }
  }
}

int run(const Settings &settings, const char *program) {
  std::error_code ignored;
  if (!settings.list_functions && !fs::is_regular_file(settings.script, ignored)) {
    throw PlayError(exit_not_found, settings.script + ": no such script");
  }
  std::signal(SIGINT, on_interrupt);
  std::signal(SIGTERM, on_interrupt);
  orbhost::Options options;
  options.title = settings.script.empty() ? "orbplay" : fs::path(settings.script).stem().string();
  options.headless = options.virtual_clock = settings.headless;
  options.full_screen = settings.full_screen;
  orbhost::Host host(options);
  load_module(host, settings, program);
  if (settings.list_functions)
    list_functions(host);
  else
    play(host, settings);
  return interrupted ? 128 + interrupted : int{exit_ok};
}

} // namespace

int main(int argc, char **argv) {
  const Settings settings = parse_options(argc, argv);
  try {
    return run(settings, argc > 0 ? argv[0] : "");
  } catch (const orbhost::ScriptError &error) {
    std::fprintf(stderr, "%s\n", error.what()); // begins with the script's line
    return exit_script;
  } catch (const PlayError &error) {
    std::fprintf(stderr, "orbplay: %s\n", error.what());
    return error.status;
  } catch (const std::exception &error) {
    std::fprintf(stderr, "orbplay: %s\n", error.what());
    return exit_script;
  }
}
