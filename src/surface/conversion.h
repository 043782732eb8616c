// Copies of graphs at the depth of the screen.
#pragma once

#include "orb/graphics2d.h"

/// A new surface at the screen's depth with the pixels and control points of `from`. At its own
/// depth the pixels come over as they are, alpha channel included; towards a higher depth they are
/// converted and there is no alpha channel but from `alphas`:
///  - 8 bits to 16 and 32: through `colours`, or when that is null through the tables in force.
///    With `alphas`, one for each of 256 colours, there is an alpha channel at 32 bits; at 16 what
///    isn't visible becomes 0 (pack565_with_alpha).
///  - 16 to 32: the fields move to the top of their bytes, the low bits and alpha stay 0.
/// Null for a source that is deeper than the screen or has no pixels, or on failed allocation.
__ORBSurface2D__ *copy_at_screen_depth(const __ORBSurface2D__ *from,
                                       const __ORBPalette2D__ *colours,
                                       const uint8_t *alphas = nullptr);

/// The same for a surface that its copy replaces: `from` is deleted, whatever the result.
__ORBSurface2D__ *move_to_screen_depth(__ORBSurface2D__ *from, const __ORBPalette2D__ *colours,
                                       const uint8_t *alphas = nullptr);

/// Makes those pixels of an 8-bit surface 0 whose colours `alphas`, one for each of 256, makes
/// invisible.
void clear_invisible(__ORBSurface2D__ *surface, const uint8_t *alphas);

/// Remaps an 8-bit surface to the forced palette, as init_force_palette has prepared it.
void remap_to_forced_palette(__ORBSurface2D__ *surface);
