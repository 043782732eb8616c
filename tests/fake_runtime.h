// A host for tests: every operation of the runtime table, recording the module's reports.
//
//   fake_runtime host;                             // `orbre` is its table while it lives
//   EXPECT_EQ(host.call(ORB_rgb, 255, 0, 0), 0xF800);
//   EXPECT_EQ(host.errors.size(), 0u);
//
// Only one may exist at a time: the operations are plain C functions and find their host through
// `current`.
#pragma once

#include <array>
#include <bit>
#include <cstdint>
#include <cstring>
#include <deque>
#include <map>
#include <string>
#include <type_traits>
#include <vector>

#include "boundary/records.h"

/// One call of rt_error.
struct fake_error {
  int32_t code;
  std::string function;
  int32_t kind; ///< ORB_VALUE_INT or ORB_VALUE_STRING
  int32_t position;
  int32_t value;    ///< an int argument, else 0
  std::string text; ///< a text argument, else empty; "(null)" for a null pointer
  bool operator==(const fake_error &) const = default;
};

class fake_runtime {
public:
  std::vector<fake_error> errors;
  std::vector<std::string> fatals; ///< messages; unlike a real host's, rt_fatal may return
  std::vector<int32_t> levels;     ///< the levels passed with them
  std::vector<int32_t> signals, exits;
  std::vector<int32_t> mode_changes;

  // The process list: records in order, the current one, and blocks of locals with their defaults.
  std::deque<orb_process> processes;
  std::deque<orb_locals> locals;
  orb_process *current_process = nullptr;

  // The device-system record and the tables it points at. The services are empty: a test fills in
  // those it uses.
  uint8_t full_screen = 0;
  int32_t frame_rate = 24, renderer_busy = 0, vsync = 0;
  orb_window_services window{};
  orb_file_services file{};
  orb_input_services input{};
  orb_timing_services timing{};
  orb_scroll_services scroll{};
  orb_device_system system{};
  orb_video_hooks video_hooks{};
  orb_runtime table{};

  fake_runtime() : former_(current), former_runtime_(orbre) {
    current = this;
    memory_.assign(words_per_global * max_globals, 0);
    fill_table();
    system = {&full_screen, &frame_rate, &renderer_busy, &window, &file,  &input, &timing, &scroll,
              1024,         768,         &vsync,         nullptr, nullptr};
    table.rt_device_system = &system;
    table.rt_video_hooks = &video_hooks;
    video_hooks.mode_change = [](int32_t begins) { current->mode_changes.push_back(begins); };
    orbre = &table;
  }
  ~fake_runtime() {
    orbre = former_runtime_;
    current = former_;
  }
  fake_runtime(const fake_runtime &) = delete;
  fake_runtime &operator=(const fake_runtime &) = delete;

  /// Runs a script handler with these arguments (integers, texts, int pointers, null).
  template <typename... T> int32_t call(int32_t (*handler)(), T... arguments) {
    return call(handler, std::vector<int32_t>{word(arguments)...});
  }
  int32_t call(int32_t (*handler)(), const std::vector<int32_t> &arguments) {
    arguments_ = arguments;
    next_ = arguments_.size();
    returned_ = times_returned_ = 0;
    const int32_t value = handler();
    left_over_ = next_;
    return value;
  }
  /// Arguments that the last call did not fetch; a handler must fetch all of them.
  size_t left_over() const { return left_over_; }
  /// How often the last call set its result; a handler must set it once.
  int times_returned() const { return times_returned_; }

  /// The script global of that name, 256 words; created as zeros on first use.
  int32_t *global(const char *name) { return memory_.data() + offset(name) / 4; }

  /// A live process with default locals.
  orb_process &spawn() {
    orb_locals &block = locals.emplace_back();
    block = {};
    block.visible = 1;
    block.size = block.size_x = block.size_y = 100;
    block.alpha = 255;
    orb_process &process = processes.emplace_back();
    process = {};
    process.status = 2;
    process.locals = &block;
    return process;
  }

private:
  static constexpr size_t words_per_global = 256, max_globals = 64;
  inline static fake_runtime *current = nullptr;

