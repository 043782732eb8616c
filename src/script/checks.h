// Argument checks that script handlers share. Each reports at most one error.
#pragma once

#include "script/script_call.h"

/// The first half of check_graph: are the numbers in range? Sets `max_graph`. False after reporting
/// 109 or 110.
bool check_graph_numbers(const script_call &call, int32_t file, int32_t graph,
                         int32_t position = 1);

/// The check shared by every handler that takes (file, graph): numbers in range (109, 110), library
/// loaded (111), graph loaded (121). `position` is the place of `file` in the script call; the
/// graph stands after it. Sets `max_graph`, `pfpg` and `pfpgmap`. Returns the slot, or null after
/// reporting once.
orb_map_slot *check_graph(const script_call &call, int32_t file, int32_t graph,
                          int32_t position = 1);

/// The colour check shared by pixels, primitives and new graphs: in an 8-bit mode a colour above
/// 255 reports 154 at `position`; in a 16-bit mode one above 65535 fails silently. True when good.
bool check_colour(const script_call &call, uint32_t colour, int32_t position);

/// The pictures of collision/picture.h. False where there is none; a number out of range is
/// reported first (109 at position 1, 110 at position 2).
bool check_process_picture(const script_call &call, const orb_process *process,
                           __ORBBlit2D__ &request);
bool check_graph_picture(const script_call &call, int32_t file, int32_t graph, int32_t x, int32_t y,
                         __ORBBlit2D__ &request);

/// The library of a number in range; else null after reporting 109.
orb_fpg *check_library(const script_call &call, int32_t file, int32_t position);
/// The library, if its number is in range and the graph is 1 to 999; else null after reporting 109
/// or 110. The slot may be missing or empty.
orb_fpg *check_library_graph(const script_call &call, int32_t file, int32_t file_position,
                             int32_t graph, int32_t graph_position);
/// The library, if it is loaded; else null after reporting 111. Library 0 always is.
orb_fpg *check_library_loaded(const script_call &call, int32_t file, int32_t position);
