#include "host/player/session.h"

#include <ctime>

namespace orbplay {

std::unique_ptr<orbhost::Host> make_host(const Settings &settings, const std::string &name) {
  orbhost::Options options;
  options.title = name;
  options.headless = options.virtual_clock = settings.headless;
  options.full_screen = settings.full_screen;
  options.mute = settings.mute;
  if (settings.desktop_width) {
    options.desktop_width = settings.desktop_width;
    options.desktop_height = settings.desktop_height;
  }
  auto host = std::make_unique<orbhost::Host>(options);
  attach_module(*host, settings);
  return host;
}

Session::Session(const Settings &settings, const Game &game)
    : settings_(settings), host_(make_host(settings, game.name)) {
  orbhost::ScriptOptions options;
  options.strict = settings.strict;
  options.arguments = settings.arguments;
  if (settings.seed >= 0)
    options.seed = static_cast<std::uint32_t>(settings.seed);
  else if (!settings.headless)
    options.seed = static_cast<std::uint32_t>(std::time(nullptr));
  options.started = settings.started;
  if (settings.headless && !options.started) options.started = headless_start;
  script_ = std::make_unique<orbhost::Script>(*host_, options);
  script_->load_file(game.script);
  if (settings.fps >= 0) host_->clock().fix(settings.fps);
  try {
    host_->init();
  } catch (const orbhost::HostError &error) {
    throw PlayError(exit_video, std::string(error.what()) + " (--headless plays without one)");
  }
}

Session::~Session() = default;

bool Session::frame() {
  ++frames_;
  for (const auto &observer : observers_)
    observer->before_frame(*host_, frames_);
  bool more = script_->frame() && !stopped_;
  if (settings_.frames && frames_ >= settings_.frames) more = false;
  for (const auto &observer : observers_)
    observer->after_frame(*host_, frames_, !more);
  if (!more) {
    for (const auto &observer : observers_)
      observer->ended(frames_);
  }
  return more;
}

} // namespace orbplay
