// The shapes of the rasterisers, each with a slow reference that follows its definition pixel by
// pixel.
#pragma once

#include <array>
#include <cstdint>
#include <set>
#include <span>
#include <utility>

#include "orb/graphics2d.h"

namespace shapes {

constexpr int width = 37, height = 29;
using pixel_set = std::set<std::pair<int64_t, int64_t>>; // x, y
using arguments = std::array<int32_t, 4>;

/// Adds only visible pixels, so that shapes may have any size.
struct plotter {
  pixel_set pixels;
  int64_t left = 0, top = 0, right = width - 1, bottom = height - 1;

  void dot(int64_t x, int64_t y) {
    if (x >= left && x <= right && y >= top && y <= bottom) pixels.emplace(x, y);
  }
  void run(int64_t x0, int64_t x1, int64_t y) {
    for (int64_t x = std::max(x0, left); x <= std::min(x1, right); ++x)
      dot(x, y);
  }
};

struct shape {
  const char *name;
  bool round; ///< by centre and radii; the reference walks along the outline
  void (*draw)(__ORBSurface2D__ *, const arguments &, uint32_t colour, int32_t fill);
  void (*reference)(plotter &, const arguments &, bool fill);
};
extern const std::span<const shape> all;

/// The outline or all pixels of an inclusive box, and the references that drawings share.
void box(plotter &to, int64_t x0, int64_t y0, int64_t x1, int64_t y1, bool fill);
void line_reference(plotter &to, const arguments &a, bool);
void ellipse_reference(plotter &to, const arguments &given, bool fill);

} // namespace shapes
