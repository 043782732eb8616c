#include "blit/kernels8.h"

#define ORB_KERNEL_TABLE  kernels8_sse2
#define ORB_KERNEL_PIXELS span_pixels::p8
#define ORB_KERNEL        kernel8
#include "blit/kernel_table.inc"
