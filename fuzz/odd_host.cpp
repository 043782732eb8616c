#include "fuzz/odd_host.h"

#include <algorithm>
#include <climits>
#include <cstring>
#include <iterator>
#include <set>
#include <vector>

#include "blit/blit_list.h"
#include "boundary/records.h"
#include "frame/draw_objects.h"
#include "fuzz/script_arguments.h"
#include "fuzz/world.h"
#include "host/host.h"
#include "module/module.h"
#include "surface/regions.h"
#include "surface/registry.h"
#include "surface/screen.h"
#include "surface/surface.h"

namespace fuzz {
namespace {

constexpr int most_steps = 120;
/// Reads in one call that may return nothing: more than any loader tries.
constexpr int most_empty_reads = 100;
constexpr size_t global_words = 4096;

/// Functions that use the host's services; the others are called less often.
constexpr const char *asking[] = {
    "map_load",     "fpg_load",     "fpg_load_map",  "image_load",      "load_pcx",
    "screen_load",  "palette_load", "palette_force", "palette_save",    "map_save",
    "fpg_save",     "image_save",   "save_pcx",      "mode_set",        "mode_change",
    "map_get_desc", "map_get_name", "map_set_desc",  "mode_set_filter", "mode_set_render",
    "collision",    "overlap",      "get_dist",      "get_angle",       "virtualresolution_set",
    "advance",      "xadvance",     "region_is_out", "set_fps",         "map_get_realcpoint",
    "screen_fade",  "fade_off",     "map_new",       "fpg_new_map",     "screen_draw_graphic"};

constexpr int32_t odd_numbers[] = {0,    -1,  1,     2,       3,        255,     1000,   -1000,
                                   1003, 256, 65536, 1 << 20, -1 << 20, INT_MAX, INT_MIN};

class odd_host;
odd_host *playing; // a host's tables carry no context

class odd_host {
public:
  odd_host(std::span<const uint8_t> program, std::span<const uint8_t> replies)
      : program_(program), replies_(replies), memory_(script_memory_words, 1),
        globals_(global_words) {
    playing = this;
    host_.on_error = [](const orbhost::ErrorReport &) {};
    host_.on_fatal = [this](int32_t, const std::string &message) {
      // Fatal, but hosts may continue: a display that can't be opened, or none while nothing is up.
      const bool refused = message.starts_with("SetVideoMode") ||
                           (!is_up_ && message == "Error to Create Buffer 2D Surface");
      if (!refused) broken("fatal: " + message);
    };
    host_.on_exit = [](int32_t) {};
    host_.files().on_loss = [](const std::string &, const std::string &) {};
    host_.files().set_folder(world_folder().path());
    host_.device_system.scroll = &host_.scroll_services;
    host_.attach(ORB_mod_graphics2D_MainLibraryExports);
    for (const orbhost::Function &function : host_.registration().functions)
      if (std::ranges::find(asking, function.name) != std::end(asking))
        asking_.push_back(&function);
    honest_ = host_.runtime;
    honest_files_ = host_.file_services;
    honest_processes_ = host_.process_services;
    host_.runtime.rt_globals = reinterpret_cast<uint8_t *>(globals_.data());
    replace_runtime();
    replace_processes();
    replace_files();
    replace_devices();
  }

  std::string play() {
    const uint8_t start = program_.byte();
    leave_out(program_.byte());
    set_number();
    host_.init();
    lying_ = false;
    make_world(host_, depths[start % 3], [this](int32_t type) { return spawn(type); });
    lying_ = true;
    for (int done = 0; done < most_steps && !program_.at_end() && mistake_.empty(); done++)
      step();
    host_.frame();
    host_.release();
    if (gfxsurfaces || pBlitLists2D || fpg || image_loaded || regions || draws || screen || ground)
      broken("kept something after release");
    close_left_over();
    if (has_written_) world_folder().restore();
    return mistake_;
  }

private:
  struct stream {
    void *real; // null: delivers nothing
  };

  void broken(const std::string &what) {
    if (mistake_.empty()) mistake_ = what;
  }
  /// Whether the next reply is odd.
  bool odd() { return lying_ && replies_.byte() >= 180; }
  int32_t odd_number() { return odd_numbers[replies_.below(std::size(odd_numbers))]; }

  // ---- Missing entries -------------------------------------------------------------------------

