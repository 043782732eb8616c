// The search for the colours of a palette nearest to given ones.
#pragma once

#include "orb/graphics2d.h"

/// Index 1..254 whose colour is nearest to components on the 0..255 scale: least sum of absolute
/// differences, lowest index on a tie. 0 and 255 are never found.
uint8_t find_nearest(const __ORBPalette2D__ *in, int32_t r, int32_t g, int32_t b);

/// The same for many colours at once, 0xRRGGBB (the top byte is ignored): to[i] becomes the index
/// nearest to colours[i]. What it learns about a palette serves the next calls for as long as they
/// search one of the same colours.
void find_all_nearest(const __ORBPalette2D__ *in, const uint32_t *colours, uint32_t count,
                      uint8_t *to);

/// Frees what find_all_nearest has learnt.
void forget_nearest();
