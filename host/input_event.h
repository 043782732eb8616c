// What the player's hands do, one plain record at a time.
#pragma once

#include <cstdint>

namespace orbhost {

inline constexpr int most_pads = 4;

struct InputEvent {
  enum class Kind : std::uint8_t {
    key,        // code: the SDL 1.2 symbol; down (the keyboard's repeats tell it again)
    button,     // code: 1 left, 2 middle, 3 right; down
    motion,     // x, y: in pixels of the display
    wheel,      // y: steps, positive away from the user
    text,       // code: a Unicode character, or '\b' for the backspace key
    pads,       // code: how many pads there are from now on, 0 to 4; nothing on them is held
    pad_axis,   // pad; code: 0 and 1 the left stick's x and y, 2 and 3 the right one's;
                // x: -100 to 100, positive to the right and down
    pad_hat,    // pad; x, y: -1, 0 or 1; the left stick's direction in place of its own
    pad_button, // pad; code: 0 to 15; down
    quit,       // the window's close button
  };
  Kind kind{};
  bool down = false;
  int pad = 0; // from 1
  int code = 0;
  int x = 0, y = 0;
};

} // namespace orbhost
