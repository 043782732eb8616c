// The expected result of a blit request, pixel by pixel: whether each destination pixel is covered
// and by which source pixel; the pixel reference then combines the two.
#pragma once

#include <cstdint>
#include <vector>

#include "engine/checkspan/corners.h"
#include "engine/checkspan/reference.h"
#include "orb/graphics2d.h"

namespace checkspan {

enum class operation { blit, block, scale, tile, rotate, rotscale, scaleshear, rotscaleshear };

/// The state that a request's outcome depends on besides the request.
struct surroundings {
  struct clip_region {
    bool defined;
    __ORBRegion__ box;
  };
  int screen_depth = 32;
  const __ORBSurface2D__ *ground = nullptr;
  std::vector<clip_region> regions;
  const uint8_t *ghost = nullptr; ///< null outside 8-bit modes
};

/// A row with more than one correct outcome: one of its ends falls on the boundary between two
/// source positions, closer than the arithmetic can resolve.
struct open_row {
  int x, y;
  std::vector<std::vector<uint32_t>> outcomes; ///< pixels from x on; the likely outcome first
  bool unpredictable; ///< too far from the origin to predict the row's pixels
};

struct expectation {
  bool drawn = false;
  int x0 = 0, y0 = 0, x1 = 0, y1 = 0; ///< drawn box, inclusive
  bool pivot_taken = false;           ///< a one-shot pivot was consumed
  std::vector<uint8_t> pixels;        ///< the destination's bytes afterwards
  std::vector<open_row> open_rows;
};

/// Takes the request as an operation would see it; changes nothing.
expectation expect_blit(operation op, const __ORBBlit2D__ &request, const surroundings &around);

/// A request being drawn, and its destination so far.
class blit_in_progress {
public:
  const __ORBBlit2D__ &request;
  const __ORBSurface2D__ &src, &dst;
  expectation result;
  int clip_x0 = 0, clip_y0 = 0, clip_x1 = -1, clip_y1 = -1;
  int flags;              // the low 4 bits
  int64_t size_x, size_y; // percent, `size` included

  explicit blit_in_progress(const __ORBBlit2D__ &of);

  /// The pivot from the top left corner, unmirrored; consumes an override.
  struct pivot_place {
    int64_t x, y;
    bool overridden;
  };
  pivot_place take_pivot();
  placed_graph graph();

  /// Source pixel; its current value when source and destination share memory.
  uint32_t source(int64_t x, int64_t y) const;
  /// Combines a source pixel with the destination pixel.
  void put(int x, int y, uint32_t s);
  /// Destination pixels of a row from x0 to x1; the second form writes them back from x on.
  std::vector<uint32_t> row(int x0, int x1, int y);
  void set_row(int x, int y, const std::vector<uint32_t> &pixels);

  pixel_rule rule;
  pixel_context context;

private:
  uint8_t *at(int x, int y);
};

/// The rotated and sheared operations, after checks and clipping.
void expect_quadrilateral(blit_in_progress &blit, const corner_set &corners, bool scaled);

} // namespace checkspan
