#include "video/screen_surfaces.h"

#include <utility>

#include "blit/blit_list.h"
#include "boundary/runtime.h"
#include "surface/regions.h"
#include "surface/screen.h"
#include "surface/surface.h"
#include "video/zones.h"

namespace {

bool has_shape(const __ORBSurface2D__ *surface, int32_t width, int32_t height, int32_t depth) {
  return surface && surface->width == uint32_t(width) && surface->height == uint32_t(height) &&
         surface->depth == depth;
}

/// Gives `surface` the pixels of `donor` and deletes the donor.
void take_pixels(__ORBSurface2D__ *surface, __ORBSurface2D__ *donor) {
  std::swap(surface->width, donor->width);
  std::swap(surface->height, donor->height);
  std::swap(surface->pitch, donor->pitch);
  std::swap(surface->pixel_count, donor->pixel_count);
  std::swap(surface->byte_size, donor->byte_size);
  std::swap(surface->pixels, donor->pixels);
  surface->cpoints[0] = surface->width >> 1;
  surface->cpoints[1] = surface->height >> 1;
  ORBGI2D_DeleteGFXSurface(donor);
}

/// Resizes both or neither: the ground's new pixels are allocated before the screen changes.
int32_t resize_both(int32_t width, int32_t height) {
  __ORBSurface2D__ *const donor = ORBGI2D_CreateGFXSurface(width, height, ground->depth, 1);
  if (!donor) {
    rt_fatal("Error to Resize Ground 2D Surface");
    return 0;
  }
  if (!ORBGI2D_ResizeGFXSurface(screen, width, height, 1, 1)) {
    ORBGI2D_DeleteGFXSurface(donor);
    rt_fatal("Error to Resize Screen 2D Surface");
    return 0;
  }
  take_pixels(ground, donor);
  return 1;
}

/// Drops the waiting requests, which refer to the surfaces that go.
void forget_requests() {
  if (!pBlitLists2D) return;
  for (uint32_t i = 0; i < pBlitLists2D->count; ++i)
    pBlitLists2D->lists[i].used = 0;
}

int32_t create_both(int32_t width, int32_t height, int32_t depth) {
  __ORBSurface2D__ *const new_ground = ORBGI2D_CreateGFXSurface(width, height, depth, 1);
  if (!new_ground) {
    rt_fatal("Error to Create Ground 2D Surface");
    return 0;
  }
  __ORBSurface2D__ *const new_screen = ORBGI2D_CreateGFXSurface(width, height, depth, 1);
  if (!new_screen) {
    ORBGI2D_DeleteGFXSurface(new_ground);
    rt_fatal("Error to Create Screen 2D Surface");
    return 0;
  }
  forget_requests();
  ORBGI2D_DeleteGFXSurface(ground);
  ORBGI2D_DeleteGFXSurface(screen);
  ground = new_ground;
  screen = new_screen;
  return 1;
}

void hand_over() {
  if (!deviceSystem_graphics2D) return;
  deviceSystem_graphics2D->ground = ground;
  deviceSystem_graphics2D->screen = screen;
}

} // namespace

bool surfaces_fit(int32_t width, int32_t height, int32_t depth) {
  return has_shape(ground, width, height, depth) && has_shape(screen, width, height, depth);
}

int32_t fit_surfaces(int32_t width, int32_t height, int32_t depth) {
  if (!surfaces_fit(width, height, depth)) {
    const bool anew = !ground || !screen || ground->depth != depth;
    if (!(anew ? create_both(width, height, depth) : resize_both(width, height))) return 0;
    ground_puting = 0;
  }
  hand_over();
  if (regions) regions[0] = {0, width - 1, 0, height - 1};
  // The zones of the last frame may lie outside the new screen.
  num_framezones = 0;
  complete_frame = 1;
  return 1;
}

void delete_surfaces() {
  if (!ground && !screen) return; // then the host has no surfaces of ours either
  ORBGI2D_DeleteGFXSurface(ground);
  ORBGI2D_DeleteGFXSurface(screen);
  ground = screen = nullptr;
  ground_puting = 0;
  hand_over();
}
