// Which instruction sets this CPU has.
#pragma once

#include <cstdint>

enum class instruction_set : uint8_t { sse2, avx2 };
inline constexpr int instruction_set_count = 2;

/// True when this CPU has it and it is not masked.
bool cpu_has(instruction_set isa);
/// Hides instruction sets above `highest`, for tests and benchmarks; takes effect when routines are
/// next chosen.
void mask_instruction_sets(instruction_set highest);
