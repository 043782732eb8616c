// The arguments of random calls.
#pragma once

#include <cstdint>
#include <span>
#include <string>
#include <vector>

#include "fuzz/script_reader.h"
#include "host/arguments.h"
#include "host/registration.h"

namespace fuzz {

/// Graphs and screens with more pixels only take time.
inline constexpr int64_t most_pixels = 1 << 17;
/// Words of memory that pointers point into: more than any function reads or writes.
inline constexpr size_t script_memory_words = 1024;

/// Arguments for a function: ints as in its signature, texts that mostly suit it, null or addresses
/// in `memory`; for an int that is an address, also some that lead nowhere. Graphs and screens that
/// would only take time are made smaller; sizes that the module refuses stay.
std::vector<orbhost::Argument> read_arguments(script_reader &script, const script_handles &handles,
                                              const orbhost::Function &function,
                                              std::span<int32_t> memory);

} // namespace fuzz
