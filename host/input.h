// Keyboard, mouse and game pads: what is down, what changed since the last frame, what was typed.
//
// All that reaches a script goes through apply(), one plain record at a time, whether it comes from
// SDL or from a recording.
#pragma once

#include <bitset>
#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <string_view>

union SDL_Event;

namespace orbhost {

struct InputEvent {
  enum class Kind : std::uint8_t {
    key,        // code: the SDL 1.2 symbol; down
    button,     // code: 1 left, 2 middle, 3 right; down
    motion,     // x, y: in pixels of the display
    wheel,      // y: steps, positive away from the user
    text,       // code: a Unicode character, or '\b' for the backspace key
    pads,       // code: how many pads there are from now on, 0 to 4; nothing on them is held
    pad_axis,   // pad; code: 0 and 1 the left stick's x and y, 2 and 3 the right one's; x: percent
    pad_button, // pad; code: 0 to 15; down
    pad_hat,    // pad; x, y: -1, 0 or 1, y downwards
    quit,       // the window's close button
  };
  Kind kind{};
  bool down = false;
  int pad = 0; // from 1
  int code = 0;
  int x = 0, y = 0;
};

class Input {
public:
  // Turns SDL's pending events into records and applies them, if the video is open. Call once a
  // frame, before the script's turn.
  void pump();
  void apply(const InputEvent &event);
  // The frame is over: what was pressed, released, turned and typed in it is told no more.
  void end_frame();
  // Treats all that is down as released.
  void reset();

  // Called by pump() for each SDL event before it is looked at. It may change the event, for
  // instance the mouse's position in a scaled window; false: the player has used it up, and the
  // script doesn't see it.
  std::function<bool(SDL_Event &)> on_sdl_event;
  // Called for each event that is applied.
  std::function<void(const InputEvent &)> on_event;

  // What can be down has a name. Keys: letters and digits ("a", "7"), "left", "right", "up",
  // "down", "space", "enter", "escape" ("esc"), "tab", "backspace", "insert", "delete", "home",
  // "end", "pageup", "pagedown", "f1" to "f15", "lshift", "rshift", "lctrl", "rctrl", "lalt",
  // "ralt", "pause", "kp0" to "kp9"; "shift", "ctrl" and "alt" for either side; and the character
  // of any other key ("-", "."). Buttons of the mouse: "mouse_left", "mouse_middle", "mouse_right".
  struct Control {
    int number;
    int other; // the right-hand key of "shift", "ctrl" and "alt"; else the same number
  };
  // Nothing for other texts.
  [[nodiscard]] static std::optional<Control> control(std::string_view name);

  // Whether it is down, or was pressed and released again since the last frame.
  [[nodiscard]] bool down(Control control) const;
  // Whether it went down, or up, since the last frame.
  [[nodiscard]] bool pressed(Control control) const;
  [[nodiscard]] bool released(Control control) const;

  // The pointer in pixels of the display (the window's content, not the logical screen).
  struct {
    int x = 0, y = 0;
  } pointer;
  int wheel = 0;     // steps since the last frame
  bool quit = false; // the window's close button was used

private:
  static constexpr int mouse_controls = 512; // the left, middle and right button; before it, keys
  static constexpr int all_controls = mouse_controls + 3;
  using Controls = std::bitset<all_controls>;

  void set(int control, bool down);

  Controls down_;
  Controls pressed_, released_; // since the last frame
};

} // namespace orbhost
