#include "surface/colour.h"

#include "boundary/records.h"

namespace {

constexpr uint32_t clamp_component(int32_t value) {
  return value < 0 ? 0 : value > 255 ? 255 : uint32_t(value);
}

void store(int32_t *to, uint32_t value) {
  if (to) *to = int32_t(value);
}

} // namespace

uint32_t set_rgb_16bits(int32_t r, int32_t g, int32_t b) {
  return pack565(clamp_component(r), clamp_component(g), clamp_component(b));
}
uint32_t set_rgbx_16bits(int32_t r, int32_t g, int32_t b) { return set_rgb_16bits(r, g, b); }
uint32_t set_rgba_16bits(int32_t r, int32_t g, int32_t b, int32_t) {
  return set_rgb_16bits(r, g, b);
}

uint32_t set_rgb_32bits(int32_t r, int32_t g, int32_t b) {
  return clamp_component(r) << 16 | clamp_component(g) << 8 | clamp_component(b);
}
// QUIRK: only this one gives an opaque colour; set_rgb_32bits leaves alpha 0.
uint32_t set_rgbx_32bits(int32_t r, int32_t g, int32_t b) {
  return 0xFF000000 | set_rgb_32bits(r, g, b);
}
uint32_t set_rgba_32bits(int32_t r, int32_t g, int32_t b, int32_t a) {
  return clamp_component(a) << 24 | set_rgb_32bits(r, g, b);
}

int32_t get_rgb_16bits(uint32_t colour, int32_t *r, int32_t *g, int32_t *b) {
  // QUIRK: red is not masked: bits above 15 reach it. Script functions refuse such colours earlier.
  store(r, (colour >> 11) * 8);
  store(g, colour >> 3 & 252);
  store(b, colour * 8 & 255);
  return 1;
}
int32_t get_rgba_16bits(uint32_t colour, int32_t *r, int32_t *g, int32_t *b, int32_t *a) {
  store(a, 255);
  return get_rgb_16bits(colour, r, g, b);
}

int32_t get_rgb_32bits(uint32_t colour, int32_t *r, int32_t *g, int32_t *b) {
  store(r, colour >> 16 & 255);
  store(g, colour >> 8 & 255);
  store(b, colour & 255);
  return 1;
}
int32_t get_rgba_32bits(uint32_t colour, int32_t *r, int32_t *g, int32_t *b, int32_t *a) {
  store(a, colour >> 24);
  return get_rgb_32bits(colour, r, g, b);
}

void set_colour_routines(int32_t depth) {
  const bool deep = depth == 32;
  device2D.set_rgb = deep ? set_rgb_32bits : set_rgb_16bits;
  device2D.set_rgbx = deep ? set_rgbx_32bits : set_rgbx_16bits;
  device2D.set_rgba = deep ? set_rgba_32bits : set_rgba_16bits;
  device2D.get_rgb = deep ? get_rgb_32bits : get_rgb_16bits;
  device2D.get_rgba = deep ? get_rgba_32bits : get_rgba_16bits;
}
