// What each operation's file contributes to the tables and the directory.
#pragma once

#include "blit/span.h"

/// Routines by number (routine.h) and instruction set; null where there is no routine.
struct numbered_routines {
  span_routine *at[instruction_set_count][routine_numbers];
};

struct operation_spans {
  const numbered_routines *routines;
  span_routine *const *tables[instruction_set_count][span_table_count];
};

extern const operation_spans draw_spans, scale_spans, rotscale_spans, tile_spans;

inline const operation_spans &spans_in(span_op op) {
  switch (op) {
  case span_op::draw: return draw_spans;
  case span_op::scale: return scale_spans;
  case span_op::rotscale: return rotscale_spans;
  default: return tile_spans;
  }
}
