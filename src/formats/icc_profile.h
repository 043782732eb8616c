// ICC profiles in JPEG files: cut into chunks, one to an APP2 marker.
#pragma once

#include <cstdint>
#include <cstdio>

#include <jpeglib.h>

/// The marker that carries profiles.
inline constexpr int icc_marker = JPEG_APP0 + 2;

/// Assembles the profile from the markers that libjpeg saved (jpeg_save_markers before the header
/// was read). 1 with `*profile` to be freed and its `*size`; 0 when there is none, when a
/// chunk is missing or repeated or their counts disagree; -1 without memory.
int32_t jpeg_icc_read_profile(j_decompress_ptr info, JOCTET **profile, uint32_t *size);
