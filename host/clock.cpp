#include "host/clock.h"

#include <algorithm>
#include <cmath>
#include <cstdlib>

namespace orbhost {
namespace {

constexpr std::int32_t unlimited_virtual_rate = 60;
constexpr std::chrono::milliseconds measure_period{500};

} // namespace

void Clock::set_fps(std::int32_t fps, std::int32_t skip) {
  skip_ = std::clamp(skip, 0, 100);
  if (fixed_) return;
  fps_ = std::clamp(fps, 0, 1000);
  frame_.rate = fps_ ? fps_ : unlimited_virtual_rate;
  due_ = Steady::now();
}

void Clock::fix(std::int32_t fps) {
  fixed_ = false;
  set_fps(fps, skip_);
  fixed_ = true;
}

void Clock::resume() {
  const auto pause = Steady::now() - held_;
  start_ += pause;
  due_ += pause;
  measure_start_ += pause;
}

void Clock::next_frame() {
  ++frames_;
  const double step = 1000.0 / (fps_ ? fps_ : unlimited_virtual_rate);
  const Frame nominal{std::llround(milliseconds_ + step), frame_.rate, false};
  Frame next = nominal;
  if (!virtual_) {
    next.rate = measured_rate();
    next.late = wait();
    const auto real = std::chrono::duration_cast<std::chrono::milliseconds>(Steady::now() - start_);
    const auto lost = static_cast<double>(std::abs(real.count() - nominal.milliseconds));
    if (fps_ == 0 || lost > step) next.milliseconds = real.count();
  }
  if (on_frame) on_frame(next, nominal);
  if (next.milliseconds == nominal.milliseconds)
    milliseconds_ += step;
  else
    milliseconds_ = static_cast<double>(next.milliseconds);
  frame_ = next;
}

std::int32_t Clock::measured_rate() {
  const auto now = Steady::now();
  ++measured_frames_;
  if (now - measure_start_ < measure_period) return frame_.rate;
  const double seconds = std::chrono::duration<double>(now - measure_start_).count();
  const double frames = static_cast<double>(measured_frames_);
  measure_start_ = now;
  measured_frames_ = 0;
  return static_cast<std::int32_t>(frames / seconds + 0.5);
}

// Waits until the next frame is due. True: play is late, and that frame should be skipped.
bool Clock::wait() {
  if (fps_ == 0) return false;
  const auto now = Steady::now();
  const auto frame = std::chrono::nanoseconds(1'000'000'000 / fps_);
  due_ += frame;
  if (now < due_) {
    sleep_until(due_);
    skipped_ = 0;
    return false;
  }
  if (skipped_ < skip_) {
    ++skipped_;
    return true;
  }
  // Late, and no frame may be skipped: play doesn't run faster to make up for lost time.
  if (now - due_ > frame) due_ = now;
  skipped_ = 0;
  return false;
}

} // namespace orbhost
