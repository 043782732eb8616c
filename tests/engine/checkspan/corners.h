// Where the corners of a transformed graph fall.
#pragma once

#include <array>
#include <cstdint>

namespace checkspan {

struct corner {
  double x, y;
};
/// Top left, top right, bottom left, bottom right.
using corner_set = std::array<corner, 4>;

/// A graph of w x h pixels whose pivot (cx, cy) lands at (x, y), and its transform.
struct placed_graph {
  double w = 1, h = 1, cx = 0, cy = 0;
  double x = 0, y = 0;
  double size_x = 100, size_y = 100; // percent
  double shear_x = 0, shear_y = 0;   // percent
  int32_t angle = 0;                 // thousandths of a degree
  int32_t tfmorder = 0;              // 0..5
  int32_t flags = 0;
};

struct scaled_box {
  double x0, y0, x1, y1;
};
scaled_box corners_scale(const placed_graph &g);
corner_set corners_rotate(const placed_graph &g);
corner_set corners_rotscale(const placed_graph &g);
corner_set corners_scaleshear(const placed_graph &g);
corner_set corners_rotscaleshear(const placed_graph &g);

/// Rounds half away from zero.
double round_half_away(double v);

} // namespace checkspan
