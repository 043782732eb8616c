// What a host may do through the device record: surfaces, requests, lists, modes.
#include <cstdlib>
#include <iterator>
#include <utility>

#include "fuzz/player.h"

namespace fuzz {
namespace {

constexpr size_t most_surfaces = 12;
constexpr int most_lists = 10;

/// The screen, the ground, a graph's surface or one of the host's own; null sometimes.
__ORBSurface2D__ *some_surface(player &p) {
  const uint8_t choice = p.values.byte();
  const size_t index = choice / 8;
  switch (choice % 8) {
  case 0: return p.host.device_system.screen;
  case 1: return p.host.device_system.ground;
  case 2:
  case 3: return p.surfaces.empty() ? nullptr : p.surfaces[index % p.surfaces.size()];
  case 4: return nullptr;
  default: {
    const orb_map_slot *slot = p.host.device()->GetMAP(0, 1000 + int32_t(index % 6));
    return slot ? slot->surface : nullptr;
  }
  }
}

__ORBBlit2D__ some_request(player &p) {
  const orb_device2d &device = *p.host.device();
  orb_blit_operation *const operations[] = {
      device.ORBGI2D_Blit,         device.ORBGI2D_BlitScale,      device.ORBGI2D_BlitRotate,
      device.ORBGI2D_BlitRotScale, device.ORBGI2D_BlitScaleShear, device.ORBGI2D_BlitRotScaleShear,
      device.ORBGI2D_BlitTile,     device.ORBGI2D_BlitBlock};
  __ORBBlit2D__ r{};
  r.blit_op = p.values.one_of<orb_blit_operation *>(operations);
  r.src = some_surface(p);
  r.dst = some_surface(p);
  r.owner = p.processes[p.values.byte() % p.processes.size()];
  for (int32_t *place : {&r.x, &r.y, &r.z})
    *place = p.values.value('x');
  r.region = p.values.value('r');
  r.alpha = 255;
  r.fxmode = 1;
  r.size = r.size_x = r.size_y = 100;
  r.block_w = r.block_h = 16;
  // In the order of the record, from tfmorder to own_region_y1.
  static constexpr char kinds[] = "oazzzhhnleclxxssuxxxx";
  static_assert(offsetof(__ORBBlit2D__, own_region_y1) - offsetof(__ORBBlit2D__, tfmorder) ==
                4 * (sizeof kinds - 2));
  for (int changed = p.values.byte() % 8; changed > 0; changed--) {
    const size_t word = p.values.byte() % (sizeof kinds - 1);
    (&r.tfmorder)[word] = p.values.value(kinds[word]);
  }
  return r;
}

void delete_last_surface(player &p) {
  __ORBSurface2D__ *surface = p.surfaces.back();
  p.surfaces.pop_back();
  if (surface->is_wrapper) // the owner frees its control points, too
    free(std::exchange(surface->cpoints, nullptr));
  p.host.device()->ORBGI2D_DeleteGFXSurface(surface);
}

void call_surfaces(player &p, const orb_device2d &device) {
  script_values &v = p.values;
  const int32_t width = v.value('s'), height = v.value('S', width), depth = v.value('b');
  const bool fits = width <= 64 && height <= 64, room = p.surfaces.size() < most_surfaces;
  __ORBSurface2D__ *const some = some_surface(p), *made = nullptr;
  const uint8_t manner = v.byte();
  switch (v.byte() % 8) {
  case 0:
    if (room) made = device.ORBGI2D_CreateGFXSurface(width, height, depth, 1);
    if (made) p.surfaces.push_back(made);
    break;
  case 1: // pixels in the host's memory, or not set yet
    if (room && fits) made = device.ORBGI2D_CreateGFXSurfaceWrapper(width, height, depth);
    if (!made) break;
    if (manner % 4) made->pixels = p.lent.data();
    if (manner & 4) made->pitch += 64;
    made->byte_size = made->pitch * made->height;
    p.surfaces.push_back(made);
    break;
  case 2:
    if (!p.surfaces.empty()) delete_last_surface(p);
    break;
  case 3:
    if (some && !some->is_wrapper)
      device.ORBGI2D_ResizeGFXSurface(some, width, height, manner % 2, 1);
    else if (some && fits)
      device.ORBGI2D_ResizeGFXSurfaceWrapper(some, width, height, manner % 2, 1);
    break;
  case 4: { // a surface made elsewhere becomes a graph
    if (p.surfaces.empty() || p.surfaces.back()->is_wrapper) break;
    const int32_t code = device.GetMAPCode(0);
    if (!device.RecMAPCode(0, code, p.surfaces.back())) break;
    p.values.add_result(code);
    p.surfaces.pop_back();
    p.recorded++;
    break;
  }
  case 5: device.ORBGI2D_BlitFill(some, uint32_t(v.value('c')), manner % 2); break;
  case 6: { // another mode, set by the host itself
    orb_mode &mode = *device.mode;
    if (width < 32 || height < 32 || width > 320 || height > 320) break;
    mode.width = width;
    mode.height = height;
    if (manner % 4 == 0) mode.bpp = 8 << manner / 4 % 3;
    device.VID_SetGFXMode();
    break;
  }
  default:
    device.ForceSurface(some);
    device.VID_GFXPaint();
    device.VID_RestoreGFXMode();
  }
}

void call_requests(player &p, const orb_device2d &device) {
  script_values &v = p.values;
  switch (v.byte() % 6) {
  case 0: {
    __ORBBlit2D__ request = some_request(p);
    request.blit_op(&request);
    p.sum_up(&request.drawn, 5 * sizeof request.drawn);
    break;
  }
  case 1: {
    const __ORBBlit2D__ changed = some_request(p);
    device.ChangeBlitList(v.byte() % 2 ? v.value('x') : device.GetNumsBlitOnList() - 1, &changed);
    break;
  }
  case 2:
    if (p.lists++ < most_lists) device.CreateBlitList("list", 1 + v.byte() % 8, 4);
    device.UseBlitList(v.byte() % 16 - 1);
    break;
  case 3: device.SortBlitList(); break;
  default: { // taken between two frames, drawn in the next one
    const __ORBBlit2D__ filled = some_request(p);
    if (__ORBBlit2D__ *request = device.GetAndUpdateBlitList()) *request = filled;
  }
  }
}

} // namespace

void player::delete_surfaces() {
  while (!surfaces.empty())
    delete_last_surface(*this);
}

void player::call_device() {
  const orb_device2d *device = host.device();
  if (!device) return;
  values.byte() % 2 ? call_surfaces(*this, *device) : call_requests(*this, *device);
}

} // namespace fuzz
