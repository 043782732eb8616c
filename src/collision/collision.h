// Collision: pixel tests between what processes show, and overlap, the same for their outlines.
//
// Both pictures are drawn, as they are shown but without effects, onto two private surfaces of the
// size of the boxes' intersection, and compared there. Owner of the variables:
// collision_surfaces.cpp and collision_checks.cpp; alive from the first set depth to release.
#pragma once

#include "orb/graphics2d.h"

/// What a pixel test draws into: the picture of the asking process and the candidate's. Null before
/// create_collision_surfaces.
extern __ORBSurface2D__ *proc_surface, *scan_surface;

/// Creates both collision surfaces, 1 x 1 at the mode's depth, in place of any former ones; a
/// failure is reported as 100 under "COLLISION". 1, or 0.
int32_t create_collision_surfaces();
void delete_collision_surfaces();
/// Brings both to this size (pixels, at least 1) and clears them, making them where they are
/// missing; memory only ever grows. 1, or 0 when they can't.
int32_t fit_collision_surfaces(int32_t width, int32_t height);

/// Alpha at or below which a pixel of a picture with an alpha channel isn't there, 0..254; and the
/// same where the alpha byte stands in a pixel.
extern int32_t collision_alphathreshold;
extern uint32_t alphathreshold;

/// The asking process's picture and the candidate's.
extern __ORBBlit2D__ proc, scan;

// Whether two pictures of `width` x `height` pixels without gaps between rows have a visible pixel
// in the same place: not 0; at 32 bits, where proc_alpha or scan_alpha says that the picture has an
// alpha channel, alpha above the threshold.
extern uint8_t proc_alpha, scan_alpha;
int32_t process_collision_8bits(const void *a, const void *b, int32_t width, int32_t height);
int32_t process_collision_16bits(const void *a, const void *b, int32_t width, int32_t height);
int32_t process_collision_32bits(const void *a, const void *b, int32_t width, int32_t height);
// Whether a pixel of the candidate's picture, or of the pointer's, is visible by the same rule.
int32_t hit_collision_8bits(const void *pixel);
int32_t hit_collision_16bits(const void *pixel);
int32_t hit_collision_32bits(const void *pixel);
int32_t mouse_collision_8bits(const void *pixel);
int32_t mouse_collision_16bits(const void *pixel);
int32_t mouse_collision_32bits(const void *pixel);

// The checks, on `proc` and `scan` as prepared: 1 when the two pictures touch, or when the
// candidate's (the pointer's in the mouse forms) covers a point of the screen. An overlap compares
// outlines instead of pixels.
int32_t check_process_collision();
int32_t check_mouse_collision();
int32_t check_hittest_collision(int32_t x, int32_t y);
int32_t check_process_overlap();
int32_t check_mouse_overlap();
int32_t check_hittest_overlap(int32_t x, int32_t y);
