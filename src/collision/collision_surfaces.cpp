// The two surfaces of the pixel test: they follow the mode's depth and grow on demand.
#include "collision/collision.h"

#include <cstring>

#include "boundary/errors.h"
#include "boundary/runtime.h"
#include "surface/screen.h"
#include "surface/surface.h"

__ORBSurface2D__ *proc_surface, *scan_surface;

namespace {

/// Bytes allocated for each surface; it uses as many as the last test needed.
uint32_t capacity;

void show(__ORBSurface2D__ *surface, int32_t width, int32_t height) {
  surface->width = uint32_t(width);
  surface->height = uint32_t(height);
  surface->pitch = surface->width * uint32_t(surface->depth / 8);
  surface->pixel_count = surface->width * surface->height;
  surface->byte_size = surface->pitch * surface->height;
  memset(surface->pixels, 0, surface->byte_size);
}

} // namespace

int32_t create_collision_surfaces() {
  delete_collision_surfaces();
  proc_surface = ORBGI2D_CreateGFXSurface(1, 1, mode.bpp, 1);
  scan_surface = ORBGI2D_CreateGFXSurface(1, 1, mode.bpp, 1);
  if (proc_surface && scan_surface) {
    capacity = proc_surface->byte_size;
    return 1;
  }
  delete_collision_surfaces();
  rt_error(error_out_of_memory, "COLLISION", 0, 0);
  return 0;
}

void delete_collision_surfaces() {
  ORBGI2D_DeleteGFXSurface(proc_surface);
  ORBGI2D_DeleteGFXSurface(scan_surface);
  proc_surface = scan_surface = nullptr;
  capacity = 0;
}

int32_t fit_collision_surfaces(int32_t width, int32_t height) {
  // There may have been no memory for them when the mode was set.
  if (!proc_surface && !create_collision_surfaces()) return 0;
  const uint64_t needed =
      uint64_t(uint32_t(width)) * uint32_t(height) * uint32_t(proc_surface->depth / 8);
  if (needed > capacity) {
    capacity = 0; // until both are resized
    if (!ORBGI2D_ResizeGFXSurface(proc_surface, width, height, 0, 0) ||
        !ORBGI2D_ResizeGFXSurface(scan_surface, width, height, 0, 0))
      return 0;
    capacity = uint32_t(needed);
  }
  show(proc_surface, width, height);
  show(scan_surface, width, height);
  return 1;
}
