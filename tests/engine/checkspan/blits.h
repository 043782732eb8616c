// Blit requests drawn by the reference, pixel by pixel: whether each destination pixel is covered,
// and by which source pixel; the pixel model then combines the two.
#pragma once

#include <array>
#include <cstdint>
#include <string>

#include "engine/checkspan/reference.h"
#include "orb/graphics2d.h"

namespace checkspan {

enum class operation { blit, block, scale, tile, rotate, rotscale, scaleshear, rotscaleshear };

struct corner {
  double x, y;
};
/// Top left, top right, bottom left, bottom right.
using corner_set = std::array<corner, 4>;

/// A graph of w x h pixels whose pivot (cx, cy) lands at (x, y), and its transform.
struct placed_graph {
  int32_t w, h, cx, cy, x, y;
  int32_t size_x, size_y, shear_x, shear_y; // percent
  int32_t angle;                            // thousandths of a degree
  int32_t tfmorder, flags;
};

/// The transforms that change something, in their order, as letters: h shears, s scales, r turns.
std::string order_that_matters(const placed_graph &graph);

/// Where the corners fall after the transforms `order`.
corner_set transformed(const placed_graph &graph, const std::string &order);
/// The same for a graph that is only scaled.
corner_set scaled(const placed_graph &graph);

/// Rounds half away from zero.
double round_half_away(double v);

/// A request being drawn. What an operation leaves in the request, its owner and its surfaces, this
/// leaves there too.
class reference_blit {
public:
  /// Counts of drawn rows.
  struct row_counts {
    int all = 0;
    int doubtful = 0; ///< of those, drawn as another than the likely outcome, or beyond prediction
  };

  /// `found`: the destination's bytes as an operation has left them. It decides what is correct for
  /// rows with two outcomes.
  reference_blit(operation op, __ORBBlit2D__ &request, const uint8_t *found)
      : op_(op), request_(request), found_(found) {}
  /// The operation's result.
  int32_t draw(row_counts &rows);

private:
  bool refused() const;
  bool clip();
  void take_pivot();
  bool choose();
  uint32_t source(int64_t x, int64_t y) const;
  uint8_t *at(int64_t x, int64_t y) const;
  void put(int64_t x, int64_t y, uint32_t s);
  void put_rectangle(int64_t left, int64_t top, int64_t sx, int64_t sy, int64_t w, int64_t h);
  void put_natural();
  void put_block();
  void put_tile();
  void put_scaled();
  void put_quadrilateral(const std::string &transforms, row_counts &rows);

  operation op_;
  __ORBBlit2D__ &request_;
  const uint8_t *found_;
  placed_graph graph_{};
  bool overridden_ = false; // the pivot is an override
  __ORBRegion__ clip_{}, drawn_{};
  pixel_rule rule_;
};

} // namespace checkspan
