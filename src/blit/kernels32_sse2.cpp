#include "blit/kernels32.h"

#define ORB_KERNEL_TABLE  kernels32_sse2
#define ORB_KERNEL_PIXELS span_pixels::p32
#define ORB_KERNEL        kernel32
#include "blit/kernel_table.inc"
