#include "blit/kernel_table.h"
#include "blit/kernels16.h"

constexpr kernel_table kernels16_avx2 = make_kernel_table<kernels16>();
