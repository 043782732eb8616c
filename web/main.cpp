// The player for pages: module, host and what pages need of the desktop's player in one WebAssembly
// program. player.js calls it: frame by frame, shows its picture, lets its sound be heard and tells
// it what the hands do.
//
// SDL has its dummy video driver: the module's display is a surface in memory, which is all that a
// page needs. A program plays one game in its life; each play has a fresh instance.
#include "host/player/error_screen.h"
#include "host/player/hashes.h"
#include "host/player/input_words.h"
#include "host/player/overlay.h"
#include "host/player/recording.h"
#include "host/player/session.h"
#include "host/screenshot.h"
#include "web/libraries/pull_sound.h"

#include <SDL.h>
#include <emscripten.h>

#include <algorithm>
#include <chrono>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <new>
#include <optional>
#include <sstream>
#include <string>
#include <vector>

extern "C" std::int32_t ORB_mod_graphics2D_MainLibraryExports(const orb_registration *);

namespace orbplay {
namespace {

std::string end_of_module; // why the module can't go on; empty: it can

} // namespace

// The program doesn't end with the module, which calls from where nothing may be thrown: the frame
// goes on as best it can, and play fails after it.
void attach_module(orbhost::Host &host, const Settings & /*settings*/) {
  host.on_fatal = [](std::int32_t, const std::string &message) {
    end_of_module = "fatal error: " + message;
  };
  host.on_exit = [](std::int32_t code) {
    if (end_of_module.empty())
      end_of_module = "the module has ended play, code " + std::to_string(code);
  };
  host.attach(ORB_mod_graphics2D_MainLibraryExports);
}

namespace {

// What the page tells of the hands reaches the game, and a recording, as the next frame begins.
class Hands : public Observer {
public:
  std::vector<orbhost::InputEvent> waiting;

