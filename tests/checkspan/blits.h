// What a blit request should do, worked out pixel by pixel: for each destination pixel, whether it
// is covered and by which source pixel, and then what the pixel reference makes of the two.
#pragma once

#include <cstdint>
#include <vector>

#include "checkspan/corners.h"
#include "checkspan/reference.h"
#include "orb/graphics2d.h"

namespace checkspan {

enum class operation { blit, block, scale, tile, rotate, rotscale, scaleshear, rotscaleshear };

/// What a request's outcome depends on beside the request.
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

/// A row of which more than one outcome is right: an end of it falls on the boundary between two
/// source positions, closer than the arithmetic tells them apart.
struct open_row {
  int x, y;
  std::vector<std::vector<uint32_t>> outcomes; ///< pixels from x on; the likely one first
  bool unpredictable; ///< too far from the origin to say anything about the row's pixels
};

struct expectation {
  bool drawn = false;
  int x0 = 0, y0 = 0, x1 = 0, y1 = 0; ///< drawn box, inclusive
  bool pivot_taken = false;           ///< a one-shot pivot is used up
  std::vector<uint8_t> pixels;        ///< the destination's bytes afterwards
  std::vector<open_row> open_rows;
};

/// The request is read as an operation finds it; nothing is changed.
expectation expect_blit(operation op, const __ORBBlit2D__ &request, const surroundings &around);

/// A request on its way through an operation, and the destination as it becomes.
class blit_in_progress {
public:
  const __ORBBlit2D__ &request;
  const __ORBSurface2D__ &src, &dst;
  expectation result;
  int clip_x0 = 0, clip_y0 = 0, clip_x1 = -1, clip_y1 = -1;
  int flags;              // the low 4 bits
  int64_t size_x, size_y; // percent, `size` taken into account

  explicit blit_in_progress(const __ORBBlit2D__ &of);

  /// The pivot from the top left corner, unmirrored; uses up an override.
  struct pivot_place {
    int64_t x, y;
    bool overridden;
  };
  pivot_place take_pivot();
  placed_graph graph();

  /// Source pixel; as it is now where the destination has it, too.
  uint32_t source(int64_t x, int64_t y) const;
  /// Combines a source pixel with the destination pixel.
  void put(int x, int y, uint32_t s);
  /// Destination pixels of a row from x0 to x1, and back from x on.
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
