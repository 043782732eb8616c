#include "blit/kernel_table.h"
#include "blit/kernels8.h"

constexpr kernel_table kernels8_sse2 = make_kernel_table<kernels8>();
