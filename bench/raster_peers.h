// Figures that everybody draws, and who draws them.
#pragma once

#include <functional>
#include <string>
#include <vector>

#include "scenario.h"

namespace orbbench {

enum class figure_kind { span, box, line, circle, disc, ellipse, filled_ellipse };

/// A figure by its box, or a line by its ends; inclusive. Round ones have odd sides, so that they
/// have a middle pixel.
struct figure {
  int x0, y0, x1, y1;
  int middle_x() const { return (x0 + x1) / 2; }
  int middle_y() const { return (y0 + y1) / 2; }
  int radius_x() const { return (x1 - x0) / 2; }
  int radius_y() const { return (y1 - y0) / 2; }
};

/// Figures of one kind and the target that they are drawn on.
struct figure_scene {
  figure_kind kind;
  int depth;
  extent target;
  std::vector<figure> figures;
};

/// Draws all figures of a scene, which it keeps, in one colour.
using figure_drawing = std::function<void()>;
/// Makes a drawing ready; an empty one where the library has no such figure or depth.
using figure_peer = figure_drawing(const figure_scene &scene);

figure_peer draw_with_sdl_gfx, draw_with_allegro, draw_with_cairo;

} // namespace orbbench
