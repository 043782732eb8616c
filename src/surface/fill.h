// Fills: runs of one colour, whole surfaces, the ground; and the replacement of one colour by
// another.
#pragma once

#include "orb/graphics2d.h"

/// Fills `count` pixels from `to` on; only the low 8, 16 or 32 bits of `value` are used.
using fill_routine = void(void *to, int32_t value, uint32_t count);

fill_routine memset8, memset16, memset32;
/// Keeps bits 24..31 of every pixel.
fill_routine memset32_alphachn_unchanged;

/// The routine last chosen by a whole-surface fill; serves row fills of the same depth.
extern fill_routine *memory_fill;

/// Fills a surface with a colour of its depth; `keep_alpha` (32 bits only) leaves bits 24..31.
/// 1, or 0 for null.
int32_t ORBGI2D_BlitFill(__ORBSurface2D__ *surface, uint32_t colour, int32_t keep_alpha);
/// Fills the ground with `screen_color`; it no longer counts as a picture. Always 1.
int32_t ORBGI2D_ClearScreen();

/// Replaces every pixel equal to `from` by `to`.
void draw_pixels_8to8bits(__ORBSurface2D__ *surface, uint32_t from, uint32_t to);
void draw_pixels_16to16bits(__ORBSurface2D__ *surface, uint32_t from, uint32_t to);
void draw_pixels_32to32bits(__ORBSurface2D__ *surface, uint32_t from, uint32_t to);
