// What a host may do through the device record: surfaces, requests, colours, modes.
#include <algorithm>
#include <cstdlib>
#include <iterator>

#include "fuzz/script_arguments.h"
#include "fuzz/script_playing.h"

namespace fuzz {
namespace {

constexpr int most_surfaces = 12, most_lists = 10;

bool small_enough(int32_t width, int32_t height) {
  return width < 1 || height < 1 || width > 65535 || height > 65535 ||
         int64_t{width} * height <= most_pixels;
}

} // namespace

/// The screen, the ground, a graph's surface or one of the host's own; null sometimes.
__ORBSurface2D__ *player::some_surface() {
  const uint8_t choice = script_.byte();
  switch (choice % 8) {
  case 0: return host_.device_system.screen;
  case 1: return host_.device_system.ground;
  case 2:
  case 3: return surfaces_.empty() ? nullptr : surfaces_[choice / 8 % surfaces_.size()];
  case 4: return nullptr;
  default: {
    const orb_map_slot *slot = host_.device()->GetMAP(0, 1000 + choice / 8 % 6);
    return slot ? slot->surface : nullptr;
  }
  }
}

__ORBBlit2D__ player::random_request() {
  const orb_device2d &device = *host_.device();
  orb_blit_operation *const operations[] = {
      device.ORBGI2D_Blit,         device.ORBGI2D_BlitScale,      device.ORBGI2D_BlitRotate,
      device.ORBGI2D_BlitRotScale, device.ORBGI2D_BlitScaleShear, device.ORBGI2D_BlitRotScaleShear,
      device.ORBGI2D_BlitTile,     device.ORBGI2D_BlitBlock};
  __ORBBlit2D__ r{};
  r.blit_op = script_.one_of(operations);
  r.src = some_surface();
  r.dst = some_surface();
  r.owner = chosen_process();
  r.x = value('x');
  r.y = value('x');
  r.z = value('x');
  r.region = value('r');
  r.alpha = 255;
  r.fxmode = 1;
  r.size = r.size_x = r.size_y = 100;
  r.block_w = r.block_h = 16;
  const struct {
    int32_t *word;
    char kind;
  } words[] = {{&r.tfmorder, 'o'},      {&r.angle, 'a'},         {&r.size_x, 'z'},
               {&r.size_y, 'z'},        {&r.shear_x, 'h'},       {&r.shear_y, 'h'},
               {&r.flags, 'n'},         {&r.alpha, 'l'},         {&r.fxmode, 'e'},
               {&r.fxintensity, 'l'},   {&r.block_x, 'x'},       {&r.block_y, 'x'},
               {&r.block_w, 's'},       {&r.block_h, 's'},       {&r.own_region, 'u'},
               {&r.own_region_x0, 'x'}, {&r.own_region_x1, 'x'}, {&r.own_region_y0, 'x'},
               {&r.own_region_y1, 'x'}, {&r.region, 'x'},        {&r.x, 'c'}};
  for (int changed = script_.byte() % 8; changed > 0; changed--) {
    const auto &set = words[script_.below(std::size(words))];
    *set.word = value(set.kind);
  }
  r.fxcolor = uint32_t(value('c'));
  return r;
}

void player::device_call() {
  if (!host_.device()) return;
  switch (script_.byte() % 4) {
  case 0: surface_call(); break;
  case 1: colour_call(); break;
  default: request_call(); break;
  }
}

void player::request_call() {
  const orb_device2d &device = *host_.device();
  switch (script_.byte() % 8) {
  case 0: {
    __ORBBlit2D__ request = random_request();
    request.blit_op(&request);
    sum_up(&request.drawn, 5 * sizeof request.drawn);
    break;
  }
  case 1: {
    const __ORBBlit2D__ taken = random_request(), changed = random_request();
    if (__ORBBlit2D__ *request = device.GetAndUpdateBlitList()) *request = taken;
    device.ChangeBlitList(script_.byte() % 2 ? value('x') : device.GetNumsBlitOnList() - 1,
                          &changed);
    break;
  }
  case 2:
    if (lists_++ < most_lists) device.CreateBlitList("list", 1 + script_.byte() % 8, 4);
    break;
  case 3: device.UseBlitList(script_.byte() % 16 - 1); break;
  case 4: device.SortBlitList(); break;
  default: // queued between two frames, drawn in the next one
    for (int count = 1 + script_.byte() % 4; count > 0; count--) {
      const __ORBBlit2D__ filled = random_request();
      if (__ORBBlit2D__ *request = device.GetAndUpdateBlitList()) *request = filled;
    }
  }
}

/// A surface whose pixels are in the host's memory, or not set yet.
void player::make_wrapper(int32_t width, int32_t height) {
  if (surfaces_.size() >= most_surfaces || width > 64 || height > 64) return;
  auto *made = host_.device()->ORBGI2D_CreateGFXSurfaceWrapper(width, height, value('b'));
  if (!made) return;
  const uint8_t manner = script_.byte();
  if (manner % 4) made->pixels = lent_.data();
  if (manner & 4) {
    made->pitch += 64;
    made->byte_size = made->pitch * made->height;
  }
  surfaces_.push_back(made);
}

void player::delete_surface() {
  if (surfaces_.empty()) return;
  if (surfaces_.back()->is_wrapper) { // the owner frees its control points, too
    free(surfaces_.back()->cpoints);
    surfaces_.back()->cpoints = nullptr;
  }
  host_.device()->ORBGI2D_DeleteGFXSurface(surfaces_.back());
  surfaces_.pop_back();
}

void player::delete_surfaces() {
  while (!surfaces_.empty())
    delete_surface();
}

void player::surface_call() {
  const orb_device2d &device = *host_.device();
  const int32_t width = value('s'), height = value('s');
  switch (script_.byte() % 10) {
  case 0:
    if (surfaces_.size() < most_surfaces && small_enough(width, height)) {
      auto *made = device.ORBGI2D_CreateGFXSurface(width, height, value('b'), 1);
      if (made) surfaces_.push_back(made);
    }
    break;
  case 1: delete_surface(); break;
  case 2: {
    auto *const resized = some_surface();
    if (resized && resized->is_wrapper && width <= 64 && height <= 64)
      device.ORBGI2D_ResizeGFXSurfaceWrapper(resized, width, height, script_.byte() % 2, 1);
    else if (resized && !resized->is_wrapper && small_enough(width, height))
      device.ORBGI2D_ResizeGFXSurface(resized, width, height, script_.byte() % 2, 1);
    break;
  }
  case 3: {
    auto *const filled = some_surface();
    const auto colour = uint32_t(value('c'));
    device.ORBGI2D_BlitFill(filled, colour, script_.byte() % 2);
    break;
  }
  case 4: { // a surface made elsewhere becomes a graph
    if (surfaces_.empty() || surfaces_.back()->is_wrapper) break;
    const int32_t code = device.GetMAPCode(0);
    if (device.RecMAPCode(0, code, surfaces_.back())) {
      handles_.add_result(code);
      surfaces_.pop_back();
      recorded_++;
    }
    break;
  }
  case 5: device.ORBGI2D_ClearScreen(); break;
  case 6: { // another mode, set by the host itself
    orb_mode &mode = *device.mode;
    const int32_t depth = script_.byte() % 4 ? mode.bpp : 8 << script_.byte() % 3;
    if (width < 32 || height < 32 || width > 320 || height > 320) break;
    mode.width = width;
    mode.height = height;
    mode.bpp = depth == 24 ? 32 : depth;
    device.VID_SetGFXMode();
    break;
  }
  case 7: make_wrapper(width, height); break;
  case 8: // the next blit's pivot
    if (auto *const pivoted = some_surface()) {
      pivoted->pivot_override = 1;
      pivoted->pivot_x = uint32_t(value('x'));
      pivoted->pivot_y = uint32_t(value('x'));
    }
    break;
  default:
    device.ForceSurface(some_surface());
    device.VID_GFXPaint();
    device.VID_ReleaseGFXDC();
    device.VID_RestoreGFXMode();
    ask();
    break;
  }
}

/// Calls all queries.
void player::ask() {
  const orb_device2d &device = *host_.device();
  const auto *const list = device.GetPtrBlitList();
  const orb_fpg *const library = device.GetFPG(value('f'));
  const int32_t answers[] = {
      list ? int32_t(list->used) : -1,
      library ? library->map_count : -1,
      device.RegionExists(value('r')),
      device.VID_GetGFXDC(),
      device.GetMaxFPG(),
      device.GetMaxMAP(),
      device.GetMaxREGION(),
      device.GetFilterNxMode(),
      device.GetEmulatedMode(),
      device.GetEmulatedWidth(),
      device.GetEmulatedHeight(),
      device.GetEmulatedXOffset(),
      device.GetEmulatedYOffset(),
      device.GetVirtualResolution(),
      device.GetVirtualResolutionAspectRatio(),
      device.GetVirtualResolutionWidth(),
      device.GetVirtualResolutionHeight(),
      device.GetVirtualResolutionRatioWidth(),
      device.GetVirtualResolutionRatioHeight(),
      device.GetVirtualResolutionXOffset(),
      device.GetVirtualResolutionYOffset(),
  };
  sum_up(answers, sizeof answers);
}

void player::colour_call() {
  const orb_device2d &device = *host_.device();
  __ORBPalette2D__ colours;
  for (size_t i = 0; i < std::size(colours.colours); i++) {
    const auto c = uint8_t(memory_[i]);
    colours.colours[i] = {c, uint8_t(c ^ i), uint8_t(i)};
  }
  int32_t r = value('v'), g = value('v'), b = value('v'), a = value('l');
  switch (script_.byte() % 8) {
  case 0: device.set_color(script_.byte(), r, g, b); break;
  case 1: a = device.find_color(r, g, b); break;
  case 2: a = int32_t(device.set_rgba(r, g, b, a) ^ device.set_rgbx(r, g, b)); break;
  case 3: device.get_rgba(uint32_t(value('c')), &r, &g, &b, &a); break;
  case 4: device.set_palette(&colours); break;
  case 5: device.init_force_palette(script_.byte() % 4 ? &colours : nullptr); break;
  case 6:
    if (device.get_palette(&colours)) sum_up(&colours, sizeof colours);
    break;
  default: (script_.byte() % 2 ? device.fade_off : device.fade_on)(); break;
  }
  const int32_t answers[] = {r, g, b, a};
  sum_up(answers, sizeof answers);
}

} // namespace fuzz
