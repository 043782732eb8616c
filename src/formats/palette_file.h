// Palette files, and the palettes in other files. Palettes are looked for in MAP files first.
#pragma once

#include "orb/graphics2d.h"

/// A palette from a file, and the checksum that graphs of the same file or format go by: over 6-bit
/// components for the engine's own files, over 8-bit ones for pictures.
struct palette_in_file {
  __ORBPalette2D__ colours;
  uint32_t checksum;
};
/// Reads the palette of a palette, library, font or graph file of the engine, else of a picture:
/// BMP, JPEG, PCX, PNG or TGA, the first that has one. Files compressed or enciphered by the host
/// aren't looked into. Leaves the readers' globals reset. 1, or 0 when there is no such file or no
/// palette in it.
int32_t read_palette_file(const char *filename, palette_in_file *out);
/// Writes a palette as a palette file; 1, or 0 when it can't be written whole.
int32_t write_palette_file(const char *filename, const __ORBPalette2D__ &of);
