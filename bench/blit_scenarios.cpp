#include "blit_scenarios.h"

namespace orbbench {

std::vector<scenario> all_blit_scenarios() {
  using enum operation;
  struct family {
    operation op;
    look source;
    std::vector<int> depths;
    std::vector<extent> sizes;
    int percent = 100;
  };
  const std::vector<int> all = {8, 16, 32}, truecolour = {16, 32};
  const std::vector<extent> with_full = {{16, 16}, {32, 32}, {64, 64}, {256, 256}, blit_target},
                            usual = {{16, 16}, {32, 32}, {64, 64}, {256, 256}},
                            large = {{64, 64}, {256, 256}}, middle = {{64, 64}},
                            half_target = {{blit_target.width / 2, blit_target.height / 2}};
  const family families[] = {
      {copy, look::opaque, all, with_full},
      {copy, look::disc, all, with_full},
      {copy, look::sparse, all, usual},
      {mirrored, look::disc, all, usual},
      {mirrored, look::sparse, {32}, middle},
      {ghost, look::disc, all, usual},
      {ghost, look::sparse, all, middle},
      {alpha, look::disc, truecolour, usual},
      {alpha, look::opaque, truecolour, usual},
      {alpha, look::sparse, {32}, middle},
      {over, look::disc, {32}, usual},
      {over, look::sparse, {32}, middle},
      {additive, look::disc, truecolour, usual},
      {multiply, look::disc, truecolour, usual},
      {multiply, look::opaque, truecolour, usual},
      {multiply, look::sparse, {32}, middle},
      {screen, look::disc, truecolour, usual},
      {scale, look::disc, all, usual, 170},
      {scale, look::opaque, all, usual, 170},
      {scale, look::opaque, all, large, 50},
      {scale, look::opaque, all, half_target, 200},
      {rotate, look::disc, all, usual},
      {tile, look::opaque, all, usual},
      {tile, look::disc, all, usual},
      {tile, look::sparse, {32}, middle},
  };
  std::vector<scenario> result;
  for (const family &f : families)
    for (const int depth : f.depths)
      for (const extent &size : f.sizes)
        result.push_back(blit_scenario(f.op, f.source, depth, size, f.percent));
  return result;
}

} // namespace orbbench
