// What a process shows, apart from any frame: the picture behind the collision, overlap and region
// tests, as a blit request that can be measured and drawn anywhere.
#pragma once

#include <bit>

#include "blit/geometry.h"
#include "orb/graphics2d.h"

/// The id by which scripts know a process.
inline int32_t process_id(const orb_process *process) {
  return std::bit_cast<int32_t>(process);
}
/// The process of an id, or null when none lives under it; the calling process.
orb_process *find_process(int32_t id);
orb_process *calling_process();

/// Which number kept a picture from being found, if any did: its error (error_file, error_graph; 0
/// for none) and itself.
struct picture_fault {
  int32_t error = 0, number = 0;
};

/// Reads a process's locals into `request`: picture, position in pixels of the screen or scroll
/// (divided by its resolution), transform. An xgraph picks the picture and takes the angle away;
/// the locals stay as they are. Nothing else of the process counts: invisible ones have a picture
/// too. False when it shows none: it takes part in nothing, or names no graph. Then `fault`, unless
/// it is null, says which file or graph number was out of range.
bool process_picture(const orb_process *process, __ORBBlit2D__ &request, picture_fault *fault);
/// The mouse pointer's picture. False when it has none.
bool pointer_picture(__ORBBlit2D__ &request);
/// A graph at natural size. False, with a fault as from process_picture, when there is none.
bool graph_picture(int32_t file, int32_t graph, int32_t x, int32_t y, __ORBBlit2D__ &request,
                   picture_fault *fault);

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
