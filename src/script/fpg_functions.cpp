// Script functions on graph libraries: the libraries, their graphs, and their files.
#include "formats/map_file.h"
#include "script/checks.h"
#include "script/handlers.h"
#include "script/script_call.h"
#include "surface/libraries.h"

namespace {

constexpr int32_t most_graphs = graphs_per_library - 1; // code 0 is not used
constexpr int32_t all_libraries = -1;

/// Returns a number about a library, or the failure value after reporting 109.
template <typename Tell> int32_t tell(const script_call &call, Tell number_of) {
  const int32_t file = rt_pop_int();
  const orb_fpg *library = check_library(call, file, 1);
  return library ? call.done(int32_t(number_of(*library))) : call.fail();
}

} // namespace

// ---- Libraries ----------------------------------------------------------------------------------

/// fpg_new(): makes an empty library under the lowest free number. Number 0, free at the start, is
/// the system library: its loose graphs stay. The number, or the failure value after reporting 104
/// when the list can't grow, 100 for lack of memory.
int32_t ORB_fpg_new() {
  const script_call call{"FPG_NEW"};
  const int32_t number = find_free_library();
  if (number < 0) return call.refuse(error_library_full, 0, 0);
  if (!open_library(number)) return call.refuse(error_out_of_memory, 0, 0);
  mark_library_used(number);
  return call.done(number);
}

/// fpg_clone(file): copies the graphs 1 to 999, at the screen's depth, to a new library, which
/// never gets the number of its source, even an unused one. The number, or the failure value after
/// reporting 109, 104, or 100 for lack of memory or a graph deeper than the screen.
int32_t ORB_fpg_clone() {
  const script_call call{"FPG_CLONE"};
  // QUIRK: a graph that cannot be copied is reported under the older name.
  const script_call copying{"CLONE_FPG"};
  const int32_t file = rt_pop_int();
  if (!check_library(call, file, 1)) return call.fail();
  const int32_t number = find_free_library(file);
  if (number < 0) return call.refuse(error_library_full, 1, file);
  const uint32_t former_memory = fpg[number].memory_usage;
  bool copied = open_library(number);
  if (!copied) call.bad(error_out_of_memory, 1, file);
  const orb_map_slot *source = fpg[file].slots;
  for (int32_t code = 1; copied && source && code < graphs_per_library; ++code) {
    if (!source[code].surface || copy_graph(&fpg[number], code, source[code])) continue;
    copying.bad(error_out_of_memory, 1, file);
    discard_library(number, former_memory);
    copied = false;
  }
  if (!copied) return call.fail();
  mark_library_used(number);
  return call.done(number);
}

/// fpg_unload(file): deletes a library and its graphs; all_fpg (-1) deletes all. Of library 0 the
/// graphs 1 to 999 go. How many libraries were deleted, or the failure value after reporting 109.
int32_t ORB_fpg_unload() {
  const script_call call{"FPG_UNLOAD"};
  const int32_t file = rt_pop_int();
  if (file != all_libraries)
    return check_library(call, file, 1) ? call.done(int32_t(unload_library(file))) : call.fail();
  int32_t unloaded = 0;
  for (int32_t each = 0; each < max_fpg; ++each)
    unloaded += unload_library(each);
  return call.done(unloaded);
}

/// fpg_exists(file): 1 when the library is in use, else 0; reports nothing.
int32_t ORB_fpg_exists() {
  const int32_t file = rt_pop_int();
  const orb_fpg *library = GetFPG(file);
  return rt_return(library ? library->in_use : 0);
}

/// fpg_is_empty(file): 1 when the library has no graph, else 0.
int32_t ORB_fpg_is_empty() {
  return tell({"FPG_IS_EMPTY"}, [](const orb_fpg &library) { return library.map_count == 0; });
}

/// fpg_is_full(file): 1 when the library has 999 graphs, else 0.
int32_t ORB_fpg_is_full() {
  return tell({"FPG_IS_FULL"},
              [](const orb_fpg &library) { return library.map_count == most_graphs; });
}

/// fpg_get_nummaps(file): its graphs; for library 0 the loose ones are among them.
int32_t ORB_fpg_get_nummaps() {
  return tell({"FPG_GET_NUMMAPS"}, [](const orb_fpg &library) { return library.map_count; });
}

/// fpg_get_memoryusage(file): bytes counted for it.
int32_t ORB_fpg_get_memoryusage() {
  // QUIRK: returns 0 on failure, not the failure value.
  return tell({"FPG_GET_MEMORYUSAGE", 0},
              [](const orb_fpg &library) { return library.memory_usage; });
}

// ---- Graphs in libraries ------------------------------------------------------------------------

