// Script functions that draw graphs on other graphs: whole, transformed, as blocks, as tiles, and
// as effects.
//
// Each has forms with and without the source's library, which defaults to the destination's. Other
// defaults are flags 0, alpha 255, fxmode 0, fxcolor 0, fxintensity 0. Drawing is clipped to the
// destination only. Each returns 1 when something was drawn, else 0, or the failure value after
// reporting a bad library (109, 111) or graph (110, 121).
#include "script/blit_arguments.h"
#include "script/handlers.h"
#include "surface/registry.h"

namespace {

/// Graph bounds of the last pair.
int32_t max_graph_dst = 0, max_graph_src = 0;

/// The graphs of a call. Without its own library the source is in the destination's.
struct graph_pair {
  int32_t file, graph;
  int32_t source_file, source_graph;
  bool source_has_file; // the form with a source library
};

/// Fetches the source of a pair, with or without its library.
graph_pair pop_source(bool has_file) {
  graph_pair pair{};
  pair.source_has_file = has_file;
  pair.source_graph = rt_pop_int();
  if (has_file) pair.source_file = rt_pop_int();
  return pair;
}

/// Fetches the destination of a pair, after its source.
void pop_destination(graph_pair &pair) {
  pair.graph = rt_pop_int();
  pair.file = rt_pop_int();
  if (!pair.source_has_file) pair.source_file = pair.file;
}

/// Fetches both where they are adjacent arguments.
graph_pair pop_graphs(bool source_has_file) {
  graph_pair pair = pop_source(source_has_file);
  pop_destination(pair);
  return pair;
}

/// Argument positions for reports: the source library, with its graph next, and an unloaded
/// destination.
struct reported_places {
  int32_t source_file = 3;
  int32_t unloaded_destination = 2;
};

bool is_library(int32_t file) { return file >= 0 && file < max_fpg; }

bool is_graph(int32_t graph, int32_t bound) { return graph >= 1 && graph < bound; }

/// Checks the numbers of both graphs, then whether they are loaded. Sets both bounds and both
/// cursors. False after reporting.
bool check_graphs(const script_call &call, const graph_pair &pair, const reported_places &places) {
  const auto refuse = [&call](script_error error, int32_t position, int32_t value) {
    call.bad(error, position, value);
    return false;
  };
  // QUIRK: without a source library, a bad source graph is always reported as argument 3, even for
  // map_block_copy, where it is argument 5.
  const int32_t source_graph_place = pair.source_has_file ? places.source_file + 1 : 3;
  max_graph_dst = graph_bound(pair.file);
  max_graph_src = graph_bound(pair.source_file);
  if (!is_library(pair.file)) return refuse(error_file, 1, pair.file);
  if (!is_graph(pair.graph, max_graph_dst)) return refuse(error_graph, 2, pair.graph);
  if (!is_library(pair.source_file))
    return refuse(error_file, places.source_file, pair.source_file);
  if (!is_graph(pair.source_graph, max_graph_src))
    return refuse(error_graph, source_graph_place, pair.source_graph);

  const orb_fpg &to = fpg[pair.file], &from = fpg[pair.source_file];
  if (!to.slots) return refuse(error_library_not_loaded, 1, pair.file);
  pfpgmap_dst = &to.slots[pair.graph];
  if (!pfpgmap_dst->surface)
    return refuse(error_graph_not_loaded, places.unloaded_destination, pair.graph);
  if (!from.slots) return refuse(error_library_not_loaded, places.source_file, pair.source_file);
  pfpgmap = &from.slots[pair.source_graph];
  if (!pfpgmap->surface)
    return refuse(error_graph_not_loaded, source_graph_place, pair.source_graph);
  return true;
}

/// Fetches the trailing arguments: none; flags, alpha, fxmode; or these and fxcolor, fxintensity.
blit_tail pop_map_tail(int32_t given) {
  blit_tail tail{.region = -1};
  if (given >= 5) {
    tail.fxintensity = rt_pop_int();
    tail.fxcolor = rt_pop_uint();
  }
  if (given >= 3) {
    tail.fxmode = rt_pop_int();
    tail.alpha = rt_pop_int();
    tail.flags = rt_pop_int();
  }
  return tail;
}

/// The tail of functions without effects: colour and intensity stay those of the last request.
blit_tail plain_tail(int32_t flags) {
  return {.flags = flags,
          .region = -1,
          .fxcolor = bltGraphics2D.fxcolor,
          .fxintensity = bltGraphics2D.fxintensity};
}

/// Checks the graphs and fills the shared request; null after reporting.
__ORBBlit2D__ *map_request(const script_call &call, const graph_pair &pair, int32_t x, int32_t y,
                           const blit_tail &tail, const reported_places &places = {}) {
  if (!check_graphs(call, pair, places)) return nullptr;
  bltGraphics2D = tail_request(pfpgmap->surface, pfpgmap_dst->surface, x, y, tail);
  return &bltGraphics2D;
}

} // namespace

