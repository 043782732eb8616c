#include "host/clock.h"

#include <algorithm>
#include <thread>

namespace orbhost {
namespace {

constexpr std::int32_t unlimited_virtual_rate = 60;
constexpr std::chrono::milliseconds measure_period{500};

} // namespace

void Clock::set_fps(std::int32_t fps, std::int32_t skip) {
  skip_ = std::clamp(skip, 0, 100);
  if (fixed_) return;
  fps_ = std::clamp(fps, 0, 1000);
  rate_ = fps_ ? fps_ : unlimited_virtual_rate;
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

bool Clock::next_frame() {
  ++frames_;
  if (virtual_) {
    virtual_seconds_ += 1.0 / rate_;
    return false;
  }
  const auto now = Steady::now();
  ++measured_frames_;
  if (now - measure_start_ >= measure_period) {
    const double seconds = std::chrono::duration<double>(now - measure_start_).count();
    rate_ = static_cast<std::int32_t>(static_cast<double>(measured_frames_) / seconds + 0.5);
    measure_start_ = now;
    measured_frames_ = 0;
  }
  if (fps_ == 0) return false;
  const auto frame = std::chrono::nanoseconds(1'000'000'000 / fps_);
  due_ += frame;
  if (now < due_) {
    std::this_thread::sleep_until(due_);
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

double Clock::seconds() const {
  if (virtual_) return virtual_seconds_;
  return std::chrono::duration<double>(Steady::now() - start_).count();
}

} // namespace orbhost
