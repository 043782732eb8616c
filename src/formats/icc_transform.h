// The transform from a picture's own ICC profile to sRGB, over LittleCMS.
//
// LittleCMS follows null pointers where memory runs out. So its requests come from here: one that
// can't be met gives up the reading of the picture by a long jump, as libjpeg's errors do, and what
// was taken until then is known, to be freed.
#pragma once

#include <cstdint>

#include <lcms2.h>

#include "formats/jpeg_guard.h"

struct icc_block;

struct icc_transform {
  cmsHTRANSFORM transform; // null when there is none to go by
  cmsContext context;
  icc_block *blocks; // everything that LittleCMS holds
  jpeg_guard *guard;
};

/// Makes the transform of inverted CMYK pixels to blue, green, red and a byte of no meaning.
/// `transform` stays null when the profile is none for CMYK. Without memory the guard's work is
/// given up.
void make_icc_transform(icc_transform *make, jpeg_guard *guard, const void *profile, uint32_t size);
/// Frees it; a record of zeros, or one that was given up, as well.
void end_icc_transform(icc_transform *made);
