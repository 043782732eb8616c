#include "frame/draw_objects.h"

#include <algorithm>
#include <cstdlib>

#include "blit/request.h"
#include "boundary/runtime.h"
#include "frame/process_scan.h"
#include "raster/raster.h"
#include "surface/growth.h"
#include "surface/regions.h"
#include "surface/registry.h"
#include "surface/screen.h"

orb_draw *draws = nullptr;
int32_t max_draw = 0, draws_painted = 0, draws_fixed = 0, draws_locked = 0;
int32_t draws_moved_alpha = 0;

// ---- The records -------------------------------------------------------------------------------

namespace {
constexpr int32_t first_max_draw = 16, draw_step = 16, draw_limit = 65536;
}

int32_t CreateDrawList() {
  draws_painted = draws_fixed = draws_locked = 0;
  draws_moved_alpha = 0;
  max_draw = grow_records(draws, 0, first_max_draw) ? first_max_draw : 0;
  return max_draw != 0;
}

int32_t ResizeDrawList() {
  if (max_draw >= draw_limit) return 0;
  if (!grow_records(draws, max_draw, max_draw + draw_step)) {
    rt_fatal("ENGINE 2D: Error to Resize DRAW2D list");
    return 0;
  }
  max_draw += draw_step;
  return 1;
}

void DeleteDrawList() {
  free(draws);
  draws = nullptr;
  max_draw = 0;
}

// ---- Drawing -----------------------------------------------------------------------------------

namespace {

/// 64-bit bounds: corners are arbitrary 32-bit values.
struct box {
  int64_t x0, y0, x1, y1; // inclusive

  bool empty() const { return x0 > x1 || y0 > y1; }
  bool touches(const box &other) const {
    return x0 <= other.x1 && x1 >= other.x0 && y0 <= other.y1 && y1 >= other.y0;
  }
};

box bounds_of(const orb_draw &draw) {
  return {std::min(draw.x0, draw.x1), std::min(draw.y0, draw.y1), std::max(draw.x0, draw.x1),
          std::max(draw.y0, draw.y1)};
}

/// The region of a draw object, clipped to its destination; empty for one that isn't defined now.
box clip_of(const orb_draw &draw, const __ORBSurface2D__ &destination) {
  if (draw.region < 0 || draw.region >= max_region) return {0, 0, -1, -1};
  const __ORBRegion__ &region = regions[draw.region];
  return {std::max(region.x0, 0), std::max(region.y0, 0),
          std::min(region.x1, int32_t(destination.width) - 1),
          std::min(region.y1, int32_t(destination.height) - 1)};
}

bool visible_on(const orb_draw &draw, const __ORBSurface2D__ &destination) {
  const box clip = clip_of(draw, destination);
  return !clip.empty() && clip.touches(bounds_of(draw));
}

/// The script globals that unlocked draw objects follow.
struct common_values {
  int32_t z;
  __ORBSurface2D__ *destination; // null: none of them is drawn
};

common_values read_common_values() {
  if (!*_draw_visible_) return {0, nullptr};
  return {*_draw_z_, find_draw_destination(*_draw_destination_file_, *_draw_destination_graph_)};
}

void fill_request(__ORBBlit2D__ &request, int32_t index, __ORBSurface2D__ *destination, int32_t z) {
  const orb_draw &draw = draws[index];
  request = blank_request(nullptr, destination, 0, 0);
  request.link = index;
  request.drawn_x0 = draw.x0;
  request.drawn_x1 = draw.x1;
  request.drawn_y0 = draw.y0;
  request.drawn_y1 = draw.y1;
  request.z = z;
  request.region = draw.region;
  request.alpha = draw.alpha;
  request.blit_op = BlitDrawing;
}

/// Alphas of 8-bit modes have sixteen steps.
bool opaque(const orb_draw &draw) { return draw.alpha == (mode.bpp == 8 ? 15 : 255); }

void rasterise(const orb_draw &draw, __ORBSurface2D__ *on) {
  const bool filled = draw.type == draw_type_filled_rect || draw.type == draw_type_filled_ellipse;
  if (draw.type == draw_type_line) {
    (opaque(draw) ? drawing_line : drawing_line_alpha)(on, draw.x0, draw.y0, draw.x1, draw.y1);
    return;
  }
  drawing_box_routine *shape;
  if (draw.type == draw_type_ellipse || draw.type == draw_type_filled_ellipse)
    shape = opaque(draw) ? drawing_ellipse : drawing_ellipse_alpha;
  else
    shape = opaque(draw) ? drawing_rect : drawing_rect_alpha;
  shape(on, draw.x0, draw.y0, draw.x1, draw.y1, filled);
}

/// No record below it is free, as long as there are draws at all.
int32_t lowest_free;

} // namespace

