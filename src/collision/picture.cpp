#include "collision/picture.h"

#include <algorithm>
#include <cmath>

#include "blit/blit.h"
#include "blit/effects.h"
#include "blit/request.h"
#include "boundary/errors.h"
#include "boundary/records.h"
#include "surface/registry.h"

namespace {

constexpr int32_t scrolls = 10;
constexpr int32_t ghost_flag = 4, key_mode_flags = 12;

bool is_library(int32_t file, picture_fault *fault) {
  const bool good = file >= 0 && file < max_fpg;
  if (!good && fault) *fault = {error_file, file};
  return good;
}

/// A library slot's surface; null for an empty slot or a number out of range.
__ORBSurface2D__ *find_surface(int32_t file, int32_t graph, picture_fault *fault) {
  if (graph < 1 || graph >= graph_bound(file)) {
    if (fault) *fault = {error_graph, graph};
    return nullptr;
  }
  const orb_map_slot *slots = fpg[file].slots;
  return slots ? slots[graph].surface : nullptr;
}

bool is_plain(const __ORBBlit2D__ &r) {
  return r.angle == 0 && r.size_x == 100 && r.size_y == 100 && r.shear_x == 0 && r.shear_y == 0;
}

/// The locals that show a process: its own, or a copy in `directed` that names the graph of its
/// direction. Null when it has none, or takes no part in tests.
const orb_locals *shown_locals(const orb_process *process, orb_locals &directed) {
  if (!process || !process->locals || process->coordinates == 2) return nullptr;
  if (!process->locals->xgraph) return process->locals;
  directed = *process->locals;
  if (!apply_xgraph(&directed)) return nullptr;
  directed.angle = 0;
  return &directed;
}

/// A picture and where it lies; the rest is read from the locals only when it is needed.
struct pose {
  const orb_locals &locals;
  __ORBSurface2D__ *surface;
  int32_t x, y;

  int32_t size_x() const { return locals.size == 100 ? locals.size_x : locals.size; }
  int32_t size_y() const { return locals.size == 100 ? locals.size_y : locals.size; }
};

/// The surface is null when the locals name no graph.
pose pose_of(const orb_locals &locals, picture_fault *fault) {
  __ORBSurface2D__ *const surface =
      is_library(locals.file, fault) ? find_surface(locals.file, locals.graph, fault) : nullptr;
  if (locals.resolution <= 0) return {locals, surface, locals.x, locals.y};
  return {locals, surface, locals.x / locals.resolution, locals.y / locals.resolution};
}

/// Moves a pose or a request; the sums wrap as in scripts.
template <typename T> void move(T &picture, int32_t x, int32_t y) {
  picture.x = int32_t(uint32_t(picture.x) + uint32_t(x));
  picture.y = int32_t(uint32_t(picture.y) + uint32_t(y));
}

__ORBBlit2D__ request_of(const pose &p) {
  __ORBBlit2D__ request = blank_request(p.surface, nullptr, p.x, p.y);
  set_transform(request, p.locals);
  request.size = 100;
  request.size_x = p.size_x();
  request.size_y = p.size_y();
  if (request.tfmorder < tfm_hsr || request.tfmorder > tfm_rsh) request.tfmorder = tfm_hsr;
  request.flags = p.locals.flags;
  return request;
}

/// A picture that reaches farther than this counts as reaching everywhere.
constexpr int32_t far = 1 << 20;
/// Boxes are cut off here.
constexpr int32_t edge = 1 << 30;

/// A bound on the distance of the pivot from a side's ends, less one pixel at the far end.
int32_t farthest(int32_t pivot, uint32_t side) {
  return std::max(std::abs(pivot), std::abs(int32_t(side) - pivot)) + 1;
}

/// Whether position +- reach meets low..high, which lie on the grid. Four pixels more than reach
/// are more than corners are rounded by, and the pixel by which a mirror about an overridden pivot
/// moves them.
bool meets(int32_t position, int32_t reach, int32_t low, int32_t high) {
  reach += 4;
  if (position < -far || position > far) [[unlikely]] {
    // Far away floats are more than a pixel apart. A position moved onto the grid, too, is no
    // farther from what lies there.
    position = std::clamp(position, -edge, edge);
    reach += std::abs(position) >> 20;
  }
  // One comparison, since the CPU can't predict on which side a picture lies.
  const auto above_low = uint32_t(position + reach) - uint32_t(low);
  return above_low <= uint32_t(high) - uint32_t(low) + 2 * uint32_t(reach);
}

/// Whether a picture may have corners or pixels in a box; false only if it certainly hasn't. No
/// transform is worked out for that. In any order, a turn keeps a corner's distance from the
/// position, sizes multiply it by at most the larger one, shears by at most 1 plus the larger one;
/// and a distance is at most its longer leg and half the shorter one.
[[gnu::always_inline]] inline bool may_reach(const pose &p, const __ORBRegion__ &box) {
  const blit_pivot pivot = pivot_of(*p.surface);
  if (pivot.x < -far || pivot.x > far || pivot.y < -far || pivot.y > far) return true;
  int32_t x = farthest(pivot.x, p.surface->width), y = farthest(pivot.y, p.surface->height);
  const orb_locals &l = p.locals;
  const int32_t sheared = l.shear_x | l.shear_y;
  if ((l.angle | sheared) != 0) x = y = std::max(x, y) + (std::min(x, y) + 1) / 2;
  if (((l.size ^ 100) | (l.size_x ^ 100) | (l.size_y ^ 100) | sheared) != 0) {
    const auto part = [](int32_t percent) { return std::abs(percent / 100.0); };
    const double size = std::max(part(p.size_x()), part(p.size_y()));
    const double shear = std::max(part(l.shear_x), part(l.shear_y));
    // Two more pixels: the far corners may lose theirs between the sizes and the shears.
    const double reach = (std::max(x, y) * size + 2) * (1 + shear);
    if (reach > far) return true;
    x = y = int32_t(reach) + 1;
  }
  return meets(p.x, x, box.x0, box.x1) && meets(p.y, y, box.y0, box.y1);
}

/// Calls `use`, then restores the surface's pivot override, which geometry and blits consume.
template <typename F> void keep_override(__ORBSurface2D__ *surface, F &&use) {
  const auto override = surface->pivot_override;
  use();
  surface->pivot_override = override;
}

} // namespace

