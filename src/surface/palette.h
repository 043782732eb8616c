// The palette of 8-bit modes. The search in it: surface/nearest_colour.h. The tables made from it:
// surface/ghost_table.h, surface/depth_tables.h.
//
// `palette` exists only in 8-bit modes: do_tables creates it with the default palette when the
// depth becomes 8 and frees it when the depth becomes 16 or 32.
#pragma once

#include "orb/graphics2d.h"

/// The current palette, or null outside 8-bit modes. Components 0..252, multiples of 4, when set
/// by scripts; 0..255 from pictures.
extern __ORBPalette2D__ *palette;
/// 1: the palette changed since the last frame; draw_frame passes it to the display.
extern uint8_t palette_update;
/// 1: a script or a picture has set the palette.
extern uint8_t palette_loaded;
/// 1: graphs loaded with another palette are remapped to this one. Published in device slot 6.
extern uint8_t palette_forced;
/// 1: a host that draws its own text must rebuild its font's colours. Published in device slot 5.
extern uint8_t force_sys_fnt;
/// 1: table_ghost8 is out of date; update_ghost_table before the next 8-bit ghost blit.
extern uint8_t fake_ghost_table;
/// Checksums of the current palette and of the picture last read (palette_checksum).
extern uint32_t palette_crc, image_palette_crc;
/// The index last returned by find_color.
extern uint8_t last_found_colour;

/// Indices of the colours nearest to black, dark grey, grey, light grey and white, for hosts that
/// draw text or frames over the picture. Set by update_system_colors.
struct system_colour_set {
  uint8_t black, dark_grey, grey, light_grey, white;
};
extern system_colour_set system_colors;

/// Sets entry `index` from components on the 0..63 scale; marks palette, ghost table and font as
/// changed. Always 1; without a palette nothing else happens.
int32_t set_color(uint8_t index, int32_t r, int32_t g, int32_t b);
/// find_nearest in the palette for components on the 0..63 scale; 0 without a palette.
int32_t find_color(int32_t r, int32_t g, int32_t b);

/// Call after every change of the palette: marks it, the ghost table and the font as changed.
void mark_palette_changed();
/// Recomputes system_colors; all 0 without a palette.
void update_system_colors();

/// Loads the default palette, allocating the palette if missing; it does not count as loaded. 0 on
/// failed allocation.
int32_t create_palette();
/// Deletes the palette and clears the loaded and forced marks.
void delete_palette();
/// The default palette. All components are multiples of 4, up to 252.
/// 0..15: the classic sixteen (black, six dark colours, light grey, dark grey, six light colours,
/// white); 16..39: a grey ramp without its ends; 40..255: a cube of six levels per component,
/// 40 + r * 36 + g * 6 + b. Entry 0 is black, the transparent key; 40 is a visible black.
void load_default_palette(__ORBPalette2D__ *out);

/// Checksum that tells palettes apart: over whole components for palettes of pictures and hosts,
/// over their upper six bits, as stored, for those of the engine's own files. Different sums for
/// the same colours are harmless: remapping such a graph changes no pixel.
uint32_t palette_checksum(const __ORBPalette2D__ *of);
uint32_t palette_checksum_6bits(const __ORBPalette2D__ *of);
/// Builds forced_palette_map, from indices of `source` to the nearest colours of the current
/// palette: 0 stays 0, an entry with the same colour in both keeps its index. 1, or 0 without a
/// palette.
int32_t init_force_palette(const __ORBPalette2D__ *source);
/// The mapping last built by init_force_palette.
extern uint8_t forced_palette_map[256];
/// Copies the current palette. 1, or 0 without one.
int32_t get_palette(__ORBPalette2D__ *out);
/// Makes another palette the current one and marks it as loaded. 1, or 0 without a palette.
int32_t set_palette(const __ORBPalette2D__ *source);
/// 1, or 0 for null.
int32_t copy_palette(__ORBPalette2D__ *to, const __ORBPalette2D__ *from);
