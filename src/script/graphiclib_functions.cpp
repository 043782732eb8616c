// graphiclib_get_...: what the module holds and drew.
#include "boundary/runtime.h"
#include "script/handlers.h"
#include "surface/registry.h"

/// Draw objects that are fixed, as draw_fix and draw_delete count them.
int32_t ORB_graphiclib_get_drawsfixed() {
  return rt_return(draws_fixed);
}
/// Draw objects that are locked, as draw_lock, draw_unlock and draw_delete count them.
int32_t ORB_graphiclib_get_drawslocked() {
  return rt_return(draws_locked);
}
/// Draw objects that exist.
int32_t ORB_graphiclib_get_drawspainted() {
  return rt_return(draws_painted);
}
/// Libraries loaded or made.
int32_t ORB_graphiclib_get_fpgsloaded() {
  return rt_return(fpgs_loaded);
}
/// Loose graphs loaded or made.
int32_t ORB_graphiclib_get_mapsloaded() {
  return rt_return(maps_loaded);
}
/// Regions defined by the program.
int32_t ORB_graphiclib_get_regionsdefined() {
  return rt_return(regions_defined);
}
