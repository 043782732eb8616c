#include "simd/cpu.h"

#ifndef __wasm__
#include <cpuid.h>
#endif

namespace {

instruction_set highest_allowed = instruction_set::avx2;

#ifdef __wasm__
bool detect_avx2() { return false; }
#else
/// AVX2 needs support from the CPU and from the system, which must save the upper register halves.
bool detect_avx2() {
  unsigned a, b, c, d;
  if (!__get_cpuid(1, &a, &b, &c, &d)) return false;
  constexpr unsigned osxsave = 1u << 27, avx = 1u << 28;
  if ((c & osxsave) == 0 || (c & avx) == 0) return false;
  unsigned low, high;
  __asm__("xgetbv" : "=a"(low), "=d"(high) : "c"(0));
  if ((low & 6) != 6) return false;
  if (!__get_cpuid_count(7, 0, &a, &b, &c, &d)) return false;
  return (b & 1u << 5) != 0;
}
#endif

} // namespace

bool cpu_has(instruction_set isa) {
  if (isa == instruction_set::sse2) return true;
  static const bool avx2 = detect_avx2();
  return avx2 && highest_allowed >= instruction_set::avx2;
}

instruction_set best_instruction_set() {
  return cpu_has(instruction_set::avx2) ? instruction_set::avx2 : instruction_set::sse2;
}

void mask_instruction_sets(instruction_set highest) { highest_allowed = highest; }
