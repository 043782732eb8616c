// The graph registry: libraries, graphs, run-time codes, and the counters scripts read.
//
// Library 0 holds loose graphs and is the only one that grows; its codes from 1000 up are handed
// out at run time and marked in `image_loaded`. Only surface/registry.cpp resizes the arrays.
#pragma once

#include "orb/graphics2d.h"

inline constexpr int32_t graphs_per_library = 1000; // libraries 1 and above
inline constexpr int32_t first_runtime_code = 1000; // library 0

extern orb_fpg *fpg; // max_fpg libraries
extern int32_t max_fpg;
extern int32_t max_map;   // slots of library 0
extern int32_t max_graph; // graph bound of the last lookup

/// The bound of a library's graph codes, which begin at 1.
inline int32_t graph_bound(int32_t file) { return file ? graphs_per_library : max_map; }

extern int32_t fpgs_loaded, maps_loaded;
extern int32_t *image_loaded; // per code from 1000 up: 0 free, else the format that filled it
extern orb_fpg *pfpg;         // last looked up
extern orb_map_slot *pfpgmap, *pfpgmap_dst;

int32_t CreateFPGList();    // 0 on failed allocation
int32_t ResizeFPGList();    // four more libraries; 0 at the limit
int32_t ResizeFPGMAPList(); // 256 more slots in library 0; 0 at the limit
void DeleteFPGList();

/// Called by the init hook after CreateFPGList: creates slots and marks of library 0, and regions.
/// Failures are fatal; if the report returns, the lists stay empty and every lookup fails.
void create_graph_registry();
/// Called by the release hook: frees slots and marks. The surface list owns the surfaces, and
/// DeleteFPGList frees the list of libraries.
void release_graph_registry();

/// First free code of library 0, growing it if need be; 0 at its limit and for any other library.
int32_t GetMAPCode(int32_t file);
/// Registers a surface as a map under a code of GetMAPCode. 1, or 0 when refused.
int32_t RecMAPCode(int32_t file, int32_t code, __ORBSurface2D__ *surface);
orb_fpg *GetFPG(int32_t file);
/// The slot of (file, graph), even an empty one; null when out of range or not loaded. Sets
/// `max_graph`.
orb_map_slot *GetMAP(int32_t file, int32_t graph);
int32_t GetMaxFPG();
int32_t GetMaxMAP();

/// Empties a slot whose surface is deleted, and lowers the library's count.
void empty_slot(orb_fpg *library, int32_t code);
/// Counts a new graph of library 0: slot, library and registry totals, and its mark.
void account_graph(int32_t code, uint32_t memory, int32_t mark);
/// Deletes every loose graph (`code` -1) or one whose mark `owns` accepts; returns how many.
/// INT32_MIN for a code outside the run-time range.
int32_t unload_graphs(int32_t code, bool (*owns)(int32_t mark));
