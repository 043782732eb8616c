// Draw objects: lines, boxes and ellipses that a script makes once and that are drawn with every
// frame, sorted by depth among the graphs of the processes, until it deletes them.
//
// Their records are `draws` (surface/registry.h); script/draw_functions.cpp fills and changes them,
// and counts them.
#pragma once

#include "surface/registry.h"

enum draw_type : int32_t {
  draw_type_line = 1,
  draw_type_rect,
  draw_type_filled_rect,
  draw_type_ellipse,
  draw_type_filled_ellipse,
};

/// The index of the lowest free record, which is cleared; the list grows for it. -1 at the limit of
/// the list or without memory.
int32_t take_draw();
/// Frees a record.
void release_draw(int32_t index);

/// The surface that draw objects draw on when they are told (file, graph): the screen for (0, 0),
/// else the graph's, or null when there is none.
__ORBSurface2D__ *find_draw_destination(int32_t file, int32_t graph);

/// Adds a request to the current blit list for each draw object that can be seen. The objects come
/// after the processes there, and so in front of those of the same depth.
void do_drawings();

/// Draws the object `link` on the request's destination, and leaves the part of its box that lies
/// in the object's region as the drawn box. 1; 0 when there is no such object or it lies outside.
orb_blit_operation BlitDrawing;
