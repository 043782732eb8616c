// Pictures with few colours, out of pictures with many.
#pragma once

#include "orb/graphics2d.h"

#include <cstddef>
#include <cstdint>
#include <span>
#include <vector>

namespace orbplay {

class ColourReducer {
public:
  // Chooses at most `most` colours (1 to 256) for the pixels, which are 0xRRGGBB: theirs, if they
  // are no more, else the means of groups of similar colours (median cut). The reference is good
  // until the next call.
  const std::vector<orb_rgb> &choose(std::span<const std::uint32_t> pixels, std::size_t most);
  // The index in it of one of these pixels.
  [[nodiscard]] std::uint8_t index(std::uint32_t pixel) const { return indices_[pixel]; }

private:
  struct Colour {
    std::uint32_t rgb, count;
    [[nodiscard]] std::uint8_t component(int i) const {
      return static_cast<std::uint8_t>(rgb >> 8 * i);
    }
  };
  // Colours that become one; `spread` is how far they lie apart along their longest axis.
  struct Group {
    std::span<Colour> colours;
    int axis = 0;
    double middle = 0, spread = 0;
  };
  static Group make_group(std::span<Colour> colours);
  static orb_rgb mean(std::span<const Colour> colours);

  std::vector<Colour> colours_;
  std::vector<orb_rgb> palette_;
  std::vector<std::uint8_t> indices_ =
      std::vector<std::uint8_t>(1 << 24); // of every colour there is
};

} // namespace orbplay
