// Which instruction sets this CPU has.
#pragma once

#include <cstdint>

enum class instruction_set : uint8_t { sse2, avx2 };
inline constexpr int instruction_set_count = 2;

/// True when this CPU has it and it isn't masked.
bool cpu_has(instruction_set isa);
/// Pretends that the CPU lacks instruction sets above `highest`, for tests and benchmarks; counts
/// when routines are chosen next.
void mask_instruction_sets(instruction_set highest);
