#include "fuzz/odd_services.h"

#include <algorithm>
#include <climits>
#include <cstring>
#include <type_traits>
#include <utility>

#include "fuzz/player.h"

namespace fuzz {
namespace {

/// Reads in one call that may return nothing: more than any loader tries.
constexpr int most_empty_reads = 100;

odd_services *current; // a host's tables carry no context

} // namespace

/// What replaces the host's entries.
struct service {
  // ---- Odd replies by type ----------------------------------------------------------------------

  static int32_t odd(int32_t) {
    static constexpr int32_t numbers[] = {
        0, -1, 1, 2, 3, 255, 1000, -1000, 1003, 256, 65536, 1 << 20, -1 << 20, INT_MAX, INT_MIN};
    const int32_t number = current->replies.one_of<int32_t>(numbers);
    return current->address_in_int_ ? number % 4096 : number; // nothing is mapped there
  }
  static const char *odd(const char *) {
    static const std::string endless(5000, '%');
    static const char *const texts[] = {nullptr, "", endless.c_str(), "%s%n", "8.fpg"};
    return current->replies.one_of<const char *>(texts);
  }
  static int32_t *odd(int32_t *) { return nullptr; }
  static char *odd(char *) { return nullptr; }
  static void *odd(void *) { return current; } // of a window
  static orb_process *odd(orb_process *) {
    return current->replies.byte() % 2 ? current->last_dead : nullptr;
  }
  /// The host's list with gaps, one process without locals and one ended process; or none.
  static orb_process_node *odd(orb_process_node *first) {
    static orb_process empty;
    empty = {};
    empty.status = 2;
    if (current->replies.byte() % 2) return nullptr;
    auto &nodes = current->nodes_;
    nodes = {{&empty, nullptr}};
    for (const orb_process_node *node = first; node; node = node->next) {
      nodes.push_back({nullptr, nullptr});
      nodes.push_back({node->process, nullptr});
    }
    if (current->last_dead) nodes.push_back({current->last_dead, nullptr});
    for (size_t i = 1; i < nodes.size(); i++)
      nodes[i - 1].next = &nodes[i];
    return nodes.data();
  }

  // ---- Replies that depend on more than a type --------------------------------------------------

  static int32_t param_count(int32_t) { return int8_t(current->replies.byte()); }
  static int32_t global_offset(int32_t, const char *, int32_t honest) {
    return honest - current->replies.byte() % 64 / 16 * (honest / 16 * 4); // in the host's memory
  }
  static int32_t exists(int32_t id, int32_t honest) {
    return !honest && id &&
           std::ranges::find(current->script_.values.processes, id) !=
               current->script_.values.processes.end();
  }
  static int32_t offset(int32_t, int32_t, int32_t *x, int32_t *y, int32_t) {
    if (current->replies.byte() % 2) *x = odd(0);
    if (current->replies.byte() % 2) *y = odd(0);
    return odd(0);
  }
  static const char *path(const char *, int32_t, const char *) {
    static const char *const paths[] = {nullptr,     "",          "/",          "/dev/null",
                                        "/dev/zero", "/dev/full", "/dev/null/x"};
    return current->replies.one_of<const char *>(paths);
  }

  static void *not_opened(const char *, int32_t, int32_t, const char *, void *opened) {
    if (opened) close::honest(opened);
    return nullptr;
  }

  // ---- What entries may expect of their arguments -----------------------------------------------

  static void require(bool holds, const char *mistake) {
    if (!holds) current->script_.broken("a service", mistake);
  }
  static void check(const char *text, auto...) { require(text, "gets a null text"); }
  static void check(void *stream, auto...) {
    require(current->script_.host.files().find(stream), "gets a stream that isn't open");
  }
  static void check(auto...) {}

  // ---- An entry: what the honest one replies, or something odd in its place ---------------------

  template <auto entry, auto odd_reply = nullptr> struct liar;
  template <typename Table, typename R, typename... A, R (*Table::*entry)(A...), auto odd_reply>
  struct liar<entry, odd_reply> {
    static inline R (*honest)(A...);

    static R reply(A... arguments) {
      check(arguments...);
      if constexpr (std::is_void_v<R>) {
        honest(arguments...);
        if (!std::is_same_v<Table, orb_file_services>) current->script_.call_back();
      } else {
        const R answer = honest(arguments...);
        if (!current->is_odd()) return answer;
        if constexpr (std::is_null_pointer_v<decltype(odd_reply)>)
          return odd(answer);
        else
          return odd_reply(arguments..., answer);
      }
    }
    static void replace(Table &table) { honest = std::exchange(table.*entry, reply); }
  };
  using close = liar<&orb_file_services::close>;

  // ---- Streams ----------------------------------------------------------------------------------