  fake_runtime *former_;
  orb_runtime *former_runtime_;
  std::vector<int32_t> arguments_, memory_;
  size_t next_ = 0, left_over_ = 0;
  int32_t returned_ = 0;
  int times_returned_ = 0;
  std::map<std::string, size_t> offsets_;
  std::array<char, ORB_RETURN_STRING_SIZE> return_string_{};
  orb_process_services process_services_{};
  std::vector<orb_process_node> nodes_;

  template <typename T> static int32_t word(T value) {
    if constexpr (std::is_null_pointer_v<T>)
      return 0;
    else if constexpr (std::is_pointer_v<T>)
      return std::bit_cast<int32_t>(value);
    else
      return int32_t(value);
  }
  /// A handler that fetches too many arguments reads zeros.
  static int32_t pop() { return current->next_ ? current->arguments_[--current->next_] : 0; }
  int32_t offset(const char *name) {
    const size_t index = offsets_.try_emplace(name, offsets_.size()).first->second;
    return int32_t(index % max_globals * words_per_global * 4);
  }

  void fill_table() {
    table.rt_globals = reinterpret_cast<uint8_t *>(memory_.data());
    table.rt_program_name = [] { return "fake"; };
    table.rt_unpop_params = [](int32_t count) {
      current->next_ += size_t(count);
      if (current->next_ > current->arguments_.size()) current->next_ = current->arguments_.size();
    };
    table.rt_drop_params = [](int32_t) { current->next_ = 0; };
    table.rt_param_count = [] { return int32_t(current->arguments_.size()); };
    table.rt_pop_int = [] { return pop(); };
    table.rt_pop_uint = [] { return uint32_t(pop()); };
    table.rt_pop_string = [] { return std::bit_cast<const char *>(pop()); };
    table.rt_pop_pointer = [] { return std::bit_cast<int32_t *>(pop()); };
    table.rt_peek_string = []() -> const char * {
      return current->next_ ? std::bit_cast<const char *>(current->arguments_[current->next_ - 1])
                            : nullptr;
    };
    table.rt_return = [](int32_t value) {
      ++current->times_returned_;
      return current->returned_ = value;
    };
    table.rt_take_return = [] { return current->returned_; };
    table.rt_new_return_string = [] { return current->return_string_.data(); };
    table.rt_commit_return_string = [] {};
    table.rt_signal = [](int32_t code) { current->signals.push_back(code); };
    table.rt_error = [](int32_t code, const char *function, int32_t kind, int32_t position,
                        int32_t value) {
      fake_error error{code, function, kind, position, kind ? 0 : value, ""};
      if (kind) error.text = value ? std::bit_cast<const char *>(value) : "(null)";
      current->errors.push_back(error);
    };
    table.rt_fatal = [](int32_t level, const char *message) {
      current->levels.push_back(level);
      current->fatals.push_back(message);
    };
    table.rt_global_offset = [](int32_t, const char *name) { return current->offset(name); };
    table.rt_exit = [](int32_t code) { current->exits.push_back(code); };
    process_services_.proc_first = [](int32_t) -> orb_process_node * {
      auto &nodes = current->nodes_;
      nodes.clear();
      for (orb_process &process : current->processes)
        nodes.push_back({&process, nullptr});
      for (size_t i = 1; i < nodes.size(); ++i)
        nodes[i - 1].next = &nodes[i];
      return nodes.empty() ? nullptr : nodes.data();
    };
    process_services_.proc_current = [] { return current->current_process; };
    process_services_.proc_exists = [](int32_t id) -> int32_t {
      for (orb_process &process : current->processes)
        if (std::bit_cast<int32_t>(&process) == id) return 1;
      return 0;
    };
    table.rt_processes = &process_services_;
  }
};
