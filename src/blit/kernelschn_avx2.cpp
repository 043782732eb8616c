#include "blit/kernels32.h"

#define ORB_KERNEL_TABLE  kernelschn_avx2
#define ORB_KERNEL_PIXELS span_pixels::chn32
#define ORB_KERNEL        kernel32
#include "blit/kernel_table.inc"
