#include "blit/samplers.h"

constexpr samplers sampling_avx2 = all_samplers;
