// libjpeg's errors as long jumps, in place of its exits and prints.
//
// A codec keeps a jpeg_guard as the first member of a record outside the function that calls
// setjmp. That record holds everything to be freed, and the jump crosses no frame with a
// destructor.
#pragma once

#include <csetjmp>
#include <cstdio>

#include <jpeglib.h>

#include "boundary/errors.h"

struct jpeg_guard {
  jpeg_error_mgr manager; // first: libjpeg's record points here
  jmp_buf jump;
  script_error error; // why the work failed
};

/// The guard of a working codec.
inline jpeg_guard *guard_of(j_common_ptr codec) {
  return reinterpret_cast<jpeg_guard *>(codec->err);
}

[[noreturn]] inline void give_up(jpeg_guard *guard, script_error error) {
  guard->error = error;
  longjmp(guard->jump, 1);
}

/// Sets the guard up; the result is for the codec's `err`. Warnings and traces are dropped.
jpeg_error_mgr *init_guard(jpeg_guard *guard);
