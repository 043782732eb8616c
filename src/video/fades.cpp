#include "video/fades.h"

#include <algorithm>

#include "surface/depth_tables.h"
#include "surface/palette.h"
#include "surface/screen.h"
#include "video/display.h"
#include "video/rows.h"
#include "video/zones.h"

namespace {

constexpr fade_levels normal{100, 100, 100};
constexpr fade_levels black{0, 0, 0};
constexpr int32_t usual_speed = 8;
constexpr int32_t last_step = 64;

int32_t unbound_fading;

/// 1: the next fade starts even if its target is the current one.
uint8_t fade_init;
/// The palette range that the running fade recolours.
__FadeFX__ fadefx{0, 256};

/// Starts a fade whether or not the target is new.
void begin_fade(fade_levels target, int32_t speed) {
  fade_to = target;
  fade_from = fade_pos;
  fade_step = 0;
  fade_inc = speed;
  fadefx = {0, 256};
  *fading = 1;
  fading_run = 1;
}

void finish_fade() {
  while (*fading)
    update_fade();
}

uint8_t level(int32_t percent) { return uint8_t(std::clamp(percent, 0, 200)); }

uint8_t between(uint8_t from, uint8_t to) {
  return uint8_t((from * (last_step - fade_step) + to * fade_step) >> 6);
}

/// A component 0..`full` at a position: darker below 100, brighter above.
constexpr int32_t fade_component(int32_t c, int32_t position, int32_t full) {
  return position <= 100 ? c * position / 100 : c + (full - c) * (position - 100) / 100;
}

/// The same as the row routines compute it: a product whose upper half is the quotient. `factor` is
/// the percentage as a fraction of 32768, rounded up; for components the error stays below the
/// hundredth that would be needed to reach the next whole number.
constexpr uint16_t fade_factor(int32_t percent) { return uint16_t((percent * 32768 + 99) / 100); }

constexpr void set_factors(fade_factors &by, int channel, int32_t position) {
  const bool brighter = position > 100;
  by.flip[channel] = by.keep[channel] = brighter ? 255 : 0;
  by.factor[channel] = fade_factor(brighter ? position - 100 : position);
}

constexpr bool factors_are_exact() {
  for (int32_t position = 0; position <= 200; ++position) {
    fade_factors by{};
    set_factors(by, 0, position);
    for (int32_t c = 0; c < 256; ++c)
      if (faded_component(uint32_t(c), by, 0) != uint32_t(fade_component(c, position, 255)))
        return false;
  }
  return true;
}
static_assert(factors_are_exact());

/// For the positions in force. The top byte of 32-bit pixels stays.
fade_factors current_factors() {
  fade_factors by{};
  set_factors(by, 0, fade_pos.b);
  set_factors(by, 1, fade_pos.g);
  set_factors(by, 2, fade_pos.r);
  by.keep[3] = 255;
  return by;
}

/// Rewrites every screen pixel; the rows of a surface have no padding.
void recolour_pixels(int32_t depth, fade_pixels *fade) {
  if (screen && screen->pixels && screen->depth == depth)
    fade(screen->pixels, screen->pixel_count, current_factors());
}

} // namespace

fade_levels fade_pos = normal, fade_from = normal, fade_to = normal;
int32_t fade_step, fade_inc;
int32_t *fading = &unbound_fading;
void (*do_fading)(const __FadeFX__ *range) = do_fading_8bits;

void reset_fades() {
  fade_pos = fade_from = fade_to = normal;
  fade_step = fade_inc = 0;
  unbound_fading = 0;
  fading = &unbound_fading;
  fading_run = fade_init = 0;
  fadefx = {0, 256};
}

int32_t start_fade(int32_t r, int32_t g, int32_t b, int32_t speed) {
  const fade_levels target{level(r), level(g), level(b)};
  if (!fade_init && target == fade_to) return 0;
  begin_fade(target, std::max(speed, 1));
  fade_init = 0;
  return 1;
}

int32_t fade_on() {
  begin_fade(normal, usual_speed);
  fade_init = 1;
  return 1;
}

int32_t fade_off() {
  begin_fade(black, usual_speed);
  finish_fade();
  fade_init = 1;
  return 1;
}

bool screen_is_recoloured() { return mode.bpp > 8 && fade_pos != normal; }

void recolour_screen() {
  do_fading(nullptr);
  fading_run = 1;
}

void update_fade() {
  // In 64 bits: scripts can set "fading" and pass any speed.
  const int64_t step = int64_t(fade_step) + fade_inc;
  fade_step = int32_t(std::clamp<int64_t>(step, 0, last_step));
  if (fade_step == 0 || fade_step == last_step) *fading = 0;
  fade_pos = {between(fade_from.r, fade_to.r), between(fade_from.g, fade_to.g),
              between(fade_from.b, fade_to.b)};
  do_fading(&fadefx);
}

void make_fadepalette(const __FadeFX__ *range) {
  if (!palette) return;
  const int32_t first = range ? std::max(range->first, 0) : 0;
  const int32_t last = range ? std::min(range->last, 256) : 256;
  for (int32_t i = first; i < last; ++i) {
    // Full brightness is 252: palette components have six significant bits.
    const orb_rgb &from = palette->colours[i];
    fadepalette.colours[i] = {uint8_t(fade_component(from.r, fade_pos.r, 252)),
                              uint8_t(fade_component(from.g, fade_pos.g, 252)),
                              uint8_t(fade_component(from.b, fade_pos.b, 252))};
  }
}

void fade_display_palette() {
  if (!palette) return;
  make_fadepalette(nullptr);
  update_depth_tables(&fadepalette);
}

void do_fading_8bits(const __FadeFX__ *range) {
  make_fadepalette(range);
  VID_UpdatePalette(&fadepalette);
}

void do_fading_16bits(const __FadeFX__ *) { recolour_pixels(16, row_kernels->fade16); }

void do_fading_32bits(const __FadeFX__ *) { recolour_pixels(32, row_kernels->fade32); }

void set_fading_routine(int32_t depth) {
  do_fading = depth == 16 ? do_fading_16bits : depth == 32 ? do_fading_32bits : do_fading_8bits;
}
