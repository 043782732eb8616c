// One random script, from init to release.
#include "fuzz/script_player.h"

#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <string>
#include <vector>

#include <zlib.h>

#include "fuzz/script_reader.h"
#include "fuzz/world.h"
#include "host/host.h"
#include "module/module.h"
#include "surface/registry.h"

namespace fuzz {
namespace {

namespace fs = std::filesystem;

/// Steps of one script: it must end before the next one can begin.
constexpr int most_steps = 400, most_repeats = 600;
/// Graphs and screens with more pixels only take time.
constexpr int64_t most_pixels = 1 << 17;
/// Words that pointers lead to: more than any function reads or writes.
constexpr size_t memory_words = 1024, most_offset = 64;

struct scroll_place {
  int32_t shown, x, y;
};
scroll_place scroll;

class player {
public:
  player(std::span<const uint8_t> script, const fs::path &folder)
      : script_(script), memory_(memory_words) {
    for (size_t i = 0; i < memory_.size(); i++)
      memory_[i] = int32_t(i * 37 % 256);
    scroll = {};
    host_.on_error = [](const orbhost::ErrorReport &) {};
    // A display that SDL won't open ends a program; where the host goes on, so does the module.
    host_.on_fatal = [this](int32_t, const std::string &message) {
      if (!message.starts_with("SetVideoMode")) broken("fatal", message);
    };
    host_.on_exit = [](int32_t) {};
    host_.on_message = [](const std::string &, const std::string &) {};
    host_.files().on_loss = [](const std::string &, const std::string &) {};
    host_.files().set_folder(folder);
    host_.scroll_services.offset = [](int32_t, int32_t, int32_t *x, int32_t *y) {
      *x = scroll.x;
      *y = scroll.y;
      return scroll.shown;
    };
    host_.device_system.scroll = &host_.scroll_services;
    host_.attach(ORB_mod_graphics2D_MainLibraryExports);
    host_.init();
  }

  void make_world(int32_t depth) {
    fuzz::make_world(host_, depth, [this](int32_t type) { return spawn(type); });
  }

  void play() {
    for (int step = 0; step < most_steps && !script_.at_end() && mistake_.empty(); step++)
      switch (const uint8_t kind = script_.byte(); kind % 16) {
      case 0:
      case 1: frame(); break;
      case 2: spawn(kind / 16 % 3); break;
      case 3: kill(); break;
      case 4:
      case 5: set_local(); break;
      case 6: set_global(); break;
      case 7: set_process(); break;
      case 8: call(script_.byte()); break;
      default: call(0); break;
      }
    frame();
    check_counts();
  }

  /// Whether the script has called anything that writes files.
  bool has_saved() const { return has_saved_; }

  played outcome() const { return {mistake_, checksum_}; }

private:
  void broken(const std::string &function, const std::string &what) {
    if (mistake_.empty()) mistake_ = function + ": " + what;
  }

  void sum_up(const void *bytes, size_t size) {
    checksum_ = uint32_t(crc32(checksum_, static_cast<const uint8_t *>(bytes), uInt(size)));
  }

  void frame() {
    host_.frame();
    if (const __ORBSurface2D__ *screen = host_.screen()) sum_up(screen->pixels, screen->byte_size);
  }

  orb_process *spawn(int32_t type) {
    orb_process *&place = processes_[next_process_ % processes_.size()];
    if (place) host_.kill(place);
    place = host_.spawn(type);
    handles_.processes[next_process_++ % processes_.size()] = orbhost::ProcessList::id(place);
    host_.processes().current = place;
    return place;
  }

  /// The id stays among the handles.
  void kill() {
    orb_process *&place = chosen_process();
    if (!place) return;
    if (host_.processes().current == place) host_.processes().current = nullptr;
    host_.kill(place);
    place = nullptr;
  }

  orb_process *&chosen_process() { return processes_[script_.below(processes_.size())]; }

  void set_local() {
    // In the order of orb_locals; the third is xgraph.
    static constexpr char kinds[] = "fg xxxxrxfgxaxxxxxnlecl";
    static_assert(sizeof kinds - 1 == sizeof(orb_locals) / 4);
    orb_process *process = chosen_process();
    const size_t local = script_.below(sizeof kinds - 1);
    if (local == 2) {
      const bool none = script_.byte() % 4 == 0;
      memory_[0] = value('x');
      for (int32_t i = 1; i < 5; i++)
        memory_[size_t(i)] = 999 + i;
      if (process) process->locals->xgraph = none ? nullptr : memory_.data();
      return;
    }
    const int32_t set_to = value(kinds[local]);
    if (process) memcpy(reinterpret_cast<int32_t *>(process->locals) + local, &set_to, 4);
  }

  void set_process() {
    static constexpr int32_t states[] = {2, 2, 3, 4, 0, 1, 5, -1};
    orb_process *process = chosen_process();
    const uint8_t what = script_.byte();
    if (what % 4 == 0) scroll = {what / 4 % 2, value('x'), value('x')};
    if (!process) return;
    if (what % 4 == 1) process->coordinates = what / 4 % 4;
    if (what % 4 == 2) process->status = states[what / 4 % 8];
    if (what % 4 == 3) host_.processes().current = process;
  }

  void set_global() {
    static constexpr struct {
      const char *name;
      uint32_t index;
      char kind;
    } globals[] = {{"dump_type", 0, 'x'},    {"restore_type", 0, 'x'},
                   {"fading", 0, 'x'},       {"vsync", 0, 'x'},
                   {"draw_z", 0, 'x'},       {"draw_destination_file", 0, 'f'},
                   {"draw_visible", 0, 'x'}, {"draw_destination_graph", 0, 'g'},
                   {"mouse", 0, 'f'},        {"mouse", 1, 'g'},
                   {"mouse", 2, 'x'},        {"mouse", 3, 'x'},
                   {"mouse", 4, 'a'},        {"mouse", 5, 'x'},
                   {"mouse", 6, 'n'}};
    const auto &global = globals[script_.below(std::size(globals))];
    host_.global(global.name, global.index) = value(global.kind);
  }

