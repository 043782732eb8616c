// SDL_gfx's primitives.
#include <SDL_gfxPrimitives.h>

#include <memory>

#include "raster_peers.h"

namespace orbbench {

namespace {

constexpr Uint32 colour = 0x4080C0FF; // opaque; it blends no pixel then

void draw(SDL_Surface *to, figure_kind kind, const figure &f) {
  const auto x0 = Sint16(f.x0), y0 = Sint16(f.y0), x1 = Sint16(f.x1), y1 = Sint16(f.y1);
  const auto x = Sint16(f.middle_x()), y = Sint16(f.middle_y());
  const auto rx = Sint16(f.radius_x()), ry = Sint16(f.radius_y());
  switch (kind) {
  case figure_kind::span: hlineColor(to, x0, x1, y0, colour); break;
  case figure_kind::box: boxColor(to, x0, y0, x1, y1, colour); break;
  case figure_kind::line: lineColor(to, x0, y0, x1, y1, colour); break;
  case figure_kind::circle: circleColor(to, x, y, rx, colour); break;
  case figure_kind::disc: filledCircleColor(to, x, y, rx, colour); break;
  case figure_kind::ellipse: ellipseColor(to, x, y, rx, ry, colour); break;
  case figure_kind::filled_ellipse: filledEllipseColor(to, x, y, rx, ry, colour); break;
  }
}

} // namespace

figure_drawing draw_with_sdl_gfx(const figure_scene &scene) {
  const std::shared_ptr<SDL_Surface> target(SDL_CreateRGBSurface(SDL_SWSURFACE, scene.target.width,
                                                                 scene.target.height, scene.depth,
                                                                 0, 0, 0, 0),
                                            SDL_FreeSurface);
  if (!target) return {};
  return [target, scene] {
    for (const figure &f : scene.figures)
      draw(target.get(), scene.kind, f);
  };
}

} // namespace orbbench
