#include "blit/samplers.h"

constexpr samplers sampling_sse2 = all_samplers;