int32_t take_draw() {
  if (draws_painted == 0) lowest_free = 0;
  while (lowest_free < max_draw && draws[lowest_free].in_use)
    ++lowest_free;
  if (lowest_free >= max_draw && !ResizeDrawList()) return -1;
  draws[lowest_free] = {};
  return lowest_free;
}

void release_draw(int32_t index) {
  orb_draw &draw = draws[index];
  draw.in_use = draw.locked = draw.fixed = 0;
  lowest_free = std::min(lowest_free, index);
}

__ORBSurface2D__ *find_draw_destination(int32_t file, int32_t graph) {
  destination_file = file;
  destination_graph = graph;
  if (file < 0 || file >= max_fpg) return nullptr;
  // QUIRK: checks the bound of library 0 whatever the file. GetMAP checks the library's own.
  if (graph < 0 || graph >= max_map) return nullptr;
  if (graph == 0) return file == 0 ? screen : nullptr;
  pfpgmap_dst = GetMAP(file, graph);
  return pfpgmap_dst ? pfpgmap_dst->surface : nullptr;
}

void do_drawings() {
  if (!draws_painted || !max_draw) return;
  const common_values common = read_common_values();
  for (int32_t i = 0; i < max_draw; ++i) {
    orb_draw &draw = draws[i];
    if (!draw.in_use) continue;
    __ORBSurface2D__ *destination = common.destination;
    if (draw.locked) {
      if (!draw.visible) continue;
      // Looked up every frame: the graph may have been unloaded or replaced.
      destination = draw.placed
                        ? find_draw_destination(draw.destination_file, draw.destination_graph)
                        : screen;
      draw.destination = destination;
    }
    if (!destination || !visible_on(draw, *destination)) continue;
    __ORBBlit2D__ *request = device2D.GetAndUpdateBlitList();
    if (!request) return;
    fill_request(*request, i, destination, draw.locked ? draw.z : common.z);
  }
}

int32_t BlitDrawing(__ORBBlit2D__ *request) {
  request->drawn = 0;
  if (request->link < 0 || request->link >= max_draw || !request->dst) return 0;
  const orb_draw &draw = draws[request->link];
  if (!draw.in_use || request->dst->depth != mode.bpp) return 0;
  if (draw.type < draw_type_line || draw.type > draw_type_filled_ellipse) return 1;
  if (!visible_on(draw, *request->dst)) return 0;

  const box clip = clip_of(draw, *request->dst), bounds = bounds_of(draw);
  draw_clipx0 = int32_t(clip.x0);
  draw_clipy0 = int32_t(clip.y0);
  draw_clipx1 = int32_t(clip.x1);
  draw_clipy1 = int32_t(clip.y1);
  colorfx = draw.colour;
  alphafx = draw.alpha;
  rasterise(draw, request->dst);

  request->drawn = 1;
  request->drawn_x0 = int32_t(std::max(bounds.x0, clip.x0));
  request->drawn_y0 = int32_t(std::max(bounds.y0, clip.y0));
  request->drawn_x1 = int32_t(std::min(bounds.x1, clip.x1));
  request->drawn_y1 = int32_t(std::min(bounds.y1, clip.y1));
  return 1;
}
