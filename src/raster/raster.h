// Rasterisers: lines, boxes, circles and ellipses drawn on a surface.
//
// Two families. The draw routines write one colour, clip to the whole surface, and mark the ground
// as drawn on when they drew there. The drawing routines serve the drawings that are made again
// every frame: they clip to the draw clip rectangle, take their colour from `colorfx`, and come
// plain and with an alpha. Each exists once a depth; the names without a depth are pointers to
// those of the mode's depth.
//
// Coordinates and sizes are int32 pixels of any value, and no routine takes longer than what can be
// seen of its shape deserves. A colour is a pixel of the depth. A null surface, one of another
// depth and one without pixels are left alone. `fill` is 0 for an outline, else the shape is
// filled. Single pixels are in raster/pixels.h.
#pragma once

#include "orb/graphics2d.h"

// ---- Draw routines -----------------------------------------------------------------------------

/// Arguments: x0, y0, x1, y1, colour.
using draw_line_routine = void(__ORBSurface2D__ *, int32_t, int32_t, int32_t, int32_t, uint32_t);
/// Arguments: the two ends in any order, the row or column, colour.
using draw_run_routine = void(__ORBSurface2D__ *, int32_t, int32_t, int32_t, uint32_t);
/// Arguments: four that say where, colour, fill.
using draw_box_routine = void(__ORBSurface2D__ *, int32_t, int32_t, int32_t, int32_t, uint32_t,
                              int32_t);
/// Arguments: x, y, radius, colour, fill.
using draw_circle_routine = void(__ORBSurface2D__ *, int32_t, int32_t, int32_t, uint32_t, int32_t);

/// A line, both ends included. One of 45 degrees steps along x; where the minor axis steps depends
/// on the end that the line starts from.
draw_line_routine draw_line8, draw_line16, draw_line32;
/// x0, x1, y: a horizontal run.
draw_run_routine draw_hline8, draw_hline16, draw_hline32;
/// y0, y1, x: a vertical run.
draw_run_routine draw_vline8, draw_vline16, draw_vline32;
/// x0, y0, x1, y1: a rectangle by two corners in any order. What lies left of the surface or above
/// it is also taken off the other side.
draw_box_routine draw_rect8, draw_rect16, draw_rect32;
/// x, y, width, height: a rectangle by its top left corner and size.
draw_box_routine draw_srect8, draw_srect16, draw_srect32;
/// x, y, width, height: a rectangle by its centre and size; an even size reaches one pixel further
/// to the left and to the top.
draw_box_routine draw_csrect8, draw_csrect16, draw_csrect32;
/// A circle; radius 0 is one pixel, a negative one nothing.
draw_circle_routine draw_circle8, draw_circle16, draw_circle32;
/// x0, y0, x1, y1: the ellipse in the box of two corners in any order; nothing when the box is
/// higher than 4096 rows.
draw_box_routine draw_ellipse8, draw_ellipse16, draw_ellipse32;
/// x, y, x radius, y radius: an ellipse by its centre; radii below 1 count as 1.
draw_box_routine draw_csellipse8, draw_csellipse16, draw_csellipse32;

// The ones of the mode's depth, as get_pixel and draw_pixel.
extern draw_line_routine *draw_line;
extern draw_run_routine *draw_hline, *draw_vline;
extern draw_box_routine *draw_rect, *draw_srect, *draw_csrect, *draw_ellipse, *draw_csellipse;
extern draw_circle_routine *draw_circle;

// ---- The line target and its helpers -----------------------------------------------------------

/// What the helpers below draw into.
struct LineTarget {
  int32_t right, bottom; // last column and row
  void *pixels;
  int32_t row_length; // pixels
};
/// Set by every routine that takes a surface, before it draws; the surface must still be there when
/// a helper is called by itself.
extern LineTarget line_target;

// Each draws what lies within the line target, and says whether that was anything.

