// What the script functions that put a graph on the ground and on the screen share: the tail of
// their arguments, and how a request is filled from them.
//
// All end in one tail, of which a call gives none, one, two or three pairs: flags and region, alpha
// and fxmode, fxcolor and fxintensity. What is missing is flags 0, region 0, alpha 255, fxmode 0.
#pragma once

#include "blit/request.h"
#include "script/script_call.h"

struct blit_tail {
  int32_t flags = 0, region = 0;
  int32_t alpha = 255, fxmode = 0;
  uint32_t fxcolor = 0;
  int32_t fxintensity = 0;
};

/// Fetches the tail of a call whose own arguments are `own` in number.
blit_tail pop_tail(int32_t own);

/// How a graph is turned, scaled and sheared; as it stands, not at all.
struct blit_transform {
  int32_t angle = 0; // thousandths of a degree, any value
  int32_t size = 100, size_x = 100, size_y = 100;
  int32_t shear_x = 0, shear_y = 0;
  int32_t tfmorder = 0;
};

/// Fetches angle, size_x, size_y, shear_x, shear_y, tfmorder.
blit_transform pop_transform();

/// The rectangle of a graph that a block blit draws.
struct blit_block {
  int32_t x, y, w, h;
};

/// Fetches block_x, block_y, block_w, block_h.
blit_block pop_block();

/// The graph to draw, once it and the region are found good; null after reporting a bad graph (109,
/// 110, 111, 121) or region (108 at `region_position`).
__ORBSurface2D__ *check_source(const script_call &call, int32_t file, int32_t graph,
                               const blit_tail &tail, int32_t region_position);

/// A request with this tail, not transformed and without an owner.
__ORBBlit2D__ tail_request(__ORBSurface2D__ *src, __ORBSurface2D__ *dst, int32_t x, int32_t y,
                           const blit_tail &tail);
void set_block(__ORBBlit2D__ &request, const blit_block &block);
/// Add a transform or a block to a request and run it. 1 when something was drawn, else 0.
int32_t draw_transformed(__ORBBlit2D__ &request, const blit_transform &transform);
int32_t draw_block(__ORBBlit2D__ &request, const blit_block &block);

/// The request that script functions fill and run at once.
extern __ORBBlit2D__ bltGraphics2D;
