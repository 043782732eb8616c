// Whether all contenders draw the same.
#include <algorithm>
#include <cstdio>
#include <cstdlib>

#include "benchmarks.h"
#include "blit_scenarios.h"
#include "contender.h"

namespace orbbench {

namespace {

std::vector<uint32_t> drawn_by(contender &who, const scenario &s, const picture &background) {
  const auto d = who.prepare(s);
  d->begin();
  store(background, d->target().pixels, d->target().pitch);
  d->draw();
  return load(s.depth, s.target, d->target().pixels, d->target().pitch).pixels;
}

/// The largest difference of a channel, in steps of 8 bits.
int difference(int depth, uint32_t a, uint32_t b) {
  const auto channel = [&](int shift, int bits) {
    const uint32_t mask = (1u << bits) - 1;
    return std::abs(int(a >> shift & mask) - int(b >> shift & mask)) << (8 - bits);
  };
  if (depth == 8) return channel(0, 8);
  if (depth == 16) return std::max({channel(0, 5), channel(5, 6), channel(11, 5)});
  return std::max({channel(0, 8), channel(8, 8), channel(16, 8)});
}

/// What may differ between two that draw the same.
struct tolerance {
  int step;    // of a channel, in steps of 8 bits
  double more; // so much of what is drawn may differ by more than that
};

tolerance tolerance_of(const scenario &s) {
  switch (s.op) {
  case operation::copy:
  case operation::mirrored:
  case operation::tile: return {0, 0};
  case operation::scale:
    if (s.percent % 100 == 0) return {0, 0};
    [[fallthrough]];
  case operation::rotate:
    // A pixel may come from the next place; at the edge of a disc that is another colour.
    return {24, is_keyed(s) ? 0.1 : 0};
  default:
    // Rounding; at 16 bits two steps of a channel, since Qt and pixman keep 5 bits of an opacity.
    // All 8-bit mixes come from one table.
    return {s.depth == 32 ? 3 : s.depth == 16 ? 16 : 0, 0};
  }
}

} // namespace

std::map<std::string, std::string> picture_differences(scenario s) {
  constexpr extent handy = {512, 512};
  const extent box = drawn_box(s);
  if (box.width <= handy.width || s.op == operation::tile) s.target = handy;
  // Where large ones lie on one another, rounding adds up.
  s.count = box.width <= 128 ? std::min(s.count, 3) : 1;
  const picture background = background_of(s);
  const auto [step, more] = tolerance_of(s);
  std::vector<uint32_t> ours;
  std::map<std::string, std::string> result;
  for (const auto &who : contenders()) {
    if (!who->can(s) || who->name() == memcpy_name) continue;
    const std::vector<uint32_t> theirs = drawn_by(*who, s, background);
    if (ours.empty()) ours = theirs;
    int drawn = 0, different = 0;
    for (size_t i = 0; i < ours.size(); ++i) {
      drawn += ours[i] != (background.pixels[i] & 0xFFFFFF);
      different += difference(s.depth, ours[i], theirs[i]) > step;
    }
    if (drawn == 0)
      result[who->name()] = "nothing is drawn";
    else if (different > more * drawn)
      result[who->name()] = std::to_string(different) + " pixels differ from ours, where " +
                            std::to_string(drawn) + " are drawn";
  }
  return result;
}

int compare_pictures() {
  int differences = 0;
  for (const scenario &s : all_blit_scenarios())
    for (const auto &[who, difference] : picture_differences(s)) {
      std::printf("%s: %s: %s\n", scenario_name(s).c_str(), who.c_str(), difference.c_str());
      ++differences;
    }
  return differences;
}

} // namespace orbbench
