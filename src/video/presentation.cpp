#include "video/presentation.h"

#include <algorithm>
#include <cstring>

#include "frame/frame.h"
#include "module/runtime.h"
#include "surface/colour.h"
#include "surface/palette.h"
#include "surface/surface.h"
#include "video/fades.h"
#include "video/video.h"

// One row of pixels, `count` of them, from the screen's format to the display's.

static void convert_row_8to16(const uint8_t *from, uint16_t *to, int32_t count) {
  const uint16_t *const table = table_color8to16;
  for (int32_t i = 0; i < count; ++i)
    to[i] = table[from[i]];
}

static void convert_row_8to32(const uint8_t *from, uint32_t *to, int32_t count) {
  const uint32_t *const table = table_color8to32;
  for (int32_t i = 0; i < count; ++i)
    to[i] = table[from[i]];
}

static void convert_row_16to32(const uint16_t *from, uint32_t *to, int32_t count) {
  const uint32_t *const table = table_color16to32;
  for (int32_t i = 0; i < count; ++i)
    to[i] = table[from[i]];
}

namespace {

template <int depth> struct pixel_of_depth;
template <> struct pixel_of_depth<8> { using type = uint8_t; };
template <> struct pixel_of_depth<16> { using type = uint16_t; };
template <> struct pixel_of_depth<32> { using type = uint32_t; };
template <int depth> using pixel = typename pixel_of_depth<depth>::type;

template <int from_depth, int to_depth>
void copy_row(const pixel<from_depth> *from, pixel<to_depth> *to, int32_t count) {
  if constexpr (from_depth == to_depth)
    memcpy(to, from, size_t(count) * sizeof *from);
  else if constexpr (from_depth == 8 && to_depth == 16)
    convert_row_8to16(from, to, count);
  else if constexpr (from_depth == 8)
    convert_row_8to32(from, to, count);
  else
    convert_row_16to32(from, to, count);
}

/// The part of both surfaces that a presentation may touch. They are equal in size but for the
/// moment when a mode change has failed half-way or the host has resized one.
struct extent {
  int32_t width, height;
};

extent common_extent() {
  return {int32_t(std::min(screen->width, buffer->width)),
          int32_t(std::min(screen->height, buffer->height))};
}

template <int from_depth, int to_depth>
void copy_box(int32_t x, int32_t y, int32_t width, int32_t height) {
  const auto *from = static_cast<const pixel<from_depth> *>(screen->pixels) + y * scr_pitch + x;
  auto *to = static_cast<pixel<to_depth> *>(buffer->pixels) + y * buf_pitch + x;
  for (; height > 0; --height, from += scr_pitch, to += buf_pitch)
    copy_row<from_depth, to_depth>(from, to, width);
}

/// The plain copy: the frame's zones where the rest of the display is up to date, else everything.
template <int from_depth, int to_depth> void draw_screen_plain(int32_t type) {
  scr_pitch = int32_t(screen->pitch / sizeof(pixel<from_depth>));
  buf_pitch = int32_t(buffer->pitch / sizeof(pixel<to_depth>));
  const extent whole = common_extent();
  if (type == 1 || complete_frame || fading_run || filter_status != 0) {
    filter_status = 0;
    copy_box<from_depth, to_depth>(0, 0, whole.width, whole.height);
    return;
  }
  for (int32_t i = num_framezones - 1; i >= 0; --i) {
    const orb_frame_zone &zone = framezones[i];
    const int32_t x0 = std::max(zone.x0, 0), y0 = std::max(zone.y0, 0);
    const int32_t x1 = std::min(zone.x0 + zone.w, whole.width);
    const int32_t y1 = std::min(zone.y0 + zone.h, whole.height);
    if (x0 < x1) copy_box<from_depth, to_depth>(x0, y0, x1 - x0, y1 - y0);
  }
}

constexpr int depth_groups = 6;
constexpr int scanline_kinds = 5; // none, 25 %, 50 %, 75 %, black
constexpr int scale_kinds = 2;    // normal 2x, Scale2x

// The three tables of presentations. An empty entry is a filter that the module doesn't have yet:
// filter_available says so, and mode_set refuses it.

/// Without scaling, by [depth group][scan lines].
constexpr present_routine *drawscreen[depth_groups * scanline_kinds] = {
    draw_screen_plain<8, 8>,   nullptr, nullptr, nullptr, nullptr, //
    draw_screen_plain<8, 16>,  nullptr, nullptr, nullptr, nullptr, //
    draw_screen_plain<8, 32>,  nullptr, nullptr, nullptr, nullptr, //
    draw_screen_plain<16, 16>, nullptr, nullptr, nullptr, nullptr, //
    draw_screen_plain<16, 32>, nullptr, nullptr, nullptr, nullptr, //
    draw_screen_plain<32, 32>, nullptr, nullptr, nullptr, nullptr,
};
/// Twice the size, by [depth group][scale kind][scan lines].
constexpr present_routine *drawscreen_scale[depth_groups * scale_kinds * scanline_kinds] = {};
/// At a virtual resolution, by [depth group][scan lines]; only index 0 is ever filled.
constexpr present_routine *drawscreen_resolution[depth_groups * scanline_kinds] = {};

/// -1 for a pair that can't be presented.
int32_t depth_group(int32_t mode_depth, int32_t display_depth) {
  switch (mode_depth) {
  case 8: return display_depth == 8 ? 0 : display_depth == 16 ? 1 : display_depth == 32 ? 2 : -1;
  case 16: return display_depth == 16 ? 3 : display_depth == 32 ? 4 : -1;
  case 32: return display_depth == 32 ? 5 : -1;
  default: return -1;
  }
}

/// The special effect that the tables leave room for; there is none, whatever filter_fx says.
constexpr int32_t presented_fx = 0;

present_routine *table_entry(int32_t group, int32_t scale, int32_t scanline_index) {
  if (scale == 0) return drawscreen[5 * group + 5 * presented_fx + scanline_index];
  return drawscreen_scale[10 * group + 5 * (scale + presented_fx - 1) + scanline_index];
}

/// The depth that `screen_color` is packed for.
int32_t screen_color_depth;

} // namespace