  /// Sets some or all of the optional pointers to null.
  void leave_out(uint8_t which) {
    std::vector<void *> places;
    const auto add = [&](auto &table) {
      auto *words = reinterpret_cast<void **>(&table);
      for (size_t i = 0; i < sizeof table / sizeof *words; i++)
        places.push_back(words + i);
    };
    add(host_.window_services);
    add(host_.file_services);
    add(host_.input_services);
    add(host_.timing_services);
    add(host_.scroll_services);
    add(host_.video_hooks);
    orb_device_system &system = host_.device_system;
    for (void *place :
         {static_cast<void *>(&system.full_screen), static_cast<void *>(&system.frame_rate),
          static_cast<void *>(&system.renderer_busy), static_cast<void *>(&system.window),
          static_cast<void *>(&system.file), static_cast<void *>(&system.input),
          static_cast<void *>(&system.timing), static_cast<void *>(&system.scroll),
          static_cast<void *>(&system.vsync), static_cast<void *>(&host_.runtime.rt_processes),
          static_cast<void *>(&host_.runtime.rt_video_hooks),
          static_cast<void *>(&host_.runtime.rt_device_system),
          static_cast<void *>(&host_.process_services.proc_first),
          static_cast<void *>(&host_.process_services.proc_current),
          static_cast<void *>(&host_.process_services.proc_exists)})
      places.push_back(place);
    const size_t count = which == 255 ? places.size() : which < 128 ? 0 : which % 8;
    for (size_t i = 0; i < count; i++)
      memset(places[which == 255 ? i : program_.below(places.size())], 0, sizeof(void *));
  }

  // ---- Texts, arguments, results ---------------------------------------------------------------

  const char *odd_text() {
    static const std::string endless(5000, '%');
    const char *const texts_[] = {nullptr, "", endless.c_str(), "%s%n", "8.fpg"};
    return texts_[replies_.below(std::size(texts_))];
  }

  void replace_runtime() {
    orb_runtime &table = host_.runtime;
    table.rt_program_name = [] {
      return playing->odd() ? playing->odd_text() : playing->honest_.rt_program_name();
    };
    table.rt_global_offset = [](int32_t zero, const char *name) {
      if (playing->odd()) return int32_t(playing->replies_.word() % 1024 * 4);
      return playing->honest_.rt_global_offset(zero, name);
    };
    table.rt_param_count = [] {
      return playing->odd() ? int32_t(int8_t(playing->replies_.byte()))
                            : playing->honest_.rt_param_count();
    };
    table.rt_pop_int = [] {
      const int32_t value = playing->honest_.rt_pop_int();
      if (!playing->odd()) return value;
      const int32_t number = playing->odd_number();
      return playing->address_in_int_ ? number % 4096 : number; // nothing is mapped there
    };
    table.rt_pop_string = [] {
      const char *text = playing->honest_.rt_pop_string();
      return playing->odd() ? playing->odd_text() : text;
    };
    table.rt_peek_string = [] {
      return playing->odd() ? playing->odd_text() : playing->honest_.rt_peek_string();
    };
    table.rt_pop_pointer = [] {
      int32_t *pointer = playing->honest_.rt_pop_pointer();
      return playing->odd() ? nullptr : pointer;
    };
    table.rt_take_return = [] {
      return playing->odd() ? playing->odd_number() : playing->honest_.rt_take_return();
    };
    table.rt_new_return_string = [] {
      return playing->odd() ? nullptr : playing->honest_.rt_new_return_string();
    };
  }

  // ---- Processes -------------------------------------------------------------------------------

  /// The host's list with gaps, one process without locals and one ended process.
  orb_process_node *odd_list() {
    static orb_process empty;
    empty = {};
    empty.status = 2;
    nodes_.clear();
    for (const orb_process_node *node = honest_processes_.proc_first(0); node; node = node->next) {
      nodes_.push_back({nullptr, nullptr});
      nodes_.push_back({node->process, nullptr});
    }
    nodes_.push_back({&empty, nullptr});
    if (last_dead_) nodes_.push_back({last_dead_, nullptr});
    for (size_t i = 1; i < nodes_.size(); i++)
      nodes_[i - 1].next = &nodes_[i];
    return nodes_.data();
  }

  bool is_record(int32_t id) const {
    return id && std::ranges::find(handles_.processes, id) != handles_.processes.end();
  }

