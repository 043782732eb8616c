// Frame timing: real time, or a virtual clock that makes every run the same.
#pragma once

#include <chrono>
#include <cstdint>
#include <functional>
#include <thread>

namespace orbhost {

class Clock {
public:
  // What a frame knows of the time; the same for all that runs in it.
  struct Frame {
    std::int64_t milliseconds = 0; // since play began
    std::int32_t rate = 24;        // frames a second, measured
    bool late = false;             // it should be skipped
  };

  // `virtual_time`: frames take exactly 1/fps of virtual time, without waiting.
  explicit Clock(bool virtual_time) : virtual_(virtual_time) {}

  // Play begins now.
  void start() { start_ = due_ = measure_start_ = Steady::now(); }
  // fps 0: as fast as possible (a virtual clock then counts 60 frames a second). skip: how many
  // frames in a row may be skipped when play is late, 0 to 100. fps is ignored once fix() has been
  // called.
  void set_fps(std::int32_t fps, std::int32_t skip);
  // Fixes the rate: later calls of set_fps() don't change it.
  void fix(std::int32_t fps);

  // Time that passes between the two is no time of play.
  void hold() { held_ = Steady::now(); }
  void resume();

  // Ends a frame: waits until the next one is due. A frame is late when play is, and skipping is
  // allowed; on a virtual clock none is. The milliseconds go on by 1/fps, so that movement by the
  // clock is smooth, and follow real time where play has lost more than a frame.
  void next_frame();
  // The frame under way, or the first.
  [[nodiscard]] const Frame &frame() const { return frame_; }
  // Waits until a time. A program that paces frames itself has it return at once, and reads due().
  std::function<void(std::chrono::steady_clock::time_point)> sleep_until =
      [](std::chrono::steady_clock::time_point time) { std::this_thread::sleep_until(time); };
  // When the frame under way is to begin.
  [[nodiscard]] std::chrono::steady_clock::time_point due() const { return due_; }
  // Called with each new frame, and with what it would be on a virtual clock. It may change the
  // first.
  std::function<void(Frame &frame, const Frame &nominal)> on_frame;

  // Frames a second: the set rate on a virtual clock, a measured rate otherwise.
  [[nodiscard]] std::int32_t rate() const { return frame_.rate; }
  [[nodiscard]] std::int32_t fps() const { return fps_; }
  [[nodiscard]] std::int32_t skip() const { return skip_; }
  [[nodiscard]] std::uint64_t frames() const { return frames_; }

private:
  using Steady = std::chrono::steady_clock;

  bool wait();
  std::int32_t measured_rate();

  bool virtual_;
  bool fixed_ = false;
  std::int32_t fps_ = 24; // what scripts know as default_fps
  std::int32_t skip_ = 0;
  std::int32_t skipped_ = 0; // frames skipped in a row
  Frame frame_;
  double milliseconds_ = 0; // the frame's, with their fraction
  std::uint64_t frames_ = 0;
  Steady::time_point start_ = Steady::now(), due_ = start_, measure_start_ = start_;
  Steady::time_point held_ = start_;
  std::uint64_t measured_frames_ = 0;
};

} // namespace orbhost
