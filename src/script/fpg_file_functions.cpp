// Script functions that load and save graph libraries.
#include "formats/map_file.h"
#include "script/checks.h"
#include "script/handlers.h"
#include "script/script_call.h"

/// fpg_load(file name [, key]): a library under the lowest free number, 0 included. The number, or
/// the failure value after reporting 104 when the list can't grow, 105 for a file that can't be
/// opened, 193 for an enciphered one without a usable key, 106 for one that isn't a library, is
/// deeper than the screen or ends within a graph, 100 for lack of memory.
int32_t ORB_fpg_load() {
  const script_call call{"FPG_LOAD"};
  const char *key = rt_param_count() > 1 ? rt_pop_string() : nullptr;
  const char *filename = rt_pop_string();
  const int32_t number = load_library(call, filename ? filename : "", key);
  return number < 0 ? call.fail() : call.done(number);
}

/// fpg_load_map(file name, [key,] file, graph): one graph of a library file into a library, which
/// is made when it isn't loaded; a graph there is freed. The graph, 0 when it isn't in the file, or
/// the failure value after reporting 109, 110, or what fpg_load reports.
int32_t ORB_fpg_load_map() {
  const script_call call{"FPG_LOAD_MAP"};
  const bool key_given = rt_param_count() > 3;
  const int32_t graph = rt_pop_int();
  const int32_t file = rt_pop_int();
  const char *key = key_given ? rt_pop_string() : nullptr;
  const char *filename = rt_pop_string();
  // QUIRK: with a key the numbers are arguments 3 and 4. They are reported as 2 and 3 in both
  // forms, intentionally.
  if (!check_library_graph(call, file, 2, graph, 3)) return call.fail();
  const int32_t found = load_library_graph(call, filename ? filename : "", key, file, graph);
  return found < 0 ? call.fail() : call.done(found);
}

/// fpg_save(file, file name [, compression, key]): writes the graphs 1 to 999 of a library at the
/// screen's depth; a key that isn't empty enciphers. 1; 0 for an empty library, and then nothing is
/// written; or the failure value after reporting 109, or 123 for a file that can't be written or a
/// graph of another depth.
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
  // QUIRK: map_save knows compressions -1 to 1, and only 1 compresses. Here everything but 0 does,
  // intentionally.
  if (!save_library(*library, filename, compression != 0, key)) {
    call.bad(error_save, 2, filename);
    return call.fail();
  }
  return call.done(1);
}
