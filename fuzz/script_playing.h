// The player of one script: a host with a small world, and the steps that a script is made of.
#pragma once

#include <array>
#include <filesystem>
#include <string>
#include <vector>

#include "fuzz/script_player.h"
#include "fuzz/script_reader.h"
#include "host/host.h"

namespace fuzz {

/// Bytes of memory for the pixels of wrappers: 64 x 64 pixels of 32 bits, with wide rows.
inline constexpr size_t lent_bytes = 64 * (64 * 4 + 64);

class player {
public:
  player(std::span<const uint8_t> script, const std::filesystem::path &folder, bool full_screen);

  /// Plays the whole script in a world of that depth.
  void play(int32_t depth);

  /// Whether the script has changed the folder.
  bool has_written() const { return has_written_; }
  played outcome() const { return {mistake_, checksum_}; }

private:
  void broken(const std::string &function, const std::string &what) {
    if (mistake_.empty()) mistake_ = function + ": " + what;
  }
  int32_t value(char kind) { return read_value(script_, handles_, kind); }

  // Steps and checks: script_player.cpp
  void step();
  void frame();
  orb_process *spawn(int32_t type);
  void kill_at(size_t place);
  void set_local();
  void set_local(orb_process &process, size_t local);
  void directions(orb_process &process);
  void set_global();
  void set_process();
  void call(int again);
  int32_t call(const char *name, const std::vector<orbhost::Argument> &arguments);
  int32_t make_call(const orbhost::Function &function,
                    const std::vector<orbhost::Argument> &arguments);
  void check_counts();
  void sum_up(const void *bytes, size_t size);
  void sum_up(const __ORBSurface2D__ &surface);
  void sum_up_display();
  /// Called from inside a service: at the moment that the script has chosen, a process ends.
  void interrupt();
  orb_process *&chosen_process() { return processes_[script_.below(processes_.size())]; }
  bool is_process(int32_t id) const;

  // Sequences that single random steps seldom produce: script_scenes.cpp
  void scene();
  void library_and_modes();
  void virtual_resolution();
  void filters();
  void crowd();
  void drawing_on_graph();
  void collisions();
  void own_pixels();
  void fade();
  void palette_change();
  void blends();
  void foreign_file();
  void saving();
  void many_draws();
  void display_change();
  orb_process *show(int32_t file, int32_t graph);

  // What a host may do through the device record: script_device.cpp
  void device_call();
  void surface_call();
  void ask();
  void colour_call();
  void request_call();
  __ORBBlit2D__ random_request();
  __ORBSurface2D__ *some_surface();
  void make_wrapper(int32_t width, int32_t height);
  void delete_surface();
  void delete_surfaces();

  script_reader script_;
  script_handles handles_;
  std::vector<int32_t> memory_, directions_;
  std::array<orb_process *, 16> processes_{};
  size_t next_process_ = 0;
  int repeats_ = 0, crowds_ = 0, lists_ = 0;
  int recorded_ = 0; // graphs that the host made from surfaces
  int interrupts_until_kill_ = 0;
  size_t victim_ = 0;
  struct {
    int32_t shown, x, y;
  } scroll_{};
  std::vector<__ORBSurface2D__ *> surfaces_; // made through the device record
  std::vector<uint8_t> lent_;                // pixels of wrappers
  bool has_written_ = false;
  std::string mistake_;
  uint32_t checksum_ = 0;
  orbhost::Host host_; // last: its destructor releases the module, which may use all the others
};

} // namespace fuzz
