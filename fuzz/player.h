// The player of random scripts: bytes that become script calls, frames, processes and mode changes.
//
// Every script is played in a world of its own, so that the same bytes do the same everywhere: in
// the fuzz targets and in the tests, which replay what the targets have found.
#pragma once

#include <filesystem>
#include <map>
#include <memory>
#include <span>
#include <string>
#include <vector>

#include "fuzz/odd_services.h"
#include "fuzz/values.h"
#include "support/world.h"

namespace fuzz {

struct played {
  /// The mistake that ended the script, or empty: the module reported a fatal condition (other than
  /// a display that can't be opened), didn't fetch its arguments, left a stream open, miscounted
  /// what it holds, or kept something after release.
  std::string mistake;
  /// A checksum over all results and pictures: the same for the same script, whatever uninitialised
  /// memory contains.
  uint32_t checksum;
};

/// Plays one script in a module that is initialised for it and released after it.
played play_script(std::span<const uint8_t> script);

/// The same in a host that replies oddly (odd_services.h). The first half of the input, read
/// forward, is the script; the second half, read backward, are the host's replies, which are honest
/// after its last byte.
played play_odd_host(std::span<const uint8_t> input);

/// Whether calls and frames are printed on stderr, each with the checksum so far.
extern bool trace_steps;

/// The folder of all scripts, with a file of each format and depth; made by the first call.
const std::filesystem::path &world_folder();
/// Puts its files back as they were.
void restore_world_folder();

using word_list = std::span<const std::string>;

/// One script that is being played.
struct player {
  /// `replies` is null in an honest host.
  player(std::span<const uint8_t> script, const std::vector<uint8_t> *replies,
         const std::filesystem::path &folder);

  /// Plays the whole script.
  played play();
  /// Plays the lines of a scene of scenes.txt; without a title, of the one that the script chooses.
  void play_scene(const std::string &title);
  void play_line(word_list words);
  /// What a word stands for; `before` is the argument before it.
  orbhost::Argument word(const std::string &text, int32_t before = 0);
  int32_t number(const std::string &text) { return word(text).word(); }
  void set(orb_process &process, word_list assignments);

  int32_t call(const orbhost::Function &function, std::vector<orbhost::Argument> arguments);
  void call_any();
  void frame();
  void kill_at(size_t place);
  /// Called from inside services: a process may end.
  void interrupt();
  /// Called from inside an odd host's services, in which hosts may call back; the arguments of the
  /// function that is being called are lost.
  void call_back();
  /// A random call of the device record.
  void call_device();
  void delete_surfaces(); // those made through the device record

  void prepare(orbhost::Host &host, const std::filesystem::path &folder);
  bool is_process(int32_t id) const;
  void broken(const std::string &function, const std::string &what);
  void check_counts();
  void sum_up(const void *bytes, size_t size);
  void sum_up_display();
  void sum_up_surfaces();

  script_values values;
  std::map<std::string, orbhost::Argument> names; // $name: what a line has kept
  int iteration = 0;                              // of the line that is repeated
  const orbhost::Function *last_function = nullptr;
  std::vector<orbhost::Argument> last_arguments;
  std::array<orb_process *, 16> processes{}; // the next takes the place of the oldest
  std::vector<orb_process *> crowd;
  std::vector<int32_t> directions;
  size_t next_process = 0;
  int32_t victim = 0, calls_until_kill = 0;
  int repeats = 0, lists = 0; // so far
  int recorded = 0;           // graphs that the host made from surfaces
  int32_t scroll_shown = 0, scroll_x = 0, scroll_y = 0;
  std::vector<__ORBSurface2D__ *> surfaces; // made through the device record
  std::vector<uint8_t> lent;                // pixels of wrappers
  bool has_written = false, is_inside = false, is_up = false;
  std::string mistake;
  uint32_t checksum = 0;
  std::unique_ptr<odd_services> odd; // null in an honest host
  world own_world; // last: its destructor releases the module, which may use all the others
  orbhost::Host &host = own_world.host;
};

} // namespace fuzz
