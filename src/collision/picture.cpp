#include "collision/picture.h"

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
  if (!process || !process->locals || process->coordinates == 2) return false;
  orb_locals shown = *process->locals;
  if (!is_library(shown.file, fault)) return false;
  if (shown.xgraph) {
    if (!apply_xgraph(&shown)) return false;
    shown.angle = 0;
  }
  __ORBSurface2D__ *const surface = find_surface(shown.file, shown.graph, fault);
  if (!surface) return false;
  if (shown.resolution > 0) {
    shown.x /= shown.resolution;
    shown.y /= shown.resolution;
  }
  if (shown.size != 100) shown.size_x = shown.size_y = shown.size;
  shown.size = 100;
  if (shown.tfmorder < tfm_hsr || shown.tfmorder > tfm_rsh) shown.tfmorder = tfm_hsr;
  request = blank_request(surface, nullptr, shown.x, shown.y);
  set_transform(request, shown);
  request.flags = shown.flags;
  return true;
}

bool pointer_picture(__ORBBlit2D__ &request) {
  if (!_mouse_graphics2D_) return false;
  const script_mouse mouse = *_mouse_graphics2D_;
  if (!graph_picture(mouse.file, mouse.graph, mouse.x, mouse.y, request, nullptr)) return false;
  request.angle = mouse.angle % full_turn;
  request.size_x = request.size_y = mouse.size;
  request.flags = mouse.flags;
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
  const orb_scroll_services *const services =
      deviceSystem_graphics2D ? deviceSystem_graphics2D->scroll : nullptr;
  if (process->coordinates != 1 || !services || !services->offset) return false;
  const int32_t id = process_id(process);
  for (int32_t scroll = 0; scroll < scrolls; ++scroll)
    if (services->offset(id, scroll, &x, &y)) return true;
  x = y = 0;
  return false;
}

void move_picture(__ORBBlit2D__ &request, int32_t x, int32_t y) {
  request.x = int32_t(uint32_t(request.x) + uint32_t(x));
  request.y = int32_t(uint32_t(request.y) + uint32_t(y));
}

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

void draw_picture(const __ORBBlit2D__ &picture, int32_t x, int32_t y, __ORBSurface2D__ *onto) {
  __ORBBlit2D__ request = picture;
  if ((request.flags & key_mode_flags) == ghost_flag) request.flags -= ghost_flag;
  request.fxmode = fx_src;
  request.dst = onto;
  keep_override(request.src, [&] { blit_window(choose_blit_operation(request), &request, x, y); });
}
