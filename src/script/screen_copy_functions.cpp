// Script functions that copy the ground or the screen to a graph. The screen holds the last frame.
#include <algorithm>
#include <cstring>

#include "script/checks.h"
#include "script/handlers.h"
#include "script/script_call.h"
#include "surface/regions.h"
#include "surface/screen.h"

namespace {

/// One axis of a stretched copy: the source pixel under the middle of destination pixel i is
/// start + floor((2i + 1) * length / (2 * size)). It is divided once; each further pixel adds the
/// quotient and carries the remainder.
class stretched_axis {
public:
  /// `length` source pixels from `start` on become `size` destination pixels from `to` on, of which
  /// those in 0..limit - 1 are drawn.
  stretched_axis(int32_t start, int32_t length, int32_t to, int32_t size, int32_t limit)
      : first_(std::max(to, 0)), last_(int32_t(std::min<int64_t>(int64_t(to) + size, limit)) - 1),
        divisor_(2 * int64_t(size)), step_(2 * int64_t(length) / divisor_),
        rest_step_(2 * int64_t(length) % divisor_) {
    const int64_t numerator = (2 * (int64_t(first_) - to) + 1) * length;
    source_ = start + numerator / divisor_;
    rest_ = numerator % divisor_;
  }
  bool empty() const { return first_ > last_; }
  int32_t first() const { return first_; }
  int32_t count() const { return last_ - first_ + 1; }
  int32_t source() const { return int32_t(source_); }
  /// Pixels copied one to one need no steps.
  bool natural() const { return step_ == 1 && rest_step_ == 0; }
  void advance() {
    source_ += step_;
    rest_ += rest_step_;
    const bool carry = rest_ >= divisor_;
    source_ += carry;
    rest_ -= carry ? divisor_ : 0;
  }

private:
  int32_t first_, last_;
  int64_t divisor_, step_, rest_step_;
  int64_t source_, rest_;
};

template <typename Pixel>
void stretch_row(const uint8_t *from, uint8_t *to, stretched_axis across) {
  const auto *source = reinterpret_cast<const Pixel *>(from);
  auto *pixel = reinterpret_cast<Pixel *>(to) + across.first();
  const int32_t count = across.count();
  if (across.natural()) {
    memcpy(pixel, source + across.source(), size_t(count) * sizeof(Pixel));
    return;
  }
  for (int32_t i = 0; i < count; ++i, across.advance())
    pixel[i] = source[across.source()];
}

using row_stretcher = void(const uint8_t *from, uint8_t *to, stretched_axis across);

row_stretcher *stretcher_of(int32_t depth) {
  return depth == 8    ? stretch_row<uint8_t>
         : depth == 16 ? stretch_row<uint16_t>
                       : stretch_row<uint32_t>;
}

/// Copies the top left rectangle that both surfaces have. False, and nothing copied, when they
/// differ in depth or one has no pixels.
bool copy_corner(const __ORBSurface2D__ *from, __ORBSurface2D__ *to) {
  if (!from || !from->pixels || !to->pixels || from->depth != to->depth) return false;
  const uint32_t height = std::min(from->height, to->height);
  const size_t row_bytes = size_t(std::min(from->width, to->width)) * uint32_t(to->depth >> 3);
  for (uint32_t y = 0; y < height; ++y)
    memcpy(static_cast<uint8_t *>(to->pixels) + y * to->pitch,
           static_cast<const uint8_t *>(from->pixels) + y * from->pitch, row_bytes);
  return true;
}

/// Stretches the part of `from` inside a box to w x h pixels at (x, y) of `to`, clipped to it. Each
/// pixel is the source pixel under its middle. False when nothing is drawn: a size below 1, or a
/// box outside `from`. Both surfaces have pixels and the same depth.
bool stretch_copy(const __ORBSurface2D__ *from, const __ORBRegion__ &box, __ORBSurface2D__ *to,
                  int32_t x, int32_t y, int32_t w, int32_t h) {
  const int32_t x0 = std::max(box.x0, 0), x1 = std::min(box.x1, int32_t(from->width) - 1);
  const int32_t y0 = std::max(box.y0, 0), y1 = std::min(box.y1, int32_t(from->height) - 1);
  if (w < 1 || h < 1 || x0 > x1 || y0 > y1) return false;
  const stretched_axis across(x0, x1 - x0 + 1, x, w, int32_t(to->width));
  stretched_axis down(y0, y1 - y0 + 1, y, h, int32_t(to->height));
  if (across.empty() || down.empty()) return false;

  row_stretcher *const stretch = stretcher_of(to->depth);
  auto *row = static_cast<uint8_t *>(to->pixels) + size_t(down.first()) * to->pitch;
  for (int32_t i = down.count(); i > 0; --i, row += to->pitch, down.advance())
    stretch(static_cast<const uint8_t *>(from->pixels) + size_t(down.source()) * from->pitch, row,
            across);
  return true;
}

int32_t get_surface(const script_call &call, const __ORBSurface2D__ *from) {
  auto [file, graph] = pop_ints<2>();
  const orb_map_slot *slot = check_graph(call, file, graph);
  if (!slot || !copy_corner(from, slot->surface)) return call.fail();
  return call.done(1);
}

int32_t copy_region(const script_call &call, const __ORBSurface2D__ *from) {
  auto [region, file, graph, x, y, w, h] = pop_ints<7>();
  if (!RegionExists(region)) return call.refuse(error_region_argument, 1, region);
  const orb_map_slot *slot = check_graph(call, file, graph, 2);
  if (!slot) return call.fail();
  __ORBSurface2D__ *to = slot->surface;
  if (!from || !from->pixels || !to->pixels || from->depth != to->depth) return call.fail();
  return call.done(stretch_copy(from, regions[region], to, x, y, w, h));
}

} // namespace

/// ground_get(file, graph): copies the top left rectangle that ground and graph share to the graph.
/// 1, or the failure value: after reporting a bad graph, or for one of another depth.
int32_t ORB_ground_get() { return get_surface({"GROUND_GET"}, ground); }
/// screen_get(file, graph): the same from the screen.
int32_t ORB_screen_get() { return get_surface({"SCREEN_GET"}, screen); }

/// ground_copy(region, file, graph, x, y, w, h): copies the part of the ground inside the region to
/// the graph, zeros included, stretched to w x h pixels at (x, y). The region is clipped to the
/// ground first. 1 when something was drawn, else 0; the failure
/// value after reporting a bad region (120) or graph, or for a graph of another depth.
int32_t ORB_ground_copy() { return copy_region({"GROUND_COPY"}, ground); }
/// screen_copy(region, file, graph, x, y, w, h): the same from the screen.
int32_t ORB_screen_copy() { return copy_region({"SCREEN_COPY"}, screen); }
