// libjpeg without its ways to end the program and to print: errors come back by a long jump.
//
// A codec keeps a jpeg_guard at the head of one record that stands outside the function that calls
// setjmp. Everything that has to be freed lives in that record, and no frame that the jump crosses
// has a destructor.
#pragma once

#include <csetjmp>
#include <cstdio>

#include <jpeglib.h>

#include "boundary/errors.h"

struct jpeg_guard {
  jpeg_error_mgr manager; // first: libjpeg's record points here
  jmp_buf jump;
  script_error error; // why the work was given up
};

/// The guard of a codec at work.
inline jpeg_guard *guard_of(j_common_ptr codec) {
  return reinterpret_cast<jpeg_guard *>(codec->err);
}

[[noreturn]] inline void give_up(jpeg_guard *guard, script_error error) {
  guard->error = error;
  longjmp(guard->jump, 1);
}

/// Sets the guard up; what it gives goes into the codec's `err`. Warnings and traces go unheard.
jpeg_error_mgr *init_guard(jpeg_guard *guard);
