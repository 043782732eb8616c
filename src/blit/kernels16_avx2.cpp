#include "blit/kernels16.h"

#define ORB_KERNEL_TABLE  kernels16_avx2
#define ORB_KERNEL_PIXELS span_pixels::p16
#define ORB_KERNEL        kernel16
#include "blit/kernel_table.inc"
