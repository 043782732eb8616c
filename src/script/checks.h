// Argument checks of the functions on graph libraries.
#pragma once

#include "script/script_call.h"

/// A library number in range; else null after reporting 109.
orb_fpg *check_library(const script_call &call, int32_t file, int32_t position);
/// A library number and a graph 1 to 999; else null after reporting 109 or 110. The slot may be
/// missing or empty.
orb_fpg *check_library_graph(const script_call &call, int32_t file, int32_t file_position,
                             int32_t graph, int32_t graph_position);
/// A library that is loaded; else null after reporting 111. Library 0 always is.
orb_fpg *check_library_loaded(const script_call &call, int32_t file, int32_t position);
