// Converts graphs to the depth of the screen.
#pragma once

#include "orb/graphics2d.h"

/// A new surface at the screen's depth with the pixels and control points of `from`. At equal depth
/// the pixels are copied, alpha channel included; to a higher depth they are converted, and only
/// `alphas` gives an alpha channel:
///  - 8 bits to 16 and 32: through `colours`, or through the current tables when that is null. With
///    `alphas`, one for each of 256 colours, a 32-bit copy has an alpha channel; in a 16-bit copy
///    invisible pixels become 0 (pack565_with_alpha).
///  - 16 to 32: the fields move to the top of their bytes, the low bits and alpha stay 0.
/// Null for a source deeper than the screen or without pixels, or on failed allocation.
__ORBSurface2D__ *copy_at_screen_depth(const __ORBSurface2D__ *from,
                                       const __ORBPalette2D__ *colours,
                                       const uint8_t *alphas = nullptr);

/// The same, but deletes `from`, whatever the result.
__ORBSurface2D__ *move_to_screen_depth(__ORBSurface2D__ *from, const __ORBPalette2D__ *colours,
                                       const uint8_t *alphas = nullptr);

/// Sets pixels of an 8-bit surface to 0 whose colour is invisible by `alphas` (256 entries).
void clear_invisible(__ORBSurface2D__ *surface, const uint8_t *alphas);

/// Remaps an 8-bit surface to the forced palette; init_force_palette prepares the mapping.
void remap_to_forced_palette(__ORBSurface2D__ *surface);
