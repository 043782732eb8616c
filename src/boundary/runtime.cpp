// Calls to the host's services. Tables and entries may be missing; replies are kept within what
// the callers can use.
#include <algorithm>

#include "boundary/runtime.h"

namespace {

/// The entry `member` of a services table, or null when the record, the table or the entry is
/// missing.
template <typename Table, typename Operation>
Operation service(const Table *orb_device_system::*table, Operation Table::*member) {
  if (!deviceSystem_graphics2D || !(deviceSystem_graphics2D->*table)) return nullptr;
  return deviceSystem_graphics2D->*table->*member;
}

/// Moves `count` bytes from or to `buffer` piecewise; move(place, rest) returns the size of a
/// piece.
template <typename Byte, typename Move> int32_t move_all(Byte *buffer, int32_t count, Move move) {
  int32_t moved = 0;
  while (moved < count) {
    const int32_t piece = move(buffer + moved, count - moved);
    if (piece <= 0) break;
    moved += piece;
  }
  return moved;
}

} // namespace

void host_message_box(const char *text, const char *title) {
  if (auto *call = service(&orb_device_system::window, &orb_window_services::message_box))
    call(text, title);
}

void host_show_window(int32_t show) {
  if (auto *call = service(&orb_device_system::window, &orb_window_services::show_window))
    call(show);
}

void *host_window_handle() {
  auto *call = service(&orb_device_system::window, &orb_window_services::window_handle);
  return call ? call() : nullptr;
}

void host_move_window(int32_t x, int32_t y) {
  if (auto *call = service(&orb_device_system::window, &orb_window_services::move_window))
    call(x, y);
}

void host_input_reset() {
  if (auto *call = service(&orb_device_system::input, &orb_input_services::reset)) call();
}

void host_input_grab_mouse(int32_t not_first_frame) {
  if (auto *call = service(&orb_device_system::input, &orb_input_services::grab_mouse))
    call(not_first_frame);
}

void host_input_reread_window() {
  if (auto *call = service(&orb_device_system::input, &orb_input_services::reread_window)) call();
}

void host_input_centre_mouse(int32_t not_a_mode_change) {
  if (auto *call = service(&orb_device_system::input, &orb_input_services::centre_mouse))
    call(not_a_mode_change);
}

void host_timing_set_fps(int32_t fps, int32_t skip) {
  if (auto *call = service(&orb_device_system::timing, &orb_timing_services::set_fps))
    call(fps, skip);
}

void host_mode_change(int32_t begins) {
  const orb_video_hooks *hooks = orbre->rt_video_hooks;
  if (hooks && hooks->mode_change) hooks->mode_change(begins);
}

const char *rt_file_path(const char *name, int32_t purpose) {
  auto *call = service(&orb_device_system::file, &orb_file_services::path);
  return call ? call(name, purpose) : nullptr;
}

void *rt_file_open(const char *name, int32_t mode, const char *key) {
  auto *call = service(&orb_device_system::file, &orb_file_services::open);
  return call ? call(name, mode, 1, key) : nullptr;
}

int32_t rt_file_read(void *buffer, int32_t count, int32_t cipher, void *handle) {
  auto *call = service(&orb_device_system::file, &orb_file_services::read);
  if (!call || count <= 0) return 0;
  return std::clamp(call(buffer, 1, count, cipher, handle), 0, count);
}

int32_t rt_file_write(const void *buffer, int32_t count, int32_t cipher, void *handle) {
  auto *call = service(&orb_device_system::file, &orb_file_services::write);
  if (!call || count <= 0) return 0;
  return std::clamp(call(buffer, 1, count, cipher, handle), 0, count);
}

int32_t rt_file_read_all(void *buffer, int32_t count, int32_t cipher, void *handle) {
  return move_all(static_cast<uint8_t *>(buffer), count, [=](uint8_t *to, int32_t rest) {
    return rt_file_read(to, rest, cipher, handle);
  });
}

int32_t rt_file_write_all(const void *buffer, int32_t count, int32_t cipher, void *handle) {
  return move_all(
      static_cast<const uint8_t *>(buffer), count,
      [=](const uint8_t *from, int32_t rest) { return rt_file_write(from, rest, cipher, handle); });
}

int32_t rt_file_seek(void *handle, int32_t offset, int32_t whence) {
  auto *call = service(&orb_device_system::file, &orb_file_services::seek);
  return call ? call(handle, offset, whence) : -1;
}

int32_t rt_file_at_end(void *handle) {
  // Without this service the readers notice the end by a short read.
  auto *call = service(&orb_device_system::file, &orb_file_services::at_end);
  return call ? call(handle) : 0;
}

void rt_file_close(void *handle) {
  if (auto *call = service(&orb_device_system::file, &orb_file_services::close)) call(handle);
}
