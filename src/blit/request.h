// How a blit request is filled: a blank one, what its makers set in it, the operation that its
// transform calls for, and the graph that a process's direction chooses.
#pragma once

#include "blit/geometry.h"

/// A request that draws all of `src` on all of `dst` as it is, its pivot at (x, y): size 100, alpha
/// 255, region -1, no owner, not drawn, everything else 0.
__ORBBlit2D__ blank_request(__ORBSurface2D__ *src, __ORBSurface2D__ *dst, int32_t x, int32_t y);

/// Takes the clip region and the effect over from locals, or from anything with these fields.
template <typename T> void set_look(__ORBBlit2D__ &request, const T &from) {
  request.region = from.region;
  request.flags = from.flags;
  request.alpha = from.alpha;
  request.fxmode = from.fxmode;
  request.fxcolor = from.fxcolor;
  request.fxintensity = from.fxintensity;
}

/// Takes the transform over likewise, the angle reduced to less than a full turn with its sign.
template <typename T> void set_transform(__ORBBlit2D__ &request, const T &from) {
  request.angle = from.angle % full_turn;
  request.size = from.size;
  request.size_x = from.size_x;
  request.size_y = from.size_y;
  request.shear_x = from.shear_x;
  request.shear_y = from.shear_y;
  request.tfmorder = from.tfmorder;
}

/// The operation for the request's transform, taken from the device record, so that a replaced
/// entry is honoured. Without `turns` the angle does not count.
orb_blit_operation *choose_blit_operation(const __ORBBlit2D__ &request, bool turns = true);

/// Direction graphs: reads the process's `xgraph` array, brings `angle` into 0..359999, and writes
/// `graph` and the mirror bit of `flags`. False when the array says nothing (no entries, above
/// 256).
bool apply_xgraph(orb_locals *locals);
