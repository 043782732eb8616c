// Unrotated blits: whole graphs, blocks, scaled graphs and tiles. Random requests against a
// reference that walks destination pixels, small hand-drawn pictures, and refusals.
#include "blit/blit.h"

#include <climits>
#include <functional>

#include <gtest/gtest.h>

#include "checkspan/art.h"
#include "checkspan/requests.h"
#include "graphics_fixture.h"
#include "surface/ghost_table.h"

using namespace checkspan;

namespace {

struct Blits : graphics_test {};

void run_random(operation op, uint32_t seed) {
  constexpr int total = 20000;
  const trial_counts counts = run_trials(op, total, seed);
  // Both cases occurred.
  EXPECT_GT(counts.drawn, total / 8);
  EXPECT_GT(counts.refused, total / 8);
}

TEST_F(Blits, RandomNatural) {
  run_random(operation::blit, 1);
}
TEST_F(Blits, RandomBlocks) {
  run_random(operation::block, 2);
}
TEST_F(Blits, RandomTiles) {
  run_random(operation::tile, 3);
}
TEST_F(Blits, RandomScaled) {
  run_random(operation::scale, 4);
}

TEST_F(Blits, NaturalAndMirrored) {
  art_blit b("12. 456", 6, 4);
  b->x = 1;
  b->y = 1;
  EXPECT_EQ(b.draw(operation::blit), art("...... .12... .456.. ......"));

  // The control point mirrors about the edge of the graph, so the graph lands left of it.
  art_blit h("12. 456", 6, 4);
  h->x = 4;
  h->flags = 1;
  EXPECT_EQ(h.draw(operation::blit), art("..21.. .654.. ...... ......"));

  // The override mirrors about the last pixel: the same pivot, one pixel further right.
  art_blit o("12. 456", 6, 4);
  o.t.set_override(0, 0);
  o->x = 4;
  o->flags = 1;
  EXPECT_EQ(o.draw(operation::blit), art("...21. ..654. ...... ......"));

  art_blit both("12. 456", 6, 4);
  both->x = 4;
  both->y = 3;
  both->flags = 3 + 8; // no key: the hole overwrites the destination
  std::memset(both.t.dst.surface.pixels, 9, both.t.dst.surface.byte_size);
  EXPECT_EQ(both.draw(operation::blit), art("999999 965499 9.2199 999999"));
}

TEST_F(Blits, ClippedToOneColumn) {
  art_blit b("123 456", 6, 3);
  b->x = -2;
  EXPECT_EQ(b.draw(operation::blit), art("3..... 6..... ......"));
  EXPECT_EQ(b->drawn_x0, 0);
  EXPECT_EQ(b->drawn_x1, 0);
  EXPECT_EQ(b->drawn_y1, 1);

  // Mirrored, the clipped part is counted from the other side.
  art_blit h("123 456", 6, 3);
  h->x = 1;
  h->flags = 1;
  EXPECT_EQ(h.draw(operation::blit), art("1..... 4..... ......"));

  art_blit gone("123 456", 6, 3);
  gone->x = -3;
  EXPECT_EQ(gone.draw(operation::blit), "refused");
}

TEST_F(Blits, BlocksAreCutToTheSource) {
  const auto block = [](int x, int y, int w, int h, int flags) {
    art_blit b("123 456 789", 5, 4);
    b->x = b->y = 1;
    b->block_x = x;
    b->block_y = y;
    b->block_w = w;
    b->block_h = h;
    b->flags = flags;
    b.t.set_override(1, 1); // ignored, and kept for the next blit
    const std::string picture = b.draw(operation::block);
    EXPECT_EQ(b.t.src.surface.pivot_override, 1);
    return picture;
  };
  EXPECT_EQ(block(1, 1, 2, 2, 0), art("..... .56.. .89.. ....."));
  EXPECT_EQ(block(1, 1, 2, 2, 1), art("..... .65.. .98.. ....."));
  EXPECT_EQ(block(1, 1, 2, 2, 2), art("..... .89.. .56.. ....."));
  // Every pixel lands where it would if the source continued.
  EXPECT_EQ(block(-1, 0, 2, 1, 0), art("..... ..1.. ..... ....."));
  EXPECT_EQ(block(-1, 0, 2, 1, 1), art("..... .1... ..... ....."));
  EXPECT_EQ(block(2, 2, 2, 2, 0), art("..... .9... ..... ....."));
  EXPECT_EQ(block(2, 2, 2, 2, 3), art("..... ..... ..9.. ....."));
  EXPECT_EQ(block(3, 0, 5, 5, 0), "refused");
  EXPECT_EQ(block(-4, 0, 4, 4, 0), "refused");
  EXPECT_EQ(block(0, 0, 0, 1, 0), "refused");
  EXPECT_EQ(block(0, 0, 1, -1, 0), "refused");
}

TEST_F(Blits, TilesAlignWithTheirPivot) {
  art_blit b("12 34", 7, 4);
  b.t.set_centre(1, 1);
  b->x = 3;
  b->y = -10;
  EXPECT_EQ(b.draw(operation::tile), art("3434343 1212121 3434343 1212121"));

  art_blit clipped("1. 34", 7, 4);
  clipped->region = 0;
  clipped->own_region = 1;
  clipped->own_region_x0 = 2;
  clipped->own_region_x1 = 4;
  clipped->own_region_y0 = 1;
  clipped->own_region_y1 = 50;
  EXPECT_EQ(clipped.draw(operation::tile), art("....... ..343.. ..1.1.. ..343.."));
  EXPECT_EQ(clipped->drawn_x0, 2);
  EXPECT_EQ(clipped->drawn_y1, 3);
}

TEST_F(Blits, Scaled) {
  art_blit twice("12 34", 6, 5);
  twice->x = 1;
  twice->size = 200;
  twice->size_x = 1; // the uniform size overrides both
  EXPECT_EQ(twice.draw(operation::scale), art(".1122. .1122. .3344. .3344. ......"));

  art_blit mirrored("12 34", 6, 5);
  mirrored->x = 4;
  mirrored->size_x = 200;
  mirrored->flags = 1;
  EXPECT_EQ(mirrored.draw(operation::scale), art("2211.. 4433.. ...... ...... ......"));

  // A negative size mirrors like the flag, and the two cancel out.
  art_blit negative("12 34", 6, 5);
  negative->x = 4;
  negative->size_x = -200;
  EXPECT_EQ(negative.draw(operation::scale), art("2211.. 4433.. ...... ...... ......"));

  art_blit half("1234 5678", 6, 2);
  half->size_x = 50;
  EXPECT_EQ(half.draw(operation::scale), art("24.... 68...."));

  // One column samples the middle.
  art_blit narrow("12345", 3, 2);
  narrow->size_x = 20;
  EXPECT_EQ(narrow.draw(operation::scale), art("3.. ..."));
  // Half a destination pixel as wide as the source: nothing to sample.
  narrow->size_x = 10;
  EXPECT_EQ(narrow.draw(operation::scale), "refused");
}

/// One surface as source and destination: every pixel sees the pixels drawn before it.
TEST_F(Blits, OntoItself) {
  art_blit b("1", 6, 2);
  const auto fill = [&](const std::string &text) {
    const auto rows = art_rows(text);
    for (int y = 0; y < 2; ++y)
      for (int x = 0; x < 6; ++x)
        *b.t.dst.at(x, y) = uint8_t(rows[size_t(y)][size_t(x)] - '0');
  };
  b->src = b->dst;
  fill("123456 654321");
  b->block_w = 6;
  b->block_h = 2;
  b->x = 1;
  EXPECT_EQ(b.draw(operation::block), art("111111 666666"));
  fill("123456 654321");
  b->x = -1;
  EXPECT_EQ(b.draw(operation::block), art("234566 543211"));
  fill("123456 654321");
  b->x = 0;
  b->flags = 1;
  EXPECT_EQ(b.draw(operation::block), art("654456 123321"));
}

TEST_F(Blits, AlphaIsClamped) {
  guarded_memory src_memory(4096), dst_memory(4096);
  random_source random(base_seed());
  trial t(src_memory, dst_memory, 4, 3, 6, 5, 32, random);
  trial_counts counts;
  t.request.x = 3;
  t.request.y = 2;
  // An alpha below 0 draws nothing visible, but reports the blit as drawn.
  std::vector<uint32_t> before;
  for (int y = 0; y < 5; ++y)
    for (int x = 0; x < 6; ++x) {
      write_pixel(t.dst.at(x, y), 32, t.dst.get(x, y) & 0xFFFFFF);
      before.push_back(t.dst.get(x, y));
    }
  t.request.alpha = -5;
  EXPECT_EQ(t.run(operation::blit, counts), "");
  for (int y = 0; y < 5; ++y)
    for (int x = 0; x < 6; ++x)
      EXPECT_EQ(t.dst.get(x, y), before[size_t(y * 6 + x)]);
  EXPECT_EQ(counts.drawn, 1);

  for (int y = 0; y < 3; ++y)
    for (int x = 0; x < 4; ++x)
      write_pixel(t.src.at(x, y), 32, 0x11223344);
  t.request.alpha = 300;
  EXPECT_EQ(t.run(operation::blit, counts), "");
  EXPECT_EQ(t.dst.get(3, 2), 0x11223344u);
  EXPECT_EQ(counts.drawn, 2);
}

/// The first ghost after a palette change builds the table; nothing else does.
TEST_F(Blits, GhostAtEightBitsBuildsTheTable) {
  set_depth(8);
  ASSERT_NE(table_ghost8, nullptr);
  __ORBSurface2D__ *graph = ORBGI2D_CreateGFXSurface(1, 1, 8, 0);
  static_cast<uint8_t *>(graph->pixels)[0] = 15;
  __ORBBlit2D__ request{};
  request.src = graph;
  request.dst = screen;
  request.region = -1;
  request.alpha = 255;

  fake_ghost_table = 1;
  EXPECT_EQ(ORBGI2D_Blit(&request), 1);
  EXPECT_EQ(fake_ghost_table, 1);
  request.flags = 4;
  EXPECT_EQ(ORBGI2D_BlitTile(&request), 0);
  EXPECT_EQ(fake_ghost_table, 1);

  static_cast<uint8_t *>(screen->pixels)[0] = 40;
  EXPECT_EQ(ORBGI2D_Blit(&request), 1);
  EXPECT_EQ(fake_ghost_table, 0);
  EXPECT_EQ(pixel(*screen, 0, 0), table_ghost8[15 * 256 + 40]);
  EXPECT_NE(pixel(*screen, 0, 0), 15u); // white over black is grey
  ORBGI2D_DeleteGFXSurface(graph);
}

struct refusal {
  const char *what;
  std::vector<operation> operations;
  std::function<void(trial &)> spoil;
};

TEST_F(Blits, RefusalsTouchNothing) {
  define_regions();
  using enum operation;
  const std::vector<operation> all = {blit,   block,    scale,      tile,
                                      rotate, rotscale, scaleshear, rotscaleshear};
  const std::vector<operation> transformed = {scale, rotate, rotscale, scaleshear, rotscaleshear};
  const std::vector<operation> untiled = {blit,     block,      scale,        rotate,
                                          rotscale, scaleshear, rotscaleshear};
  const refusal refusals[] = {
      {"no source", all, [](trial &t) { t.request.src = nullptr; }},
      {"no destination", all, [](trial &t) { t.request.dst = nullptr; }},
      {"the ground without a region", all, [](trial &t) { t.onto_ground = true; }},
      {"another depth", all,
       [](trial &t) {
         t.src.surface.depth = 16;
         t.src.surface.width /= 2;
       }},
      {"an undefined region", all, [](trial &t) { t.request.region = 4; }},
      {"a region inside out", all, [](trial &t) { t.request.region = 3; }},
      {"a region beyond the destination", all,
       [](trial &t) {
         t.request.region = 0;
         t.request.own_region = 1;
         t.request.own_region_x0 = 30;
         t.request.own_region_x1 = 40;
         t.request.own_region_y1 = 5;
       }},
      {"fx_dst", all, [](trial &t) { t.request.fxmode = 2; }},
      {"an effect below all", all, [](trial &t) { t.request.fxmode = -1; }},
      {"an effect between the groups", all, [](trial &t) { t.request.fxmode = 27; }},
      {"an effect before the second group", all, [](trial &t) { t.request.fxmode = 1000; }},
      {"an effect above all", all, [](trial &t) { t.request.fxmode = 1016; }},
      {"a blend in an 8-bit mode", all,
       [](trial &t) {
         t.screen_depth = 8;
         t.request.fxmode = 13;
       }},
      {"both ghost and no key", all, [](trial &t) { t.request.flags = 12; }},
      {"flags 15", all, [](trial &t) { t.request.flags = 15; }},
      {"a mirrored tile", {tile}, [](trial &t) { t.request.flags = 1; }},
      {"a ghost tile", {tile}, [](trial &t) { t.request.flags = 4; }},
      {"a mirrored tile without key", {tile}, [](trial &t) { t.request.flags = 9; }},
      {"a tile past the alpha-channel table",
       {tile},
       [](trial &t) {
         t.src.surface.alpha_channel = 1;
         t.request.fxmode = 1004;
       }},
      {"size 0", transformed, [](trial &t) { t.request.size = 0; }},
      {"width 0", transformed, [](trial &t) { t.request.size_x = 0; }},
      {"height 0", transformed, [](trial &t) { t.request.size_y = 0; }},
      {"a graph shrunk to nothing",
       {scale, rotscale, scaleshear, rotscaleshear},
       [](trial &t) { t.request.size = 1; }},
      {"a place left of everything", untiled, [](trial &t) { t.request.x = -1000; }},
      {"a place below everything", untiled, [](trial &t) { t.request.y = 1000; }},
      {"a place beyond all grids", untiled, [](trial &t) { t.request.x = INT_MIN; }},
      {"a block outside the source", {block}, [](trial &t) { t.request.block_x = 10; }},
      {"an empty block", {block}, [](trial &t) { t.request.block_h = 0; }},
  };
  guarded_memory src_memory(4096), dst_memory(4096);
  for (const refusal &r : refusals) {
    for (const operation op : r.operations) {
      random_source random(base_seed());
      trial t(src_memory, dst_memory, 10, 10, 20, 20, 32, random);
      t.request.x = t.request.y = 8;
      t.request.angle = 10000;
      t.request.block_w = t.request.block_h = 10;
      trial_counts counts;
      // Each refused request is drawn without its one fault.
      EXPECT_EQ(t.run(op, counts), "") << t.describe(op);
      EXPECT_EQ(counts.drawn, 1) << t.describe(op);
      r.spoil(t);
      EXPECT_EQ(t.run(op, counts), "") << r.what << ", operation " << int(op);
      EXPECT_EQ(counts.refused, 1) << r.what << ", operation " << int(op);
    }
  }
}

struct BlitLimits : graphics_test {};

/// The widest possible surfaces: positions then use all 32 bits.
TEST_F(BlitLimits, WidestSurfaces) {
  constexpr int widest = 65535;
  guarded_memory src_memory(4 * widest), dst_memory(4 * widest);
  using enum operation;
  for (const operation op : {blit, block, scale, tile, rotate, rotscale, scaleshear}) {
    for (int i = 0; i < 12; ++i) {
      random_source random(base_seed() * 100 + uint32_t(i));
      const bool wide = i % 3 != 0, onto_wide = i % 3 != 1;
      trial t(src_memory, dst_memory, wide ? widest : 2, wide ? 2 : widest, onto_wide ? widest : 40,
              onto_wide ? 2 : 40, 8, random);
      t.screen_depth = 8;
      t.set_centre(random.below(int(t.src.surface.width)), random.below(int(t.src.surface.height)));
      t.request.x = random.below(int(t.dst.surface.width));
      t.request.y = random.below(int(t.dst.surface.height));
      t.request.block_w = t.request.block_h = INT_MAX;
      t.request.flags = op == tile ? 8 : 8 + i % 4;
      t.request.size_x = op == scale || op == rotscale ? random.between(-300, 300) | 1 : 100;
      t.request.angle = random.any_of({0, 1, 180000, 90000, 359999});
      t.request.shear_x = random.between(-100, 100);
      trial_counts counts;
      EXPECT_EQ(t.run(op, counts), "") << t.describe(op);
    }
  }
}

/// The lowest size has no negation in 32 bits, and mirroring needs one.
TEST_F(BlitLimits, LowestSizes) {
  guarded_memory src_memory(4096), dst_memory(4096);
  using enum operation;
  for (const operation op : {scale, rotate, rotscale, scaleshear, rotscaleshear}) {
    for (int flags = 0; flags < 4; ++flags) {
      for (int which = 0; which < 3; ++which) {
        random_source random(base_seed());
        trial t(src_memory, dst_memory, 9, 7, 20, 20, 32, random);
        t.request.x = t.request.y = 8;
        t.request.flags = flags;
        (which == 0 ? t.request.size : which == 1 ? t.request.size_x : t.request.size_y) = INT_MIN;
        trial_counts counts;
        EXPECT_EQ(t.run(op, counts), "") << t.describe(op);
      }
    }
  }
}

} // namespace
