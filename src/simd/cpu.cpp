// Which instruction sets this CPU has, and the one choice that follows from it.
#include <cpuid.h>

#include "blit/blit.h"
#include "blit/span_tables.h"

namespace {

instruction_set highest_allowed = instruction_set::avx2;
instruction_set in_use = instruction_set::sse2;

/// AVX2 needs the CPU's word and the system's: it must keep the upper halves of the registers.
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

} // namespace

// Before the first choice the baseline stands here, so that no table is ever null.
#define ORB_DEFINE_SPAN_TABLE(variable, op, table)                                                 \
  span_routine *const *variable = op##_spans.tables[0][int(span_table::table)];
ORB_SPAN_TABLES(ORB_DEFINE_SPAN_TABLE)
#undef ORB_DEFINE_SPAN_TABLE

bool cpu_has(instruction_set isa) {
  if (isa == instruction_set::sse2) return true;
  static const bool avx2 = detect_avx2();
  return avx2 && highest_allowed >= instruction_set::avx2;
}

void mask_instruction_sets(instruction_set highest) {
  highest_allowed = highest;
}

instruction_set span_instruction_set() {
  return in_use;
}

span_routine *const *span_table_entries(instruction_set isa, span_op op, span_table table) {
  return spans_in(op).tables[int(isa)][int(table)];
}

void set_blitter_routines() {
  in_use = cpu_has(instruction_set::avx2) ? instruction_set::avx2 : instruction_set::sse2;
#define ORB_SET_SPAN_TABLE(variable, op, table)                                                    \
  variable = span_table_entries(in_use, span_op::op, span_table::table);
  ORB_SPAN_TABLES(ORB_SET_SPAN_TABLE)
#undef ORB_SET_SPAN_TABLE
}
