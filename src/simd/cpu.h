// Which instruction sets this CPU has.
#pragma once

#include <cstdint>
#include <utility>

enum class instruction_set : uint8_t { sse2, avx2 };

/// How many of them this build has routines for, from the first on. WebAssembly has vectors like
/// SSE2's, and its compiler translates the intrinsics; of AVX2 it knows nothing.
#ifdef __wasm__
inline constexpr int instruction_set_count = 1;
#else
inline constexpr int instruction_set_count = 2;
#endif
/// Their numbers, to be expanded.
inline constexpr auto instruction_sets = std::make_integer_sequence<int, instruction_set_count>();

/// What each of them has, by its number.
template <typename T> struct by_instruction_set {
  const T *of[instruction_set_count];
  constexpr const T &operator[](instruction_set isa) const { return *of[int(isa)]; }
};
/// One object for each instruction set, in order. Those of sets without routines aren't referred
/// to, so nothing need define them.
template <typename T, typename... Others>
consteval by_instruction_set<T> one_for_each(const T &first, const Others &...others) {
  const T *const all[] = {&first, &others...};
  by_instruction_set<T> result{};
  for (int i = 0; i < instruction_set_count; ++i)
    result.of[i] = all[i];
  return result;
}

/// True when this CPU has it and it is not masked.
bool cpu_has(instruction_set isa);
/// The last one that cpu_has().
instruction_set best_instruction_set();
/// Hides instruction sets above `highest`, for tests and benchmarks; takes effect when routines are
/// next chosen.
void mask_instruction_sets(instruction_set highest);
