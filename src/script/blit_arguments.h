// Arguments shared by the script functions that draw a graph, and the requests made from them.
//
// Most end in a tail of up to three optional pairs: flags and region, alpha and fxmode, fxcolor and
// fxintensity. Defaults: flags 0, region 0, alpha 255, fxmode 0, fxcolor 0, fxintensity 0.
#pragma once

#include "blit/request.h"
#include "script/script_call.h"

struct blit_tail {
  int32_t flags = 0, region = 0;
  int32_t alpha = 255, fxmode = 0;
  uint32_t fxcolor = 0;
  int32_t fxintensity = 0;
};

/// Fetches the tail of a call that has `own` arguments before it.
blit_tail pop_tail(int32_t own);

/// How a graph is rotated, scaled and sheared; by default not at all.
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

/// Checks the graph and the region, and returns the graph's surface; null after reporting a bad
/// graph (109, 110, 111, 121) or region (108 at `region_position`).
__ORBSurface2D__ *check_source(const script_call &call, int32_t file, int32_t graph,
                               const blit_tail &tail, int32_t region_position);

/// A request with this tail, not transformed and without an owner.
__ORBBlit2D__ tail_request(__ORBSurface2D__ *src, __ORBSurface2D__ *dst, int32_t x, int32_t y,
                           const blit_tail &tail);
void set_block(__ORBBlit2D__ &request, const blit_block &block);
/// Add a transform or a block to a request and run it. 1 when something was drawn, else 0.
int32_t draw_transformed(__ORBBlit2D__ &request, const blit_transform &transform);
int32_t draw_block(__ORBBlit2D__ &request, const blit_block &block);

/// The request of script functions that draw at once.
extern __ORBBlit2D__ bltGraphics2D;
