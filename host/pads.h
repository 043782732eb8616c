// The machine's game pads, by way of SDL's joysticks.
#pragma once

#include "host/input_event.h"

#include <array>
#include <functional>

struct _SDL_Joystick;
union SDL_Event;

namespace orbhost {

// The first four pads. SDL 1.2 never looks again which there are, so they are all opened anew
// whenever a device comes or goes; what was held on them is released then.
class PadDevices {
public:
  using Apply = std::function<void(const InputEvent &)>;

  PadDevices();
  PadDevices(const PadDevices &) = delete;
  PadDevices &operator=(const PadDevices &) = delete;
  ~PadDevices();

  // Tells of pads that came or went. Call before SDL's events are read.
  void look(const Apply &apply);
  // Tells what an event of a pad means. Sticks are at rest within 15 percent of their middle.
  void translate(const SDL_Event &event, const Apply &apply);

private:
  void close();

  std::array<_SDL_Joystick *, most_pads> pads_{};
  std::array<std::array<int, 4>, most_pads> told_{}; // the axes, in percent
  int watch_ = -1;                                   // tells of changes in the folder of devices
  bool changed_ = true;
};

} // namespace orbhost