  int32_t value(char kind) { return read_value(script_, handles_, kind); }

  orbhost::Argument text() {
    const uint8_t choice = script_.byte();
    if (choice < 252) return texts[choice % std::size(texts)];
    return std::string(size_t(choice) * 2, 'x');
  }

  int32_t *pointer() {
    const uint8_t choice = script_.byte();
    return choice >= 240 ? nullptr : memory_.data() + choice % most_offset;
  }

  /// One call, and the same again as often as asked: lists must grow.
  void call(int again) {
    using orbhost::ArgumentType;
    const auto &functions = host_.registration().functions;
    const orbhost::Function &function = functions[script_.word() % functions.size()];
    const char *kinds = argument_kinds(function.signature.c_str());
    const bool text_for_int = orbhost::takes_text_for_int(function.name);
    std::vector<orbhost::Argument> arguments;
    for (const ArgumentType type : function.arguments) {
      const char kind = *kinds ? *kinds++ : 'x';
      if (type == ArgumentType::string || text_for_int)
        arguments.push_back(text());
      else if (type == ArgumentType::pointer)
        arguments.push_back(pointer());
      else if (kind == 'A') // an address in an int
        arguments.push_back(int32_t(reinterpret_cast<uintptr_t>(pointer())));
      else
        arguments.push_back(value(kind));
    }
    limit_sizes(function.name, arguments);
    make_call(function, arguments);
    for (; again > 0 && repeats_ < most_repeats; again--, repeats_++)
      make_call(function, arguments);
  }

  void make_call(const orbhost::Function &function,
                 const std::vector<orbhost::Argument> &arguments) {
    has_saved_ |= function.name.find("save") != std::string::npos;

    const int32_t result = host_.call_form(function, arguments);
    if (function.result == orbhost::ResultType::string) {
      const char *answer = reinterpret_cast<const char *>(result);
      const size_t length = strnlen(answer, ORB_RETURN_STRING_SIZE);
      if (length == ORB_RETURN_STRING_SIZE) broken(function.signature, "returned an endless text");
      sum_up(answer, length);
    } else if (function.name != "map_get_buffer" && !is_process(result)) {
      if (result != script_failure) handles_.add_result(result);
      sum_up(&result, sizeof result);
    }
    if (host_.call_frame().unfetched() || host_.call_frame().bad_fetches())
      broken(function.signature, "didn't fetch its arguments");
    if (host_.files().open_count()) broken(function.signature, "left a stream open");
  }

  bool is_process(int32_t id) const {
    return std::ranges::find(handles_.processes, id) != handles_.processes.end() && id != 0;
  }

  /// Makes graphs and screens that would only take time smaller. Sizes that the module refuses
  /// stay.
  static void limit_sizes(const std::string &name, std::vector<orbhost::Argument> &arguments) {
    const bool packed = arguments.size() == 1 && (name == "mode_set" || name == "set_mode");
    if (packed) {
      const int64_t code = arguments[0].word(), base = code > 1280960 ? 10000 : 1000;
      if (code > 0 && (code / base) * (code % base) > most_pixels) arguments[0] = 320200;
      return;
    }
    size_t first = 0;
    if (name == "fpg_new_map")
      first = 2;
    else if (name != "map_new" && name != "new_map" && name != "mode_set" &&
             name != "virtualresolution_set")
      return;
    const int64_t width = arguments[first].word(), height = arguments[first + 1].word();
    if (width < 1 || height < 1 || width > 65535 || height > 65535) return;
    if (width * height > most_pixels)
      arguments[first + 1] = int32_t(std::max<int64_t>(most_pixels / width, 1));
  }

  /// What the module says that it holds is what it holds. Its counts of fixed and of locked draw
  /// objects are intentionally others.
  void check_counts() {
    const auto expect = [this](const char *counter, int32_t held) {
      const int32_t counted = host_.call(counter);
      if (counted != held)
        broken(counter, "counts " + std::to_string(counted) + " of " + std::to_string(held));
    };
    int32_t drawn = 0, used = 0, loose = 0;
    for (int32_t i = 0; i < max_draw; i++)
      drawn += draws[i].in_use;
    for (int32_t i = 0; i < max_fpg; i++)
      used += fpg[i].in_use != 0;
    for (int32_t i = first_runtime_code; i < max_map; i++)
      loose += image_loaded[i - first_runtime_code] != 0;
    expect("graphiclib_get_drawspainted", drawn);
    expect("graphiclib_get_fpgsloaded", used);
    expect("graphiclib_get_mapsloaded", loose);
  }

  script_reader script_;
  script_handles handles_;
  std::vector<int32_t> memory_;
  std::array<orb_process *, 16> processes_{};
  size_t next_process_ = 0;
  int repeats_ = 0;
  bool has_saved_ = false;
  std::string mistake_;
  uint32_t checksum_ = 0;
  orbhost::Host host_; // last: its end releases the module, which may look at all the others
};

} // namespace

played play_script(std::span<const uint8_t> script) {
  if (script.empty()) return {};
  scratch_folder &files = world_folder();
  player plays(script.subspan(1), files.path());
  plays.make_world(depths[script[0] % 3]);
  plays.play();
  if (plays.has_saved()) files.restore();
  return plays.outcome();
}

} // namespace fuzz
