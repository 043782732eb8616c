// Small 8-bit pictures as text: a digit is a pixel of that value, a dot is 0; blanks or line ends
// separate rows.
#pragma once

#include <sstream>
#include <stdexcept>
#include <string>
#include <vector>

#include "checkspan/requests.h"

namespace checkspan {

inline std::vector<std::string> art_rows(const std::string &art) {
  std::istringstream in(art);
  std::vector<std::string> rows;
  for (std::string row; in >> row;)
    rows.push_back(row);
  return rows;
}

/// A request that draws a picture onto an empty one, pivot and control point at the top left.
class art_blit {
public:
  art_blit(const std::string &src, int dst_width, int dst_height)
      : t(src_memory_, dst_memory_, int(art_rows(src)[0].size()), int(art_rows(src).size()),
          dst_width, dst_height, 8, random_) {
    const auto rows = art_rows(src);
    for (size_t y = 0; y < rows.size(); ++y)
      for (size_t x = 0; x < rows[y].size(); ++x)
        *t.src.at(int(x), int(y)) = rows[y][x] == '.' ? 0 : uint8_t(rows[y][x] - '0');
    std::memset(t.dst.surface.pixels, 0, t.dst.surface.byte_size);
    t.set_centre(0, 0);
    t.screen_depth = 8;
  }

  __ORBBlit2D__ *operator->() { return &t.request; }

  /// The destination after the operation, one row per line; "refused", or the reference's
  /// complaint.
  std::string draw(operation op) {
    trial_counts counts;
    const std::string wrong = t.run(op, counts);
    if (!wrong.empty()) return wrong;
    return counts.drawn ? picture_of(*t.request.dst) : "refused";
  }

  static std::string picture_of(const __ORBSurface2D__ &surface) {
    std::string text;
    const auto *pixel = static_cast<const uint8_t *>(surface.pixels);
    for (uint32_t y = 0; y < surface.height; ++y, text += '\n')
      for (uint32_t x = 0; x < surface.width; ++x, ++pixel)
        text += *pixel ? char('0' + *pixel) : '.';
    return text;
  }

private:
  random_source random_{1};
  guarded_memory src_memory_{4096}, dst_memory_{4096};

public:
  trial t;
};

/// Text art in the format of `draw`.
inline std::string art(const std::string &rows) {
  std::string text;
  for (const std::string &row : art_rows(rows))
    text += row + '\n';
  return text;
}

} // namespace checkspan
