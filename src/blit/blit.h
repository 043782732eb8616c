// Blit operations: everything drawn on a surface goes through one of these. Each takes a request,
// clamps, checks and clips it, picks a span routine from the routine tables, runs it over the rows,
// and writes back the box that was drawn.
//
// All return 1 when pixels were drawn and 0 otherwise, and store the same in `drawn`. A refused
// request changes nothing else.
#pragma once

#include "orb/graphics2d.h"

/// The graph at natural size, placed by its pivot.
orb_blit_operation ORBGI2D_Blit;
/// The rectangle block_x, block_y, block_w, block_h of the source, its top left corner at x, y.
orb_blit_operation ORBGI2D_BlitBlock;
orb_blit_operation ORBGI2D_BlitScale;
orb_blit_operation ORBGI2D_BlitRotate;
orb_blit_operation ORBGI2D_BlitRotScale;
orb_blit_operation ORBGI2D_BlitScaleShear;
orb_blit_operation ORBGI2D_BlitRotScaleShear;
/// Repeats the graph over the clip rectangle.
orb_blit_operation ORBGI2D_BlitTile;

/// Draws the part of a request's picture that starts at (x, y), each within -2^30..2^30, at the top
/// left of its destination, pixel for pixel; the drawn box is relative to it too. Moving the
/// request's coordinates instead could round the corners of a transformed picture differently.
int32_t blit_window(orb_blit_operation *operation, __ORBBlit2D__ *request, int32_t x, int32_t y);

/// Selects the widest span routines that this CPU supports. Called at init and whenever the render
/// type changes; every choice gives the same pixels.
void set_blitter_routines();
