// Keys and mouse, from SDL's events.
#pragma once

#include <bitset>
#include <optional>
#include <string_view>

namespace orbhost {

// The pointer in pixels of the display (the window's content, not the logical screen).
struct Pointer {
  int x = 0, y = 0;
  bool left = false, middle = false, right = false;
};

class Input {
public:
  // Handles SDL's pending events, if the video is open. Call once a frame.
  void pump();
  // Treats all keys and buttons as released.
  void reset();

  // The SDL 1.2 key symbol of a key name: letters and digits ("a", "7"), "left", "right", "up",
  // "down", "space", "enter", "escape" ("esc"), "tab", "backspace", "insert", "delete", "home",
  // "end", "pageup", "pagedown", "f1" to "f15", "lshift", "rshift", "lctrl", "rctrl", "lalt",
  // "ralt", "pause", "kp0" to "kp9"; "shift", "ctrl" and "alt" for either side; and the
  // character of any other key ("-", "."). Nothing for other texts.
  [[nodiscard]] static std::optional<int> key_symbol(std::string_view name);
  // Whether the key of that name is down, or was pressed and released again since the last pump();
  // nothing for an unknown name.
  [[nodiscard]] std::optional<bool> key(std::string_view name) const;
  // Presses or releases a key as the keyboard would.
  void set_key(int symbol, bool down);

  Pointer pointer;
  bool quit = false; // the window's close button was used

private:
  std::bitset<512> down_;
  std::bitset<512> pressed_; // since the last pump()
};

} // namespace orbhost
