// From the reader's globals to a graph of library 0.
#pragma once

#include "orb/graphics2d.h"

/// Makes a graph of library 0 from the reader's globals under the free `code`: adopts its palette
/// where the mode wants one, converts it to the screen's depth, registers it with `mark`. 0, or
/// the number of what went wrong: error_format for a picture that is deeper than the screen,
/// error_out_of_memory. The globals own nothing afterwards.
int32_t adopt_image(int32_t code, const char *filename, int32_t mark);

/// In an 8-bit mode the first file with a palette sets the palette in force; with a forced palette
/// every such file prepares its remapping. `checksum` is the palette's (palette_checksum,
/// palette_checksum_6bits).
void adopt_palette(const __ORBPalette2D__ &colours, uint32_t checksum);
