// The samplers of scaled and of turned rows, for each instruction set.
#pragma once

#include "blit/scaled_rows.h"
#include "blit/turned_rows.h"

/// For pixels of 1, 2 and 4 bytes.
struct samplers {
  plan_maker *scaled[3];
  line_sampler *turned[3];
};
extern const samplers sampling_sse2, sampling_avx2;
