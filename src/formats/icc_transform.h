// The transform from a picture's own ICC profile to sRGB, over LittleCMS.
//
// LittleCMS dereferences null pointers when memory runs out. So it allocates through this heap: a
// failed request ends the reading of the picture by a long jump, as libjpeg's errors do, and all
// blocks are freed.
#pragma once

#include <cstdint>

#include <lcms2.h>

#include "formats/jpeg_guard.h"

struct icc_block;

struct icc_transform {
  cmsHTRANSFORM transform; // null when the profile gives none
  cmsContext context;
  icc_block *blocks; // everything that LittleCMS holds
  jpeg_guard *guard;
};

/// Creates the transform from inverted CMYK pixels to blue, green, red and an unused byte.
/// `transform` stays null when the profile isn't one for CMYK. Jumps to the guard without memory.
void make_icc_transform(icc_transform *make, jpeg_guard *guard, const void *profile, uint32_t size);
/// Frees it; accepts a zeroed record and one whose creation failed.
void end_icc_transform(icc_transform *made);