/// A run of row y from x0 to x1, of column x from y0 to y1; the ends in any order.
bool hline8(int32_t x0, int32_t x1, int32_t y, uint32_t colour);
bool hline16(int32_t x0, int32_t x1, int32_t y, uint32_t colour);
bool hline32(int32_t x0, int32_t x1, int32_t y, uint32_t colour);
bool vline8(int32_t y0, int32_t y1, int32_t x, uint32_t colour);
bool vline16(int32_t y0, int32_t y1, int32_t x, uint32_t colour);
bool vline32(int32_t y0, int32_t y1, int32_t x, uint32_t colour);
/// The line of draw_line.
bool linec8(int32_t x0, int32_t y0, int32_t x1, int32_t y1, uint32_t colour);
bool linec16(int32_t x0, int32_t y0, int32_t x1, int32_t y1, uint32_t colour);
bool linec32(int32_t x0, int32_t y0, int32_t x1, int32_t y1, uint32_t colour);

// ---- Drawing routines --------------------------------------------------------------------------

/// The inclusive rectangle that the drawing routines keep within, as well as within the surface.
/// Set, as the next two, by whoever calls them.
extern int32_t draw_clipx0, draw_clipy0, draw_clipx1, draw_clipy1;
/// The colour of the drawing routines, in the mode's pixel format.
extern uint32_t colorfx;
/// The alpha of the alpha forms: 0..255, at 8 bits 0..15; what lies outside counts as the nearer
/// end.
extern int32_t alphafx;
/// The channels of the pixel that an alpha form blended last, in the widths of the pixel. The 8-bit
/// forms, whose pixels have none, leave them.
extern int32_t dR, dG, dB;

/// Arguments: x0, y0, x1, y1.
using drawing_line_routine = void(__ORBSurface2D__ *, int32_t, int32_t, int32_t, int32_t);
/// Arguments: x0, y0, x1, y1, fill.
using drawing_box_routine = void(__ORBSurface2D__ *, int32_t, int32_t, int32_t, int32_t, int32_t);

// The shapes of draw_line and draw_ellipse, and a rectangle that is clipped as it stands. The alpha
// forms blend each pixel of a shape once: d + ((s - d) * alpha >> 8) a channel, the destination's
// own alpha channel being kept, and at 8 bits do_pixelfx_8bits.
drawing_line_routine drawing_line8, drawing_line16, drawing_line32;
drawing_line_routine drawing_line8_alpha, drawing_line16_alpha, drawing_line32_alpha;
drawing_box_routine drawing_rect8, drawing_rect16, drawing_rect32;
drawing_box_routine drawing_rect8_alpha, drawing_rect16_alpha, drawing_rect32_alpha;
drawing_box_routine drawing_ellipse8, drawing_ellipse16, drawing_ellipse32;
drawing_box_routine drawing_ellipse8_alpha, drawing_ellipse16_alpha, drawing_ellipse32_alpha;

// The ones of the mode's depth.
extern drawing_line_routine *drawing_line, *drawing_line_alpha;
extern drawing_box_routine *drawing_rect, *drawing_rect_alpha;
extern drawing_box_routine *drawing_ellipse, *drawing_ellipse_alpha;

/// One run of an ellipse, x0 <= x1, into the line target within the draw clip rectangle.
void ellipse_linec8_drawing(int32_t x0, int32_t x1, int32_t y);
void ellipse_linec16_drawing(int32_t x0, int32_t x1, int32_t y);
void ellipse_linec32_drawing(int32_t x0, int32_t x1, int32_t y);
void ellipse_linec8_drawing_alpha(int32_t x0, int32_t x1, int32_t y);
void ellipse_linec16_drawing_alpha(int32_t x0, int32_t x1, int32_t y);
void ellipse_linec32_drawing_alpha(int32_t x0, int32_t x1, int32_t y);

/// What an 8-bit pixel becomes under `colorfx` at `alphafx` (0..15): the palette's nearest colour
/// to d + ((s - d) * alpha >> 4) in components of 6 bits. Without a palette the pixel itself.
uint8_t do_pixelfx_8bits(uint8_t pixel);
/// The same for every pixel: 256 entries, valid until the next call.
const uint8_t *pixelfx_table();

/// Sets the pointers to the routines of a depth.
void set_raster_routines(int32_t depth);
