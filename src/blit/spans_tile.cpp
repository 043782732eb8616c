#include "blit/span_routines.h"

constexpr operation_spans tile_spans = spans_of<span_op::tile>();