  void replace_processes() {
    host_.process_services.proc_first = [](int32_t zero) -> orb_process_node * {
      if (!playing->odd()) return playing->honest_processes_.proc_first(zero);
      return playing->replies_.byte() % 2 ? playing->odd_list() : nullptr;
    };
    host_.process_services.proc_current = []() -> orb_process * {
      if (!playing->odd()) return playing->honest_processes_.proc_current();
      return playing->replies_.byte() % 2 ? playing->last_dead_ : nullptr;
    };
    host_.process_services.proc_exists = [](int32_t id) -> int32_t {
      const int32_t exists = playing->honest_processes_.proc_exists(id);
      if (!playing->odd()) return exists;
      return exists ? 0 : playing->is_record(id);
    };
    host_.scroll_services.offset = [](int32_t, int32_t, int32_t *x, int32_t *y) -> int32_t {
      if (!playing->odd()) return 0;
      const uint8_t what = playing->replies_.byte();
      if (what % 2) *x = playing->odd_number();
      if (what % 4 >= 2) *y = playing->odd_number();
      if (what % 16 == 15) playing->kill(what / 16);
      return what / 16 - 4;
    };
  }

  orb_process *spawn(int32_t type) {
    orb_process *&place = processes_[next_process_ % processes_.size()];
    if (place) kill(next_process_ % processes_.size());
    place = host_.spawn(type);
    handles_.processes[next_process_++ % processes_.size()] = orbhost::ProcessList::id(place);
    host_.processes().current = place;
    return place;
  }

  /// The record stays readable until the frame has ended.
  void kill(size_t index) {
    orb_process *&place = processes_[index % processes_.size()];
    if (!place) return;
    if (host_.processes().current == place) host_.processes().current = nullptr;
    last_dead_ = place;
    host_.kill(place);
    place = nullptr;
  }

  // ---- Files -----------------------------------------------------------------------------------

  stream *opened(void *handle) {
    const auto found = open_.find(static_cast<stream *>(handle));
    if (found == open_.end()) broken("uses a stream that isn't open");
    return found == open_.end() ? nullptr : *found;
  }

  const char *path(const char *name, int32_t purpose) {
    if (!name) broken("asks for the path of a null name");
    has_written_ |= purpose == ORB_PATH_WRITE;
    if (!odd()) return honest_files_.path(name, purpose);
    static constexpr const char *paths[] = {nullptr,     "",          "/",          "/dev/null",
                                            "/dev/zero", "/dev/full", "/dev/null/x"};
    return paths[replies_.below(std::size(paths))];
  }

  void *open(const char *name, int32_t mode, int32_t one, const char *key) {
    if (!name) broken("opens a null name");
    has_written_ |= mode == ORB_OPEN_WRITE || mode == ORB_OPEN_WRITE_COMPRESSED;
    void *real = nullptr;
    if (!odd())
      real = honest_files_.open(name, mode, one, key);
    else if (replies_.byte() % 2)
      return *open_.insert(new stream{nullptr}).first;
    return real ? *open_.insert(new stream{real}).first : nullptr;
  }

  int32_t read(uint8_t *to, int32_t size, int32_t count, int32_t cipher, void *handle) {
    stream *from = opened(handle);
    if (!from) return 0;
    if (!to || size != 1 || count < 1) broken("reads no bytes");
    memset(to, 0xCD, size_t(count)); // the buffer must have room for them
    int32_t wanted = count, more = 0;
    if (odd()) switch (const uint8_t what = replies_.byte(); what % 6) {
      case 0: wanted = 1; break;
      case 1: wanted = std::min(count, 1 + what / 6); break;
      case 2: more = what % 4 ? 1000 : INT_MAX - count; break;
      case 3: empty_reads_++; return what % 4 ? -1 : INT_MIN;
      case 4: empty_reads_++; return 0;
      default:
        for (int32_t i = 0; i < std::min(count, 32); i++)
          to[i] = replies_.byte();
        return count;
      }
    const int32_t read = from->real ? honest_files_.read(to, size, wanted, cipher, from->real) : 0;
    if (read <= 0 && ++empty_reads_ > most_empty_reads) broken("reads on behind the end");
    return read + more;
  }

