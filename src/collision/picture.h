// What a process shows, apart from any frame: the picture behind the collision, overlap and region
// tests, as a blit request that can be measured and drawn anywhere.
#pragma once

#include <bit>

#include "blit/geometry.h"
#include "orb/graphics2d.h"

struct script_call;

/// The id by which scripts know a process.
inline int32_t process_id(const orb_process *process) {
  return std::bit_cast<int32_t>(process);
}
/// The process of an id, or null when none lives under it; the calling process.
orb_process *find_process(int32_t id);
orb_process *calling_process();

/// Reads a process's locals into `request`: picture, position in pixels of the screen or scroll
/// (divided by its resolution), transform. An xgraph picks the picture and takes the angle away;
/// the locals stay as they are. Nothing else of the process counts: invisible ones have a picture
/// too. False when it shows none: it takes part in nothing, or names no graph. Then a file or graph
/// number out of range is reported as 109 (position 1) or 110 (position 2) under `call`, unless
/// that is null.
bool process_picture(const orb_process *process, __ORBBlit2D__ &request, const script_call *call);
/// The mouse pointer's picture. False when it has none.
bool pointer_picture(__ORBBlit2D__ &request);
/// A graph at natural size. False when there is none; reports as process_picture does.
bool graph_picture(int32_t file, int32_t graph, int32_t x, int32_t y, __ORBBlit2D__ &request,
                   const script_call *call);

/// How far the scroll that shows a process moves it on the screen, in pixels. False (and 0, 0) for
/// a process that is in none.
bool scroll_offset(const orb_process *process, int32_t &x, int32_t &y);
/// Moves a picture, wrapping as scripts' sums do.
void move_picture(__ORBBlit2D__ &request, int32_t x, int32_t y);

/// The four corners, in the order of calculate_corners, and the box around them. A pivot override
/// of the surface is used and stays.
void picture_corners(const __ORBBlit2D__ &request, __FPoint__ corners[4]);
__ORBRegion__ picture_box(const __ORBBlit2D__ &request);
/// Draws the picture's pixels as they are (no effect, alpha 255, no ghost) from (x, y) of its
/// coordinates on, within -2^30..2^30, onto the top left of `onto`, which must be of its depth.
/// They are the pixels of a frame; what is never drawn there isn't here. The request stays.
void draw_picture(const __ORBBlit2D__ &request, int32_t x, int32_t y, __ORBSurface2D__ *onto);
