// The two surfaces of the pixel test. They follow the depth of the mode and grow with the tests.
#include "collision/collision.h"

#include "module/script_call.h"
#include "surface/surface.h"
#include "video/video.h"

__ORBSurface2D__ *proc_surface, *scan_surface;

int32_t create_collision_surfaces() {
  delete_collision_surfaces();
  proc_surface = ORBGI2D_CreateGFXSurface(1, 1, mode.bpp, 1);
  scan_surface = ORBGI2D_CreateGFXSurface(1, 1, mode.bpp, 1);
  if (proc_surface && scan_surface) return 1;
  delete_collision_surfaces();
  script_call{"COLLISION"}.bad(error_out_of_memory, 0, 0);
  return 0;
}

void delete_collision_surfaces() {
  ORBGI2D_DeleteGFXSurface(proc_surface);
  ORBGI2D_DeleteGFXSurface(scan_surface);
  proc_surface = scan_surface = nullptr;
}
