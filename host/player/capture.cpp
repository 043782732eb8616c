#include "host/player/capture.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <utility>

namespace orbplay {
namespace {

namespace fs = std::filesystem;

// Viewers take less for a mistake and show such frames longer, so faster play loses some.
constexpr int least_hundredths = 2;
constexpr int most_hundredths = 65535; // of a field in the file

// Where a script sets no rate, frames count as those of a virtual clock.
constexpr int unlimited_rate = 60;

int hundredths(double seconds) {
  return static_cast<int>(std::lround(std::min(seconds * 100, 2e9)));
}

std::uint32_t pixel_of(const orbhost::Picture &picture, std::size_t i) {
  const std::uint8_t *rgb = &picture.rgb[3 * i];
  return static_cast<std::uint32_t>(rgb[0] << 16 | rgb[1] << 8 | rgb[2]);
}

} // namespace

Capture::Capture(const Settings &settings) : settings_(settings) {}

Capture::~Capture() {
  try {
    finish();
  } catch (const std::exception &error) {
    std::fprintf(stderr, "orbplay: %s\n", error.what());
  }
}

void Capture::after_frame(orbhost::Host &host, std::uint64_t frame, bool /*last*/) {
  const CaptureSettings &wanted = settings_.capture;
  if (over_ || frame < wanted.from) return;
  if (host.screen() && (frame - wanted.from) % wanted.every == 0) {
    began_ = true;
    if (wanted.is_gif) {
      show(take(host));
    } else {
      std::error_code ignored; // saving fails then
      fs::create_directories(wanted.file, ignored);
      char name[32];
      std::snprintf(name, sizeof name, "%06llu.png", static_cast<unsigned long long>(frame));
      orbhost::save_png(take(host).picture, (fs::path(wanted.file) / name).string());
    }
  }
  const int fps = host.clock().fps();
  if (began_) seconds_ += 1.0 / (fps ? fps : unlimited_rate);
  if (frame == wanted.to) finish();
}

void Capture::ended(std::uint64_t frames) {
  finish();
  if (!began_)
    throw PlayError(exit_script, "no capture " + settings_.capture.file + ": play ended at frame " +
                                     std::to_string(frames) +
                                     (frames < settings_.capture.from ? "" : ", without a screen"));
}

Capture::Shot Capture::take(const orbhost::Host &host) const {
  if (settings_.display_pictures) return {orbhost::take_display_picture(), {}, {}};
  Shot shot{orbhost::take_picture(host), {}, {}};
  const __ORBSurface2D__ &screen = *host.screen();
  if (screen.depth != 8 || !host.device() || !host.device()->get_palette) return shot;
  for (std::uint32_t y = 0; y < screen.height; ++y) {
    const auto *row = static_cast<const std::uint8_t *>(screen.pixels) + y * screen.pitch;
    shot.indices.insert(shot.indices.end(), row, row + screen.width);
  }
  __ORBPalette2D__ palette{};
  host.device()->get_palette(&palette);
  shot.palette.assign(std::begin(palette.colours), std::end(palette.colours));
  return shot;
}

void Capture::show(Shot shot) {
  const orbhost::Picture &before = pending_.picture, &picture = shot.picture;
  if (picture.width == before.width && picture.height == before.height) {
    if (picture.rgb == before.rgb) return;
    // A shot may come a little late; it takes the place of one that would come later.
    const int now = hundredths(seconds_), next = std::max(now, since_ + least_hundredths);
    if (next - now < least_hundredths) write_pending(next);
  } else if (gif_) { // else this is the game's first mode
    std::fprintf(stderr,
                 "orbplay: %s ends after %.2f seconds, where the screen gets another size; a "
                 "folder takes pictures of all sizes\n",
                 settings_.capture.file.c_str(), seconds_);
    finish();
    return;
  }
  pending_ = std::move(shot);
}

void Capture::write_pending(int until) {
  Shot shot = std::exchange(pending_, {}); // isn't tried again if this fails
  if (!gif_) {
    gif_ = std::make_unique<Gif>(settings_.capture.file, shot.picture.width, shot.picture.height);
  }
  gif_->add(changes(shot), std::min(until - since_, most_hundredths));
  shown_ = std::move(shot);
  since_ = until;
}

void Capture::finish() {
  over_ = true;
  if (pending_.picture.rgb.empty()) return;
  write_pending(std::max(hundredths(seconds_), since_ + least_hundredths));
  std::exchange(gif_, nullptr)->finish();
}

GifPatch Capture::changes(const Shot &shot) {
  const orbhost::Picture &now = shot.picture, &before = shown_.picture;
  const auto changed = [&](std::size_t i) {
    return before.rgb.empty() || std::memcmp(&now.rgb[3 * i], &before.rgb[3 * i], 3) != 0;
  };
  int left = now.width, right = 0, top = now.height, bottom = 0;
  std::size_t i = 0;
  for (int y = 0; y < now.height; ++y) {
    for (int x = 0; x < now.width; ++x, ++i) {
      if (!changed(i)) continue;
      left = std::min(left, x);
      right = std::max(right, x + 1);
      top = std::min(top, y);
      bottom = y + 1;
    }
  }
  if (right == 0) left = top = 0, right = bottom = 1; // one pixel, to pass the time

  GifPatch patch{left, top, right - left, bottom - top, {}, shot.palette};
  std::vector<std::size_t> places; // of the box's pixels
  for (int y = top; y < bottom; ++y)
    for (int x = left; x < right; ++x)
      places.push_back(static_cast<std::size_t>(y) * static_cast<std::size_t>(now.width) +
                       static_cast<std::size_t>(x));
  if (!shot.indices.empty()) {
    for (const std::size_t place : places)
      patch.pixels.push_back(shot.indices[place]);
    return patch;
  }
  // Pixels that stay aren't drawn anew: other colours may be chosen now, and they would flicker.
  std::vector<std::uint32_t> drawn;
  for (const std::size_t place : places)
    if (changed(place)) drawn.push_back(pixel_of(now, place));
  const bool all = drawn.size() == places.size();
  patch.palette = colours_.choose(drawn, all ? 256 : 255);
  if (!all) {
    patch.unchanged = static_cast<int>(patch.palette.size());
    patch.palette.push_back({});
  }
  for (const std::size_t place : places)
    patch.pixels.push_back(changed(place) ? colours_.index(pixel_of(now, place))
                                          : static_cast<std::uint8_t>(patch.unchanged));
  return patch;
}

} // namespace orbplay
