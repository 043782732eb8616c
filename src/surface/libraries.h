// Whole graph libraries, and the graphs in them.
//
// A library fills up while its used flag is still 0, and is marked at the end. One that failed half
// way keeps its graphs under its number until that number is taken again.
#pragma once

#include "surface/registry.h"

/// What a library without graphs counts, in bytes.
inline constexpr uint32_t empty_library_memory = 16;

/// Copies a text into a field of a slot, cut so that its NUL stands within; null empties the field.
void set_graph_text(char (&field)[256], const char *text);

/// The lowest number of a library not in use, other than `except`; the list grows for it. -1 at the
/// limit of the list.
int32_t find_free_library(int32_t except = -1);
/// Gives a library not in use empty slots 1 to 999, deleting what a failed load has left in them,
/// and memory and count of an empty one. Library 0 keeps its loose graphs (1000 and above), and
/// they stay in its memory and count. False without memory.
bool open_library(int32_t file);
/// Takes back that open_library has opened a library: its graphs go and, but for library 0, its
/// slots. `memory` is what the library counted before.
void discard_library(int32_t file, uint32_t memory);
/// The library is complete: it becomes used.
void mark_library_used(int32_t file);
/// Deletes the graphs 1 to 999 of a library in use, and its slots but for library 0, and marks it
/// unused. False when it wasn't in use.
bool unload_library(int32_t file);

/// Deletes the graph of an occupied slot, and lowers the library's count.
void free_graph(orb_fpg *library, orb_map_slot *slot);
/// Takes the slot's memory from the library's.
void release_graph_memory(orb_fpg *library, orb_map_slot *slot);
/// Counts a graph that was put into an empty slot.
void count_graph(orb_fpg *library, orb_map_slot *slot, uint32_t memory);

/// Puts a copy of a graph into a slot at the screen's depth, with the texts, the id and the memory
/// of the source and the given code; a graph in that slot is freed first, count and memory with
/// it. False, and nothing changed, without memory, or when the source is deeper than the screen.
bool copy_graph(orb_fpg *library, int32_t code, const orb_map_slot &source);
