// Recordings: what is needed to play a game again to the same picture in every frame. A text that
// people can read and write:
//
//   orbplay recording 1
//   script meteors.lua
//   sum 0f3a5c7796e1d2b4
//   seed 1700000000
//   1 mouse=320,200
//   15 clock=260 +left
//   31 -left +mouse_left text="a"
//   end 300
//
// What may stand in it, docs/orbplay.md tells.
#pragma once

#include "host/player/session.h"

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace orbplay {

struct Recording {
  struct Frame {
    std::uint64_t number = 0;
    std::vector<orbhost::InputEvent> events;
    // Of the clock, where they aren't what they would be on a virtual one.
    std::optional<std::int64_t> milliseconds;
    std::optional<std::int32_t> rate;
    bool late = false;
  };

  std::string file;
  std::string script;               // its name, for messages; may be empty
  std::optional<std::uint64_t> sum; // of the script
  std::int64_t seed = 1;
  std::int64_t started = headless_start;     // what os.time() told as play began
  std::optional<int> fps;                    // as --fps fixed it
  int desktop_width = 0, desktop_height = 0; // 0: not recorded
  std::vector<std::string> arguments;
  std::vector<Frame> frames;
  std::uint64_t end = 0; // the last frame

  // Throws PlayError with the place of what is wrong.
  static Recording read(const std::string &file);
  // Has the settings play the script as it was played then. A script that has changed since is
  // told of on stderr; throws PlayError for another one.
  void adopt(Settings &settings) const;
};

// Writes a recording, which is whole after every frame and before the script sees an input: an end
// by any crash loses nothing.
class Recorder : public Observer {
public:
  // Gives the settings a seed and a time, where they have none.
  static void prepare(Settings &settings);

  // Throws PlayError where the file can't be written.
  Recorder(orbhost::Host &host, const Settings &settings);
  ~Recorder() override;
  void before_frame(orbhost::Host &host, std::uint64_t frame) override;
  void after_frame(orbhost::Host &host, std::uint64_t frame, bool last) override;

private:
  void note(const orbhost::InputEvent &event);
  void write(const std::string &text);
  void write_frame();
  [[nodiscard]] std::string line() const;

  orbhost::Host &host_;
  std::string name_;
  int file_;
  std::int64_t written_ = 0; // bytes before the frame's line
  std::uint64_t frame_ = 1, end_ = 0;
  std::vector<std::string> words_; // of the frame's line
  std::vector<std::string> clock_; // of the next frame's
};

// Plays a recording: its inputs and its clock reach the script in place of the player's.
class Replayer : public Observer {
public:
  // The recording outlives this.
  Replayer(orbhost::Host &host, const Recording &recording);
  void before_frame(orbhost::Host &host, std::uint64_t frame) override;

private:
  const Recording &recording_;
  std::size_t next_ = 0; // in its frames
};

} // namespace orbplay
