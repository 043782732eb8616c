// The span tables of the instruction set in use.
#include "blit/blit.h"
#include "blit/span_tables.h"

namespace {

instruction_set in_use = instruction_set::sse2;

} // namespace

// Starts at the baseline, so that no table is ever null.
#define ORB_DEFINE_SPAN_TABLE(variable, op, table)                                                 \
  span_routine *const *variable = op##_spans.of[0].at[int(span_table::table)];
ORB_SPAN_TABLES(ORB_DEFINE_SPAN_TABLE)
#undef ORB_DEFINE_SPAN_TABLE

instruction_set span_instruction_set() { return in_use; }

span_routine *const *span_table_entries(instruction_set isa, span_op op, span_table table) {
  return spans_in(op).of[int(isa)].at[int(table)];
}

void set_blitter_routines() {
  in_use = best_instruction_set();
#define ORB_SET_SPAN_TABLE(variable, op, table)                                                    \
  variable = span_table_entries(in_use, span_op::op, span_table::table);
  ORB_SPAN_TABLES(ORB_SET_SPAN_TABLE)
#undef ORB_SET_SPAN_TABLE
}
