#include "video/presentation.h"

#include <algorithm>
#include <cstddef>
#include <cstring>
#include <utility>

#include "boundary/runtime.h"
#include "surface/colour.h"
#include "surface/nearest_colour.h"
#include "surface/palette.h"
#include "surface/screen.h"
#include "video/mode_state.h"
#include "video/restore.h"
#include "video/rows.h"
#include "video/virtual_resolution.h"
#include "video/zones.h"

namespace {

template <int depth> inline constexpr int pixel_bytes = depth / 8;

/// -1 for a pair that can't be presented.
constexpr int depth_group(int32_t from, int32_t to) {
  for (int group = 0; group < depth_groups; ++group)
    if (depth_pairs[group].from == from && depth_pairs[group].to == to) return group;
  return -1;
}

// ---- What all presentations share ---------------------------------------------------------------

/// One presentation: copies rows of the screen to rows of the display. All sizes are 0 when the
/// surfaces don't have the depths that the presentation was chosen for.
struct presentation {
  const uint8_t *from;
  uint8_t *to;
  ptrdiff_t from_pitch, to_pitch; // bytes
  int32_t width, height;          // of the part of the screen that fits the display

  const uint8_t *from_row(int32_t y) const { return from + y * from_pitch; }
  uint8_t *to_row(int32_t y) const { return to + y * to_pitch; }
};

/// Sets the strides of both surfaces. The display normally has `scale` times the screen's size;
/// after a failed mode change, or when the host has resized one of them, the common part is shown.
template <int from_depth, int to_depth> presentation begin_presentation(int32_t scale) {
  if (!screen || !screen->pixels || screen->depth != from_depth) return {};
  if (!buffer || !buffer->pixels || buffer->depth != to_depth) return {};
  scr_pitch = int32_t(screen->pitch / pixel_bytes<from_depth>);
  buf_pitch = int32_t(buffer->pitch / pixel_bytes<to_depth>);
  return {static_cast<const uint8_t *>(screen->pixels),
          static_cast<uint8_t *>(buffer->pixels),
          ptrdiff_t(screen->pitch),
          ptrdiff_t(buffer->pitch),
          std::min(int32_t(screen->width), int32_t(buffer->width) / scale),
          std::min(int32_t(screen->height), int32_t(buffer->height) / scale)};
}

/// Converts one row, at a scanline intensity.
template <int from_depth, int to_depth, scanlines lines = scanlines::none>
void translate(const void *from, void *to, int32_t count) {
  if constexpr (from_depth == to_depth && lines == scanlines::none)
    memcpy(to, from, size_t(count) * pixel_bytes<from_depth>);
  else
    row_kernels->translate[depth_group(from_depth, to_depth)][int(lines)](from, to, count);
}

/// The filter_status of a filter. 8-bit pictures have black scan lines only.
constexpr int32_t filter_number(int32_t scale, scanlines lines) {
  return 5 * scale + int32_t(lines);
}
constexpr int32_t resolution_number = filter_number(3, scanlines::none);

/// Prepares the display for a filter. Black rows are not written every frame, so they are cleared
/// when another filter wrote last, and always when pages flip: either page may come up.
template <int to_depth, scanlines lines> void begin_filter(const presentation &at, int32_t number) {
  if (lines == scanlines::black && at.to && (filter_status != number || mode_bufferflipping))
    for (uint32_t y = 0; y < buffer->height; ++y)
      memset(at.to_row(int32_t(y)), 0, size_t(buffer->width) * pixel_bytes<to_depth>);
  filter_status = number;
}

/// Pixels in the buffer between two conversion steps; it fits the first-level cache.
constexpr int32_t stage_pixels = 1024;

// ---- One template per kind ----------------------------------------------------------------------

template <int from_depth, int to_depth>
void copy_box(const presentation &at, int32_t x, int32_t y, int32_t width, int32_t height) {
  const uint8_t *from = at.from_row(y) + x * pixel_bytes<from_depth>;
  uint8_t *to = at.to_row(y) + x * pixel_bytes<to_depth>;
  // Rows without padding form one long row.
  if (width * pixel_bytes<from_depth> == at.from_pitch &&
      width * pixel_bytes<to_depth> == at.to_pitch) {
    width *= height;
    height = std::min(height, 1);
  }
  for (; height > 0; --height, from += at.from_pitch, to += at.to_pitch)
    translate<from_depth, to_depth>(from, to, width);
}

/// The plain copy: only the frame zones when the rest of the display is up to date, else
/// everything.
template <int from_depth, int to_depth> void draw_screen_plain(int32_t type) {
  const presentation at = begin_presentation<from_depth, to_depth>(1);
  if (type == 1 || complete_frame || fading_run || filter_status != 0) {
    filter_status = 0;
    copy_box<from_depth, to_depth>(at, 0, 0, at.width, at.height);
    return;
  }
  for (int32_t i = num_framezones - 1; i >= 0; --i) {
    const orb_frame_zone &zone = framezones[i];
    const int32_t x0 = std::max(zone.x0, 0), y0 = std::max(zone.y0, 0);
    const int32_t x1 = std::min(zone.x0 + zone.w, at.width);
    const int32_t y1 = std::min(zone.y0 + zone.h, at.height);
    if (x0 < x1) copy_box<from_depth, to_depth>(at, x0, y0, x1 - x0, y1 - y0);
  }
}

template <int from_depth, int to_depth, scanlines lines> void draw_screen_scanline1x(int32_t) {
  const presentation at = begin_presentation<from_depth, to_depth>(1);
  begin_filter<to_depth, lines>(at, filter_number(0, lines));
  for (int32_t y = 0; y < at.height; ++y) {
    if (y % 2 == 0)
      translate<from_depth, to_depth>(at.from_row(y), at.to_row(y), at.width);
    else if constexpr (lines != scanlines::black)
      translate<from_depth, to_depth, lines>(at.from_row(y), at.to_row(y), at.width);
  }
}

template <int from_depth, int to_depth, scanlines lines> void draw_screen_normal2x(int32_t) {
  const presentation at = begin_presentation<from_depth, to_depth>(2);
  begin_filter<to_depth, lines>(at, filter_number(1, lines));
  double_row *const doubled = row_kernels->doubled[depth_index(to_depth)][int(lines)];
  for (int32_t y = 0; y < at.height; ++y) {
    const uint8_t *const from = at.from_row(y);
    uint8_t *const upper = at.to_row(2 * y), *const lower = at.to_row(2 * y + 1);
    if constexpr (from_depth == to_depth) {
      doubled(from, upper, lower, at.width);
    } else {
      alignas(32) uint8_t converted[stage_pixels * pixel_bytes<to_depth>];
      for (int32_t x = 0; x < at.width; x += stage_pixels) {
        const int32_t count = std::min(stage_pixels, at.width - x);
        const ptrdiff_t offset = ptrdiff_t(2) * x * pixel_bytes<to_depth>;
        translate<from_depth, to_depth>(from + x * pixel_bytes<from_depth>, converted, count);
        doubled(converted, upper + offset, lower + offset, count);
      }
    }
  }
}

/// Pixels are compared at the screen's depth; results are converted afterwards.
template <int from_depth, int to_depth, scanlines lines> void draw_screen_scale2x(int32_t) {
  const presentation at = begin_presentation<from_depth, to_depth>(2);
  begin_filter<to_depth, lines>(at, filter_number(2, lines));
  constexpr bool converts = from_depth != to_depth;
  constexpr scanlines lower_kind = converts && lines != scanlines::black ? scanlines::none : lines;
  scale2x_row *const scaled = row_kernels->scale2x[depth_index(from_depth)][int(lower_kind)];
  for (int32_t y = 0; y < at.height; ++y) {
    const uint8_t *const row = at.from_row(y);
    const row_with_neighbours rows = {y > 0 ? row - at.from_pitch : row, row,
                                      y + 1 < int32_t(screen->height) ? row + at.from_pitch : row,
                                      int32_t(screen->width)};
    uint8_t *const upper = at.to_row(2 * y), *const lower = at.to_row(2 * y + 1);
    if constexpr (!converts) {
      scaled(rows, 0, at.width, upper, lower);
    } else {
      alignas(32) uint8_t stage[2][stage_pixels * pixel_bytes<from_depth>];
      for (int32_t x = 0; x < at.width; x += stage_pixels / 2) {
        const int32_t last = std::min(x + stage_pixels / 2, at.width);
        const ptrdiff_t offset = ptrdiff_t(2) * x * pixel_bytes<to_depth>;
        scaled(rows, x, last, stage[0], stage[1]);
        translate<from_depth, to_depth>(stage[0], upper + offset, 2 * (last - x));
        if constexpr (lines != scanlines::black)
          translate<from_depth, to_depth, lines>(stage[1], lower + offset, 2 * (last - x));
      }
    }
  }
}

/// Columns first..last - 1 of all rows at a virtual resolution, none of them a border. A row that
/// shows the same source row as the one above is copied from it.
template <int from_depth, int to_depth>
void draw_columns(const presentation &at, int32_t first, int32_t last, int32_t rows) {
  pick_columns *const picked = row_kernels->picked[depth_index(from_depth)];
  for (int32_t y = 0; y < rows; ++y) {
    const int32_t offset = virtual_buffer_h[y];
    if (offset < 0) continue;
    uint8_t *const to = at.to_row(y);
    if (y > 0 && virtual_buffer_h[y - 1] == offset) {
      const ptrdiff_t start = first * ptrdiff_t(pixel_bytes<to_depth>);
      memcpy(to + start, to - at.to_pitch + start, size_t(last - first) * pixel_bytes<to_depth>);
      continue;
    }
    const uint8_t *const from = at.from + ptrdiff_t(offset) * pixel_bytes<from_depth>;
    if constexpr (from_depth == to_depth) {
      picked(from, virtual_buffer_w + first, to + first * pixel_bytes<to_depth>, last - first);
    } else {
      alignas(32) uint8_t stage[stage_pixels * pixel_bytes<from_depth>];
      for (int32_t x = first; x < last; x += stage_pixels) {
        const int32_t count = std::min(stage_pixels, last - x);
        picked(from, virtual_buffer_w + x, stage, count);
        translate<from_depth, to_depth>(stage, to + x * pixel_bytes<to_depth>, count);
      }
    }
  }
}

/// Entries of -1 in the tables are borders, which keep what the display holds.
template <int from_depth, int to_depth> void draw_screen_resolution(int32_t) {
  const presentation at = begin_presentation<from_depth, to_depth>(1);
  filter_status = resolution_number;
  // Tables made for another screen size would read outside this one.
  if (!at.to || !virtual_buffer_w || !virtual_buffer_h) return;
  if (virtual_extent.screen_width != int32_t(screen->width) ||
      virtual_extent.screen_height != int32_t(screen->height))
    return;
  const int32_t columns = std::min(virtual_extent.columns, int32_t(buffer->width));
  const int32_t rows = std::min(virtual_extent.rows, int32_t(buffer->height));
  for (int32_t x = 0; x < columns;) {
    const int32_t first = x;
    while (x < columns && virtual_buffer_w[x] >= 0)
      ++x;
    if (first < x)
      draw_columns<from_depth, to_depth>(at, first, x, rows);
    else
      ++x;
  }
}

// ---- The tables ---------------------------------------------------------------------------------

constexpr int scale_kinds = 2; // normal 2x, Scale2x

template <int group, int scale, int index> constexpr present_routine *member() {
  constexpr depth_pair depths = depth_pairs[group];
  // QUIRK: 8-bit pictures get black lines at every intensity, even on a deeper display: palette
  // indices can't be darkened.
  constexpr scanlines lines = depths.from == 8 && index > 0 ? scanlines::black : scanlines(index);
  if constexpr (scale == 1)
    return draw_screen_normal2x<depths.from, depths.to, lines>;
  else if constexpr (scale == 2)
    return draw_screen_scale2x<depths.from, depths.to, lines>;
  else if constexpr (lines == scanlines::none)
    return draw_screen_plain<depths.from, depths.to>;
  else
    return draw_screen_scanline1x<depths.from, depths.to, lines>;
}

template <int group, int index> constexpr present_routine *resolution_member() {
  if constexpr (index == 0)
    return draw_screen_resolution<depth_pairs[group].from, depth_pairs[group].to>;
  else
    return nullptr;
}

template <int size> struct present_table {
  present_routine *entries[size];
  constexpr present_routine *operator[](int i) const { return entries[i]; }
};

template <int... i>
constexpr present_table<sizeof...(i)> unscaled(std::integer_sequence<int, i...>) {
  return {{member<i / 5, 0, i % 5>()...}};
}
template <int... i> constexpr present_table<sizeof...(i)> scaled(std::integer_sequence<int, i...>) {
  return {{member<i / 10, 1 + i / 5 % 2, i % 5>()...}};
}
template <int... i>
constexpr present_table<sizeof...(i)> resampled(std::integer_sequence<int, i...>) {
  return {{resolution_member<i / 5, i % 5>()...}};
}
template <int size> using indices = std::make_integer_sequence<int, size>;

/// Without scaling, by [depth group][scan lines].
constexpr auto drawscreen = unscaled(indices<depth_groups * scanline_kinds>{});
/// Twice the size, by [depth group][scale kind][scan lines].
constexpr auto drawscreen_scale = scaled(indices<depth_groups * scale_kinds * scanline_kinds>{});
/// At a virtual resolution, by [depth group][scan lines]; only index 0 is filled.
constexpr auto drawscreen_resolution = resampled(indices<depth_groups * scanline_kinds>{});

/// The tables leave room for special effects, but there are none, whatever filter_fx says.
constexpr int32_t presented_fx = 0;

/// The depth that `screen_color` is packed for.
int32_t screen_color_depth;

} // namespace

