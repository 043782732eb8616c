#include "blit/kernel_table.h"
#include "blit/kernels8.h"

constexpr kernel_table kernels8_avx2 = make_kernel_table<kernels8>();