/// fpg_add_map(destination file, destination graph, source file, source graph): copies a graph, at
/// the screen's depth, to a loaded library; a graph there is freed. The copy counts the memory of
/// its source. The destination graph, or the failure value: after reporting 109, 110, 111 for a
/// destination that is not loaded, 100 for lack of memory or a graph deeper than the screen;
/// silently for a missing source, or one in the same library (but loose graphs may be copied to the
/// graphs 1 to 999 of library 0).
int32_t ORB_fpg_add_map() {
  const script_call call{"FPG_ADD_MAP"};
  auto [file, graph, source_file, source_graph] = pop_ints<4>();
  if (source_graph < graphs_per_library && file == source_file) return call.fail();
  if (!check_library_graph(call, file, 1, graph, 2)) return call.fail();
  if (!check_graph_numbers(call, source_file, source_graph, 3)) return call.fail();
  orb_fpg *library = check_library_loaded(call, file, 1);
  if (!library) return call.fail();
  const orb_map_slot *source = GetMAP(source_file, source_graph);
  if (!source || !source->surface) return call.fail();
  if (!copy_graph(library, graph, *source)) return call.refuse(error_out_of_memory, 1, file);
  return call.done(graph);
}

/// fpg_unload_map(file, graph): deletes a graph of a library. 1; 0 when there is none; the failure
/// value after reporting 109 or 110.
int32_t ORB_fpg_unload_map() {
  const script_call call{"FPG_UNLOAD_MAP"};
  auto [file, graph] = pop_ints<2>();
  orb_fpg *library = check_library_graph(call, file, 1, graph, 2);
  if (!library) return call.fail();
  if (!library->slots || !library->slots[graph].surface) return call.done(0);
  release_graph_memory(library, &library->slots[graph]);
  free_graph(library, &library->slots[graph]);
  return call.done(1);
}

// ---- Files --------------------------------------------------------------------------------------

namespace {

/// Reports why a library was not read. The key is argument 2.
int32_t fail_reading(const script_call &call, const library_fault &fault, const char *filename) {
  return call.refuse(script_error(fault.error), fault.error == error_library_key ? 2 : 1, filename);
}

} // namespace

/// fpg_load(file name [, key]): loads a library under the lowest free number, 0 included. The
/// number, or the failure value after reporting 104 when the list can't grow, 105 for a file that
/// can't be opened, 193 for an enciphered one without a usable key, 106 for one that isn't a
/// library, is deeper than the screen or ends within a graph, 100 for lack of memory.
int32_t ORB_fpg_load() {
  const script_call call{"FPG_LOAD"};
  const char *key = rt_param_count() > 1 ? rt_pop_string() : nullptr;
  const char *filename = pop_filename();
  library_fault fault;
  const int32_t number = load_library(filename, key, fault);
  if (number >= 0) return call.done(number);
  // QUIRK: a failure to reopen the file is reported under the older name.
  return fail_reading(fault.reopening ? script_call{"LOAD_FPG"} : call, fault, filename);
}

/// fpg_load_map(file name, [key,] file, graph): loads one graph of a library file into a library,
/// which is made if it is not loaded; a graph there is freed. The graph, 0 when it is not in the
/// file, or the failure value after reporting 109, 110, or what fpg_load reports.
int32_t ORB_fpg_load_map() {
  const script_call call{"FPG_LOAD_MAP"};
  const bool key_given = rt_param_count() > 3;
  const int32_t graph = rt_pop_int();
  const int32_t file = rt_pop_int();
  const char *key = key_given ? rt_pop_string() : nullptr;
  const char *filename = rt_pop_string();
  // QUIRK: reported as arguments 2 and 3 also with a key, where they are 3 and 4.
  if (!check_library_graph(call, file, 2, graph, 3)) return call.fail();
  if (!filename) filename = "";
  library_fault fault;
  const int32_t found = load_library_graph(filename, key, file, graph, fault);
  return found < 0 ? fail_reading(call, fault, filename) : call.done(found);
}

/// fpg_save(file, file name [, compression, key]): writes the graphs 1 to 999 of a library at the
/// screen's depth; a key that is not empty enciphers. 1; 0 for an empty library, of which nothing
/// is written; or the failure value after reporting 109, or 123 for a file that can't be written or
/// a graph of another depth.
int32_t ORB_fpg_save() {
  const script_call call{"FPG_SAVE"};
  const char *key = nullptr;
  int32_t compression = 0;
  if (rt_param_count() > 2) {
    key = rt_pop_string();
    compression = rt_pop_int();
  }
  auto [file, filename] = pop_args<int32_t, const char *>();
  const orb_fpg *library = check_library(call, file, 1);
  if (!library) return call.fail();
  if (library->map_count == 0 || !library->slots) return call.done(0);
  if (!filename) filename = "";
  // QUIRK: any compression but 0 compresses; in map_save only 1 does.
  if (!save_library(*library, filename, compression != 0, key))
    return call.refuse(error_save, 2, filename);
  return call.done(1);
}

// ---- Counts -------------------------------------------------------------------------------------

/// graphiclib_get_fpgsloaded(): libraries loaded or made.
int32_t ORB_graphiclib_get_fpgsloaded() { return rt_return(fpgs_loaded); }
