// A host: the environment in which a graphics module runs.
//
//   orbhost::Host host;                                     // headless, virtual clock
//   host.attach(ORB_mod_graphics2D_MainLibraryExports);     // or host.load("lib....so.1")
//   host.init();
//   int graph = host.call("map_new", {16, 16, 0});
//   orb_process *p = host.spawn();
//   p->locals->graph = graph;
//   host.frame();
//
// The tables between host and module carry no context, so one Host is active at a time: the
// constructor throws while another exists. Everything runs on one thread. The module is compiled
// without exceptions, so nothing that it calls may throw, including the handlers below.
#pragma once

#include "host/arguments.h"
#include "host/clock.h"
#include "host/declarations.h"
#include "host/files.h"
#include "host/input.h"
#include "host/messages.h"
#include "host/process_list.h"
#include "host/registration.h"
#include "host/sound.h"
#include "orb/graphics2d.h"

#include <cstdint>
#include <deque>
#include <functional>
#include <initializer_list>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

namespace orbhost {

// What most script functions return on failure.
inline constexpr std::int32_t failure_value = INT32_MIN;

// Misuse of a Host, or a module that can't be loaded.
class HostError : public std::runtime_error {
public:
  using std::runtime_error::runtime_error;
};

struct Options {
  std::string title = "orbhost"; // the game's name, returned by rt_program_name
  // SDL's dummy video: no display is needed or touched. Otherwise SDL's video, which the program may
  // have started; then it stays when play ends.
  bool headless = true;
  // Frames don't wait, and always take the same virtual time. Usual with headless.
  bool virtual_clock = true;
  bool full_screen = false;
  bool mute = false; // no sound; nor is there any headless
  // Reported to the module when headless, and when the program has started SDL's video.
  int desktop_width = 1024, desktop_height = 768;
};

// Counts of the module's calls to the window and input services.
struct ServiceLog {
  int window_shown = 0;
  int window_moved = 0, window_x = 0, window_y = 0;
  int input_resets = 0, mouse_grabs = 0, window_rereads = 0, mouse_centres = 0;
  std::vector<std::int32_t> mode_changes; // 1 and 0, the last 64
  std::vector<std::int32_t> signals;      // rt_signal codes, the last 64
};

class Host {
public:
  explicit Host(Options options = {});
  ~Host(); // releases a module that was initialised
  Host(const Host &) = delete;
  Host &operator=(const Host &) = delete;

  // Loads the shared library and has it register. A path without a slash is looked up in the
  // loader's folders. Throws HostError with the loader's message.
  void load(const std::string &path);
  // Has a module register through its entry function. Throws HostError if it returns anything but 1
  // or registers a malformed text, or if a module is already attached.
  void attach(orb_main_library_exports *entry);

  // Runs the module's init hooks.
  void init();
  // One frame: handles events, updates the mouse, runs the frame hooks, waits for the clock. Hosts
  // whose processes run in between call the two halves: begin_frame() handles events and updates
  // the mouse, end_frame() does the rest.
  void frame();
  void begin_frame();
  void end_frame();
  // Runs the release hooks; a second call does nothing. Processes end first.
  void release();

  // Calls a script function. The form is the one with that many arguments whose types fit best (see
  // best_form); throws HostError when none fits. A text result stays valid until the next call;
  // call_text copies it. A call that loses a file on closing it reports 123 and fails, although the
  // module doesn't notice.
  std::int32_t call(std::string_view name, std::vector<Argument> arguments = {});
  std::string call_text(std::string_view name, std::vector<Argument> arguments = {});
  // Calls a given form without checking types.
  std::int32_t call_form(const Function &function, std::vector<Argument> arguments);
  // The same with a word for each of the form's arguments; what their addresses lead to is the
  // caller's, and stays until the call is over.
  std::int32_t call_words(const Function &function, const ArgumentWord *words) {
    call_.begin(words, function.arguments.size());
    return run(function);
  }

  // A new process of that type: status running, locals with their declared values.
  orb_process *spawn(std::int32_t type = 0) { return processes_.create(type); }
  void kill(orb_process *process) { processes_.kill(process); }

