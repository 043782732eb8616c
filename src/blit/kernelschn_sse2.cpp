#include "blit/kernel_table.h"
#include "blit/kernels32.h"

constexpr kernel_table kernelschn_sse2 = make_kernel_table<kernelschn>();
