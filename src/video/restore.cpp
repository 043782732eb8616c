#include "video/restore.h"

#include <algorithm>
#include <cstring>

#include "surface/fill.h"
#include "surface/screen.h"
#include "video/zones.h"

namespace {

enum class background { black, colour, picture };

/// Restores the background in a box inside the screen: `w` x `h` pixels at (x, y).
template <int32_t depth, background kind>
void restore_box(uint32_t x, uint32_t y, uint32_t w, uint32_t h) {
  constexpr uint32_t pixel_bytes = depth / 8;
  // Rows without padding form one long row.
  if (w * pixel_bytes == screen->pitch &&
      (kind != background::picture || ground->pitch == screen->pitch)) {
    w *= h;
    h = 1;
  }
  uint8_t *to = static_cast<uint8_t *>(screen->pixels) + y * screen->pitch + x * pixel_bytes;
  const uint8_t *from = nullptr;
  if constexpr (kind == background::picture)
    from = static_cast<uint8_t *>(ground->pixels) + y * ground->pitch + x * pixel_bytes;

  for (; h > 0; --h, to += screen->pitch) {
    if constexpr (kind == background::black) {
      memset(to, 0, w * pixel_bytes);
    } else if constexpr (kind == background::picture) {
      memcpy(to, from, w * pixel_bytes);
      from += ground->pitch;
    } else {
      constexpr fill_routine *fill = depth == 8 ? memset8 : depth == 16 ? memset16 : memset32;
      fill(to, int32_t(screen_color), w);
    }
  }
}

/// The body of all nine routines. Zones are clipped to the surfaces, because drawn boxes may hold
/// anything. Surfaces of another depth (after a failed set-mode) are left alone.
template <int32_t depth, background kind> void restore(int32_t type) {
  if (!screen || !screen->pixels || screen->depth != depth) return;
  uint32_t width = screen->width, height = screen->height;
  if constexpr (kind == background::picture) {
    if (!ground || !ground->pixels || ground->depth != depth) return;
    width = std::min(width, ground->width);
    height = std::min(height, ground->height);
  }
  if (type == 1 || complete_frame || fading_run) {
    restore_box<depth, kind>(0, 0, width, height);
    return;
  }
  for (int32_t i = num_framezones - 1; i >= 0; --i) {
    const orb_frame_zone &zone = framezones[i];
    if (zone.x0 < 0 || zone.y0 < 0 || zone.w < 1 || zone.h < 1) continue;
    const uint32_t x = uint32_t(zone.x0), y = uint32_t(zone.y0);
    if (x >= width || y >= height) continue;
    restore_box<depth, kind>(x, y, std::min(uint32_t(zone.w), width - x),
                             std::min(uint32_t(zone.h), height - y));
  }
}

} // namespace

restore_routine *const clear_screen_8bits = restore<8, background::black>;
restore_routine *const clear_screen_16bits = restore<16, background::black>;
restore_routine *const clear_screen_32bits = restore<32, background::black>;
restore_routine *const clear_screen_color_8bits = restore<8, background::colour>;
restore_routine *const clear_screen_color_16bits = restore<16, background::colour>;
restore_routine *const clear_screen_color_32bits = restore<32, background::colour>;
restore_routine *const draw_ground_8bits = restore<8, background::picture>;
restore_routine *const draw_ground_16bits = restore<16, background::picture>;
restore_routine *const draw_ground_32bits = restore<32, background::picture>;

restore_routine *clear_screen = clear_screen_8bits, *draw_ground = draw_ground_8bits;

void set_restore_routines(int32_t depth, bool coloured) {
  static restore_routine *const routines[3][3] = {
      {clear_screen_8bits, clear_screen_color_8bits, draw_ground_8bits},
      {clear_screen_16bits, clear_screen_color_16bits, draw_ground_16bits},
      {clear_screen_32bits, clear_screen_color_32bits, draw_ground_32bits}};
  const auto &of_depth = routines[depth >> 4];
  clear_screen = of_depth[coloured];
  draw_ground = of_depth[2];
}
