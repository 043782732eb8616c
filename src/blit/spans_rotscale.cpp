#include "blit/span_routines.h"

constexpr operation_spans rotscale_spans = spans_of<span_op::rotscale>();