  int32_t write(const uint8_t *bytes, int32_t size, int32_t count, int32_t cipher, void *handle) {
    stream *to = opened(handle);
    if (!to) return 0;
    if (!bytes || size != 1 || count < 1) broken("writes no bytes");
    uint32_t sum = 0;
    for (int32_t i = 0; i < count; i++)
      sum += bytes[i]; // all must be readable
    if (odd()) switch (const uint8_t what = replies_.byte(); what % 5) {
      case 0: return 0;
      case 1: return what % 2 ? -1 : INT_MIN;
      case 2: return INT_MAX;
      default: count = std::min(count, 1 + what / 5);
      }
    return to->real ? honest_files_.write(bytes, size, count, cipher, to->real) : int32_t(sum) % 2;
  }

  int32_t seek(void *handle, int32_t offset, int32_t whence) {
    stream *in = opened(handle);
    if (!in || odd()) return replies_.byte() % 2 ? -1 : 0;
    return in->real ? honest_files_.seek(in->real, offset, whence) : 0;
  }

  int32_t at_end(void *handle) {
    stream *in = opened(handle);
    if (!in || odd()) return replies_.byte() % 2;
    return in->real ? honest_files_.at_end(in->real) : 0;
  }

  void close(void *handle) {
    stream *closed = opened(handle);
    if (!closed) return;
    if (closed->real) honest_files_.close(closed->real);
    open_.erase(closed);
    delete closed;
  }

  /// Without a close service the module leaves streams to the host.
  void close_left_over() {
    while (!open_.empty())
      close(*open_.begin());
  }

  void replace_files() {
    orb_file_services &files = host_.file_services;
    files.path = [](const char *name, int32_t purpose) { return playing->path(name, purpose); };
    files.open = [](const char *name, int32_t mode, int32_t one, const char *key) {
      return playing->open(name, mode, one, key);
    };
    files.read = [](void *to, int32_t size, int32_t count, int32_t cipher, void *handle) {
      return playing->read(static_cast<uint8_t *>(to), size, count, cipher, handle);
    };
    files.write = [](const void *from, int32_t size, int32_t count, int32_t cipher, void *handle) {
      return playing->write(static_cast<const uint8_t *>(from), size, count, cipher, handle);
    };
    files.seek = [](void *handle, int32_t offset, int32_t whence) {
      return playing->seek(handle, offset, whence);
    };
    files.at_end = [](void *handle) { return playing->at_end(handle); };
    files.close = [](void *handle) { playing->close(handle); };
  }

  // ---- Windows, modes --------------------------------------------------------------------------

  /// Lets the host draw a frame, or call a function that needs a mode, from inside a service.
  void interrupt() {
    if (inside_ || !lying_ || !is_up_ || !odd()) return;
    inside_ = true;
    switch (replies_.byte() % 3) {
    case 0: ORB_mod_graphics2D_frame(); break;
    case 1: device2D.VID_GFXPaint(); break;
    default:
      if (!mode.changing) call(*asking_[replies_.below(asking_.size())]);
    }
    inside_ = false;
  }

  void replace_devices() {
    host_.window_services.message_box = [](const char *text, const char *title) {
      if (!text || !title) playing->broken("shows a null text");
      playing->interrupt();
    };
    host_.window_services.window_handle = []() -> void * {
      return playing->odd() ? playing : nullptr;
    };
    host_.window_services.show_window = [](int32_t) { playing->interrupt(); };
    host_.window_services.move_window = [](int32_t, int32_t) { playing->interrupt(); };
    host_.input_services.reset = [] { playing->interrupt(); };
    host_.input_services.grab_mouse = [](int32_t) { playing->interrupt(); };
    host_.input_services.reread_window = [] { playing->interrupt(); };
    host_.input_services.centre_mouse = [](int32_t) { playing->interrupt(); };
    host_.timing_services.set_fps = [](int32_t, int32_t) { playing->interrupt(); };
    host_.video_hooks.mode_change = [](int32_t) { playing->interrupt(); };
  }

  // ---- The program -----------------------------------------------------------------------------

  int32_t value(char kind) { return read_value(program_, handles_, kind); }

  void call(const orbhost::Function &function) {
    const bool outer = address_in_int_;
    address_in_int_ = outer || function.name.ends_with("convert_palette");
    const auto arguments = read_arguments(program_, handles_, function, memory_);
    empty_reads_ = 0;
    const int32_t result = host_.call_form(function, arguments);
    address_in_int_ = outer;
    if (function.result == orbhost::ResultType::integer && !is_record(result) &&
        function.name != "map_get_buffer")
      handles_.add_result(result);
    if (inside_) return;
    if (!open_.empty() && host_.file_services.close) broken(function.signature + " left a stream");
    close_left_over();
  }

