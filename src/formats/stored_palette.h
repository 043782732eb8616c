// Palettes as the engine's own formats store them.
#pragma once

#include "orb/graphics2d.h"

/// What a palette file holds after its header, and 8-bit graphs and libraries after theirs.
struct stored_palette {
  uint8_t colours[256][3]; // 6-bit components
  /// Colour ranges of painting programs, 16 of 36 bytes: number of colours, three zeros, 32 equal
  /// bytes, the range's first colour. Nothing here reads them.
  uint8_t ranges[16][36];
};
static_assert(sizeof(stored_palette) == 768 + 576);

/// The palette with its components shifted right by 2, and sixteen ranges of sixteen colours.
stored_palette store_palette(const __ORBPalette2D__ &from);
/// The components shifted left by 2. Bits that a 6-bit component can't have are dropped.
__ORBPalette2D__ restore_palette(const uint8_t (&colours)[256][3]);