  void before_frame(orbhost::Host &host, std::uint64_t /*frame*/) override {
    for (const orbhost::InputEvent &event : waiting)
      if (host.input().listening) host.input().apply(event);
    waiting.clear();
  }
};

Settings settings;
Game game;
std::optional<Recording> recording;
std::optional<Session> session;
Hands *hands = nullptr; // the session's
InputWords input_words;
Overlay overlay;
std::optional<ErrorScreen> error_screen;
std::string answer; // of the last function that returns a text
std::string failure;
std::vector<std::uint32_t> shown; // the picture as the page takes it
std::vector<std::int16_t> samples;

// Runs what may throw. False: it has, and `failure` holds the message.
template <typename F> bool attempt(F f) {
  try {
    f();
    return true;
  } catch (const std::exception &error) {
    failure.assign(error.what(), std::min(std::strlen(error.what()), failure.capacity()));
  }
  return false;
}

SDL_Surface *display() {
  return SDL_WasInit(SDL_INIT_VIDEO) ? SDL_GetVideoSurface() : nullptr;
}

int error_width = 640, error_height = 400; // or as large as the display was

// Ends a play that has failed and shows why. The script goes first: it may hold all memory.
void show_failure() {
  if (const SDL_Surface *const surface = display())
    error_width = surface->w, error_height = surface->h;
  overlay.detach();
  session.reset();
  hands = nullptr;
  try {
    error_screen.emplace(failure, "r plays again");
  } catch (const std::bad_alloc &) {
    error_screen.reset();
  }
}

// Calls row(y, pixels) with the display's rows as 0xRRGGBB.
template <typename Row> void display_rows(const SDL_Surface &surface, Row row) {
  std::vector<std::uint32_t> line(static_cast<std::size_t>(surface.w));
  const auto rows = [&](auto pixel, auto colour) {
    for (int y = 0; y < surface.h; ++y) {
      const auto *from = static_cast<const std::uint8_t *>(surface.pixels) + y * surface.pitch;
      for (std::uint32_t &to : line) {
        std::memcpy(&pixel, from, sizeof pixel);
        from += sizeof pixel;
        to = colour(pixel);
      }
      row(y, line);
    }
  };
  switch (surface.format->BitsPerPixel) {
  case 8: {
    std::uint32_t colours[256];
    for (int i = 0; i < 256; ++i) {
      const SDL_Color c = surface.format->palette->colors[i];
      colours[i] = std::uint32_t{c.r} << 16 | std::uint32_t{c.g} << 8 | c.b;
    }
    rows(std::uint8_t{}, [&](std::uint8_t p) { return colours[p]; });
    break;
  }
  case 16:
    rows(std::uint16_t{}, [](std::uint32_t p) {
      const std::uint32_t r = p >> 11, g = p >> 5 & 63, b = p & 31;
      return (r << 3 | r >> 2) << 16 | (g << 2 | g >> 4) << 8 | (b << 3 | b >> 2);
    });
    break;
  default: rows(std::uint32_t{}, [](std::uint32_t p) { return p & 0xFFFFFF; });
  }
}

// Draws on `shown`, of 0xRRGGBB.
template <typename Paint> void paint_over(int width, int height, Paint paint) {
  SDL_Surface *const surface = SDL_CreateRGBSurfaceFrom(shown.data(), width, height, 32, 4 * width,
                                                        0xFF0000, 0xFF00, 0xFF, 0);
  if (surface) paint(*surface);
  SDL_FreeSurface(surface);
}

// Into `shown`, as orb_pixels() returns it.
void draw_picture(int width, int height, int scale) {
  shown.resize(static_cast<std::size_t>(width) * static_cast<std::size_t>(height));
  if (error_screen) {
    paint_over(width, height, [](SDL_Surface &surface) { error_screen->paint(surface); });
  } else {
    display_rows(*display(), [&](int y, const std::vector<std::uint32_t> &line) {
      std::uint32_t *const first = shown.data() + static_cast<std::size_t>(y * scale * width);
      if (scale == 1) {
        std::copy(line.begin(), line.end(), first);
        return;
      }
      std::uint32_t *to = first;
      for (const std::uint32_t pixel : line)
        to = std::fill_n(to, scale, pixel);
      for (int i = 1; i < scale; ++i)
        std::copy_n(first, width, first + static_cast<std::size_t>(i * width));
    });
    if (overlay.figures || overlay.boxes)
      paint_over(width, height, [&](SDL_Surface &surface) { overlay.paint({scale, {}}, surface); });
  }
  for (std::uint32_t &pixel : shown)
    pixel = 0xFF000000 | (pixel & 255) << 16 | (pixel & 0xFF00) | (pixel >> 16 & 255);
}

void start(const char *path, const std::string &arguments, const std::string &options) {
  failure.reserve(1 << 16); // a failure for want of memory can be told, too
  settings.script = path;
  std::istringstream lines(arguments);
  for (std::string line; std::getline(lines, line);)
    settings.arguments.push_back(line);
  std::istringstream words(options);
  for (std::string word; words >> word;) {
    if (word == "headless") settings.headless = true;
    if (word == "strict") settings.strict = true;
    if (word == "record") settings.record = "/recording.txt";
    if (word == "replay") settings.replay = "/replay.txt";
    if (word == "hashes") settings.hashes = "/hashes.txt";
  }
  setenv("SDL_VIDEODRIVER", "dummy", 1);
  SDL_InitSubSystem(SDL_INIT_VIDEO);
  game = open_game(settings.script);
  settings.script = game.script;
  if (!settings.replay.empty()) {
    recording = Recording::read(settings.replay);
    recording->adopt(settings);
  }
  if (!settings.record.empty()) Recorder::prepare(settings);
  session.emplace(settings, game);
  if (!end_of_module.empty()) throw orbhost::HostError(end_of_module);
  orbhost::Host &host = session->host();
  host.clock().sleep_until = [](auto) {}; // the page paces the frames
  if (recording) session->observe(std::make_unique<Replayer>(host, *recording));
  if (!settings.record.empty()) session->observe(std::make_unique<Recorder>(host, settings));
  if (!settings.hashes.empty()) session->observe(std::make_unique<HashWriter>(settings.hashes));
  auto listening = std::make_unique<Hands>();
  hands = listening.get();
  session->observe(std::move(listening));
  overlay.attach(host);
}

} // namespace
} // namespace orbplay

using namespace orbplay;

