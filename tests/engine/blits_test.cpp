// Blits of all operations: random requests against a reference that walks destination pixels, and
// the limits of sizes and positions.
#include <climits>

#include <gtest/gtest.h>

#include "engine/checkspan/requests.h"
#include "support/world.h"

using namespace checkspan;

namespace {

struct Blits : testing::TestWithParam<operation> {
  world w;
  Blits() { w.set_mode(32); }
};

/// The source position at the end of a turned row is a real number; when it falls on the boundary
/// of two 16.16 positions, closer than double precision resolves, either is correct for the row.
/// That must stay rare: about one row in a hundred has two outcomes, one in five hundred takes the
/// second.
TEST_P(Blits, DrawWhatTheReferenceDraws) {
  const bool turned = GetParam() >= operation::rotate;
  const int total = turned ? 10000 : 20000;
  const trial_counts counts = run_trials(GetParam(), total);
  EXPECT_GT(counts.drawn, total / 8);
  EXPECT_GT(counts.refused, total / 8);
  EXPECT_LE(counts.rows_open, counts.rows / 30);
  EXPECT_LE(counts.rows_other, counts.rows / 150);
}
INSTANTIATE_TEST_SUITE_P(Operations, Blits,
                         testing::Values(operation::blit, operation::block, operation::scale,
                                         operation::tile, operation::rotate, operation::rotscale,
                                         operation::scaleshear, operation::rotscaleshear));

/// The widest surfaces, where positions use all 32 bits; rows of up to 2^31 pixels; and the lowest
/// size, which has no negation in 32 bits.
TEST_P(Blits, ReachTheLimitsOfTheirSizes) {
  constexpr int widest = 65535;
  guarded_memory src_memory(4 * widest), dst_memory(4 * widest);
  const operation op = GetParam();
  for (int i = 0; i < 20; ++i) {
    random_source random(base_seed() * 100 + uint32_t(i));
    const bool wide = i % 3 != 0, onto_wide = i % 3 != 1;
    trial t(src_memory, dst_memory, wide ? widest : 2, wide ? 2 : widest, onto_wide ? widest : 40,
            onto_wide ? 2 : 40, 8, random);
    __ORBBlit2D__ &r = t.request;
    t.screen_depth = 8;
    t.set_centre(random.below(int(t.src.surface.width)), random.below(int(t.src.surface.height)));
    r.x = random.below(int(t.dst.surface.width));
    r.y = random.below(int(t.dst.surface.height));
    r.block_w = r.block_h = INT_MAX;
    r.flags = op == operation::tile ? 8 : 8 + i % 4;
    r.size_x = random.any_of({100, random.between(-300, 300) | 1, 7000, 90000000, 1677721600});
    r.size_y = random.any_of({100, 900, 1000});
    r.angle = random.any_of({0, 1, 180000, 90000, 359999});
    r.shear_x = random.any_of({0, random.between(-100, 100)});
    if (i % 10 == 9) (i % 20 == 9 ? r.size_x : r.size_y) = INT_MIN;
    trial_counts counts;
    EXPECT_EQ(t.run(op, counts), "") << i;
  }
}

} // namespace
