// Keyboard, mouse and game pads: what is down, what changed since the last frame, what was typed.
//
// All that reaches a script goes through apply(), one plain record at a time, whether it comes from
// SDL or from a recording.
#pragma once

#include "host/input_event.h"
#include "host/pads.h"

#include <array>
#include <bitset>
#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

union SDL_Event;

namespace orbhost {

class Input {
public:
  // Turns SDL's pending events into records and applies them, if the video is open. Call once a
  // frame, before the script's turn.
  void pump();
  // Listens to the machine's game pads from the next pump() on. Without this there are none.
  void use_pads() { devices_.emplace(); }
  // Whether the script hears what pump() finds; otherwise only the window's close button, while a
  // recording brings the rest.
  bool listening = true;

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
  // Of pads, "pad1_" to "pad4_" with "left", "right", "up", "down" (the left stick's direction),
  // "a", "b", "x", "y", "l", "r", "back", "start" or "button1" to "button16".
  struct Control {
    int number;
    int other; // the right-hand key of "shift", "ctrl" and "alt"; else the same number
  };
  // Nothing for other texts.
  [[nodiscard]] static std::optional<Control> control(std::string_view name);
  // The record that tells that it went down or up; nothing for a stick's direction.
  [[nodiscard]] static std::optional<InputEvent> event(Control control, bool down);
  // The name that a record of a key or button is about; nothing for keys that have none.
  [[nodiscard]] static std::optional<std::string> name(const InputEvent &event);
  // All names but those of digits, letters and signs.
  [[nodiscard]] static std::vector<std::string> control_names();

  // Whether it is down, or was pressed and released again since the last frame.
  [[nodiscard]] bool down(Control control) const;
  // Whether it went down, or up, since the last frame.
  [[nodiscard]] bool pressed(Control control) const;
  [[nodiscard]] bool released(Control control) const;
  // The names of what any of these three was asked about, so that a player without a keyboard can
  // be given those keys. "shift", "ctrl" and "alt" stand as the left one.
  [[nodiscard]] std::vector<std::string> asked() const;

  // The pointer in pixels of the display (the window's content, not the logical screen).
  struct {
    int x = 0, y = 0;
  } pointer;
  int wheel = 0;     // steps since the last frame
  bool quit = false; // the window's close button was used

  // What was typed since the last frame, as the records tell it. Keys are translated, and repeat
  // while they are held, from the next pump() on for as long as this is called between two pumps.
  [[nodiscard]] const std::u32string &typed();

  [[nodiscard]] int pads() const { return pads_; }
  // A stick's axis, as records number and scale them; pads count from 1. 0 where there is none.
  [[nodiscard]] int axis(int pad, int axis) const;

private:
  struct Pad {
    std::array<int, 4> axes{};
    std::array<int, 2> hat{};
  };
  // Controls are numbered: first the keys.
  static constexpr int mouse_controls = 512; // the left, middle and right button
  static constexpr int pad_controls = mouse_controls + 3;
  static constexpr int pad_buttons = 4; // after the directions
  static constexpr int controls_of_pad = pad_buttons + 16;
  static constexpr int all_controls = pad_controls + most_pads * controls_of_pad;
  using Controls = std::bitset<all_controls>;

  static std::optional<int> pad_control(std::string_view name);
  void set(int control, bool down);
  void apply_to_pad(const InputEvent &event);

  Controls down_;
  Controls pressed_, released_; // since the last frame
  mutable Controls asked_;
  std::u32string typed_;
  bool text_wanted_ = false;
  std::array<Pad, most_pads> pad_{};
  int pads_ = 0;
  std::optional<PadDevices> devices_;
};

} // namespace orbhost
