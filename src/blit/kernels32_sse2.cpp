#include "blit/kernel_table.h"
#include "blit/kernels32.h"

constexpr kernel_table kernels32_sse2 = make_kernel_table<kernels32>();