present_routine *draw_screen;
int32_t filter_status;
int32_t scr_pitch, buf_pitch;
uint8_t screen_color_set;
orb_rgb screen_color_rgb;

present_routine *find_present_routine(int32_t mode_depth, int32_t display_depth) {
  const int32_t group = depth_group(mode_depth, display_depth);
  if (group < 0) return nullptr;
  // Scan lines mean nothing where the output rows are not the screen's.
  if (virtual_resolution) return drawscreen_resolution[5 * group + 5 * presented_fx];
  return table_entry(group, filter_scale, filter_scanline_percent);
}

bool filter_available(int32_t scale, int32_t scanline_index) {
  for (int32_t group = 0; group < depth_groups; ++group)
    if (!table_entry(group, scale, scanline_index)) return false;
  return true;
}

int32_t set_screen_routines() {
  present_routine *const chosen = buffer ? find_present_routine(mode.bpp, buffer->depth) : nullptr;
  if (!chosen) {
    rt_fatal("Unsupported Video Buffer Depth.");
    return 0;
  }
  draw_screen = chosen;
  switch (mode.bpp) {
  case 8:
    clear_screen = screen_color_set ? clear_screen_color_8bits : clear_screen_8bits;
    draw_ground = draw_ground_8bits;
    break;
  case 16:
    clear_screen = screen_color_set ? clear_screen_color_16bits : clear_screen_16bits;
    draw_ground = draw_ground_16bits;
    break;
  default:
    clear_screen = screen_color_set ? clear_screen_color_32bits : clear_screen_32bits;
    draw_ground = draw_ground_32bits;
    break;
  }
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
