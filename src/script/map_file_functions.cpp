// Script functions that bring single graphs in, copy them, write them out and let them go.
#include "formats/adopt_image.h"
#include "formats/codec.h"
#include "formats/map_file.h"
#include "script/checks.h"
#include "script/handlers.h"
#include "script/script_call.h"
#include "surface/libraries.h"

/// map_load(file name [, key]): a MAP file becomes a graph of library 0. Its code, or the failure
/// value: after reporting 144 for a file that is missing, isn't a MAP file, ends too early or is
/// deeper than the screen, 105 when a compressed one can't be opened again, 194 for an enciphered
/// one without a usable key, 100 for lack of memory; silently when library 0 can't grow.
int32_t ORB_map_load() {
  const script_call call{"MAP_LOAD"};
  const char *key = rt_param_count() > 1 ? rt_pop_string() : nullptr;
  const char *filename = pop_filename();
  const int32_t code = GetMAPCode(0);
  if (!code) return call.fail();
  if (!ORB_CheckMAPHeader(filename, key)) return call.refuse(error_format, 1, filename);
  reset_image();
  if (!ORB_LoadMAP(filename, key)) return call.refuse(script_error(image_error), 1, filename);
  if (const int32_t error = adopt_image(code, filename, img_format_map))
    return call.refuse(script_error(error), 1, filename);
  return call.done(code);
}

/// map_clone(file, graph): a copy of a graph in library 0, at the screen's depth. It counts the
/// memory of its source. Its code, or the failure value after reporting a bad graph, 104 when
/// library 0 can't grow, 100 for lack of memory or for a graph that is deeper than the screen, as
/// one may be that was made before a mode change.
int32_t ORB_map_clone() {
  const script_call call{"MAP_CLONE"};
  auto [file, graph] = pop_ints<2>();
  if (!check_graph_numbers(call, file, graph)) return call.fail();
  // Before the source is looked up: growing moves the slots of library 0.
  const int32_t code = GetMAPCode(0);
  if (!code) return call.refuse(error_library_full, 1, file);
  const orb_map_slot *source = check_graph(call, file, graph);
  if (!source) return call.fail();
  if (!copy_graph(&fpg[0], code, *source)) return call.refuse(error_out_of_memory, 1, file);
  ++maps_loaded;
  image_loaded[code - first_runtime_code] = img_format_map;
  return call.done(code);
}

/// map_save(file, graph, file name [, compression, key]): writes a MAP file at the screen's depth;
/// compression 1 compresses, 0 and -1 don't, a key that isn't empty enciphers. 1, or the failure
/// value: after reporting a bad graph, or 123 for a file that can't be written or a graph of
/// another depth; silently for another compression.
int32_t ORB_map_save() {
  const script_call call{"MAP_SAVE"};
  const char *key = nullptr;
  int32_t compression = 0;
  if (rt_param_count() > 3) {
    key = rt_pop_string();
    compression = rt_pop_int();
  }
  auto [file, graph, filename] = pop_args<int32_t, int32_t, const char *>();
  const orb_map_slot *slot = check_graph(call, file, graph);
  if (!slot || compression < -1 || compression > 1) return call.fail();
  if (!filename) filename = "";
  describe_graph(*slot);
  if (!ORB_SaveMAP(filename, compression, key)) return call.refuse(error_save, 3, filename);
  return call.done(1);
}

/// map_unload(code): deletes a loose graph that is a map, loaded, made, cloned or recorded; code -1
/// deletes all. How many, or the failure value for a code outside the run-time range.
int32_t ORB_map_unload() {
  const int32_t code = rt_pop_int();
  return rt_return(unload_graphs(code, [](int32_t mark) { return mark == img_format_map; }));
}

/// graphiclib_get_mapsloaded(): loose graphs loaded or made.
int32_t ORB_graphiclib_get_mapsloaded() {
  return rt_return(maps_loaded);
}