__ORBSurface2D__ *buffer;
void (*VID_DrawFrame)() = present_nothing;
present_routine *draw_screen;
int32_t filter_status;
int32_t scr_pitch, buf_pitch;
uint8_t screen_color_set;
orb_rgb screen_color_rgb;

void present_nothing() {}

present_routine *find_present_routine(int32_t mode_depth, int32_t display_depth) {
  const int group = depth_group(mode_depth, display_depth);
  if (group < 0) return nullptr;
  // At a virtual resolution scan lines have no effect. One that waits for the next set-mode has no
  // tables yet.
  if (virtual_buffer_w) return drawscreen_resolution[5 * group + 5 * presented_fx];
  const int32_t lines = filter_scanline_percent;
  if (filter_scale == 0) return drawscreen[5 * group + 5 * presented_fx + lines];
  return drawscreen_scale[10 * group + 5 * (filter_scale + presented_fx - 1) + lines];
}

int32_t set_screen_routines() {
  present_routine *const chosen = buffer ? find_present_routine(mode.bpp, buffer->depth) : nullptr;
  if (!chosen) {
    rt_fatal("Unsupported Video Buffer Depth.");
    return 0;
  }
  draw_screen = chosen;
  choose_row_routines();
  set_restore_routines(mode.bpp, screen_color_set);
  return 1;
}

void set_screen_color() {
  if (screen_color_depth == mode.bpp) return;
  screen_color_depth = mode.bpp;
  const auto [r, g, b] = screen_color_rgb;
  if (!screen_color_set)
    screen_color = 0;
  else if (mode.bpp == 8)
    screen_color = palette ? find_nearest(palette, r, g, b) : 0;
  else if (mode.bpp == 16)
    screen_color = pack565(r, g, b);
  else
    screen_color = uint32_t(r << 16 | g << 8 | b);
}
