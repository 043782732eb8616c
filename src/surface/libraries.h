// Whole graph libraries, and the graphs in them.
//
// A library is loaded with its used flag still 0 and marked at the end. After a failed load its
// graphs stay under its number until that number is taken again.
#pragma once

#include "surface/registry.h"

/// Memory counted for a library without graphs, in bytes.
inline constexpr uint32_t empty_library_memory = 16;

/// Copies a text into a field of a slot, cut to fit with its NUL; null empties the field.
void set_graph_text(char (&field)[256], const char *text);

/// The lowest unused library number other than `except`, growing the list if need be. -1 at the
/// limit of the list.
int32_t find_free_library(int32_t except = -1);
/// Prepares an unused library: slots 1 to 999 empty, freed of what a failed load has left, memory
/// and count those of an empty library. Library 0 keeps its loose graphs (1000 and above) and
/// counts them. False without memory.
bool open_library(int32_t file);
/// Undoes open_library: deletes the graphs and, except for library 0, the slots. `memory` is what
/// the library counted before.
void discard_library(int32_t file, uint32_t memory);
/// Marks a completely loaded library as used.
void mark_library_used(int32_t file);
/// Deletes the graphs 1 to 999 of a library in use and, except for library 0, its slots, and marks
/// it unused. False when it is not in use.
bool unload_library(int32_t file);

/// Deletes the graph of an occupied slot, and lowers the library's count.
void free_graph(orb_fpg *library, orb_map_slot *slot);
/// Subtracts the slot's memory from the library's.
void release_graph_memory(orb_fpg *library, orb_map_slot *slot);
/// Counts a graph put into an empty slot.
void count_graph(orb_fpg *library, orb_map_slot *slot, uint32_t memory);

/// Copies a graph into a slot, at the screen's depth, with the texts, id and memory of the source.
/// A graph in that slot is freed first and no longer counted. False, and nothing changed, without
/// memory or when the source is deeper than the screen.
bool copy_graph(orb_fpg *library, int32_t code, const orb_map_slot &source);
