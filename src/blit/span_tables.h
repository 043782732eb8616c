// What each operation's file contributes to the tables and the directory.
#pragma once

#include "blit/span.h"

/// Routines by number (routine.h); null where there is no routine.
struct routines_of_set {
  span_routine *at[routine_numbers];
};
struct numbered_routines {
  routines_of_set of[instruction_set_count];
};

struct tables_of_set {
  span_routine *const *at[span_table_count];
};
struct operation_spans {
  const numbered_routines *routines;
  tables_of_set of[instruction_set_count];
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
