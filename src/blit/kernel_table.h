// Fills the kernel table of a pixel kind, from the rule of routine.h. The files that include this
// are compiled once per instruction set.
#pragma once

#include <utility>

#include "blit/kernels.h"
#include "blit/routine.h"
#include "simd/lanes.h"

namespace {

template <typename Kernels, int number> constexpr span_kernel *kernel_or_null() {
  constexpr span_routine_id id = routine_at(number);
  if constexpr (routine_exists(number) && (vector_bytes == 16 || gains_by_width(id)))
    return Kernels::template run<id>;
  else
    return nullptr;
}

template <typename Kernels, int... index>
constexpr kernel_table make_kernel_table(std::integer_sequence<int, index...>) {
  constexpr int first = int(Kernels::pixels) * kernels_per_pixel_kind;
  return {{kernel_or_null<Kernels, first + index>()...}};
}

/// The table of Kernels::run<id> for the routines of a pixel kind.
template <typename Kernels> constexpr kernel_table make_kernel_table() {
  return make_kernel_table<Kernels>(std::make_integer_sequence<int, kernels_per_pixel_kind>());
}

} // namespace
