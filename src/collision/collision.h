// Collision tests compare the pixels of two processes, overlap tests their outlines.
//
// Both pictures are drawn, as shown but without effects, onto two private surfaces the size of the
// intersection of their boxes, and compared there. Owner of the variables: collision_surfaces.cpp
// and collision_checks.cpp; alive from the first set depth to release.
#pragma once

#include "orb/graphics2d.h"

/// The surfaces of the pixel test: the calling process's picture and the candidate's. Null before
/// create_collision_surfaces.
extern __ORBSurface2D__ *proc_surface, *scan_surface;

/// Creates both collision surfaces, 1 x 1 at the mode's depth, replacing existing ones. Returns 1,
/// or 0 after reporting error 100 under "COLLISION".
int32_t create_collision_surfaces();
void delete_collision_surfaces();
/// Resizes both to this size (pixels, at least 1) and clears them, creating them if missing; their
/// memory only grows. Returns 1, or 0 when out of memory.
int32_t fit_collision_surfaces(int32_t width, int32_t height);

/// Alpha at or below which a pixel of a picture with an alpha channel counts as transparent,
/// 0..254; and the same value shifted into a pixel's alpha byte.
extern int32_t collision_alphathreshold;
extern uint32_t alphathreshold;

/// The calling process's picture and the candidate's, and the box of the former (picture_box).
extern __ORBBlit2D__ proc, scan;
extern __ORBRegion__ proc_box;

// Whether two pictures of `width` x `height` pixels, stored without padding, have a visible pixel
// at the same place. Visible means not 0; at 32 bits, if proc_alpha or scan_alpha marks the picture
// as having an alpha channel, alpha above the threshold.
extern uint8_t proc_alpha, scan_alpha;
int32_t process_collision_8bits(const void *a, const void *b, int32_t width, int32_t height);
int32_t process_collision_16bits(const void *a, const void *b, int32_t width, int32_t height);
int32_t process_collision_32bits(const void *a, const void *b, int32_t width, int32_t height);
// Whether a pixel of the candidate's or the pointer's picture is visible by the same rule.
int32_t hit_collision_8bits(const void *pixel);
int32_t hit_collision_16bits(const void *pixel);
int32_t hit_collision_32bits(const void *pixel);
int32_t mouse_collision_8bits(const void *pixel);
int32_t mouse_collision_16bits(const void *pixel);
int32_t mouse_collision_32bits(const void *pixel);

// The checks on the prepared `proc` and `scan`: 1 when the two pictures touch, or when the
// candidate's (in the mouse forms the pointer's) covers a point of the screen. Overlap checks
// compare outlines instead of pixels.
int32_t check_process_collision();
int32_t check_mouse_collision();
int32_t check_hittest_collision(int32_t x, int32_t y);
int32_t check_process_overlap();
int32_t check_mouse_overlap();
int32_t check_hittest_overlap(int32_t x, int32_t y);
