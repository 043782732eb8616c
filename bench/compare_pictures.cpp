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

/// How much of what we draw may look different: nothing where pixels are moved, little where
/// rounding differs, the edge of the disc where it is sampled.
double tolerated(operation op) {
  switch (op) {
  case operation::copy:
  case operation::keyed:
  case operation::mirrored:
  case operation::tile: return 0;
  case operation::scale:
  case operation::rotate: return 0.15;
  default: return 0.01;
  }
}

} // namespace

int compare_pictures() {
  constexpr int visible = 16;
  int differences = 0;
  for (scenario s : all_blit_scenarios()) {
    if (s.depth == 8 && s.op == operation::ghost) continue; // mixed as each one's table says
    s.count = std::min(s.count, 3);
    const picture background = background_of(s);
    std::vector<uint32_t> ours;
    for (const auto &who : contenders()) {
      if (!who->can(s) || who->name() == memcpy_name) continue;
      const std::vector<uint32_t> theirs = drawn_by(*who, s, background);
      if (ours.empty()) ours = theirs;
      int drawn = 0, different = 0;
      for (size_t i = 0; i < ours.size(); ++i) {
        const uint32_t before = background.pixels[i] & 0xFFFFFF;
        drawn += ours[i] != before;
        different += difference(s.depth, ours[i], theirs[i]) > (tolerated(s.op) > 0 ? visible : 0);
      }
      if (drawn == 0 || different > tolerated(s.op) * drawn) {
        std::printf("%s: %s: %d of %d pixels differ from ours\n", scenario_name(s).c_str(),
                    who->name().c_str(), different, drawn);
        ++differences;
      }
    }
  }
  return differences;
}

} // namespace orbbench
