#include "blit/scaled_row_samplers.h"

constexpr plan_makers scaled_rows_sse2 = all_plan_makers;
