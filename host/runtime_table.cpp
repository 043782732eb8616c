#include "host/runtime_table.h"

#include "host/host.h"

#include <SDL.h>
#include <unistd.h>

#include <cstdio>

namespace orbhost {
namespace {

// The tables carry no context: every function below serves this host. All are noexcept, since an
// exception can't pass through the module.
Host *active = nullptr;

constexpr std::size_t kept_log = 64;
constexpr int exit_status_video = 4;

const char *or_empty(const char *text) {
  return text ? text : "";
}

void remember(std::vector<std::int32_t> &log, std::int32_t value) {
  if (log.size() == kept_log) log.erase(log.begin());
  log.push_back(value);
}

// rt_fatal and rt_exit don't return unless a handler is set. _exit skips the module's exit code,
// which expects a working module, so buffers are flushed by hand.
[[noreturn]] void end_program() {
  std::fflush(nullptr);
  _exit(exit_status_video);
}

// ---- Arguments and results ------------------------------------------------------------------

void rt_unpop_params(std::int32_t count) noexcept {
  active->call_frame().unpop(count);
}
void rt_drop_params(std::int32_t count) noexcept {
  active->call_frame().drop(count);
}
std::int32_t rt_param_count() noexcept {
  return active->call_frame().count();
}
std::int32_t rt_pop_int() noexcept {
  return active->call_frame().pop_int();
}
std::uint32_t rt_pop_uint() noexcept {
  return static_cast<std::uint32_t>(active->call_frame().pop_int());
}
const char *rt_pop_string() noexcept {
  return active->call_frame().pop_string();
}
std::int32_t *rt_pop_pointer() noexcept {
  return active->call_frame().pop_pointer();
}
const char *rt_peek_string() noexcept {
  return active->call_frame().peek_string();
}
std::int32_t rt_return(std::int32_t value) noexcept {
  active->call_frame().set_result(value);
  return value;
}
std::int32_t rt_take_return() noexcept {
  return active->call_frame().result();
}
char *rt_new_return_string() noexcept {
  return active->call_frame().new_return_string();
}
void rt_commit_return_string() noexcept {} // the buffer already belongs to the call

// ---- Errors, names, signals -----------------------------------------------------------------

const char *rt_program_name() noexcept {
  return active->options().title.c_str();
}

void rt_signal(std::int32_t code) noexcept {
  remember(active->log.signals, code);
}

void rt_fatal(std::int32_t level, const char *message) noexcept {
  if (active->on_fatal) {
    active->on_fatal(level, or_empty(message));
    return;
  }
  std::fprintf(stderr, "%s: fatal error: %s\n", active->options().title.c_str(), or_empty(message));
  end_program();
}

void rt_exit(std::int32_t code) noexcept {
  if (active->on_exit)
    active->on_exit(code);
  else
    end_program();
}

std::int32_t rt_global_offset(std::int32_t /*zero*/, const char *name) noexcept {
  const Declaration *declaration = active->globals().find(or_empty(name));
  if (declaration) return static_cast<std::int32_t>(4 * declaration->word);
  // No offset means "unknown", and a wrong address would hide the mistake.
  std::fprintf(stderr, "%s: the module asks for a script global \"%s\" that nobody declared\n",
               active->options().title.c_str(), or_empty(name));
  end_program();
}

// ---- Processes ------------------------------------------------------------------------------

orb_process_node *proc_first(std::int32_t zero) noexcept {
  return zero == 0 ? active->processes().first() : nullptr;
}
orb_process *proc_current() noexcept {
  return active->processes().current;
}
std::int32_t proc_exists(std::int32_t id) noexcept {
  return active->processes().exists(id) ? 1 : 0;
}

// ---- Window, input, timing --------------------------------------------------------------------

void message_box(const char *text, const char *title) noexcept {
  if (active->on_message)
    active->on_message(or_empty(text), or_empty(title));
  else
    std::fprintf(stderr, "%s: %s\n", or_empty(title), or_empty(text));
}
void show_window(std::int32_t /*show*/) noexcept {
  ++active->log.window_shown;
}
void *window_handle() noexcept {
  return nullptr;
} // SDL opens its own window
// SDL 1.2 can't move a window; a window manager centres it (SDL_VIDEO_CENTERED).
void move_window(std::int32_t x, std::int32_t y) noexcept {
  ++active->log.window_moved;
  active->log.window_x = x;
  active->log.window_y = y;
}
void mode_change(std::int32_t begins) noexcept {
  remember(active->log.mode_changes, begins);
}

void input_reset() noexcept {
  ++active->log.input_resets;
  active->input().reset();
}
void grab_mouse(std::int32_t /*not_first_frame*/) noexcept {
  ++active->log.mouse_grabs;
}
void reread_window() noexcept {
  ++active->log.window_rereads;
}
void centre_mouse(std::int32_t /*not_a_mode_change*/) noexcept {
  ++active->log.mouse_centres;
  if (!SDL_WasInit(SDL_INIT_VIDEO)) return;
  const SDL_Surface *display = SDL_GetVideoSurface();
  if (!display) return;
  active->input().pointer.x = display->w / 2;
  active->input().pointer.y = display->h / 2;
  if (!active->options().headless) {
    SDL_WarpMouse(static_cast<Uint16>(display->w / 2), static_cast<Uint16>(display->h / 2));
  }
}

void set_fps(std::int32_t fps, std::int32_t skip) noexcept {
  active->clock().set_fps(fps, skip);
  active->frame_rate = active->clock().rate();
}

// ---- Files ------------------------------------------------------------------------------------

const char *file_path(const char *name, std::int32_t purpose) noexcept {
  return active->files().path(name, purpose == ORB_PATH_WRITE);
}
void *file_open(const char *name, std::int32_t mode, std::int32_t /*one*/,
                const char *key) noexcept {
  return active->files().open(name, mode, key);
}
/// Moves items through `move(stream, bytes)`; how many were moved whole, 0 for a bad argument.
template <typename Move>
std::int32_t move_items(const void *buffer, std::int32_t size, std::int32_t count, void *handle,
                        Move move) noexcept {
  Stream *stream = active->files().find(handle);
  if (!stream || !buffer || size <= 0 || count <= 0) return 0;
  const auto item = static_cast<std::size_t>(size);
  const std::uint64_t bytes = std::uint64_t{item} * static_cast<std::size_t>(count);
  if (bytes > INT32_MAX) return 0;
  return static_cast<std::int32_t>(move(*stream, static_cast<std::size_t>(bytes)) / item);
}
std::int32_t file_read(void *buffer, std::int32_t size, std::int32_t count, std::int32_t cipher,
                       void *handle) noexcept {
  return move_items(buffer, size, count, handle, [=](Stream &stream, std::size_t bytes) {
    return stream.read(buffer, bytes, cipher != 0);
  });
}
std::int32_t file_write(const void *buffer, std::int32_t size, std::int32_t count,
                        std::int32_t cipher, void *handle) noexcept {
  return move_items(buffer, size, count, handle, [=](Stream &stream, std::size_t bytes) {
    return stream.write(buffer, bytes, cipher != 0);
  });
}
std::int32_t file_seek(void *handle, std::int32_t offset, std::int32_t whence) noexcept {
  Stream *stream = active->files().find(handle);
  return stream && whence >= SEEK_SET && whence <= SEEK_END && stream->seek(offset, whence) ? 0
                                                                                            : -1;
}
std::int32_t file_at_end(void *handle) noexcept {
  Stream *stream = active->files().find(handle);
  return !stream || stream->at_end() ? 1 : 0;
}
void file_close(void *handle) noexcept {
  active->files().close(handle);
}

} // namespace

void RuntimeTable::activate(Host &host) {
  if (active) throw HostError("another Host is active");
  active = &host;

  host.process_services.proc_first = proc_first;
  host.process_services.proc_current = proc_current;
  host.process_services.proc_exists = proc_exists;
  host.window_services = {message_box, show_window, window_handle, move_window};
  host.file_services = {file_path, file_open,   file_read, file_write,
                        file_seek, file_at_end, file_close};
  host.input_services = {input_reset, grab_mouse, reread_window, centre_mouse};
  host.timing_services = {set_fps};
  host.video_hooks = {mode_change};

  orb_device_system &device = host.device_system;
  device.full_screen = &host.full_screen;
  device.frame_rate = &host.frame_rate;
  device.renderer_busy = &host.renderer_busy;
  device.window = &host.window_services;
  device.file = &host.file_services;
  device.input = &host.input_services;
  device.timing = &host.timing_services;
  device.scroll = nullptr; // this host has no scrolls
  device.vsync = &host.vsync;

  orb_runtime &table = host.runtime;
  table.rt_processes = &host.process_services;
  table.rt_program_name = rt_program_name;
  table.rt_unpop_params = rt_unpop_params;
  table.rt_drop_params = rt_drop_params;
  table.rt_param_count = rt_param_count;
  table.rt_pop_int = rt_pop_int;
  table.rt_pop_uint = rt_pop_uint;
  table.rt_pop_string = rt_pop_string;
  table.rt_pop_pointer = rt_pop_pointer;
  table.rt_peek_string = rt_peek_string;
  table.rt_return = rt_return;
  table.rt_take_return = rt_take_return;
  table.rt_new_return_string = rt_new_return_string;
  table.rt_commit_return_string = rt_commit_return_string;
  table.rt_signal = rt_signal;
  table.rt_error = rt_error;
  table.rt_fatal = rt_fatal;
  table.rt_global_offset = rt_global_offset;
  table.rt_exit = rt_exit;
  table.rt_device_system = &host.device_system;
  table.rt_device2D = nullptr;
  table.rt_video_hooks = &host.video_hooks;
}

void RuntimeTable::deactivate() {
  active = nullptr;
}

void RuntimeTable::rt_error(std::int32_t code, const char *function, std::int32_t kind,
                            std::int32_t position, std::int32_t value) noexcept {
  ErrorReport report{code, or_empty(function), kind, position, value, {}};
  if (kind == ORB_VALUE_STRING) {
    report.text = or_empty(reinterpret_cast<const char *>(static_cast<std::uintptr_t>(value)));
  }
  active->report(std::move(report));
}

void RuntimeTable::reg_constants(const orb_constant *table) noexcept {
  active->registration_.calls.push_back(0);
  active->registration_.add_constants(table);
}
void RuntimeTable::reg_globals(const char *text) noexcept {
  active->registration_.calls.push_back(4);
  active->registration_.globals += or_empty(text);
}
void RuntimeTable::reg_locals(const char *text) noexcept {
  active->registration_.calls.push_back(5);
  active->registration_.locals += or_empty(text);
}
void RuntimeTable::reg_functions(const orb_function *table) noexcept {
  active->registration_.calls.push_back(6);
  active->registration_.add_functions(table);
}
void RuntimeTable::reg_hooks(const orb_hook *table) noexcept {
  active->registration_.calls.push_back(7);
  active->registration_.add_hooks(table);
}
void RuntimeTable::reg_flags(std::int32_t flags) noexcept {
  active->registration_.calls.push_back(8);
  active->registration_.flags = flags;
}
orb_runtime *RuntimeTable::reg_runtime() noexcept {
  active->registration_.calls.push_back(9);
  return &active->runtime;
}

orb_registration RuntimeTable::registration() {
  return {reg_constants, {},        reg_globals, reg_locals,
          reg_functions, reg_hooks, reg_flags,   reg_runtime};
}

} // namespace orbhost