/// map_put(file, graph, [source file,] source graph, x, y): the source with its pivot at (x, y).
int32_t ORB_map_put() {
  const script_call call{"MAP_PUT"};
  const bool source_has_file = rt_param_count() > 5;
  auto [x, y] = pop_ints<2>();
  const graph_pair pair = pop_graphs(source_has_file);
  // QUIRK: an unloaded destination is reported as argument 1; the other functions report 2.
  __ORBBlit2D__ *request =
      map_request(call, pair, x, y, plain_tail(0), {.unloaded_destination = 1});
  return request ? call.done(device2D.ORBGI2D_Blit(request)) : call.fail();
}

/// map_xput(file, graph, [source file,] source graph, x, y, angle, size, flags): rotated and
/// scaled.
int32_t ORB_map_xput() {
  const script_call call{"MAP_XPUT"};
  const bool source_has_file = rt_param_count() > 8;
  auto [x, y, angle, size, flags] = pop_ints<5>();
  const graph_pair pair = pop_graphs(source_has_file);
  __ORBBlit2D__ *request = map_request(call, pair, x, y, plain_tail(flags));
  if (!request) return call.fail();
  return call.done(draw_transformed(*request, {.angle = angle, .size = size}));
}

/// map_xxput(file, graph, [source file,] source graph, x, y, angle, size_x, size_y, shear_x,
/// shear_y, tfmorder, flags, alpha, fxmode [, fxcolor, fxintensity]): with every transform.
int32_t ORB_map_xxput() {
  const script_call call{"MAP_XXPUT"};
  const int32_t count = rt_param_count();
  const bool source_has_file = count == 15 || count == 17;
  const blit_tail tail = pop_map_tail(count > 15 ? 5 : 3);
  const blit_transform transform = pop_transform();
  auto [x, y] = pop_ints<2>();
  const graph_pair pair = pop_graphs(source_has_file);
  __ORBBlit2D__ *request = map_request(call, pair, x, y, tail);
  return request ? call.done(draw_transformed(*request, transform)) : call.fail();
}

/// map_block_copy(file, graph, x, y, [source file,] source graph, block_x, block_y, block_w,
/// block_h [, flags, alpha, fxmode [, fxcolor, fxintensity]]): a rectangle of the source, its top
/// left corner at (x, y).
int32_t ORB_map_block_copy() {
  const script_call call{"MAP_BLOCK_COPY"};
  const int32_t count = rt_param_count();
  const bool source_has_file = count == 10 || count == 13 || count == 15;
  const blit_tail tail = pop_map_tail(count - (source_has_file ? 10 : 9));
  const blit_block block = pop_block();
  graph_pair pair = pop_source(source_has_file);
  auto [x, y] = pop_ints<2>();
  pop_destination(pair);
  __ORBBlit2D__ *request = map_request(call, pair, x, y, tail, {.source_file = 5});
  return request ? call.done(draw_block(*request, block)) : call.fail();
}

/// map_put_tile(file, graph, [source file,] source graph, x, y [, flags, alpha, fxmode [, fxcolor,
/// fxintensity]]): repeats the source over the destination, one copy with its pivot at (x, y).
int32_t ORB_map_put_tile() {
  const script_call call{"MAP_PUT_TILE"};
  const int32_t count = rt_param_count();
  const bool source_has_file = count == 6 || count == 9 || count == 11;
  const blit_tail tail = pop_map_tail(count - (source_has_file ? 6 : 5));
  auto [x, y] = pop_ints<2>();
  const graph_pair pair = pop_graphs(source_has_file);
  __ORBBlit2D__ *request = map_request(call, pair, x, y, tail);
  return request ? call.done(device2D.ORBGI2D_BlitTile(request)) : call.fail();
}

/// map_apply_fx(file, graph, [source file,] source graph, alpha, fxmode [, fxcolor, fxintensity]):
/// draws the source on the destination's top left corner with an effect. With one graph as both,
/// the effect is applied in place.
int32_t ORB_map_apply_fx() {
  const script_call call{"MAP_APPLY_FX"};
  const int32_t count = rt_param_count();
  const bool source_has_file = count == 6 || count == 8;
  blit_tail tail{.region = -1};
  if (count > 6) {
    tail.fxintensity = rt_pop_int();
    tail.fxcolor = rt_pop_uint();
  }
  tail.fxmode = rt_pop_int();
  tail.alpha = rt_pop_int();
  const graph_pair pair = pop_graphs(source_has_file);
  __ORBBlit2D__ *request = map_request(call, pair, 0, 0, tail);
  if (!request) return call.fail();
  const __ORBSurface2D__ &source = *request->src;
  return call.done(draw_block(*request, {0, 0, int32_t(source.width), int32_t(source.height)}));
}
