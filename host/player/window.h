// The player's window: what the module presents, enlarged by a whole number.
//
// The module opens its display through SDL. While a Window lives, the player answers those calls:
// the module gets a display of just the size and depth that it asks for, and the window shows that,
// enlarged or on the full screen. So a script can't tell how large it is shown, and a game plays
// the same in every window and in none.
#pragma once

#include "host/player/view.h"

#include <SDL.h>

#include <cstdint>
#include <functional>
#include <string>

namespace orbplay {

class Window {
public:
  struct Options {
    std::string name;         // of the window, and of its class
    int scale = 0;            // 0: as large as fits
    bool full_screen = false; // whatever the script asks for
  };

  // Starts SDL's video. Throws PlayError without a display. One window at a time.
  explicit Window(Options options);
  ~Window();
  Window(const Window &) = delete;
  Window &operator=(const Window &) = delete;

  // Draws on top of the picture each time it is shown. The surface has 32 bits a pixel.
  std::function<void(SDL_Surface &)> paint;

  // Shows the module's display, and what paint() draws, once more. A window that can't be opened is
  // told by check(): the module calls this too, and nothing may throw through it.
  void show();
  // Shows what paint() draws over black, for when nothing is played. A window that isn't open yet
  // becomes one of 640 x 400.
  void show_alone();
  // Throws PlayError if the last picture had no window to be shown in.
  void check() const;
  // Between the full screen and a window.
  void toggle_full_screen();

  // Handles alt-enter and redrawing, and puts the mouse of other events where the player sees it on
  // the module's display. False for an event that isn't for the game.
  bool handle(SDL_Event &event);

  // Whether there is a display on which people can see it; SDL also has drivers that draw nowhere.
  [[nodiscard]] static bool is_seen();

  // The module's display in the window.
  [[nodiscard]] const View &view() const { return view_; }

private:
  friend struct WindowCalls;

  // What the module calls.
  SDL_Surface *open_display(int width, int height, int depth, std::uint32_t flags);

  bool open(int width, int height);
  bool set_mode(int width, int height, std::uint32_t flags);
  [[nodiscard]] Point to_display(Point at) const;
  bool fit();
  void enlarge() const;

  Options options_;
  enum class Shape { script, window, full_screen } shape_; // script: as it asks
  int desktop_width_ = 0, desktop_height_ = 0;
  SDL_Surface *window_ = nullptr;  // SDL's; null until there is something to show
  SDL_Surface *display_ = nullptr; // the module's
  SDL_Surface *picture_ = nullptr; // the display in 32 bits, where that isn't the window itself
  bool script_full_screen_ = false;
  bool stale_ = true; // the window was opened for another display
  std::string failure_;
  View view_;
};

} // namespace orbplay
