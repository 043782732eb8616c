// The two surfaces that follow the mode: the ground and the screen.
#pragma once

#include <cstdint>

/// Whether ground and screen are there and have this size and depth.
bool surfaces_fit(int32_t width, int32_t height, int32_t depth);
/// Brings ground and screen to the given size and depth: as they are where they fit already, else
/// cleared and with no ground picture. 1, or 0 with both as they were (after a fatal report).
int32_t fit_surfaces(int32_t width, int32_t height, int32_t depth);
void delete_surfaces();
