// The two surfaces that follow the mode: the ground and the screen.
#pragma once

#include <cstdint>

/// Whether ground and screen are there and have this size and depth.
bool surfaces_fit(int32_t width, int32_t height, int32_t depth);
/// Gives ground and screen this size and depth. Surfaces that fit are kept with their pixels;
/// others become new, cleared ones, and no ground is put. 1, or 0 with both unchanged (after a
/// fatal report).
int32_t fit_surfaces(int32_t width, int32_t height, int32_t depth);
void delete_surfaces();