  // The word of a script global; `index` counts words from the start of an array. Throws
  // HostError for a name that wasn't declared or an index outside it.
  std::int32_t &global(std::string_view name, std::uint32_t index = 0);
  // Value of a registered constant. Throws HostError when there is none.
  [[nodiscard]] std::int32_t constant(std::string_view name) const;

  // Called for every rt_error; by default the report is printed on stderr. Reports are kept for
  // take_errors() in either case (the last 1000).
  std::function<void(const ErrorReport &)> on_error;
  std::vector<ErrorReport> take_errors();

  // Called for rt_fatal and rt_exit. By default the message is printed and the program ends with
  // status 4: unwinding through the module isn't possible. If a handler returns, the module
  // continues as best it can.
  std::function<void(std::int32_t level, const std::string &message)> on_fatal;
  std::function<void(std::int32_t code)> on_exit;
  // Called for the message box; by default prints "title: text" on stderr.
  std::function<void(const std::string &text, const std::string &title)> on_message;

  // The tables that the module sees. A test may clear or replace entries before init().
  orb_runtime runtime{};
  orb_device_system device_system{};
  orb_process_services process_services{};
  orb_window_services window_services{};
  orb_file_services file_services{};
  orb_input_services input_services{};
  orb_timing_services timing_services{};
  orb_scroll_services scroll_services{}; // all null; not passed to the module by default
  orb_video_hooks video_hooks{};
  // Words that the device-system record points to.
  std::uint8_t full_screen = 0;
  std::int32_t frame_rate = 0, renderer_busy = 0, vsync = 0;

  [[nodiscard]] const Registration &registration() const { return registration_; }
  [[nodiscard]] const Layout &globals() const { return globals_; }
  [[nodiscard]] const Layout &locals() const { return locals_; }
  [[nodiscard]] ProcessList &processes() { return processes_; }
  [[nodiscard]] CallFrame &call_frame() { return call_; } // of the current or last call
  [[nodiscard]] Files &files() { return files_; }
  [[nodiscard]] const Files &files() const { return files_; }
  [[nodiscard]] Input &input() { return input_; }
  [[nodiscard]] Clock &clock() { return clock_; }
  [[nodiscard]] Sound &sound() { return sound_; }
  [[nodiscard]] const Options &options() const { return options_; }
  // The device record that the module published; null before init().
  [[nodiscard]] orb_device2d *device() const { return runtime.rt_device2D; }
  // The logical screen; null before the module has opened one.
  [[nodiscard]] __ORBSurface2D__ *screen() const { return device_system.screen; }

  // Where the display shows the screen, in pixels of the display; all 0 while it shows none.
  struct Place {
    int left = 0, top = 0, width = 0, height = 0;
  };
  [[nodiscard]] Place picture_place() const;

  ServiceLog log;

private:
  friend struct RuntimeTable;

  void prepare_video();
  void update_mouse();
  void run_hooks(std::int32_t kind);
  void report(ErrorReport report);
  std::int32_t run(const Function &function) {
    const std::size_t losses = files_.losses();
    const std::int32_t result = function.handler();
    return files_.losses() == losses || result == failure_value ? result : fail_save(function);
  }
  std::int32_t fail_save(const Function &function);

  Options options_;
  Registration registration_;
  Layout globals_, locals_;
  std::vector<std::int32_t> memory_; // the globals; stays in place once attached
  ProcessList processes_;
  CallFrame call_;
  Files files_;
  Input input_;
  Clock clock_;
  Sound sound_;
  std::deque<ErrorReport> errors_; // the last ones
  void *library_ = nullptr;
  bool attached_ = false, initialised_ = false, released_ = false;
  bool started_video_ = false; // SDL's video; a program that did keeps it
};

// The index, in Registration::functions, of the form of `name` that fits `arguments`: the same
// count, a text or null for each "S", a pointer or null for each "IP", an int for each "I". Nothing
// when no form fits. (An int 0 isn't a null; a null text fits "S" and "IP".)
std::optional<std::size_t> best_form(const Registration &registration, std::string_view name,
                                     const std::vector<Argument> &arguments);

} // namespace orbhost