extern "C" {

// Begins to play a script, or a game's folder or zip file, of the file system, with its arguments,
// one a line. `options` are words: "headless": a virtual clock and no sound, so that all plays are
// the same; "strict": errors that the module reports end play; "record": into /recording.txt;
// "replay": from /replay.txt; "hashes": sums of all frames into /hashes.txt.
// 0: it can't be played; see orb_error().
EMSCRIPTEN_KEEPALIVE int orb_start(const char *path, const char *arguments, const char *options) {
  const bool started = attempt([&] { start(path, arguments, options); });
  if (!started) show_failure();
  return started;
}

// One frame: 1 play goes on, 0 it is over, -1 it has failed; see orb_error().
EMSCRIPTEN_KEEPALIVE int orb_frame() {
  if (!session) return -1;
  bool more = false;
  overlay.frame_begins();
  const bool played = attempt([&] {
    more = session->frame();
    if (!end_of_module.empty()) throw orbhost::HostError(end_of_module);
  });
  if (played) return more;
  show_failure();
  return -1;
}

// Why the last call failed: "/game/main.lua:12: " and more, with a traceback.
EMSCRIPTEN_KEEPALIVE const char *orb_error() { return failure.c_str(); }

// Milliseconds until the next frame is due; less than 0 if it is late, 0 if there is no rate.
EMSCRIPTEN_KEEPALIVE double orb_due() {
  const orbhost::Clock &clock = session->host().clock();
  if (clock.fps() == 0) return 0;
  const auto wait = clock.due() - std::chrono::steady_clock::now();
  return std::chrono::duration<double, std::milli>(wait).count();
}

// Time that passes from orb_hold(1) to orb_hold(0) is no time of play.
EMSCRIPTEN_KEEPALIVE void orb_hold(int held) {
  orbhost::Host &host = session->host();
  host.sound().pause(held != 0);
  if (held)
    host.clock().hold();
  else
    host.clock().resume();
}

// The size of the picture in pixels: the display's, or of an error's screen; 0 while there is none.
EMSCRIPTEN_KEEPALIVE int orb_width() {
  const SDL_Surface *const surface = display();
  return error_screen ? error_width : surface ? surface->w : 0;
}
EMSCRIPTEN_KEEPALIVE int orb_height() {
  const SDL_Surface *const surface = display();
  return error_screen ? error_height : surface ? surface->h : 0;
}

// The picture, each pixel of it `scale` x `scale` large, so that what the player draws on top is
// fine: rows from the top, bytes of red, green, blue and 255. It stays until the next call; null
// while there is none, or no memory for it: then play has failed.
EMSCRIPTEN_KEEPALIVE const std::uint32_t *orb_pixels(int scale) {
  const int width = orb_width() * scale, height = orb_height() * scale;
  if (width == 0) return nullptr;
  if (!attempt([&] { draw_picture(width, height, scale); })) {
    show_failure();
    return nullptr;
  }
  return shown.data();
}

// What is shown on top of the game: figures, boxes.
EMSCRIPTEN_KEEPALIVE void orb_overlay(int figures, int boxes) {
  overlay.figures = figures != 0;
  overlay.boxes = boxes != 0;
}

// The sum of the screen, or of the display, in hexadecimal digits, as tests/golden/ records it;
// empty if there is none.
EMSCRIPTEN_KEEPALIVE const char *orb_sum(int of_display) {
  answer.clear();
  attempt([&] {
    const orbhost::Picture picture = of_display ? orbhost::take_display_picture()
                                                : orbhost::take_picture(session->host());
    char digits[17];
    std::snprintf(digits, sizeof digits, "%llx",
                  static_cast<unsigned long long>(orbhost::picture_sum(picture)));
    answer = digits;
  });
  return answer.c_str();
}

// Saves the display as a PNG file. 0: there is none, or no room.
EMSCRIPTEN_KEEPALIVE int orb_screenshot(const char *path) {
  return attempt([&] { orbhost::save_png(orbhost::take_display_picture(), path); });
}

// What the hands did, in words parted by spaces (host/player/input_words.h), before the next frame.
// Words that mean nothing are passed over: keyboards have keys that no script can ask for.
EMSCRIPTEN_KEEPALIVE void orb_input(const char *words) {
  if (!hands) return;
  std::istringstream parts(words);
  for (std::string word; parts >> word;) {
    try {
      input_words.read(word, hands->waiting);
    } catch (const WordError &) {
      continue;
    }
    if (hands->waiting.empty()) continue;
    const orbhost::InputEvent &last = hands->waiting.back();
    if (last.kind == orbhost::InputEvent::Kind::motion) overlay.point({last.x, last.y});
  }
}

// The keys and buttons that the script has asked for so far, parted by spaces.
EMSCRIPTEN_KEEPALIVE const char *orb_asked() {
  answer.clear();
  for (const std::string &name : session->host().input().asked())
    answer += name + ' ';
  return answer.c_str();
}

// Samples a second and side; 0 while the game has no sound.
EMSCRIPTEN_KEEPALIVE int orb_rate_of_sound() { return orb_sound_rate(); }
// The next `count` samples, left and right by turns. They stay until the next call.
EMSCRIPTEN_KEEPALIVE const std::int16_t *orb_sound(int count) {
  samples.resize(2 * static_cast<std::size_t>(count));
  orb_pull_sound(samples.data(), static_cast<int>(samples.size() * sizeof samples[0]));
  return samples.data();
}

} // extern "C"
