#include "surface/palette.h"

#include <cstdlib>

#include "surface/nearest_colour.h"

__ORBPalette2D__ *palette = nullptr;
uint8_t palette_update = 0, palette_loaded = 0, palette_forced = 0, force_sys_fnt = 0;
uint8_t fake_ghost_table = 1;
uint32_t palette_crc = 0, image_palette_crc = 0;
uint8_t last_found_colour = 0;
system_colour_set system_colors{};
uint8_t forced_palette_map[256];

namespace {

/// Over the components, without their lowest bits.
template <int32_t dropped_bits> uint32_t checksum(const __ORBPalette2D__ *of) {
  uint32_t crc = 0;
  for (const auto [r, g, b] : of->colours)
    crc = (((crc + (r >> dropped_bits)) * 2 + (g >> dropped_bits)) * 2 + (b >> dropped_bits)) * 2;
  return crc;
}

uint32_t packed(const orb_rgb &colour) {
  return uint32_t(colour.r) << 16 | uint32_t(colour.g) << 8 | colour.b;
}

} // namespace

void mark_palette_changed() {
  palette_update = 1;
  fake_ghost_table = 1;
  force_sys_fnt = 1;
}

int32_t set_color(uint8_t index, int32_t r, int32_t g, int32_t b) {
  if (!palette) return 1;
  const auto scaled = [](int32_t c) { return uint8_t((llabs(c) & 63) * 4); };
  palette->colours[index] = {scaled(r), scaled(g), scaled(b)};
  mark_palette_changed();
  return 1;
}

int32_t find_color(int32_t r, int32_t g, int32_t b) {
  // QUIRK: components above 63 wrap instead of being clamped: 64 is 0.
  const auto scaled = [](int32_t c) { return int32_t(llabs(c) * 4 & 255); };
  last_found_colour = palette ? find_nearest(palette, scaled(r), scaled(g), scaled(b)) : 0;
  return last_found_colour;
}

void update_system_colors() {
  if (!palette) {
    system_colors = {};
    return;
  }
  const auto grey = [](int32_t level) { return find_nearest(palette, level, level, level); };
  system_colors = {grey(0), grey(84), grey(128), grey(168), grey(255)};
}

// ---- Life --------------------------------------------------------------------------------------

int32_t create_palette() {
  if (!palette) palette = static_cast<__ORBPalette2D__ *>(malloc(sizeof *palette));
  if (!palette) return 0;
  load_default_palette(palette);
  palette_crc = palette_checksum(palette);
  palette_loaded = 0;
  mark_palette_changed();
  update_system_colors();
  return 1;
}

void delete_palette() {
  free(palette);
  palette = nullptr;
  palette_update = palette_loaded = palette_forced = 0;
  palette_crc = 0;
  forget_nearest();
}

void load_default_palette(__ORBPalette2D__ *out) {
  constexpr uint8_t low = 84, middle = 168, high = 252;
  constexpr orb_rgb classic[16] = {
      {0, 0, 0},        {0, 0, middle},      {0, middle, 0},    {0, middle, middle},
      {middle, 0, 0},   {middle, 0, middle}, {middle, low, 0},  {middle, middle, middle},
      {low, low, low},  {low, low, high},    {low, high, low},  {low, high, high},
      {high, low, low}, {high, low, high},   {high, high, low}, {high, high, high},
  };
  orb_rgb *entry = out->colours;
  for (const orb_rgb &colour : classic)
    *entry++ = colour;
  for (int32_t step = 1; step <= 24; ++step) {
    const auto level = uint8_t(step * 63 / 25 * 4);
    *entry++ = {level, level, level};
  }
  const auto level = [](int32_t step) { return uint8_t((step * 63 + 2) / 5 * 4); };
  for (int32_t r = 0; r < 6; ++r) {
    for (int32_t g = 0; g < 6; ++g) {
      for (int32_t b = 0; b < 6; ++b)
        *entry++ = {level(r), level(g), level(b)};
    }
  }
}

// ---- Exchange ----------------------------------------------------------------------------------

uint32_t palette_checksum(const __ORBPalette2D__ *of) { return checksum<0>(of); }

uint32_t palette_checksum_6bits(const __ORBPalette2D__ *of) { return checksum<2>(of); }

int32_t copy_palette(__ORBPalette2D__ *to, const __ORBPalette2D__ *from) {
  if (!to || !from) return 0;
  *to = *from;
  return 1;
}

int32_t get_palette(__ORBPalette2D__ *out) { return copy_palette(out, palette); }

int32_t set_palette(const __ORBPalette2D__ *source) {
  if (!copy_palette(palette, source)) return 0;
  palette_crc = palette_checksum(palette);
  palette_loaded = 1;
  mark_palette_changed();
  return 1;
}

int32_t init_force_palette(const __ORBPalette2D__ *source) {
  if (!palette || !source) return 0;
  uint32_t wanted[256];
  for (int32_t i = 0; i < 256; ++i)
    wanted[i] = packed(source->colours[i]);
  find_all_nearest(palette, wanted, 256, forced_palette_map);
  forced_palette_map[0] = 0;
  for (int32_t i = 1; i < 256; ++i)
    if (wanted[i] == packed(palette->colours[i])) forced_palette_map[i] = uint8_t(i);
  return 1;
}
