// Draw objects: lines, boxes and ellipses that a script makes once and that are drawn with every
// frame, sorted by depth among the graphs of the processes, until it deletes them.
//
// script/draw_functions.cpp fills and changes their records, and counts them; only
// frame/draw_objects.cpp resizes the array.
#pragma once

#include "orb/graphics2d.h"

/// A persistent drawing, redrawn every frame.
struct orb_draw {
  uint8_t in_use, locked, fixed, visible;
  int32_t type;
  uint32_t colour;
  int32_t alpha, region, z;
  int32_t x0, y0, x1, y1;
  int32_t reserved[2];
  int32_t destination_file, destination_graph;
  __ORBSurface2D__ *destination;
  bool placed; // the script has given it its destination; until then that is the screen
};
extern orb_draw *draws; // max_draw records
extern int32_t max_draw, draws_painted, draws_fixed, draws_locked;
extern int32_t draws_moved_alpha; // last stored by draw_move

enum draw_type : int32_t {
  draw_type_line = 1,
  draw_type_rect,
  draw_type_filled_rect,
  draw_type_ellipse,
  draw_type_filled_ellipse,
};

int32_t CreateDrawList(); // 0 on failed allocation
int32_t ResizeDrawList(); // 16 more; 0 at the limit
void DeleteDrawList();

/// The index of the lowest free record, which is cleared; the list grows for it. -1 at the limit of
/// the list or without memory.
int32_t take_draw();
/// Frees a record.
void release_draw(int32_t index);

/// The surface that (file, graph) names as a destination: the screen for (0, 0), else the graph's,
/// or null when there is none.
__ORBSurface2D__ *find_draw_destination(int32_t file, int32_t graph);

/// Adds a request to the current blit list for each draw object that can be seen. The objects come
/// after the processes there, and so in front of those of the same depth.
void do_drawings();

/// Draws the object `link` on the request's destination, and leaves the part of its box that lies
/// in the object's region as the drawn box. 1; 0 when there is no such object or it lies outside.
orb_blit_operation BlitDrawing;