  static inline orb_file_services files; // the honest ones

  static int32_t read(void *to, int32_t size, int32_t count, int32_t cipher, void *stream) {
    check(stream);
    require(to && size == 1 && count > 0, "reads no bytes");
    memset(to, 0xCD, size_t(count)); // the buffer must have room for them
    int32_t wanted = count, more = 0;
    if (current->is_odd()) switch (const uint8_t what = current->replies.byte(); what % 5) {
      case 0: wanted = std::min(count, 1 + what / 5); break;
      case 1: more = what % 4 ? 1000 : INT_MAX - count; break;
      case 2: current->empty_reads_++; return what % 4 ? -1 : INT_MIN;
      case 3: current->empty_reads_++; return 0;
      default: memset(to, current->replies.byte(), size_t(std::min(count, 32))); return count;
      }
    const int32_t read = files.read(to, size, wanted, cipher, stream);
    current->empty_reads_ += read <= 0;
    require(current->empty_reads_ <= most_empty_reads, "reads on behind the end");
    return read + more;
  }
  static int32_t write(const void *from, int32_t size, int32_t count, int32_t cipher,
                       void *stream) {
    check(stream);
    require(from && size == 1 && count > 0, "writes no bytes");
    if (current->is_odd()) switch (const uint8_t what = current->replies.byte(); what % 4) {
      case 0: return 0;
      case 1: return what % 8 == 1 ? -1 : INT_MIN;
      case 2: return INT_MAX;
      default: count = std::min(count, 1 + what / 4);
      }
    return files.write(from, size, count, cipher, stream);
  }

  template <auto... entries> static void replace_in(auto &table) {
    (liar<entries>::replace(table), ...);
  }

  static void replace(orbhost::Host &host) {
    using runtime = orb_runtime;
    replace_in<&runtime::rt_program_name, &runtime::rt_pop_int, &runtime::rt_pop_string,
               &runtime::rt_peek_string, &runtime::rt_pop_pointer, &runtime::rt_take_return,
               &runtime::rt_new_return_string>(host.runtime);
    liar<&runtime::rt_param_count, param_count>::replace(host.runtime);
    liar<&runtime::rt_global_offset, global_offset>::replace(host.runtime);
    using processes = orb_process_services;
    replace_in<&processes::proc_first, &processes::proc_current>(host.process_services);
    liar<&processes::proc_exists, exists>::replace(host.process_services);
    liar<&orb_scroll_services::offset, offset>::replace(host.scroll_services);
    using window = orb_window_services;
    replace_in<&window::window_handle, &window::show_window, &window::move_window,
               &window::message_box>(host.window_services);
    using input = orb_input_services;
    replace_in<&input::reset, &input::grab_mouse, &input::reread_window, &input::centre_mouse>(
        host.input_services);
    replace_in<&orb_timing_services::set_fps>(host.timing_services);
    replace_in<&orb_video_hooks::mode_change>(host.video_hooks);
    files = host.file_services;
    host.file_services.read = read;
    host.file_services.write = write;
    using streams = orb_file_services;
    replace_in<&streams::seek, &streams::at_end, &streams::close>(host.file_services);
    liar<&streams::path, path>::replace(host.file_services);
    liar<&streams::open, not_opened>::replace(host.file_services);
  }
};

void odd_services::begin_call(const std::string &function) {
  address_in_int_ = function.ends_with("convert_palette");
  empty_reads_ = 0;
}

void odd_services::replace(orbhost::Host &host) {
  current = this;
  service::replace(host);
  std::vector<void *> places;
  const auto add = [&places](auto &...tables) {
    const auto add_one = [&places](auto &table) {
      for (size_t at = 0; at < sizeof table; at += sizeof(void *))
        places.push_back(reinterpret_cast<char *>(&table) + at);
    };
    (add_one(tables), ...);
  };
  orb_device_system &system = host.device_system;
  orb_process_services &processes = host.process_services;
  add(host.window_services, host.input_services, host.timing_services, host.scroll_services,
      host.video_hooks, host.file_services, system.full_screen, system.frame_rate,
      system.renderer_busy, system.window, system.file, system.input, system.timing, system.scroll,
      system.vsync, host.runtime.rt_processes, host.runtime.rt_video_hooks,
      host.runtime.rt_device_system, processes.proc_first, processes.proc_current,
      processes.proc_exists);
  const uint8_t which = replies.byte();
  for (int left = which < 128 ? 0 : which % 8; left > 0; left--)
    memset(places[replies.byte() % places.size()], 0, sizeof(void *));
  for (size_t i = 0; which == 255 && i < places.size(); i++)
    memset(places[i], 0, sizeof(void *));
}

} // namespace fuzz
