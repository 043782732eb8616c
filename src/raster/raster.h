// Rasterisers: lines, boxes, circles and ellipses drawn on a surface.
//
// Two families. The draw routines write one colour, clip to the whole surface, and mark the ground
// as drawn on when they drew there. The drawing routines serve drawings that are redrawn every
// frame: they clip to the draw clip rectangle, take their colour from `colorfx`, and come plain and
// with alpha. Each exists once per depth; the names without a depth point to those of the mode's
// depth.
//
// Coordinates and sizes are any int32 pixels; the time depends only on the visible part of a shape.
// A colour is a pixel of the depth. A surface that is null, of another depth or without pixels is
// ignored. `fill` is 0 for an outline, else the shape is filled. Single pixels are in
// raster/pixels.h.
#pragma once

#include "orb/graphics2d.h"

// ---- Draw routines -----------------------------------------------------------------------------

/// Arguments: x0, y0, x1, y1, colour.
using draw_line_routine = void(__ORBSurface2D__ *, int32_t, int32_t, int32_t, int32_t, uint32_t);
/// Arguments: the two ends in any order, the row or column, colour.
using draw_run_routine = void(__ORBSurface2D__ *, int32_t, int32_t, int32_t, uint32_t);
/// Arguments: four for the position, colour, fill.
using draw_box_routine = void(__ORBSurface2D__ *, int32_t, int32_t, int32_t, int32_t, uint32_t,
                              int32_t);
/// Arguments: x, y, radius, colour, fill.
using draw_circle_routine = void(__ORBSurface2D__ *, int32_t, int32_t, int32_t, uint32_t, int32_t);

/// A line, both ends included. One of 45 degrees steps along x; where the minor axis steps depends
/// on the starting end.
extern draw_line_routine &draw_line8, &draw_line16, &draw_line32;
/// x0, x1, y: a horizontal run.
extern draw_run_routine &draw_hline8, &draw_hline16, &draw_hline32;
/// y0, y1, x: a vertical run.
extern draw_run_routine &draw_vline8, &draw_vline16, &draw_vline32;
/// x0, y0, x1, y1: a rectangle by two corners in any order. What is cut off at the left or top is
/// also cut off the opposite side.
extern draw_box_routine &draw_rect8, &draw_rect16, &draw_rect32;
/// x, y, width, height: a rectangle by its top left corner and size.
extern draw_box_routine &draw_srect8, &draw_srect16, &draw_srect32;
/// x, y, width, height: a rectangle by centre and size; an even size extends one pixel further left
/// and up.
extern draw_box_routine &draw_csrect8, &draw_csrect16, &draw_csrect32;
/// A circle; radius 0 is one pixel, a negative radius nothing.
extern draw_circle_routine &draw_circle8, &draw_circle16, &draw_circle32;
/// x0, y0, x1, y1: the ellipse in the box of two corners in any order; nothing for boxes higher
/// than 4096 rows.
extern draw_box_routine &draw_ellipse8, &draw_ellipse16, &draw_ellipse32;
/// x, y, x radius, y radius: an ellipse by its centre; radii below 1 count as 1.
extern draw_box_routine &draw_csellipse8, &draw_csellipse16, &draw_csellipse32;

// Those of the mode's depth, like get_pixel and draw_pixel.
extern draw_line_routine *draw_line;
extern draw_run_routine *draw_hline, *draw_vline;
extern draw_box_routine *draw_rect, *draw_srect, *draw_csrect, *draw_ellipse, *draw_csellipse;
extern draw_circle_routine *draw_circle;

// ---- The line target and its helpers -----------------------------------------------------------

/// What the helpers below draw on.
struct LineTarget {
  int32_t right, bottom; // last column and row
  void *pixels;
  int32_t row_length; // pixels
};
/// Every routine that takes a surface sets it before drawing; when a helper is called on its own,
/// that surface must still exist.
extern LineTarget line_target;

// Each draws what lies within the line target and returns whether that was anything.

/// Row y from x0 to x1, or column x from y0 to y1; the ends in any order.
using run_helper = bool(int32_t, int32_t, int32_t, uint32_t colour);
extern run_helper &hline8, &hline16, &hline32, &vline8, &vline16, &vline32;
/// The same line as draw_line.
using line_helper = bool(int32_t x0, int32_t y0, int32_t x1, int32_t y1, uint32_t colour);
extern line_helper &linec8, &linec16, &linec32;

// ---- Drawing routines --------------------------------------------------------------------------

/// The inclusive rectangle that the drawing routines clip to, besides the surface. Set, like the
/// next two, by the caller.
extern int32_t draw_clipx0, draw_clipy0, draw_clipx1, draw_clipy1;
/// The colour of the drawing routines, in the mode's pixel format.
extern uint32_t colorfx;
/// The alpha of the alpha forms: 0..255, at 8 bits 0..15; other values are clamped.
extern int32_t alphafx;
/// The channels of the pixel that an alpha form last blended, in the pixel's channel widths. The
/// 8-bit forms leave them unchanged.
extern int32_t dR, dG, dB;

/// Arguments: x0, y0, x1, y1.
using drawing_line_routine = void(__ORBSurface2D__ *, int32_t, int32_t, int32_t, int32_t);
/// Arguments: x0, y0, x1, y1, fill.
using drawing_box_routine = void(__ORBSurface2D__ *, int32_t, int32_t, int32_t, int32_t, int32_t);

// The shapes of draw_line and draw_ellipse, and a rectangle with ordinary clipping. The alpha forms
// blend each pixel of a shape once, d + ((s - d) * alpha >> 8) per channel, keeping the
// destination's alpha channel; at 8 bits they use do_pixelfx_8bits.
extern drawing_line_routine &drawing_line8, &drawing_line16, &drawing_line32;
extern drawing_line_routine &drawing_line8_alpha, &drawing_line16_alpha, &drawing_line32_alpha;
extern drawing_box_routine &drawing_rect8, &drawing_rect16, &drawing_rect32;
extern drawing_box_routine &drawing_rect8_alpha, &drawing_rect16_alpha, &drawing_rect32_alpha;
extern drawing_box_routine &drawing_ellipse8, &drawing_ellipse16, &drawing_ellipse32;
extern drawing_box_routine &drawing_ellipse8_alpha, &drawing_ellipse16_alpha,
    &drawing_ellipse32_alpha;

// Those of the mode's depth.
extern drawing_line_routine *drawing_line, *drawing_line_alpha;
extern drawing_box_routine *drawing_rect, *drawing_rect_alpha;
extern drawing_box_routine *drawing_ellipse, *drawing_ellipse_alpha;

/// One run of an ellipse, x0 <= x1, on the line target within the draw clip rectangle.
using ellipse_run = void(int32_t x0, int32_t x1, int32_t y);
extern ellipse_run &ellipse_linec8_drawing, &ellipse_linec16_drawing, &ellipse_linec32_drawing;
extern ellipse_run &ellipse_linec8_drawing_alpha, &ellipse_linec16_drawing_alpha,
    &ellipse_linec32_drawing_alpha;

/// An 8-bit pixel blended with `colorfx` at `alphafx` (0..15): the palette colour nearest to d +
/// ((s - d) * alpha >> 4) in 6-bit components. Without a palette, the pixel itself.
uint8_t do_pixelfx_8bits(uint8_t pixel);
/// That for every pixel: 256 entries, valid until the next call.
const uint8_t *pixelfx_table();

/// Points the pointers at the routines of a depth.
void set_raster_routines(int32_t depth);
