#include "video/rows.h"

#include "simd/cpu.h"

const row_routines *row_kernels = &rows_sse2;

void choose_row_routines() {
  row_kernels = cpu_has(instruction_set::avx2) ? &rows_avx2 : &rows_sse2;
}
