#include "video/fades.h"

#include <algorithm>

#include "surface/palette.h"
#include "surface/surface.h"
#include "video/video.h"

namespace {

constexpr fade_levels normal{100, 100, 100};
constexpr fade_levels black{0, 0, 0};
constexpr int32_t usual_speed = 8;
constexpr int32_t last_step = 64;

int32_t unbound_fading;

/// A fade whether or not the target is new.
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

uint8_t level(int32_t percent) {
  return uint8_t(std::clamp(percent, 0, 200));
}

uint8_t between(uint8_t from, uint8_t to) {
  return uint8_t((from * (last_step - fade_step) + to * fade_step) >> 6);
}

/// A component 0..`full` at a position: towards 0 below 100, towards `full` above.
constexpr int32_t fade_component(int32_t c, int32_t position, int32_t full) {
  return position <= 100 ? c * position / 100 : c + (full - c) * (position - 100) / 100;
}

/// A 5- or 6-bit field: faded as the 8-bit component in the middle of what the field stands for,
/// so that 100 keeps every value.
template <int32_t bits> constexpr uint16_t fade_field(int32_t v, int32_t position) {
  constexpr int32_t step = 1 << (8 - bits); // 8-bit levels per field value
  const int32_t c = step * v + step - 1;
  if (position <= 100) return uint16_t(c * position / (100 * step));
  return uint16_t((c + (256 - step - step * v) * (position - 100) / 100) / step);
}

/// Rewrites every screen pixel; the rows of a surface have no padding.
template <typename Pixel, typename F> void recolour_screen(F &&faded) {
  if (!screen || !screen->pixels) return;
  Pixel *pixel = static_cast<Pixel *>(screen->pixels);
  for (Pixel *const end = pixel + screen->pixel_count; pixel != end; ++pixel)
    *pixel = Pixel(faded(*pixel));
}

} // namespace

fade_levels fade_pos = normal, fade_from = normal, fade_to = normal;
int32_t fade_step, fade_inc;
int32_t *fading = &unbound_fading;
uint8_t fading_run;
uint8_t fade_init;
__FadeFX__ fadefx{0, 256};
__ORBPalette2D__ fadepalette;
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

void update_fade() {
  // Scripts can set "fading" and give any speed, so the sum is made in 64 bits.
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

void do_fading_8bits(const __FadeFX__ *range) {
  make_fadepalette(range);
  VID_UpdatePalette(&fadepalette);
}

void do_fading_16bits(const __FadeFX__ *) {
  uint16_t red[32], green[64], blue[32];
  for (int32_t v = 0; v < 32; ++v) {
    red[v] = uint16_t(fade_field<5>(v, fade_pos.r) << 11);
    blue[v] = fade_field<5>(v, fade_pos.b);
  }
  for (int32_t v = 0; v < 64; ++v)
    green[v] = uint16_t(fade_field<6>(v, fade_pos.g) << 5);
  recolour_screen<uint16_t>(
      [&](uint16_t p) { return red[p >> 11] | green[p >> 5 & 63] | blue[p & 31]; });
}

void do_fading_32bits(const __FadeFX__ *) {
  uint32_t red[256], green[256], blue[256];
  for (int32_t c = 0; c < 256; ++c) {
    red[c] = uint32_t(fade_component(c, fade_pos.r, 255)) << 16;
    green[c] = uint32_t(fade_component(c, fade_pos.g, 255)) << 8;
    blue[c] = uint32_t(fade_component(c, fade_pos.b, 255));
  }
  recolour_screen<uint32_t>([&](uint32_t p) {
    return (p & 0xFF000000) | red[p >> 16 & 255] | green[p >> 8 & 255] | blue[p & 255];
  });
}