orb_process *find_process(int32_t id) {
  const orb_process_services *const services = orbre->rt_processes;
  if (id == 0 || !services || !services->proc_exists || !services->proc_exists(id)) return nullptr;
  return std::bit_cast<orb_process *>(id);
}

orb_process *calling_process() {
  const orb_process_services *const services = orbre->rt_processes;
  return services && services->proc_current ? services->proc_current() : nullptr;
}

bool process_picture(const orb_process *process, __ORBBlit2D__ &request, picture_fault *fault) {
  orb_locals directed;
  const orb_locals *const locals = shown_locals(process, directed);
  if (!locals) return false;
  const pose p = pose_of(*locals, fault);
  if (!p.surface) return false;
  request = request_of(p);
  return true;
}

bool process_picture_near(const __ORBRegion__ &box, const orb_process *process,
                          __ORBBlit2D__ &request) {
  orb_locals directed;
  const orb_locals *const locals = shown_locals(process, directed);
  if (!locals) return false;
  pose p = pose_of(*locals, nullptr);
  if (!p.surface) return false;
  int32_t x, y;
  if (process->coordinates == 1 && scroll_offset(process, x, y)) move(p, x, y);
  if (!may_reach(p, box)) return false;
  request = request_of(p);
  return true;
}

bool pointer_picture_near(const __ORBRegion__ &box, __ORBBlit2D__ &request) {
  if (!_mouse_graphics2D_) return false;
  const script_mouse &mouse = *_mouse_graphics2D_;
  orb_locals locals{};
  locals.file = mouse.file;
  locals.graph = mouse.graph;
  locals.x = mouse.x;
  locals.y = mouse.y;
  locals.angle = mouse.angle;
  locals.size = mouse.size;
  locals.size_x = locals.size_y = 100;
  locals.flags = mouse.flags;
  const pose p = pose_of(locals, nullptr);
  if (!p.surface || !may_reach(p, box)) return false;
  request = request_of(p);
  return true;
}

bool graph_picture(int32_t file, int32_t graph, int32_t x, int32_t y, __ORBBlit2D__ &request,
                   picture_fault *fault) {
  if (!is_library(file, fault)) return false;
  __ORBSurface2D__ *const surface = find_surface(file, graph, fault);
  if (!surface) return false;
  request = blank_request(surface, nullptr, x, y);
  return true;
}

bool scroll_offset(const orb_process *process, int32_t &x, int32_t &y) {
  x = y = 0;
  if (process->coordinates != 1 || !deviceSystem_graphics2D) return false;
  const orb_scroll_services *const services = deviceSystem_graphics2D->scroll;
  if (!services || !services->offset) return false;
  const int32_t id = process_id(process);
  for (int32_t scroll = 0; scroll < scrolls; ++scroll)
    if (services->offset(id, scroll, &x, &y)) return true;
  x = y = 0;
  return false;
}

void move_picture(__ORBBlit2D__ &request, int32_t x, int32_t y) { move(request, x, y); }

void picture_corners(const __ORBBlit2D__ &r, __FPoint__ corners[4]) {
  keep_override(r.src, [&] {
    calculate_corners(r.src, r.x, r.y, r.size_x, r.size_y, r.shear_x, r.shear_y, r.angle,
                      r.tfmorder, r.flags, corners);
  });
}

__ORBRegion__ picture_box(const __ORBBlit2D__ &r) {
  __ORBRegion__ box;
  keep_override(r.src, [&] {
    calculate_graph_bbox(&box, r.src, r.x, r.y, r.angle, r.flags, r.size_x, r.size_y, r.shear_x,
                         r.shear_y, r.tfmorder);
  });
  // A natural-size picture with an overridden pivot is mirrored about its last pixel: one pixel
  // further right and down than geometry places it.
  if (r.src->pivot_override && is_plain(r)) {
    if (r.flags & 1) ++box.x0, ++box.x1;
    if (r.flags & 2) ++box.y0, ++box.y1;
  }
  return box;
}

__ORBRegion__ box_of_point(int32_t x, int32_t y) {
  x = std::clamp(x, -edge, edge);
  y = std::clamp(y, -edge, edge);
  return {x, x, y, y};
}

void draw_picture(const __ORBBlit2D__ &picture, int32_t x, int32_t y, __ORBSurface2D__ *onto) {
  __ORBBlit2D__ request = picture;
  if ((request.flags & key_mode_flags) == ghost_flag) request.flags -= ghost_flag;
  request.fxmode = fx_src;
  request.dst = onto;
  keep_override(request.src, [&] { blit_window(choose_blit_operation(request), &request, x, y); });
}
