// What the player was told to do: its command line.
#pragma once

#include <cstdint>
#include <optional>
#include <stdexcept>
#include <string>
#include <vector>

namespace orbplay {

enum ExitStatus { exit_ok, exit_script, exit_usage, exit_not_found, exit_video };

// A failure that ends the player, with its exit status.
struct PlayError : std::runtime_error {
  PlayError(ExitStatus with, const std::string &text) : std::runtime_error(text), status(with) {}
  ExitStatus status;
};

struct Screenshot {
  std::string file;
  std::uint64_t frame = 0; // 0: the last one
};

// Every nth of some frames as a moving picture.
struct CaptureSettings {
  std::string file;                          // empty: none
  bool is_gif = false;                       // else a folder of PNG files
  std::uint64_t from = 1, to = 0, every = 1; // to 0: the last one
};

struct Settings {
  std::string program; // argv[0]
  std::string script;  // or a folder or zip file of a game
  std::string new_game, pack; // folders; empty: none is to be made, or packed
  bool web = false;           // what is packed is for browsers
  std::vector<std::string> arguments;
  std::string module;
  bool headless = false, mute = false, full_screen = false, strict = false, list_functions = false;
  bool watch = false;            // play again when a file that the game has read is saved
  int scale = 0;                 // of the window; 0: as large as the desktop allows
  bool display_pictures = false; // screenshots of the display instead of the script's screen
  std::uint64_t frames = 0;      // 0: no limit
  int fps = -1;                  // negative: the script's choice
  std::int64_t seed = -1;        // negative: 1 when headless, else a new one every time
  std::vector<Screenshot> screenshots;
  std::string record, replay, hashes, check; // files; empty: none
  // What a recording says of the machine and the time; nothing and 0: as they are.
  std::optional<std::int64_t> started; // see orbhost::ScriptOptions
  int desktop_width = 0, desktop_height = 0;
  CaptureSettings capture;
};

// Exits on a usage error, and after --version and --help, with or without a name.
Settings parse_options(int argc, char **argv);

} // namespace orbplay
