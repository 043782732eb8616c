// Calls to the host: the operations of the runtime table under their own names, and the
// device-system services. A host may leave out any service; calls to a missing one do nothing.
#pragma once

#include <bit>

#include "boundary/records.h"

inline int32_t rt_param_count() { return orbre->rt_param_count(); }
inline int32_t rt_pop_int() { return orbre->rt_pop_int(); }
inline uint32_t rt_pop_uint() { return orbre->rt_pop_uint(); }
inline const char *rt_pop_string() { return orbre->rt_pop_string(); }
inline int32_t *rt_pop_pointer() { return orbre->rt_pop_pointer(); }
inline const char *rt_peek_string() { return orbre->rt_peek_string(); }
/// Puts the last `count` fetched arguments back, for another handler called from this one.
inline void rt_unpop_params(int32_t count) { orbre->rt_unpop_params(count); }
inline void rt_drop_params(int32_t count) { orbre->rt_drop_params(count); }
/// Sets the call's result; its value is what the handler returns.
inline int32_t rt_return(int32_t value) { return orbre->rt_return(value); }
/// Takes the result that a handler called from this one has set.
inline int32_t rt_take_return() { return orbre->rt_take_return(); }
inline void rt_signal(int32_t code) { orbre->rt_signal(code); }
inline void rt_exit(int32_t code) { orbre->rt_exit(code); }
/// The program's title; empty where the host has none.
inline const char *rt_program_name() {
  const char *name = orbre->rt_program_name();
  return name ? name : "";
}
/// Reports an error in a call of a script function, whose name is given in capitals: its number
/// (boundary/errors.h), the 1-based position of the argument, or 0 for none, and the argument.
inline void rt_error(int32_t code, const char *function, int32_t position, int32_t value) {
  orbre->rt_error(code, function, ORB_VALUE_INT, position, value);
}
inline void rt_error(int32_t code, const char *function, int32_t position, const char *value) {
  orbre->rt_error(code, function, ORB_VALUE_STRING, position, std::bit_cast<int32_t>(value));
}
/// Reports a fatal error, always at level 2. May return in a test host: callers then leave their
/// state unchanged and report failure.
inline void rt_fatal(const char *message) { orbre->rt_fatal(2, message); }

// Device-system services.

void host_message_box(const char *text, const char *title);
void host_show_window(int32_t show);
void *host_window_handle();
void host_move_window(int32_t x, int32_t y);
void host_input_reset();
void host_input_grab_mouse(int32_t not_first_frame);
void host_input_reread_window();
void host_input_centre_mouse(int32_t not_a_mode_change);
void host_timing_set_fps(int32_t fps, int32_t skip);
/// Tells the host that a video mode change begins (1) or has ended (0).
void host_mode_change(int32_t begins);

/// Real path of a script file name (ORB_PATH_READ or ORB_PATH_WRITE), or null. The text belongs to
/// the host and is valid until the next call.
const char *rt_file_path(const char *name, int32_t purpose);
/// Opens a host stream; null on failure. `key` is the script's key or null.
void *rt_file_open(const char *name, int32_t mode, const char *key);
/// Bytes read, 0..count; the host's reply is clamped to that range.
int32_t rt_file_read(void *buffer, int32_t count, int32_t cipher, void *handle);
/// Bytes written, 0..count.
int32_t rt_file_write(const void *buffer, int32_t count, int32_t cipher, void *handle);
/// Reads until `count` bytes have arrived or the host delivers no more. Bytes read.
int32_t rt_file_read_all(void *buffer, int32_t count, int32_t cipher, void *handle);
/// Writes until all bytes are taken or the host takes no more. Bytes written.
int32_t rt_file_write_all(const void *buffer, int32_t count, int32_t cipher, void *handle);
/// 0 on success.
int32_t rt_file_seek(void *handle, int32_t offset, int32_t whence);
/// Nonzero at the end of the file. Always 0 where the host has no such service: treat a short read
/// as the end, too.
int32_t rt_file_at_end(void *handle);
void rt_file_close(void *handle);
