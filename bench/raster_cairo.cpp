// cairo without antialiasing, on image surfaces of 16 and 32 bits.
#include <cairo.h>

#include <memory>
#include <numbers>

#include "raster_peers.h"

namespace orbbench {

namespace {

void add_ellipse(cairo_t *to, const figure &f) {
  cairo_save(to);
  cairo_translate(to, f.middle_x() + 0.5, f.middle_y() + 0.5);
  cairo_scale(to, f.radius_x() + 0.5, f.radius_y() + 0.5);
  cairo_arc(to, 0, 0, 1, 0, 2 * std::numbers::pi);
  cairo_restore(to);
}

void draw(cairo_t *to, figure_kind kind, const figure &f) {
  cairo_new_path(to);
  switch (kind) {
  case figure_kind::span:
  case figure_kind::box:
    cairo_rectangle(to, f.x0, f.y0, f.x1 - f.x0 + 1, f.y1 - f.y0 + 1);
    return cairo_fill(to);
  case figure_kind::line:
    cairo_move_to(to, f.x0 + 0.5, f.y0 + 0.5);
    cairo_line_to(to, f.x1 + 0.5, f.y1 + 0.5);
    return cairo_stroke(to);
  case figure_kind::circle:
  case figure_kind::ellipse: add_ellipse(to, f); return cairo_stroke(to);
  case figure_kind::disc:
  case figure_kind::filled_ellipse: add_ellipse(to, f); return cairo_fill(to);
  }
}

} // namespace

figure_drawing draw_with_cairo(const figure_scene &scene) {
  if (scene.depth == 8) return {};
  const std::shared_ptr<cairo_surface_t> surface(
      cairo_image_surface_create(scene.depth == 16 ? CAIRO_FORMAT_RGB16_565 : CAIRO_FORMAT_RGB24,
                                 scene.target.width, scene.target.height),
      cairo_surface_destroy);
  const std::shared_ptr<cairo_t> to(cairo_create(surface.get()), cairo_destroy);
  cairo_set_antialias(to.get(), CAIRO_ANTIALIAS_NONE);
  cairo_set_line_width(to.get(), 1);
  cairo_set_source_rgb(to.get(), 0.25, 0.5, 0.75);
  return [surface, to, scene] {
    for (const figure &f : scene.figures)
      draw(to.get(), scene.kind, f);
  };
}

} // namespace orbbench
