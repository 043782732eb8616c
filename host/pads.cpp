#include "host/pads.h"

#include <SDL.h>
#include <sys/inotify.h>
#include <unistd.h>

#include <algorithm>
#include <cstdlib>
#include <utility>

namespace orbhost {
namespace {

using Kind = InputEvent::Kind;

// The record's number for an axis of SDL's; -1 for triggers and whatever else there is. The kernel
// puts the triggers of pads that have them, and so six axes, in front of and behind the right
// stick.
int stick_axis(int axis, int axes) {
  if (axis < 2) return axis;
  const int right = axes >= 6 ? 3 : 2;
  return axis >= right && axis < right + 2 ? axis - right + 2 : -1;
}

// Percent of an axis's way beyond the dead zone.
int percent(int value) {
  constexpr int full = 32767, dead = full * 15 / 100;
  const int way = std::min(std::abs(value), full) - dead;
  return way <= 0 ? 0 : (value < 0 ? -1 : 1) * (way * 100 / (full - dead));
}

} // namespace

PadDevices::PadDevices() : watch_(inotify_init1(IN_NONBLOCK | IN_CLOEXEC)) {
  // The rights to a new device are set after it was made.
  inotify_add_watch(watch_, "/dev/input", IN_CREATE | IN_DELETE | IN_ATTRIB);
}

PadDevices::~PadDevices() {
  close();
  ::close(watch_);
}

void PadDevices::close() {
  for (SDL_Joystick *&pad : pads_)
    if (pad) SDL_JoystickClose(std::exchange(pad, nullptr));
  if (SDL_WasInit(SDL_INIT_JOYSTICK)) SDL_QuitSubSystem(SDL_INIT_JOYSTICK);
}

void PadDevices::look(const Apply &apply) {
  alignas(inotify_event) char events[4096];
  while (read(watch_, events, sizeof events) > 0)
    changed_ = true;
  if (!std::exchange(changed_, false)) return;
  close();
  told_ = {};
  int count = 0;
  if (SDL_InitSubSystem(SDL_INIT_JOYSTICK) == 0) {
    // A pad that can't be opened has no number, so that the others count from 1.
    for (int i = 0; i < SDL_NumJoysticks() && count < most_pads; ++i)
      if ((pads_[count] = SDL_JoystickOpen(i))) ++count;
  }
  apply({.kind = Kind::pads, .code = count});
}

void PadDevices::translate(const SDL_Event &event, const Apply &apply) {
  // The device's number stands in the same place in all these events.
  const auto at = std::ranges::find_if(
      pads_, [&](SDL_Joystick *pad) { return pad && SDL_JoystickIndex(pad) == event.jaxis.which; });
  if (at == pads_.end()) return;
  const auto pad = static_cast<int>(at - pads_.begin());
  switch (event.type) {
  case SDL_JOYAXISMOTION: {
    const int axis = stick_axis(event.jaxis.axis, SDL_JoystickNumAxes(*at));
    const int value = percent(event.jaxis.value);
    if (axis < 0 || std::exchange(told_[pad][axis], value) == value) break;
    apply({.kind = Kind::pad_axis, .pad = pad + 1, .code = axis, .x = value});
    break;
  }
  case SDL_JOYHATMOTION: {
    if (event.jhat.hat != 0) break;
    const int hat = event.jhat.value;
    const int x = ((hat & SDL_HAT_RIGHT) != 0) - ((hat & SDL_HAT_LEFT) != 0);
    const int y = ((hat & SDL_HAT_DOWN) != 0) - ((hat & SDL_HAT_UP) != 0);
    apply({.kind = Kind::pad_hat, .pad = pad + 1, .x = x, .y = y});
    break;
  }
  case SDL_JOYBUTTONDOWN:
  case SDL_JOYBUTTONUP:
    if (event.jbutton.button < 16)
      apply({.kind = Kind::pad_button,
             .down = event.type == SDL_JOYBUTTONDOWN,
             .pad = pad + 1,
             .code = event.jbutton.button});
    break;
  default: break;
  }
}

} // namespace orbhost
