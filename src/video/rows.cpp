// The row routines in use.
#include "video/rows.h"

#include "simd/cpu.h"

const row_routines *row_kernels = &rows_sse2;
