// Fills of pixel runs, by pixel width.
#pragma once

#include <cstdint>

/// Fills `count` pixels from `to`; only the low 8, 16 or 32 bits of `value` count.
using fill_routine = void(void *to, int32_t value, uint32_t count);

fill_routine memset8, memset16, memset32;
/// Keeps bits 24..31 of every pixel.
fill_routine memset32_alphachn_unchanged;

/// The routine last chosen by a whole-surface fill; serves row fills of the same depth.
extern fill_routine *memory_fill;
