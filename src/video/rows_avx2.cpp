#include "video/row_kernels.h"

const row_routines rows_avx2 = all_row_routines;
