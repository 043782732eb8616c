// Script functions that make, load, copy, save and delete single graphs.
#include "formats/adopt_image.h"
#include "formats/codec.h"
#include "formats/map_file.h"
#include "script/checks.h"
#include "script/handlers.h"
#include "script/script_call.h"
#include "surface/libraries.h"
#include "surface/screen.h"
#include "surface/surface.h"

// ---- New graphs ---------------------------------------------------------------------------------

namespace {

constexpr uint32_t new_graph_memory = 616; // whatever its size

/// The arguments of both functions from the width on.
struct new_graph_arguments {
  int32_t width, height;
  int32_t centre_x, centre_y;
  bool centre_given;
  uint32_t colour, alpha;
};

/// Fetches them: width, height [, centre x, centre y] [, colour [, alpha]], `count` in all.
new_graph_arguments fetch_new_graph_arguments(int32_t count) {
  new_graph_arguments arguments{};
  arguments.centre_given = count >= 5;
  if (count == 4 || count == 6) arguments.alpha = rt_pop_uint();
  if (count >= 3) arguments.colour = rt_pop_uint();
  if (arguments.centre_given) {
    arguments.centre_y = rt_pop_int();
    arguments.centre_x = rt_pop_int();
  }
  arguments.height = rt_pop_int();
  arguments.width = rt_pop_int();
  if (!arguments.centre_given) {
    arguments.centre_x = arguments.width / 2;
    arguments.centre_y = arguments.height / 2;
  }
  return arguments;
}

/// Reports the first invalid argument; the width is argument `first`.
bool check_new_graph(const script_call &call, const new_graph_arguments &a, int32_t first,
                     int32_t side_limit) {
  const auto refuse = [&call](script_error error, int32_t position, int32_t value) {
    call.bad(error, position, value);
    return false;
  };
  if (a.width < 1 || a.width > side_limit) return refuse(error_size, first, a.width);
  if (a.height < 1 || a.height > side_limit) return refuse(error_size, first + 1, a.height);
  // QUIRK: the colour's position is that of the longest form, also in the forms without a centre.
  if (!check_colour(call, a.colour, first + 4)) return false;
  if (a.centre_x < 0 || a.centre_x >= a.width) return refuse(error_centre, first + 2, a.centre_x);
  if (a.centre_y < 0 || a.centre_y >= a.height) return refuse(error_centre, first + 3, a.centre_y);
  return a.alpha < 2;
}

/// The surface, or null without memory or for an impossible size.
__ORBSurface2D__ *new_graph(const new_graph_arguments &a) {
  const bool clear = a.colour == 0;
  __ORBSurface2D__ *surface =
      device2D.ORBGI2D_CreateGFXSurface(a.width, a.height, mode.bpp, uint8_t(clear));
  if (!surface) return nullptr;
  if (!clear) device2D.ORBGI2D_BlitFill(surface, a.colour, 0);
  surface->alpha_channel = a.alpha != 0;
  surface->cpoints[0] = uint32_t(a.centre_x);
  surface->cpoints[1] = uint32_t(a.centre_y);
  surface->cpoints[2] = surface->has_cpoints = a.centre_given;
  return surface;
}

void fill_slot(orb_map_slot *slot, int32_t code, uint32_t id, __ORBSurface2D__ *surface) {
  slot->code = code;
  slot->id = id;
  set_graph_text(slot->description, nullptr);
  set_graph_text(slot->name, nullptr);
  slot->surface = surface;
}

} // namespace

/// map_new(width, height [, centre x, centre y] [, colour [, alpha]]): a new graph of library 0
/// at the screen's depth, filled with the colour. A centre that is given becomes a defined control
/// point 0; without one the pivot is the middle and no control point is defined. Its code, or the
/// failure value.
int32_t ORB_map_new() {
  const script_call call{"MAP_NEW"};
  const new_graph_arguments arguments = fetch_new_graph_arguments(rt_param_count());
  if (!check_new_graph(call, arguments, 1, largest_side)) return call.fail();
  const int32_t code = GetMAPCode(0);
  if (!code) return call.fail();
  __ORBSurface2D__ *surface = new_graph(arguments);
  if (!surface) return call.refuse(error_out_of_memory, 1, arguments.width);
  fill_slot(&fpg[0].slots[code], code, 1, surface);
  account_graph(code, new_graph_memory, img_format_map);
  return call.done(code);
}

/// fpg_new_map(file, graph, width, height [, centre x, centre y] [, colour [, alpha]]): the same in
/// a loaded library, under a code 1 to 999; a graph there is freed. The code, or the failure value:
/// after reporting 109, 110, 153, 154, 155, 111 for a library that isn't loaded, 100 for lack of
/// memory or a side above 65535; silently for a colour above 65535 at 16 bits or an alpha above 1.
int32_t ORB_fpg_new_map() {
  const script_call call{"FPG_NEW_MAP"};
  const new_graph_arguments arguments = fetch_new_graph_arguments(rt_param_count() - 2);
  auto [file, graph] = pop_ints<2>();
  if (!check_library_graph(call, file, 1, graph, 2)) return call.fail();
  if (!check_new_graph(call, arguments, 3, INT32_MAX)) return call.fail();
  orb_fpg *library = check_library_loaded(call, file, 1);
  if (!library) return call.fail();
  __ORBSurface2D__ *surface = new_graph(arguments);
  if (!surface) return call.refuse(error_out_of_memory, 1, file);
  orb_map_slot *slot = &library->slots[graph];
  // QUIRK: the library keeps counting the memory of the graph that is replaced.
  if (slot->surface) free_graph(library, slot);
  fill_slot(slot, graph, uint32_t(graph), surface);
  count_graph(library, slot, new_graph_memory);
  return call.done(graph);
}

// ---- Loading, copying, saving, unloading
// ---------------------------------------------------------

/// map_load(file name [, key]): loads a MAP file as a graph of library 0. Its code, or the failure
/// value: after reporting 144 for a file that is missing, is not a MAP file, ends too early or is
/// deeper than the screen, 105 when a compressed one cannot be reopened, 194 for an enciphered one
/// without a usable key, 100 for lack of memory; silently when library 0 can't grow.
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

/// map_clone(file, graph): copies a graph, at the screen's depth, to library 0. The copy counts the
/// memory of its source. Its code, or the failure value after reporting a bad graph, 104 when
/// library 0 cannot grow, 100 for lack of memory or a graph deeper than the screen (made before a
/// mode change).
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
/// compression 1 compresses, 0 and -1 don't, a key that is not empty enciphers. 1, or the failure
/// value: after reporting a bad graph, or 123 for a file that cannot be written or a graph of
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

/// map_unload(code): deletes a loose graph that is a map (loaded, made, cloned or recorded); code
/// -1 deletes all of them. The number deleted, or the failure value for a code outside the run-time
/// range.
int32_t ORB_map_unload() {
  const int32_t code = rt_pop_int();
  return rt_return(unload_graphs(code, [](int32_t mark) { return mark == img_format_map; }));
}

/// graphiclib_get_mapsloaded(): loose graphs loaded or made.
int32_t ORB_graphiclib_get_mapsloaded() { return rt_return(maps_loaded); }
