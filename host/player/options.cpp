#include "host/player/options.h"

#include "host/reference.h"
#include "host/reference_help.h"

#include <CLI/CLI.hpp>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <map>
#include <memory>
#include <regex>

#ifndef ORB_VERSION
#define ORB_VERSION "unknown"
#endif

namespace orbplay {
namespace {

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

// "FILE@FROM-TO/N", "FILE@FROM-TO" or "FILE@FROM-"; anything else is a name.
CaptureSettings parse_capture(const std::string &text) {
  static const std::regex form("(.+)@([0-9]{1,9})-([0-9]{0,9})(/([0-9]{1,9}))?");
  CaptureSettings capture;
  capture.file = text;
  if (std::smatch part; std::regex_match(text, part, form)) {
    capture.file = part[1];
    capture.from = std::stoull(part[2]);
    capture.to = part[3].length() ? std::stoull(part[3]) : 0;
    capture.every = part[5].matched ? std::stoull(part[5]) : 1;
    if (capture.from == 0 || (part[3].length() && capture.to < capture.from) || capture.every == 0)
      throw CLI::ValidationError("--capture", "frames count from 1 and go from the lower number "
                                              "to the higher");
  }
  const std::string type = std::filesystem::path(capture.file).extension().string();
  capture.is_gif = type == ".gif";
  if (!capture.is_gif && !type.empty())
    throw CLI::ValidationError("--capture", capture.file +
                                                ": neither a GIF file (.gif) nor a folder, whose "
                                                "name may end in /");
  return capture;
}

class Formatter : public CLI::Formatter {
public:
  std::string make_usage(const CLI::App *, std::string) const override {
    return "Usage: orbplay [options] GAME [-- script arguments]\n";
  }
};

// Prints the entry of a name, or the names that serve for what a word says, or names like it.
ExitStatus explain(const std::string &name) {
  const orbhost::Reference &reference = orbhost::Reference::built_in();
  if (const std::string text = orbhost::help_text(reference, name); !text.empty()) {
    std::printf("%s", text.c_str());
    return exit_ok;
  }
  if (const std::string text = orbhost::keyword_text(reference, name); !text.empty()) {
    std::printf("Nothing is called %s. For that there is:\n\n%s", name.c_str(), text.c_str());
    return exit_ok;
  }
  std::fprintf(stderr, "orbplay: nothing is called %s", name.c_str());
  if (const std::vector<std::string> related = reference.related(name);
      !name.empty() && !related.empty()) {
    for (const std::string &other : related)
      std::fprintf(stderr, "%s%s", &other == &related.front() ? "; there is\n  " : "\n  ",
                   other.c_str());
    std::fprintf(stderr, "\n");
    return exit_usage;
  }
  const std::vector<std::string> near = reference.nearest(name, 3);
  for (const std::string &other : near)
    std::fprintf(stderr, "%s%s", &other == &near.front() ? "; did you mean " : " or ",
                 other.c_str());
  std::fprintf(stderr, "%s\n", near.empty() ? "" : "?");
  return exit_usage;
}

} // namespace

Settings parse_options(int argc, char **argv) {
  Settings settings;
  settings.program = argc > 0 ? argv[0] : "";
  std::vector<std::string> screenshots;
  std::string capture;
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
      app.add_option("-h,--help", topic,
                     "what NAME, or a word like rotate, means to a script; or this message")
          ->type_name("[NAME]")
          ->expected(0, 1);
  app.add_option("game", settings.script, "Lua script, folder with a main.lua, or zip file to play")
      ->type_name("GAME");
  CLI::Option *arguments =
      app.add_option("arguments", settings.arguments,
                     "the script's own arguments; those that begin with \"-\" after \"--\"");
  app.add_flag("--headless", settings.headless,
               "no window, no sound, no waiting; every run draws the same frames");
  app.add_flag("--mute", settings.mute, "no sound");
  app.add_option("--frames", settings.frames, "stop after N frames")
      ->type_name("N")
      ->check(CLI::Range(std::uint64_t{1}, std::uint64_t{0xFFFFFFFF}));
  CLI::Option *fps =
      app.add_option("--fps", settings.fps, "hold N frames a second, 0 for as many as possible")
          ->type_name("N")
          ->check(CLI::Range(0, 1000));
  CLI::Option *seed = app.add_option("--seed", settings.seed, "seed of the script's random numbers")
                          ->type_name("N")
                          ->check(CLI::Range(std::int64_t{0}, std::int64_t{0xFFFFFFFF}));
  CLI::Option *record =
      app.add_option("--record", settings.record, "record the player's inputs")->type_name("FILE");
  app.add_option("--replay", settings.replay, "play a recording, to its last frame")
      ->type_name("FILE")
      ->excludes(record, fps, seed, arguments);
  app.add_option("--hashes", settings.hashes, "write sums of every frame, for --check")
      ->type_name("FILE");
  app.add_option("--check", settings.check, "stop at the first frame that differs from FILE")
      ->type_name("FILE");
  app.add_option("--screenshot", screenshots,
                 "save the screen as a PNG at that frame, or at the end; may be repeated")
      ->type_name("FILE[@FRAME]")
      ->type_size(1)
      ->allow_extra_args(false)
      ->multi_option_policy(CLI::MultiOptionPolicy::TakeAll);
  app.add_option("--capture", capture,
                 "make a moving picture of play: a GIF, or a folder of PNGs; of the frames FROM to "
                 "TO, every Nth")
      ->type_name("FILE.gif|FOLDER[@FROM-TO[/N]]");
  app.add_flag("--display", settings.display_pictures,
               "screenshots and captures show the display, with filters, borders and 8-bit fades");
  app.add_flag("--fullscreen", settings.full_screen,
               "show the game on the full screen, whatever it asks for");
  app.add_option("--scale", settings.scale,
                 "show each pixel N pixels wide; \"fit\", as without this option: as wide as fits")
      ->type_name("N|fit")
      ->transform(CLI::Transformer(std::map<std::string, int>{{"fit", 0}}))
      ->check(CLI::Range(0, 64));
  app.add_flag("--watch", settings.watch, "play again when a script or another file that the game reads is saved");
  app.add_flag("--strict", settings.strict, "stop at the first error that the module reports");
  app.add_option("--new", settings.new_game,
                 "make a folder with a small game to begin with, and exit")
      ->type_name("FOLDER");
  CLI::Option *pack = app.add_option("--pack", settings.pack,
                                     "pack a game's folder as files to give away, and exit")
                          ->type_name("FOLDER");
  app.add_flag("--web", settings.web, "with --pack: make pages for browsers of it instead")
      ->needs(pack);
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
    settings.capture = parse_capture(capture);
    if (settings.script.empty() && settings.new_game.empty() && settings.pack.empty() &&
        !settings.list_functions) {
      throw CLI::RequiredError("GAME");
    }
  } catch (const CLI::ParseError &error) {
    const int status = app.exit(error) == 0 ? exit_ok : exit_usage;
    std::fflush(nullptr);
    std::exit(status);
  }
  return settings;
}

} // namespace orbplay
