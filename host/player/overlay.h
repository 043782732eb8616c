// What the player shows on top of a game for those who make it: figures, boxes, locals.
//
// It draws on the window only: the game's screen, screenshots and sums know nothing of it.
#pragma once

#include "host/host.h"
#include "host/player/view.h"

#include <SDL.h>

#include <array>
#include <chrono>
#include <cstdint>
#include <vector>

namespace orbplay {

class Canvas;

class Overlay {
public:
  bool figures = false; // times, counts
  bool boxes = false;   // what was drawn, what has changed, and the process under the pointer

  // Watches a host whose module is initialised. One overlay at a time.
  void attach(orbhost::Host &host);
  void detach();
  // A frame begins, whose time is measured until the first paint().
  void frame_begins() {
    begun_ = Clock::now();
    measuring_ = true;
  }
  // The pointer, on the module's display.
  void point(Point at) { pointer_ = at; }
  // `surface` has 32 bits a pixel.
  void paint(const View &view, SDL_Surface &surface);

private:
  using Clock = std::chrono::steady_clock;

  // The box of a request that drew something, on the script's screen.
  struct Drawn {
    const orb_process *owner; // null for a draw object
    int x0, y0, x1, y1;
  };

  static void note_requests();
  void paint_figures(Canvas &canvas) const;
  void find_changes();
  void paint_changes(const View &view, Canvas &canvas) const;
  void paint_boxes(const View &view, Canvas &canvas) const;
  void paint_locals(Canvas &canvas, const orb_process &process, Point at) const;

  orbhost::Host *host_ = nullptr;
  void (*reset_list_)() = nullptr; // the module's own
  std::vector<Drawn> drawn_;       // in the frame that is shown
  std::size_t requests_ = 0;
  bool shown_ = false; // since drawn_ was last written
  bool measuring_ = false;
  Clock::time_point begun_, shown_at_;
  static constexpr std::size_t kept_times = 120;
  std::array<float, kept_times> work_{}, frame_{}; // ms, of the last frames
  std::size_t newest_ = 0;
  std::vector<std::uint8_t> previous_; // the display, one frame ago
  std::vector<SDL_Rect> changes_;      // tiles of it that were different then
  Point pointer_;
};

} // namespace orbplay
