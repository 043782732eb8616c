// Frame timing: real time, or a virtual clock that makes every run the same.
#pragma once

#include <chrono>
#include <cstdint>

namespace orbhost {

class Clock {
public:
  // `virtual_time`: frames take exactly 1/fps of virtual time, without waiting.
  explicit Clock(bool virtual_time) : virtual_(virtual_time) {}

  // fps 0: as fast as possible (a virtual clock then counts 60 frames a second). skip: how many
  // frames in a row may be skipped when play is late, 0 to 100. fps is ignored once fix() has been
  // called.
  void set_fps(std::int32_t fps, std::int32_t skip);
  // Fixes the rate: later calls of set_fps() don't change it.
  void fix(std::int32_t fps);

  // Time that passes between the two is no time of play.
  void hold() { held_ = Steady::now(); }
  void resume();

  // Ends a frame: waits until the next one is due. Returns true if the next frame should be
  // skipped, because play is late and skipping is allowed. The virtual clock never skips.
  bool next_frame();

  // Frames a second: the set rate on a virtual clock, a measured rate otherwise.
  [[nodiscard]] std::int32_t rate() const { return rate_; }
  [[nodiscard]] std::int32_t fps() const { return fps_; }
  [[nodiscard]] std::int32_t skip() const { return skip_; }
  [[nodiscard]] std::uint64_t frames() const { return frames_; }
  // Seconds of play so far.
  [[nodiscard]] double seconds() const;

private:
  using Steady = std::chrono::steady_clock;

  bool virtual_;
  bool fixed_ = false;
  std::int32_t fps_ = 24; // what scripts know as default_fps
  std::int32_t skip_ = 0;
  std::int32_t skipped_ = 0; // frames skipped in a row
  std::int32_t rate_ = 24;
  std::uint64_t frames_ = 0;
  double virtual_seconds_ = 0;
  Steady::time_point start_ = Steady::now();
  Steady::time_point due_ = start_;
  Steady::time_point measure_start_ = start_;
  Steady::time_point held_ = start_;
  std::uint64_t measured_frames_ = 0;
};

} // namespace orbhost
