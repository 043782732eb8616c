#include "video/rows.h"

#include "simd/cpu.h"

namespace {

constexpr by_instruction_set<row_routines> rows = one_for_each(rows_sse2, rows_avx2);

} // namespace

const row_routines *row_kernels = &rows_sse2;

void choose_row_routines() { row_kernels = &rows[best_instruction_set()]; }
