#include "script/ground_cover.h"

#include "blit/blit.h"
#include "module/module.h"
#include "surface/surface.h"

int32_t cover_ground(__ORBSurface2D__ *picture) {
  constexpr int32_t nokey = 8;
  if (!ground) return 0;
  device2D.ORBGI2D_ClearScreen();
  __ORBBlit2D__ &request = bltGraphics2D;
  request.owner = nullptr;
  // As a block, since the pivot of the picture may be anywhere.
  request.x = int32_t(ground->width / 2) - int32_t(picture->width / 2);
  request.y = int32_t(ground->height / 2) - int32_t(picture->height / 2);
  request.block_x = request.block_y = 0;
  request.block_w = int32_t(picture->width);
  request.block_h = int32_t(picture->height);
  // All of the ground, however small a program has made region 0; blits on it need a region.
  request.region = 0;
  request.own_region = 1;
  request.own_region_x0 = request.own_region_y0 = 0;
  request.own_region_x1 = int32_t(ground->width) - 1;
  request.own_region_y1 = int32_t(ground->height) - 1;
  request.flags = nokey;
  request.alpha = 255;
  request.fxmode = 0;
  request.fxcolor = 0;
  request.fxintensity = 0;
  request.src = picture;
  request.dst = ground;
  return device2D.ORBGI2D_BlitBlock(&request);
}
