// What a process looks like, independent of any frame: the picture that the collision, overlap and
// region tests use, as a blit request that can be measured and drawn anywhere.
#pragma once

#include <bit>

#include "blit/geometry.h"
#include "orb/graphics2d.h"

/// The id of a process in scripts.
inline int32_t process_id(const orb_process *process) { return std::bit_cast<int32_t>(process); }
/// The process with an id, or null when there is none; the calling process.
orb_process *find_process(int32_t id);
orb_process *calling_process();

/// Why a picture was not found: the error (error_file, error_graph; 0 for none) and the number that
/// is out of range.
struct picture_fault {
  int32_t error = 0, number = 0;
};

/// Fills `request` from a process's locals: picture, position in pixels of the screen or scroll
/// (divided by its resolution), transform. An xgraph selects the picture and drops the angle. The
/// locals are not changed. Other properties of the process are ignored: invisible ones have a
/// picture too. False when it has none: it is excluded from tests, or names no graph. Then `fault`,
/// unless null, says which file or graph number was out of range.
bool process_picture(const orb_process *process, __ORBBlit2D__ &request, picture_fault *fault);
/// A graph at natural size. False when there is none, with `fault` set as by process_picture.
bool graph_picture(int32_t file, int32_t graph, int32_t x, int32_t y, __ORBBlit2D__ &request,
                   picture_fault *fault);

/// The offset on the screen, in pixels, of the scroll that shows a process. False (and 0, 0) for a
/// process in no scroll.
bool scroll_offset(const orb_process *process, int32_t &x, int32_t &y);
/// Moves a picture; the sums wrap as in scripts.
void move_picture(__ORBBlit2D__ &request, int32_t x, int32_t y);

/// The box of a point: like those of pictures, cut off at +-2^30.
__ORBRegion__ box_of_point(int32_t x, int32_t y);

/// A candidate's picture, where its scroll shows it, or the mouse pointer's. False when there is
/// none, and when neither its pixels nor its outline can touch what lies in `box`. That is found
/// out without working out the transform, so most of the pictures that lie elsewhere cost little.
bool process_picture_near(const __ORBRegion__ &box, const orb_process *process,
                          __ORBBlit2D__ &request);
bool pointer_picture_near(const __ORBRegion__ &box, __ORBBlit2D__ &request);

/// The four corners, in the order of calculate_corners, and their bounding box. A pivot override of
/// the surface is used but not consumed.
void picture_corners(const __ORBBlit2D__ &request, __FPoint__ corners[4]);
__ORBRegion__ picture_box(const __ORBBlit2D__ &request);
/// Draws the picture's plain pixels (no effect, alpha 255, no ghost), starting at (x, y) of its
/// coordinates, each within -2^30..2^30, onto the top left of `onto`, which must have the same
/// depth. The pixels are those of a frame; what a frame never draws is missing here too. The
/// request is not changed.
void draw_picture(const __ORBBlit2D__ &request, int32_t x, int32_t y, __ORBSurface2D__ *onto);
