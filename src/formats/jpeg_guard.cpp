#include "formats/jpeg_guard.h"

#include <jerror.h>

namespace {

[[noreturn]] void on_error(j_common_ptr codec) {
  const int code = codec->err->msg_code;
  give_up(guard_of(codec), code == JERR_OUT_OF_MEMORY || code == JERR_NO_BACKING_STORE
                               ? error_out_of_memory
                               : error_format);
}

void on_message(j_common_ptr, int) {}

} // namespace

jpeg_error_mgr *init_guard(jpeg_guard *guard) {
  jpeg_std_error(&guard->manager);
  guard->manager.error_exit = on_error;
  guard->manager.emit_message = on_message;
  guard->error = error_format;
  return &guard->manager;
}
