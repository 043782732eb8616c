#include "blit/span_routines.h"

constexpr operation_spans scale_spans = spans_of<span_op::scale>();
