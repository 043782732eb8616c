// The span routines of one operation, made from the rule of routine.h: included by one file per
// operation, so that they compile side by side.
#pragma once

#include <utility>

#include "blit/span_tables.h"

namespace {

inline constexpr span_kernel *const *kernel_tables[instruction_set_count][4] = {
    {kernels8_sse2, kernels16_sse2, kernels32_sse2, kernelschn_sse2},
    {kernels8_avx2, kernels16_avx2, kernels32_avx2, kernelschn_avx2},
};

/// The routine with a number of routine.h: finds its kernel and gathers pixels for it.
template <instruction_set isa, span_op op, int number> void span() {
  span_kernel *const kernel =
      kernel_tables[int(isa)][number / kernels_per_pixel_kind][number % kernels_per_pixel_kind];
  if constexpr (op == span_op::draw)
    span_draw(kernel);
  else if constexpr (op == span_op::scale)
    span_scale(kernel, isa);
  else if constexpr (op == span_op::rotscale)
    span_rotscale(kernel, isa);
  else
    span_tile(kernel);
}

template <instruction_set isa, span_op op, int number> constexpr span_routine *span_or_null() {
  if constexpr (routine_set(op).has[number])
    return span<isa, op, number>;
  else
    return nullptr;
}

template <span_op op, int... number>
constexpr numbered_routines numbered(std::integer_sequence<int, number...>) {
  return {{{span_or_null<instruction_set::sse2, op, number>()...},
           {span_or_null<instruction_set::avx2, op, number>()...}}};
}
template <span_op op>
inline constexpr numbered_routines
    routines = numbered<op>(std::make_integer_sequence<int, routine_numbers>());

template <int size> struct filled_table {
  span_routine *entries[size] = {};
};
template <span_op op, span_table table>
constexpr filled_table<table_size(op, table)> fill(instruction_set isa) {
  filled_table<table_size(op, table)> result;
  for (int i = 0; i < table_size(op, table); ++i) {
    const span_routine_id id = entry_of(op, table, i);
    if (id.exists) result.entries[i] = routines<op>.at[int(isa)][number_of(id)];
  }
  return result;
}
template <span_op op, span_table table, instruction_set isa>
inline constexpr auto filled = fill<op, table>(isa);

static_assert(table_size(span_op::draw, span_table::t8) == 39);
static_assert(table_size(span_op::draw, span_table::t16) == 126);
static_assert(table_size(span_op::tile, span_table::t8) == 26);
static_assert(table_size(span_op::tile, span_table::t32) == 84);
static_assert(table_size(span_op::tile, span_table::alphachn32) == 42);

/// Everything an operation gives to the tables and the directory.
template <span_op op, int... table>
constexpr operation_spans spans_of(std::integer_sequence<int, table...>) {
  return {&routines<op>,
          {{filled<op, span_table(table), instruction_set::sse2>.entries...},
           {filled<op, span_table(table), instruction_set::avx2>.entries...}}};
}
template <span_op op> constexpr operation_spans spans_of() {
  return spans_of<op>(std::make_integer_sequence<int, span_table_count>());
}

} // namespace
