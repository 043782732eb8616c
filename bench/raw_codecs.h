// libpng and libjpeg as a small program would use them: no care for broken files, no conversion to
// the depth of a screen. What our codecs are measured against.
#pragma once

#include <cstdint>
#include <string>

namespace orbbench {

/// Pixels in memory: palette indices, or 0xAARRGGBB.
struct raw_picture {
  uint32_t w, h;
  bool indices, alpha;
  const void *pixels;
};

/// Reads a file into new memory and frees it. Whether that worked.
bool load_raw_png(const std::string &path);
bool load_raw_jpeg(const std::string &path);

/// Writes a file by the library's own defaults; palette indices with a palette of greys.
bool save_raw_png(const std::string &path, const raw_picture &picture);
bool save_raw_jpeg(const std::string &path, const raw_picture &picture);

} // namespace orbbench
