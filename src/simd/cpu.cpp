#include "simd/cpu.h"

namespace {

instruction_set highest_allowed = instruction_set::avx2;

} // namespace

bool cpu_has(instruction_set isa) {
  if (isa == instruction_set::sse2) return true;
#ifdef __wasm__
  constexpr bool avx2 = false;
#else
  // Only if the system saves the upper halves of the registers, too.
  const bool avx2 = __builtin_cpu_supports("avx2");
#endif
  return avx2 && highest_allowed >= instruction_set::avx2;
}

instruction_set best_instruction_set() {
  return cpu_has(instruction_set::avx2) ? instruction_set::avx2 : instruction_set::sse2;
}

void mask_instruction_sets(instruction_set highest) { highest_allowed = highest; }
