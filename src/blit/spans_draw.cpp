#include "blit/span_routines.h"

constexpr operation_spans draw_spans = spans_of<span_op::draw>();