  void set_local() {
    orb_process *process = processes_[program_.below(processes_.size())];
    const size_t local = program_.below(sizeof(orb_locals) / 4);
    const int32_t set_to = value('x');
    if (!process) return;
    if (local == 2) {
      memory_[0] = set_to;
      process->locals->xgraph = set_to % 2 ? memory_.data() : nullptr;
    } else {
      memcpy(reinterpret_cast<int32_t *>(process->locals) + local, &set_to, 4);
    }
  }

  void set_process() {
    orb_process *process = processes_[program_.below(processes_.size())];
    const uint8_t what = program_.byte();
    if (!process) return;
    if (what % 4 == 0) process->coordinates = value('x');
    if (what % 4 == 1) process->status = value('x');
    if (what % 4 == 2) process->type = value('x');
    if (what % 4 == 3) host_.processes().current = process;
  }

  void set_global() {
    const char *const names[] = {"dump_type", "restore_type", "fading",
                                 "vsync",     "draw_z",       "draw_destination_graph",
                                 "mouse",     "draw_visible", "draw_destination_file"};
    const int32_t offset = honest_.rt_global_offset(0, names[program_.below(std::size(names))]) / 4;
    globals_[size_t(offset) + program_.below(7)] = value('x');
  }

  /// A number that the host shares with the module.
  void set_number() {
    int32_t *const numbers[] = {&host_.frame_rate, &host_.renderer_busy, &host_.vsync,
                                &host_.device_system.desktop_width,
                                &host_.device_system.desktop_height};
    const uint8_t which = program_.byte();
    if (which % 6 == 5)
      host_.full_screen = which;
    else
      *numbers[which % 6] = value('x');
  }

  /// Calls hooks again or in another order, and functions while the module isn't initialised.
  void call_hooks(uint8_t which) {
    is_up_ = false;
    if (which % 2) ORB_mod_graphics2D_release();
    if (which % 4 == 3) ORB_mod_graphics2D_frame();
    for (int calls = which == 15 ? program_.byte() % 16 : 0; calls > 0; calls--)
      call(any_function());
    ORB_mod_graphics2D_init();
    is_up_ = true;
  }

  const orbhost::Function &any_function() {
    const auto &functions = host_.registration().functions;
    return functions[program_.word() % functions.size()];
  }

  void step() {
    switch (const uint8_t kind = program_.byte(); kind % 16) {
    case 0:
    case 1: host_.frame(); break;
    case 2: spawn(kind / 16 % 3); break;
    case 3: kill(kind / 16); break;
    case 4: set_local(); break;
    case 5: set_process(); break;
    case 6: set_global(); break;
    case 7: set_number(); break;
    case 8:
      if (kind / 16 < 4 || kind / 16 == 15) call_hooks(kind / 16);
      break;
    case 9:
    case 10: call(any_function()); break;
    default: call(*asking_[program_.below(asking_.size())]); break;
    }
  }

  script_reader program_, replies_;
  script_handles handles_;
  std::vector<int32_t> memory_, globals_;
  std::vector<const orbhost::Function *> asking_;
  std::array<orb_process *, 16> processes_{};
  std::vector<orb_process_node> nodes_;
  orb_process *last_dead_ = nullptr;
  size_t next_process_ = 0;
  std::set<stream *> open_;
  orb_runtime honest_{};
  orb_file_services honest_files_{};
  orb_process_services honest_processes_{};
  bool lying_ = true, inside_ = false, is_up_ = true, address_in_int_ = false;
  bool has_written_ = false;
  int empty_reads_ = 0;
  std::string mistake_;
  orbhost::Host host_; // last: its destructor releases the module, which may use all the others
};

} // namespace

std::string play_odd_host(std::span<const uint8_t> input) {
  world_folder();
  if (input.size() < 2) return {};
  const size_t half = (input.size() + 1) / 2;
  const std::vector<uint8_t> replies(input.rbegin(),
                                     input.rbegin() + ptrdiff_t(input.size() - half));
  odd_host host(input.first(half), replies);
  return host.play();
}

} // namespace fuzz
