#include "engine/checkspan/blits.h"

#include <algorithm>
#include <climits>
#include <cmath>

#include "engine/picture.h"
#include "surface/ghost_table.h"
#include "surface/regions.h"
#include "surface/screen.h"

namespace checkspan {

namespace {

/// Index of an effect by its script number, or -1.
int effect_of(int fxmode) {
  if (fxmode >= 0 && fxmode <= 26 && fxmode != dst) return fxmode;
  return fxmode >= 1001 && fxmode <= 1015 ? fxmode - 974 : -1;
}

int64_t modulo(int64_t a, int64_t n) {
  return (a % n + n) % n;
}

/// One axis of a scaled blit.
struct axis {
  double first, last; // destination pixels, unclipped
  double start, step; // source position of the first one, and per pixel
};

/// Corners are stored in single precision. False when the blit refuses: a destination pixel larger
/// than the source, or corners beyond 2^30.
bool lay(axis &a, double corner0, double corner1, double length, double size) {
  const double c0 = round_half_away(float(corner0)), c1 = round_half_away(float(corner1));
  constexpr double limit = 1 << 30;
  if (std::abs(float(corner0)) > limit || std::abs(float(corner1)) > limit) return false;
  const double inset = 50 / std::abs(size);
  if (inset >= length) return false;
  a = {std::min(c0, c1), std::max(c0, c1), length / 2, 0}; // one pixel shows the middle
  if (a.first == a.last) return true;
  const double end = length - inset;
  a.start = size < 1 ? end : inset;
  a.step = (size < 1 ? inset - end : end - inset) / (a.last - a.first);
  return true;
}

} // namespace

/// The checks common to all operations, and those of one.
bool reference_blit::refused() const {
  const __ORBBlit2D__ &r = request_;
  if (!r.src || !r.dst || r.src->depth != r.dst->depth) return true;
  if (r.region < 0 && r.dst == ground) return true;
  if (effect_of(r.fxmode) < 0) return true;
  if ((mode.bpp == 8 || r.dst->depth == 8) && r.fxmode > last_composite) return true;
  const int flags = r.flags & 15;
  switch (op_) {
  case operation::blit: return flags >= 12;
  case operation::block: return flags >= 12 || r.block_w < 1 || r.block_h < 1;
  case operation::tile: return flags != 0 && flags != 8;
  default:
    if (r.size == 0 || (r.size == 100 && (r.size_x == 0 || r.size_y == 0))) return true;
    return flags >= 12;
  }
}

/// False when there is nothing to draw on.
bool reference_blit::clip() {
  const __ORBBlit2D__ &r = request_;
  clip_ = {0, int(r.dst->width) - 1, 0, int(r.dst->height) - 1};
  if (r.region >= 0) {
    __ORBRegion__ box = {r.own_region_x0, r.own_region_x1, r.own_region_y0, r.own_region_y1};
    const int number = std::min(r.region, max_region - 1);
    if (!r.own_region) box = regions[number];
    if (!r.own_region && !regions_def[number]) return false;
    clip_ = {std::max(clip_.x0, box.x0), std::min(clip_.x1, box.x1), std::max(clip_.y0, box.y0),
             std::min(clip_.y1, box.y1)};
  }
  return clip_.x0 <= clip_.x1 && clip_.y0 <= clip_.y1;
}

/// The pivot from the top left corner, unmirrored; consumes an override. An unset coordinate means
/// the middle; so do missing control points.
void reference_blit::take_pivot() {
  __ORBSurface2D__ &s = *request_.src;
  overridden_ = s.pivot_override;
  s.pivot_override = 0;
  const auto coordinate = [&](int which, uint32_t extent, uint32_t override) {
    if (overridden_) return int32_t(override);
    if (!s.cpoints || (s.cpoints[which] & 0xFFFF) == 0xFFFF) return int32_t(extent >> 1);
    return int32_t(s.cpoints[which]);
  };
  graph_.cx = coordinate(0, s.width, s.pivot_x);
  graph_.cy = coordinate(1, s.height, s.pivot_y);
}

/// What becomes of pixels. False when nothing is drawn in such a way.
bool reference_blit::choose() {
  const __ORBBlit2D__ &r = request_;
  const bool tile = op_ == operation::tile;
  const int key_mode = (r.flags & 15) / 4; // keyed, ghost, no key
  rule_.depth = r.dst->depth;
  rule_.channel = rule_.depth == 32 && r.src->alpha_channel;
  rule_.dst_alpha = r.dst->alpha_channel != 0;
  rule_.intensity = std::clamp(r.fxintensity, 0, 255);
  rule_.fxcolor = r.fxcolor;
  rule_.ghost = table_ghost8;
  if (key_mode == 1) { // carries neither effect nor alpha
    rule_.key = keying::ghost;
    return rule_.depth > 8 || rule_.ghost;
  }
  rule_.alpha = std::clamp(r.alpha, 0, 255);
  int fx = effect_of(r.fxmode);
  // Tiles with an alpha channel have a table of their own, but are chosen by the common numbers.
  if (tile && rule_.channel && fx > 0) fx += additive - 1;
  if (fx > tint) return false;
  // Without a key there is nothing to composite: the source is copied.
  if (key_mode == 2 && fx >= first_composite && fx <= last_composite) fx = solid;
  rule_.fx = fx;

  bool keyed = key_mode == 0 && fx != src && fx != additive;
  if (fx == or_blend || fx == xor_blend) {
    if (rule_.alpha < 255)
      keyed = true;
    else if (tile || op_ == operation::blit || op_ == operation::block)
      keyed = false;
  }
  rule_.key = keyed && !rule_.channel ? keying::keyed : keying::every_pixel;
  return true;
}

uint32_t reference_blit::source(int64_t x, int64_t y) const {
  const __ORBSurface2D__ &s = *request_.src;
  const size_t place = size_t(y) * s.pitch + size_t(x) * size_t(s.depth) / 8;
  return read_pixel(static_cast<const uint8_t *>(s.pixels) + place, s.depth);
}

uint8_t *reference_blit::at(int64_t x, int64_t y) const {
  const __ORBSurface2D__ &d = *request_.dst;
  return static_cast<uint8_t *>(d.pixels) + size_t(y) * d.pitch + size_t(x) * size_t(d.depth) / 8;
}

/// Combines a source pixel with a destination pixel.
void reference_blit::put(int64_t x, int64_t y, uint32_t s) {
  write_pixel(at(x, y), rule_.depth, put_pixel(rule_, s, read_pixel(at(x, y), rule_.depth)));
  drawn_ = {std::min(drawn_.x0, int(x)), std::max(drawn_.x1, int(x)), std::min(drawn_.y0, int(y)),
            std::max(drawn_.y1, int(y))};
}

/// Source rectangle (sx, sy, w, h) whose top left pixel, as drawn, lands at (left, top).
void reference_blit::put_rectangle(int64_t left, int64_t top, int64_t sx, int64_t sy, int64_t w,
                                   int64_t h) {
  for (int y = clip_.y0; y <= clip_.y1; ++y) {
    for (int x = clip_.x0; x <= clip_.x1; ++x) {
      int64_t u = x - left, v = y - top;
      if (u < 0 || u >= w || v < 0 || v >= h) continue;
      if (graph_.flags & 1) u = w - 1 - u;
      if (graph_.flags & 2) v = h - 1 - v;
      put(x, y, source(sx + u, sy + v));
    }
  }
}

void reference_blit::put_natural() {
  const int64_t w = graph_.w, h = graph_.h;
  int64_t px = graph_.cx, py = graph_.cy;
  // The override mirrors about the last pixel, the control point about the edge.
  if (graph_.flags & 1) px = w - overridden_ - px;
  if (graph_.flags & 2) py = h - overridden_ - py;
  put_rectangle(request_.x - px, request_.y - py, 0, 0, w, h);
}

/// Pixels of the block outside the source are not drawn; the others keep their places.
void reference_blit::put_block() {
  const __ORBBlit2D__ &r = request_;
  const int64_t right = int64_t(r.block_x) + r.block_w, bottom = int64_t(r.block_y) + r.block_h;
  const int64_t x0 = std::max(r.block_x, 0), x1 = std::min<int64_t>(right, r.src->width);
  const int64_t y0 = std::max(r.block_y, 0), y1 = std::min<int64_t>(bottom, r.src->height);
  // Mirrored, the part clipped on the right comes first.
  put_rectangle(r.x + (graph_.flags & 1 ? right - x1 : x0 - r.block_x),
                r.y + (graph_.flags & 2 ? bottom - y1 : y0 - r.block_y), x0, y0, x1 - x0, y1 - y0);
}

void reference_blit::put_tile() {
  const int64_t left = int64_t(request_.x) - graph_.cx, top = int64_t(request_.y) - graph_.cy;
  for (int y = clip_.y0; y <= clip_.y1; ++y)
    for (int x = clip_.x0; x <= clip_.x1; ++x)
      put(x, y,
          source(modulo(x - left, request_.src->width), modulo(y - top, request_.src->height)));
}

void reference_blit::put_scaled() {
  const placed_graph &g = graph_;
  const corner_set corners = scaled(g);
  axis across{}, down{};
  if (!lay(across, corners[0].x, corners[3].x, g.w, g.flags & 1 ? -double(g.size_x) : g.size_x) ||
      !lay(down, corners[0].y, corners[3].y, g.h, g.flags & 2 ? -double(g.size_y) : g.size_y))
    return;
  const double x0 = std::max(across.first, double(clip_.x0));
  const double y0 = std::max(down.first, double(clip_.y0));

  // Columns advance in 16.16, both start and step truncated; rows in single precision.
  const double start = (across.start + (x0 - across.first) * across.step) * 65536;
  const auto u = int64_t(std::clamp(start, 0.0, g.w * 65536.0 - 1));
  auto v = float(down.start + (y0 - down.first) * down.step);
  for (double y = y0; y <= std::min(down.last, double(clip_.y1)); ++y, v += float(down.step)) {
    const int64_t row = std::clamp<int64_t>(int64_t(v), 0, g.h - 1);
    for (double x = x0; x <= std::min(across.last, double(clip_.x1)); ++x)
      put(int64_t(x), int64_t(y),
          source((u + int64_t(across.step * 65536) * int64_t(x - x0)) >> 16, row));
  }
}

int32_t reference_blit::draw(row_counts &rows) {
  __ORBBlit2D__ &r = request_;
  r.drawn = 0;
  if (refused() || !clip()) return 0;
  const bool own_sizes = r.size == 100;
  graph_.w = int32_t(r.src->width);
  graph_.h = int32_t(r.src->height);
  graph_.x = r.x;
  graph_.y = r.y;
  graph_.size_x = own_sizes ? r.size_x : r.size;
  graph_.size_y = own_sizes ? r.size_y : r.size;
  graph_.shear_x = r.shear_x;
  graph_.shear_y = r.shear_y;
  graph_.angle = r.angle;
  graph_.tfmorder = r.tfmorder;
  graph_.flags = r.flags & 15;
  // Even what is refused for its effect consumes an override.
  if (op_ != operation::block) take_pivot();
  if (!choose()) return 0;

  drawn_ = {INT_MAX, INT_MIN, INT_MAX, INT_MIN};
  switch (op_) {
  case operation::blit: put_natural(); break;
  case operation::block: put_block(); break;
  case operation::scale: put_scaled(); break;
  case operation::tile: put_tile(); break;
  case operation::rotate:
    graph_.size_x = graph_.size_y = 100;
    put_quadrilateral("r", rows);
    break;
  // With these two, transforms count even if they change nothing.
  case operation::rotscale: put_quadrilateral("rs", rows); break;
  case operation::scaleshear: put_quadrilateral("hs", rows); break;
  case operation::rotscaleshear: put_quadrilateral(order_that_matters(graph_), rows); break;
  }
  if (drawn_.x0 > drawn_.x1) return 0;
  if (r.dst == ground) ground_puting = 1;
  r.drawn = 1;
  r.drawn_x0 = r.owner->box_x0 = drawn_.x0;
  r.drawn_x1 = r.owner->box_x1 = drawn_.x1;
  r.drawn_y0 = r.owner->box_y0 = drawn_.y0;
  r.drawn_y1 = r.owner->box_y1 = drawn_.y1;
  return 1;
}

} // namespace checkspan
