#include "host/player/colours.h"

#include <algorithm>

namespace orbplay {

ColourReducer::Group ColourReducer::make_group(std::span<Colour> colours) {
  Group group{colours};
  for (int axis = 0; axis < 3; ++axis) {
    double sum = 0, squares = 0, count = 0;
    for (const Colour &colour : colours) {
      const double value = colour.component(axis), weight = colour.count;
      sum += weight * value;
      squares += weight * value * value;
      count += weight;
    }
    const double spread = squares - sum * sum / count;
    if (spread <= group.spread) continue;
    group.axis = axis;
    group.middle = sum / count;
    group.spread = spread;
  }
  return group;
}

orb_rgb ColourReducer::mean(std::span<const Colour> colours) {
  std::uint64_t sums[3] = {}, count = 0;
  for (const Colour &colour : colours) {
    for (int i = 0; i < 3; ++i)
      sums[i] += std::uint64_t{colour.component(i)} * colour.count;
    count += colour.count;
  }
  const auto rounded = [&](int i) {
    return static_cast<std::uint8_t>((sums[i] + count / 2) / count);
  };
  return {rounded(2), rounded(1), rounded(0)};
}

const std::vector<orb_rgb> &ColourReducer::choose(std::span<const std::uint32_t> pixels,
                                                  std::size_t most) {
  colours_.clear();
  std::vector<std::uint32_t> sorted(pixels.begin(), pixels.end());
  std::sort(sorted.begin(), sorted.end());
  for (const std::uint32_t pixel : sorted) {
    if (colours_.empty() || colours_.back().rgb != pixel) colours_.push_back({pixel, 0});
    ++colours_.back().count;
  }

  // The group whose colours lie farthest apart is divided, until there are enough.
  std::vector<Group> groups;
  if (colours_.size() <= most) {
    for (Colour &colour : colours_)
      groups.push_back({{&colour, 1}});
  } else {
    groups.push_back(make_group(colours_));
  }
  while (groups.size() < std::min(most, colours_.size())) {
    Group &widest = *std::ranges::max_element(groups, {}, &Group::spread);
    const Group whole = widest;
    const auto high =
        std::partition(whole.colours.begin(), whole.colours.end(), [&](const Colour &colour) {
          return colour.component(whole.axis) <= whole.middle;
        });
    widest = make_group({whole.colours.begin(), high});
    groups.push_back(make_group({high, whole.colours.end()}));
  }

  palette_.clear();
  for (const Group &group : groups) {
    for (const Colour &colour : group.colours)
      indices_[colour.rgb] = static_cast<std::uint8_t>(palette_.size());
    palette_.push_back(mean(group.colours));
  }
  return palette_;
}

} // namespace orbplay
