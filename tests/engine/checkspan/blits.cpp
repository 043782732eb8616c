#include "engine/checkspan/blits.h"

#include <algorithm>
#include <cmath>
#include <cstring>

#include "engine/checkspan/membership.h"
#include "engine/picture.h"

namespace checkspan {

blit_in_progress::blit_in_progress(const __ORBBlit2D__ &of)
    : request(of), src(*of.src), dst(*of.dst), flags(of.flags & 15),
      size_x(of.size == 100 ? of.size_x : of.size), size_y(of.size == 100 ? of.size_y : of.size) {
  const auto *bytes = static_cast<const uint8_t *>(dst.pixels);
  result.pixels.assign(bytes, bytes + dst.byte_size);
}

blit_in_progress::pivot_place blit_in_progress::take_pivot() {
  if (src.pivot_override) {
    result.pivot_taken = true;
    return {int32_t(src.pivot_x), int32_t(src.pivot_y), true};
  }
  // An unset coordinate means the middle; so do missing control points.
  const auto coordinate = [this](int which, uint32_t extent) -> int64_t {
    if (!src.cpoints || (src.cpoints[which] & 0xFFFF) == 0xFFFF) return extent >> 1;
    return int32_t(src.cpoints[which]);
  };
  return {coordinate(0, src.width), coordinate(1, src.height), false};
}

placed_graph blit_in_progress::graph() {
  const pivot_place pivot = take_pivot();
  placed_graph g;
  g.w = src.width;
  g.h = src.height;
  g.cx = double(pivot.x);
  g.cy = double(pivot.y);
  g.x = request.x;
  g.y = request.y;
  g.size_x = double(size_x);
  g.size_y = double(size_y);
  g.shear_x = request.shear_x;
  g.shear_y = request.shear_y;
  g.angle = request.angle;
  g.tfmorder = request.tfmorder;
  g.flags = flags;
  return g;
}

uint32_t blit_in_progress::source(int64_t x, int64_t y) const {
  const size_t place = size_t(y) * src.pitch + size_t(x) * size_t(src.depth) / 8;
  const uint8_t *const address = static_cast<uint8_t *>(src.pixels) + place;
  const auto *const drawn_on = static_cast<uint8_t *>(dst.pixels);
  const bool drawn = address >= drawn_on && address < drawn_on + dst.byte_size;
  return read_pixel(drawn ? &result.pixels[size_t(address - drawn_on)] : address, src.depth);
}

uint8_t *blit_in_progress::at(int x, int y) {
  return &result.pixels[size_t(y) * dst.pitch + size_t(x) * size_t(dst.depth) / 8];
}
void blit_in_progress::put(int x, int y, uint32_t s) {
  write_pixel(at(x, y), dst.depth, put_pixel(rule, context, s, read_pixel(at(x, y), dst.depth)));
}

std::vector<uint32_t> blit_in_progress::row(int x0, int x1, int y) {
  std::vector<uint32_t> pixels;
  for (int x = x0; x <= x1; ++x)
    pixels.push_back(read_pixel(at(x, y), dst.depth));
  return pixels;
}
void blit_in_progress::set_row(int x, int y, const std::vector<uint32_t> &pixels) {
  for (const uint32_t pixel : pixels)
    write_pixel(at(x++, y), dst.depth, pixel);
}

namespace {

/// Index of an effect by its script number, or -1.
int effect_of(int fxmode) {
  if (fxmode >= 0 && fxmode <= 26 && fxmode != 2) return fxmode;
  return fxmode >= 1001 && fxmode <= 1015 ? fxmode - 974 : -1;
}

/// The checks common to all operations.
bool refused(const __ORBBlit2D__ &r, const surroundings &around, bool transformed) {
  if (!r.src || !r.dst) return true;
  if (r.src->depth != r.dst->depth) return true;
  if (r.region < 0 && r.dst == around.ground) return true;
  if (transformed && (r.size == 0 || (r.size == 100 && (r.size_x == 0 || r.size_y == 0))))
    return true;
  if (effect_of(r.fxmode) < 0) return true;
  if ((around.screen_depth == 8 || r.dst->depth == 8) && r.fxmode > 12) return true;
  return (r.flags & 15) >= 12;
}

/// False when there is nothing to draw on.
bool clip(blit_in_progress &blit, const surroundings &around) {
  const __ORBBlit2D__ &r = blit.request;
  const int width = int(blit.dst.width), height = int(blit.dst.height);
  blit.clip_x1 = width - 1;
  blit.clip_y1 = height - 1;
  if (r.region >= 0) {
    __ORBRegion__ box = {r.own_region_x0, r.own_region_x1, r.own_region_y0, r.own_region_y1};
    if (!r.own_region) {
      const auto &region = around.regions[std::min(size_t(r.region), around.regions.size() - 1)];
      if (!region.defined) return false;
      box = region.box;
    }
    blit.clip_x0 = std::max(box.x0, 0);
    blit.clip_y0 = std::max(box.y0, 0);
    if (width > box.x1) blit.clip_x1 = box.x1;
    if (height > box.y1) blit.clip_y1 = box.y1;
  }
  return blit.clip_x0 <= blit.clip_x1 && blit.clip_y0 <= blit.clip_y1;
}

/// Finds the span routine by name, with its parameters. False when there is none.
bool choose(blit_in_progress &blit, operation op, const surroundings &around) {
  const __ORBBlit2D__ &r = blit.request;
  const int depth = r.dst->depth, fx = effect_of(r.fxmode), alpha = std::clamp(r.alpha, 0, 255);
  const bool channel = depth == 32 && r.src->alpha_channel;
  const std::string family = op == operation::blit || op == operation::block ? "draw"
                             : op == operation::scale                        ? "scale"
                             : op == operation::tile                         ? "tile"
                                                                             : "rotscale";
  const int mode = blit.flags / 4; // keyed, ghost, no key
  table in = table8;
  if (depth == 16) in = alpha == 255 ? table16 : table_alpha16;
  if (depth == 32)
    in = channel ? (alpha == 255 ? table_chn32 : table_alphachn32)
                 : (alpha == 255 ? table32 : table_alpha32);

  std::string name;
  if (op == operation::tile && channel)
    name = tile_channel_member(in, fx);
  else if (mode == 1 && depth > 8) // a ghost ignores effect and alpha
    name = member(family, depth == 16 ? table16 : channel ? table_chn32 : table32, column_ghost, 0);
  else
    name = member(family, in, column(mode), fx);
  if (name.empty()) return false;

  blit.rule = parse_routine(name).rule;
  if (depth == 8 && blit.rule.key == keying::ghost && !around.ghost) return false;
  blit.context.alpha = alpha;
  blit.context.intensity = std::clamp(r.fxintensity, 0, 255);
  blit.context.fxcolor = r.fxcolor;
  blit.context.dst_alpha = r.dst->alpha_channel != 0;
  blit.context.ghost = around.ghost;
  return true;
}

/// Source rectangle (sx, sy, w, h) whose top left pixel, as drawn, lands at (left, top).
void put_rectangle(blit_in_progress &blit, int64_t left, int64_t top, int64_t sx, int64_t sy,
                   int64_t w, int64_t h) {
  expectation &result = blit.result;
  for (int y = blit.clip_y0; y <= blit.clip_y1; ++y) {
    for (int x = blit.clip_x0; x <= blit.clip_x1; ++x) {
      int64_t u = x - left, v = y - top;
      if (u < 0 || u >= w || v < 0 || v >= h) continue;
      if (blit.flags & 1) u = w - 1 - u;
      if (blit.flags & 2) v = h - 1 - v;
      blit.put(x, y, blit.source(sx + u, sy + v));
      if (!result.drawn) result.x0 = x, result.y0 = y;
      result.drawn = true;
      result.x1 = x;
      result.y1 = y;
    }
  }
}

void expect_natural(blit_in_progress &blit) {
  auto [px, py, overridden] = blit.take_pivot();
  const int64_t w = blit.src.width, h = blit.src.height;
  // The override mirrors about the last pixel, the control point about the edge.
  if (blit.flags & 1) px = overridden ? w - 1 - px : w - px;
  if (blit.flags & 2) py = overridden ? h - 1 - py : h - py;
  put_rectangle(blit, blit.request.x - px, blit.request.y - py, 0, 0, w, h);
}

/// Pixels of the block outside the source are not drawn; the others keep their places.
void expect_block(blit_in_progress &blit) {
  const __ORBBlit2D__ &r = blit.request;
  const int64_t x0 = std::max(r.block_x, 0), y0 = std::max(r.block_y, 0);
  const int64_t x1 = std::min<int64_t>(int64_t(r.block_x) + r.block_w, blit.src.width);
  const int64_t y1 = std::min<int64_t>(int64_t(r.block_y) + r.block_h, blit.src.height);
  if (x0 >= x1 || y0 >= y1) return;
  // Mirrored, the part clipped on the right comes first.
  const int64_t from_left = x0 - r.block_x, from_right = int64_t(r.block_x) + r.block_w - x1;
  const int64_t from_top = y0 - r.block_y, from_bottom = int64_t(r.block_y) + r.block_h - y1;
  put_rectangle(blit, r.x + (blit.flags & 1 ? from_right : from_left),
                r.y + (blit.flags & 2 ? from_bottom : from_top), x0, y0, x1 - x0, y1 - y0);
}

int64_t modulo(int64_t a, int64_t n) { return (a % n + n) % n; }

void expect_tile(blit_in_progress &blit) {
  const auto pivot = blit.take_pivot();
  const int64_t left = blit.request.x - pivot.x, top = blit.request.y - pivot.y;
  for (int y = blit.clip_y0; y <= blit.clip_y1; ++y)
    for (int x = blit.clip_x0; x <= blit.clip_x1; ++x)
      blit.put(x, y,
               blit.source(modulo(x - left, blit.src.width), modulo(y - top, blit.src.height)));
  blit.result.drawn = true;
  blit.result.x0 = blit.clip_x0;
  blit.result.y0 = blit.clip_y0;
  blit.result.x1 = blit.clip_x1;
  blit.result.y1 = blit.clip_y1;
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
  a.first = std::min(c0, c1);
  a.last = std::max(c0, c1);
  if (a.first == a.last) {
    a.start = length / 2; // the middle is used for every pixel
    a.step = 0;
    return true;
  }
  const double end = length - inset;
  a.start = size < 1 ? end : inset;
  a.step = (size < 1 ? inset - end : end - inset) / (a.last - a.first);
  return true;
}

void expect_scaled(blit_in_progress &blit) {
  const placed_graph g = blit.graph();
  const scaled_box box = corners_scale(g);
  axis across{}, down{};
  if (!lay(across, box.x0, box.x1, g.w, blit.flags & 1 ? -g.size_x : g.size_x) ||
      !lay(down, box.y0, box.y1, g.h, blit.flags & 2 ? -g.size_y : g.size_y))
    return;
  const double x0 = std::max(across.first, double(blit.clip_x0));
  const double x1 = std::min(across.last, double(blit.clip_x1));
  const double y0 = std::max(down.first, double(blit.clip_y0));
  const double y1 = std::min(down.last, double(blit.clip_y1));
  if (x0 > x1 || y0 > y1) return;

  // Columns advance in 16.16, both start and step truncated; rows in single precision.
  const double start_x = across.start + (x0 - across.first) * across.step;
  const auto fixed_start = int64_t(std::clamp(start_x * 65536, 0.0, g.w * 65536 - 1));
  const auto fixed_step = int64_t(across.step * 65536);
  auto v = float(down.start + (y0 - down.first) * down.step);
  for (int y = int(y0); y <= int(y1); ++y, v += float(down.step)) {
    const int64_t row = std::clamp<int64_t>(int64_t(v), 0, int64_t(g.h) - 1);
    for (int x = int(x0); x <= int(x1); ++x)
      blit.put(x, y, blit.source((fixed_start + fixed_step * (x - int(x0))) >> 16, row));
  }
  blit.result.drawn = true;
  blit.result.x0 = int(x0);
  blit.result.y0 = int(y0);
  blit.result.x1 = int(x1);
  blit.result.y1 = int(y1);
}

} // namespace

expectation expect_blit(operation op, const __ORBBlit2D__ &request, const surroundings &around) {
  const bool transformed = op != operation::blit && op != operation::block && op != operation::tile;
  if (refused(request, around, transformed)) {
    expectation nothing;
    if (request.dst) {
      const auto *bytes = static_cast<const uint8_t *>(request.dst->pixels);
      nothing.pixels.assign(bytes, bytes + request.dst->byte_size);
    }
    return nothing;
  }
  blit_in_progress blit(request);
  if (op == operation::tile && blit.flags != 0 && blit.flags != 8) return blit.result;
  if (op == operation::block && (request.block_w < 1 || request.block_h < 1)) return blit.result;
  if (!clip(blit, around)) return blit.result;
  if (!choose(blit, op, around)) {
    // The routine is chosen last: a refusal here still consumes the pivot.
    if (op != operation::block) blit.take_pivot();
    return blit.result;
  }
  switch (op) {
  case operation::blit: expect_natural(blit); break;
  case operation::block: expect_block(blit); break;
  case operation::tile: expect_tile(blit); break;
  case operation::scale: expect_scaled(blit); break;
  case operation::rotate:
    blit.size_x = blit.size_y = 100; // the sizes only matter for refusals
    expect_quadrilateral(blit, corners_rotate(blit.graph()), false);
    break;
  case operation::rotscale: expect_quadrilateral(blit, corners_rotscale(blit.graph()), true); break;
  case operation::scaleshear:
    expect_quadrilateral(blit, corners_scaleshear(blit.graph()), true);
    break;
  case operation::rotscaleshear:
    expect_quadrilateral(blit, corners_rotscaleshear(blit.graph()), true);
    break;
  }
  return blit.result;
}

} // namespace checkspan
